#include "Driver.h"

#include "Bytes.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtGlobal>

#include <stdexcept>

namespace fuzz
{

namespace
{

std::vector<const Driver *> &registry()
{
    static std::vector<const Driver *> drivers;
    return drivers;
}

/// A directory on a disk takes several times as long.
QString scratchPlace()
{
    const QString memory = QStringLiteral("/dev/shm");
    return !qEnvironmentVariableIsSet("TMPDIR") && QFileInfo(memory).isWritable() ? memory : QDir::tempPath();
}

} // namespace

Driver::Driver(const char *format, Run runOne, Seeds makeSeeds) : m_name(format), m_run(runOne), m_seeds(makeSeeds)
{
    registry().push_back(this);
}

const std::vector<const Driver *> &Driver::all()
{
    return registry();
}

void check(bool holds, const char *what)
{
    if (!holds)
        throw std::logic_error(what);
}

const QString &scratchDirectory()
{
    static const QTemporaryDir directory(scratchPlace() + QStringLiteral("/points_cloud_fuzz-XXXXXX"));
    static const QString path = directory.path();
    return path;
}

QString scratchFile(const QString &name, const QByteArray &bytes)
{
    QString path = scratchDirectory() + QLatin1Char('/') + name;
    check(support::writeFile(path, bytes), "the scratch directory takes no file");
    return path;
}

void silenceLibrary()
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
}

} // namespace fuzz
