// Opens a project whose file is the input, between files that must stay as they are.

#include "CanaryScene.h"
#include "Driver.h"

#include "LasWriter.h"
#include "ProjectFile.h"

#include "PtCloud_Controller.h"
#include "PtCloud_Project.h"

#include <QFile>

using fuzz::check;
using support::DiskState;
using support::ProjectFile;
using support::ProjectFileContents;

namespace
{

const QLatin1String projectFile("points_cloud.pcproj");

/// What an open project holds.
struct Registries
{
    QMap<QString, QString> lasFiles;
    QMap<QString, QString> dataSets;
};

Registries registriesOf(ptCloud::PtCloud_Project &project)
{
    Registries result;
    project.getController()->getLasFilepaths(result.lasFiles);
    project.getController()->getDataSetFileNames(result.dataSets);
    return result;
}

bool same(const Registries &a, const Registries &b)
{
    return a.lasFiles == b.lasFiles && a.dataSets == b.dataSets;
}

/// With a file that opening a project deletes, and one that goes with a data set.
DiskState filesWith(const QByteArray &input)
{
    static const DiskState files = {{QStringLiteral("notes.txt"), "notes"},
                                    {QStringLiteral("abc/Points"), support::pointsBytes(3)},
                                    {QStringLiteral("abc/notes.txt"), "notes"},
                                    {QStringLiteral("abc/inner/canary"), "within"},
                                    {QStringLiteral("zed/Points"), support::pointsBytes(5)},
                                    {QStringLiteral("zed/roof.mesh"), support::meshBytes(6)},
                                    {QStringLiteral("bare/canary"), "no data set"}};
    DiskState result = files;
    result[projectFile] = input;
    return result;
}

/// The project directory, with a link in it to a directory outside that is no data set.
class Scene : public fuzz::CanaryScene
{
public:
    Scene() : CanaryScene(QStringLiteral("ProjectFile"))
    {
        support::LasWriter las;
        las.points.emplace_back();
        m_las = fuzz::scratchFile(QStringLiteral("project.las"), las.bytes());
        m_linked = fuzz::scratchDirectory() + QStringLiteral("/linked");
        support::makeDirectory(m_linked, {{QStringLiteral("canary"), "linked"}});
    }

    QString las() const { return m_las; }

    void lay(const QByteArray &input) const
    {
        CanaryScene::lay(filesWith(input));
        check(QFile::link(m_linked, inPlace(QStringLiteral("link"))), "the place takes no link");
    }
    void checkOutside() const
    {
        CanaryScene::checkOutside();
        check(support::diskState(m_linked) == DiskState{{QStringLiteral("canary"), "linked"}},
              "a file behind a link was made, changed or removed");
    }

private:
    QString m_las;
    QString m_linked;
};

/// What a restore keeps of what the file names.
Registries restored(const ProjectFileContents &contents)
{
    Registries result;
    for (auto it = contents.lasFiles.cbegin(); it != contents.lasFiles.cend(); ++it) {
        const QFileInfo info(*it);
        if (info.isFile() && info.isReadable())
            result.lasFiles[it.key()] = *it;
    }
    for (auto it = contents.dataSets.cbegin(); it != contents.dataSets.cend(); ++it) {
        if (*it == QLatin1String("abc") || *it == QLatin1String("zed"))
            result.dataSets[it.key()] = *it;
    }
    return result;
}

/// Strays go, those of a data set with it; a data set that is missing leaves an empty directory. Nothing else happens.
void checkRestore(const DiskState &before, DiskState after, const Registries &registries)
{
    DiskState expected = before;
    expected.remove(QStringLiteral("notes.txt"));
    if (registries.dataSets.values().contains(QStringLiteral("abc")))
        expected.remove(QStringLiteral("abc/notes.txt"));
    for (auto it = after.begin(); it != after.end();) {
        const bool isMade = !before.contains(it.key()) && *it == "directory" && !it.key().contains(QLatin1Char('/'));
        it = isMade ? after.erase(it) : it + 1;
    }
    check(after == expected, "the restore left more or less than its project");
}

/// Saving and opening again changes nothing.
void checkRoundTrip(ptCloud::PtCloud_Project &project, const Scene &scene)
{
    const Registries registries = registriesOf(project);
    check(project.save(scene.place(), nullptr), "a project can't be saved");
    const QByteArray saved = support::readFile(scene.inPlace(projectFile));
    const ProjectFileContents contents(saved);
    check(contents.isAccepted && same({contents.lasFiles, contents.dataSets}, registries),
          "the saved file does not hold the project");
    const DiskState before = scene.inPlace();
    check(project.loadProject(scene.place(), nullptr), "the saved file does not open");
    check(same(registriesOf(project), registries), "the saved file opens as another project");
    check(project.save(scene.place(), nullptr), "a project can't be saved again");
    check(scene.inPlace() == before, "saving again changed something");
}

bool run(const QByteArray &input)
{
    static const Scene scene;
    scene.lay(input);
    const DiskState before = scene.inPlace();
    ptCloud::PtCloud_Project project;
    project.getController()->doCmd_LasFile_Import({scene.las()}, nullptr);
    const Registries open = registriesOf(project);

    const ProjectFileContents contents(input);
    const bool isLoaded = project.loadProject(scene.place(), nullptr);
    check(isLoaded == contents.isAccepted, "the wrong project files are refused");
    if (isLoaded) {
        const Registries expected = restored(contents);
        check(same(registriesOf(project), expected), "the project is not what its file names");
        checkRestore(before, scene.inPlace(), expected);
        checkRoundTrip(project, scene);
    } else {
        check(same(registriesOf(project), open), "a refused file changed the open project");
        check(scene.inPlace() == before, "a refused file changed files");
    }
    scene.checkOutside();
    return isLoaded;
}

ProjectFile full()
{
    ProjectFile file;
    file.lasFiles = {{QStringLiteral("a.las"), QStringLiteral("/proc/self/exe")},
                     {QStringLiteral("b.las"), QStringLiteral("gone.las")}};
    file.dataSets = {{QStringLiteral("abc"), QStringLiteral("abc")}, {QStringLiteral("last"), QStringLiteral("zed")}};
    return file;
}

std::vector<fuzz::Seed> seeds()
{
    ProjectFile leading = full();
    const char *const names[] = {"..",   "../beside", "../../outer/beside", ".",   "",           "/",    "abc/..",
                                 "link", "bare",      "notes.txt",          "new", "abc/../abc", ":/abc"};
    for (const char *name : names)
        leading.dataSets.emplace_back(QString::fromLatin1(name), QString::fromLatin1(name));
    return {{"full", full().bytes()}, {"empty", ProjectFile().bytes()}, {"leading", leading.bytes()}};
}

const fuzz::Driver driver("ProjectFile", run, seeds);

} // namespace
