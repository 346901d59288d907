#include "ProjectSession.h"

#include "FileFacts.h"
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

/// The bytes of the project file; none where there is no file. Throws where it can't be read: it may be newer than the
/// copy, which must not take its place then.
QByteArray readProjectFile(const QString &path)
{
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        QByteArray bytes = file.readAll();
        if (file.error() == QFileDevice::NoError && bytes.size() == file.size())
            return bytes;
    } else if (!isThere(path)) {
        return {};
    }
    throw CommandError(QStringLiteral("%1 can't be read: %2").arg(quoted(path), file.errorString()));
}

/// What a project file names: LAS files with their paths, data sets with their directories.
struct Registered
{
    QMap<QString, QString> lasFiles;
    QMap<QString, QString> dataSets;
};

/// False if the project file ends early or is none. The library itself takes a file that was cut for one with fewer
/// entries.
bool readWhole(const QByteArray &bytes, Registered &registered)
{
    QDataStream stream(bytes);
    qint32 version = 0;
    stream >> version;
    for (QMap<QString, QString> *map : {&registered.lasFiles, &registered.dataSets}) {
        qint32 count = 0;
        stream >> count;
        for (qint32 i = 0; i < count && stream.status() == QDataStream::Ok; ++i) {
            QString name;
            QString value;
            stream >> name >> value;
            map->insert(name, value);
        }
        if (count < 0)
            return false;
    }
    return version == 1 && stream.status() == QDataStream::Ok && stream.atEnd();
}

/// The bytes of a project file that is whole; none of any other.
QByteArray readWhole(const QString &path)
{
    const QByteArray bytes = readAll(path);
    Registered registered;
    return readWhole(bytes, registered) ? bytes : QByteArray();
}

template <typename Map>
void warnOfLost(const Console &console, const QMap<QString, QString> &registered, const Map &found, const QString &what)
{
    for (auto it = registered.cbegin(); it != registered.cend(); ++it) {
        if (!found.contains(it.key()))
            console.warn(QStringLiteral("%1 %2 (%3) is not there or does not load; the next change of the project "
                                        "forgets it")
                             .arg(what, quoted(it.key()), *it));
    }
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
    case ActResult_WorkerNotStarted:
        return QStringLiteral(
            "the worker program could not be started: open3d_wrapper belongs beside ptcloud; where it "
            "is missing, run scripts/setup.sh worker, then build and install once more");
    case ActResult_WorkerFailed:
        return QStringLiteral("the worker failed");
    case ActResult_WorkerCrashed:
        return QStringLiteral("the worker crashed, or another program ended it");
    case ActResult_Cancelled:
        return QStringLiteral("cancelled");
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
    const QString path = pathIn(dir, projectFile);
    const QString own = pathIn(dir, QLatin1String(ownDirectory));
    if (isThere(path))
        throw CommandError(QStringLiteral("%1 is a project already").arg(quoted(dir)));
    if (!QDir().mkpath(own))
        throw CommandError(QStringLiteral("%1 can't be made").arg(quoted(own)));
    const LibraryLog silence;
    // Where the copy belongs, and from there in one step, so that no cut file is left by a program that is killed.
    const QByteArray bytes = PtCloud_Project().save(own, nullptr) ? readWhole(copyPath(dir)) : QByteArray();
    if (bytes.isEmpty())
        throw CommandError(QStringLiteral("%1 can't be written").arg(quoted(copyPath(dir))));
    writeText(path, bytes);
}

ProjectSession::ProjectSession(const Console &console, const ProjectOptions &options, Access access)
    : m_dir(QDir(argument(options.dir)).absolutePath())
{
    const LibraryLog silence;
    const QString path = pathIn(m_dir, projectFile);
    if (!isThere(path) && !isThere(copyPath(m_dir)))
        throw CommandError(QStringLiteral("%1 is no project; make one with: ptcloud new -p DIR").arg(quoted(m_dir)));
    lock();
    if (options.recover)
        recover();
    Registered registered;
    if (!readWhole(readProjectFile(path), registered)) {
        throw CommandError(QStringLiteral("%1 is cut short or damaged; --recover puts the last good copy in its place")
                               .arg(quoted(path)));
    }
    refuseStrays(registered.dataSets, options.sweep);
    if (access == Change)
        keepCopy();
    if (!m_project.loadProject(m_dir, nullptr))
        throw CommandError(QStringLiteral("%1 can't be opened").arg(quoted(m_dir)));
    QMap<QString, QString> lasFiles;
    controller().getLasFilepaths(lasFiles);
    warnOfLost(console, registered.lasFiles, lasFiles, QStringLiteral("LAS file"));
    warnOfLost(console, registered.dataSets, controller().getDataSets(), QStringLiteral("data set"));
}

void ProjectSession::lock()
{
    if (!QDir(m_dir).mkpath(QLatin1String(ownDirectory)))
        throw CommandError(QStringLiteral("%1 can't be written to").arg(quoted(m_dir)));
    m_lock = std::make_unique<QLockFile>(pathIn(m_dir, QLatin1String(ownDirectory) + QStringLiteral("/lock")));
    m_lock->setStaleLockTime(0);
    // One that was killed while it took the lock leaves a file that tells of nobody.
    if (m_lock->tryLock(0)
        || (m_lock->error() == QLockFile::LockFailedError && m_lock->removeStaleLockFile() && m_lock->tryLock(0)))
        return;
    if (m_lock->error() != QLockFile::LockFailedError)
        throw CommandError(QStringLiteral("%1 can't be written to").arg(quoted(m_dir)));
    throw CommandError(QStringLiteral("another program works in %1; wait until it is done").arg(quoted(m_dir)));
}

void ProjectSession::recover() const
{
    const QByteArray bytes = readWhole(copyPath(m_dir));
    if (bytes.isEmpty())
        throw CommandError(QStringLiteral("%1 has no good copy of its project file").arg(quoted(m_dir)));
    writeText(pathIn(m_dir, projectFile), bytes);
}

void ProjectSession::keepCopy() const
{
    const QByteArray bytes = readWhole(pathIn(m_dir, projectFile));
    if (!bytes.isEmpty() && bytes != readAll(copyPath(m_dir)))
        writeText(copyPath(m_dir), bytes);
}

void ProjectSession::refuseStrays(const QMap<QString, QString> &dataSets, bool sweep) const
{
    QStringList strays = filesIn(m_dir);
    for (int i = strays.size() - 1; i >= 0; --i) {
        if (QString::compare(strays[i], projectFile, Qt::CaseInsensitive) == 0)
            strays.removeAt(i);
    }
    for (const QString &name : dataSets) {
        const QDir directory(pathIn(m_dir, name));
        if (name.isEmpty() || !isThere(directory.filePath(QStringLiteral("Points"))))
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
    keepCopy();
    const QString path = pathIn(m_dir, projectFile);
    if (!m_project.save(m_dir, nullptr) || readWhole(path).isEmpty()) {
        throw CommandError(QStringLiteral("%1 was not written whole (is there room on the disk?); --recover puts back "
                                          "what stood there before")
                               .arg(quoted(path)));
    }
}
