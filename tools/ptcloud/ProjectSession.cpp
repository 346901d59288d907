#include "ProjectSession.h"

#include "LibraryLog.h"
#include "OutputFile.h"
#include "StrayFiles.h"

#include "PtCloudDataSet.h"

#include <QDataStream>
#include <QDir>
#include <QFile>

using namespace ptCloud;

namespace
{

const QLatin1String projectFile("points_cloud.pcproj");

QString pathIn(const QString &dir, const QString &name)
{
    return QDir(dir).absoluteFilePath(name);
}

QString copyPath(const QString &dir)
{
    return pathIn(dir, QLatin1String(ProjectSession::ownDirectory) + QLatin1Char('/') + projectFile);
}

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The directory names of the data sets; false if the project file ends early or is none. The library itself takes a
/// file that was cut for one with fewer entries.
bool readWhole(const QByteArray &bytes, QStringList &directories)
{
    QDataStream stream(bytes);
    qint32 version = 0;
    stream >> version;
    for (const bool isDataSets : {false, true}) {
        qint32 count = 0;
        stream >> count;
        for (qint32 i = 0; i < count && stream.status() == QDataStream::Ok; ++i) {
            QString name;
            QString value;
            stream >> name >> value;
            if (isDataSets)
                directories << value;
        }
        if (count < 0)
            return false;
    }
    return version == 1 && stream.status() == QDataStream::Ok && stream.atEnd();
}

bool isWhole(const QString &path)
{
    QStringList directories;
    return readWhole(readAll(path), directories);
}

QString nameOf(EEPtCloudActResult result)
{
    const char *const names[] = {"Success",      "CannotRun",     "FileError", "NotFound",
                                 "NameExists",   "MakeFailed",    "BadName",   "WorkerNotStarted",
                                 "WorkerFailed", "WorkerCrashed", "Cancelled"};
    return QStringLiteral("ActResult_") + QLatin1String(names[result]);
}

QString wordsFor(EEPtCloudActResult result)
{
    switch (result) {
    case ActResult_NotFound:
        return QStringLiteral("there is none of that name; names count letter for letter");
    case ActResult_NameExists:
        return QStringLiteral("a data set of that name exists (upper and lower case count as one); choose another");
    case ActResult_BadName:
        return QStringLiteral("the new name is the old one, is taken, or has blanks at its ends; choose another");
    case ActResult_FileError:
        return QStringLiteral("a file or directory could not be read, written or renamed");
    case ActResult_MakeFailed:
        return QStringLiteral("the points could not be built; its directory stays, with what was written");
    default:
        return QStringLiteral("it can't be done (is there room on the disk, and is the name a plain one?)");
    }
}

} // namespace

void addProjectOptions(CLI::App &command, ProjectOptions &options)
{
    command.add_option("-p,--project", options.dir, "The project directory")
        ->capture_default_str()
        ->each([&options](const std::string &) { options.isGiven = true; });
    command.add_flag("--sweep", options.sweep, "Delete files that have no part in the project");
    command.add_flag("--recover", options.recover, "Put back the last good copy of the project file first");
}

void ProjectSession::create(const QString &dir)
{
    if (!QDir().mkpath(dir))
        throw CommandError(QStringLiteral("%1 can't be made").arg(quoted(dir)));
    if (QFile::exists(pathIn(dir, projectFile)))
        throw CommandError(QStringLiteral("%1 is a project already").arg(quoted(dir)));
    const LibraryLog silence;
    if (!PtCloud_Project().save(dir, nullptr) || !isWhole(pathIn(dir, projectFile)))
        throw CommandError(QStringLiteral("%1 can't be written").arg(quoted(pathIn(dir, projectFile))));
}

ProjectSession::ProjectSession(const ProjectOptions &options) : m_dir(QDir(argument(options.dir)).absolutePath())
{
    const LibraryLog silence;
    if (!QFile::exists(pathIn(m_dir, projectFile)) && !QFile::exists(copyPath(m_dir)))
        throw CommandError(QStringLiteral("%1 is no project; make one with: ptcloud new -p DIR").arg(quoted(m_dir)));
    lock();
    if (options.recover)
        recover();
    if (!isWhole(pathIn(m_dir, projectFile))) {
        throw CommandError(QStringLiteral("%1 is cut short or damaged; --recover puts the last good copy in its place")
                               .arg(quoted(pathIn(m_dir, projectFile))));
    }
    refuseStrays(options.sweep);
    if (!m_project.loadProject(m_dir, nullptr))
        throw CommandError(QStringLiteral("%1 can't be opened").arg(quoted(m_dir)));
}

void ProjectSession::lock()
{
    if (!QDir(m_dir).mkpath(QLatin1String(ownDirectory)))
        throw CommandError(QStringLiteral("%1 can't be written to").arg(quoted(m_dir)));
    m_lock = std::make_unique<QLockFile>(pathIn(m_dir, QLatin1String(ownDirectory) + QStringLiteral("/lock")));
    m_lock->setStaleLockTime(0);
    if (!m_lock->tryLock(0))
        throw CommandError(QStringLiteral("another program works in %1; wait until it is done").arg(quoted(m_dir)));
}

void ProjectSession::recover() const
{
    if (!isWhole(copyPath(m_dir)))
        throw CommandError(QStringLiteral("%1 has no good copy of its project file").arg(quoted(m_dir)));
    writeText(pathIn(m_dir, projectFile), readAll(copyPath(m_dir)));
}

void ProjectSession::refuseStrays(bool sweep) const
{
    QStringList directories;
    readWhole(readAll(pathIn(m_dir, projectFile)), directories);
    QStringList strays = QDir(m_dir).entryList(QDir::Files | QDir::NoDotAndDotDot, QDir::Name);
    for (int i = strays.size() - 1; i >= 0; --i) {
        if (QString::compare(strays[i], projectFile, Qt::CaseInsensitive) == 0)
            strays.removeAt(i);
    }
    for (const QString &name : qAsConst(directories)) {
        const QDir directory(pathIn(m_dir, name));
        if (name.isEmpty() || !directory.exists(QStringLiteral("Points")))
            continue;
        for (const QString &file : strayFilesOfDataSet(directory))
            strays << name + QLatin1Char('/') + file;
    }
    refuseToSweep(QDir(m_dir), strays, sweep);
}

PtCloudDataSet &ProjectSession::dataSet(const QString &name)
{
    PtCloudDataSet *const found = controller().getDataSet(name);
    if (found == nullptr)
        check(ActResult_NotFound, QStringLiteral("data set %1").arg(quoted(name)));
    return *found;
}

void ProjectSession::refuseOwnName(const QString &name)
{
    if (QString::compare(name, QLatin1String(ownDirectory), Qt::CaseInsensitive) == 0)
        throw CommandError(QStringLiteral("%1 is this program's own directory; choose another name").arg(quoted(name)));
}

void ProjectSession::check(EEPtCloudActResult result, const QString &what)
{
    if (result != ActResult_Success)
        throw CommandError(what + QStringLiteral(": ") + wordsFor(result), nameOf(result));
}

void ProjectSession::save()
{
    const QString path = pathIn(m_dir, projectFile);
    if (isWhole(path))
        writeText(copyPath(m_dir), readAll(path));
    if (!m_project.save(m_dir, nullptr) || !isWhole(path))
        throw CommandError(QStringLiteral("%1 was not written whole; is there room on the disk?").arg(quoted(path)));
}
