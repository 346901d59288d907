#include "Session.h"

#include "LasWriter.h"
#include "ProjectFile.h"

namespace soak
{

using namespace ptCloud;
using support::writeFile;

namespace
{

constexpr int mostDataSets = 10;
constexpr int mostLasFiles = 6;
constexpr qint64 mostPointBytes = 1 << 20;

/// Points in several boxes, in runs.
support::LasWriter survey(quint8 format)
{
    support::LasWriter writer;
    writer.format = format;
    for (int i = 0; i < 400; ++i) {
        support::LasPoint point;
        point.x = 40 * i;
        point.y = 37 * (i % 100);
        point.z = 11 * (i % 7);
        point.intensity = static_cast<quint16>(i);
        point.red = static_cast<quint16>(100 * i);
        writer.points.push_back(point);
    }
    return writer;
}

void ignoreMessage(QtMsgType, const QMessageLogContext &, const QString &) {}

} // namespace

struct Session::Step
{
    const char *name;
    unsigned weight;
    void (Session::*play)();
};

const std::vector<Session::Step> &Session::steps()
{
    // A run of a function takes more than half a second whatever it does, so there are few.
    static const std::vector<Step> all = {
        {"import", 80, &Session::importLas},
        {"import that fails", 60, &Session::importLasThatFails},
        {"remove LAS", 40, &Session::removeLas},
        {"columns of LAS", 40, &Session::askForColumns},
        {"make", 90, &Session::make},
        {"make that fails", 60, &Session::makeThatFails},
        {"copy", 80, &Session::copy},
        {"copy that fails", 60, &Session::copyThatFails},
        {"merge", 80, &Session::merge},
        {"merge that fails", 60, &Session::mergeThatFails},
        {"rename", 80, &Session::rename},
        {"rename that fails", 60, &Session::renameThatFails},
        {"remove", 40, &Session::remove},
        {"commands on damaged points", 40, &Session::commandsOnDamagedPoints},
        {"save", 60, &Session::save},
        {"save that fails", 30, &Session::saveThatFails},
        {"load", 40, &Session::load},
        {"load that fails", 40, &Session::loadThatFails},
        {"read", 80, &Session::read},
        {"edit", 80, &Session::edit},
        {"mesh from an array", 60, &Session::addMesh},
        {"split from arrays", 60, &Session::addSplit},
        {"cut from memory", 60, &Session::addCut},
        {"terrain", 60, &Session::addTerrain},
        {"damaged terrain", 40, &Session::addDamagedTerrain},
        {"remove contents", 40, &Session::removeContents},
        {"volumes", 60, &Session::volumes},
        {"volumes that fail", 40, &Session::volumesThatFail},
        {"function", 12, &Session::run},
        {"function that fails", 20, &Session::runThatFails},
    };
    return all;
}

Session::Session(const QString &root, quint32 seed) : m_root(root), m_random(seed)
{
    for (const char *directory : {"home", "empty", "script", "tmp", "las", "project", "other"})
        QDir().mkpath(path(directory));
    survey(0).write(path("las/a.las"));
    survey(3).write(path("las/b.las"));
    writeFile(path("las/cut.las"), survey(0).bytes().left(200));
    support::ProjectFile other;
    other.version = 7;
    writeFile(path("other/points_cloud.pcproj"), other.bytes());

    const auto set = [this](const char *variable, const QString &value) {
        m_environment.push_back(std::make_unique<support::EnvironmentVariable>(variable, QFile::encodeName(value)));
    };
    set("TMPDIR", path("tmp"));
    set("SCRIPTED_WORKER", path("script/script"));
    AppConfig::getInstance().setHomeDir(path("home"));
    AppConfig::getInstance().setBinDir(QStringLiteral(SCRIPTED_WORKER_DIR));
    AppConfig::getInstance().module_logLib().setSink([](const QString &, const QString &, ELogType, bool) {});
    qInstallMessageHandler(ignoreMessage);
    PtCloud_Project empty;
    empty.setDir(project());
    EXPECT_TRUE(empty.save(project(), nullptr));
}

Session::~Session()
{
    m_project.reset();
    qInstallMessageHandler(nullptr);
    AppConfig::getInstance().module_logLib().setSink({});
    AppConfig::getInstance().setHomeDir(QString());
    AppConfig::getInstance().setBinDir(QString());
}

void Session::begin()
{
    m_project = std::make_unique<PtCloud_Project>();
    EXPECT_TRUE(m_project->loadProject(project(), nullptr));
}

void Session::end()
{
    QMap<QString, QString> dataSets;
    controller().getDataSetFileNames(dataSets);
    for (const QString &name : dataSets.keys())
        EXPECT_EQ(controller().doCmd_DataSet_Remove({name}), ActResult_Success);
    for (const QString &name : lasNames())
        EXPECT_EQ(controller().doCmd_LasFile_Remove({name}), ActResult_Success);
    EXPECT_TRUE(m_project->save(project(), nullptr));
    m_project.reset();
    EXPECT_EQ(QDir(project()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList(QStringLiteral("points_cloud.pcproj")));
}

void Session::playAll()
{
    for (const Step &step : steps())
        play(step);
}

void Session::play()
{
    unsigned total = 0;
    for (const Step &step : steps())
        total += step.weight;
    unsigned at = below(total);
    for (const Step &step : steps()) {
        if (at < step.weight)
            return play(step);
        at -= step.weight;
    }
}

void Session::play(const Step &step)
{
    SCOPED_TRACE(step.name);
    ++m_played[QString::fromUtf8(step.name)];
    (this->*step.play)();
    keepSmall();
}

QStringList Session::lasNames() const
{
    QMap<QString, QString> files;
    m_project->getController()->getLasFilepaths(files);
    return files.keys();
}

QStringList Session::dataSetNames()
{
    if (controller().isDataSetEmpty())
        make();
    return controller().getDataSets().keys();
}

QString Session::anyDataSetName()
{
    const QStringList names = dataSetNames();
    return names[static_cast<int>(below(static_cast<unsigned>(names.size())))];
}

PtCloudDataSet &Session::anyDataSet()
{
    return *controller().getDataSet(anyDataSetName());
}

void Session::keepSmall()
{
    while (controller().getDataSets().size() > mostDataSets)
        remove();
    while (lasNames().size() > mostLasFiles)
        removeLas();
    QMap<QString, QString> directories;
    controller().getDataSetFilepaths(directories);
    for (auto it = directories.cbegin(); it != directories.cend(); ++it) {
        if (QFileInfo(*it + QStringLiteral("/Points")).size() > mostPointBytes) {
            EXPECT_EQ(controller().doCmd_DataSet_Remove({it.key()}), ActResult_Success);
        }
    }
}

} // namespace soak
