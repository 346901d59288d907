#include "ResultFile.h"

#include "Failure.h"
#include "System.h"

#include <QFile>
#include <QFileInfo>

using namespace ptCloud;

namespace
{

[[noreturn]] void refuse(const QString &destination, const QString &why)
{
    throw Failure(ExitCode::WriteDest, QStringLiteral("the result %1 can't be written: %2").arg(destination, why));
}

QString temporaryPathOf(const QString &destination)
{
    return destination + QStringLiteral(".part");
}

} // namespace

ResultFile::ResultFile(const QString &destination)
    : m_destination(destination), m_temporaryPath(temporaryPathOf(destination))
{
    if (destination.isEmpty())
        throw Failure(ExitCode::WriteDest, QStringLiteral("the path of the result is empty"));
    // What an earlier run left when it was killed.
    if (QFileInfo(m_temporaryPath).isFile())
        QFile::remove(m_temporaryPath);
}

ResultFile::~ResultFile()
{
    if (!m_temporaryPath.isEmpty())
        QFile::remove(m_temporaryPath);
}

void ResultFile::fail() const
{
    refuse(m_destination, QStringLiteral("the disk may be full, or %1 in the way").arg(m_temporaryPath));
}

void ResultFile::commit()
{
    if (!platform::replaceFile(m_temporaryPath, m_destination))
        refuse(m_destination, QStringLiteral("%1 is whole and can't take its name").arg(m_temporaryPath));
    m_temporaryPath.clear();
}

void ResultFile::check(const QString &destination, const QString &source)
{
    if (platform::isSameFile(destination, source))
        refuse(destination, QStringLiteral("it is the source"));
    if (platform::isSameFile(temporaryPathOf(destination), source))
        refuse(destination, QStringLiteral("the source has the name that it takes until it is whole"));
    const ResultFile result(destination);
    if (QFileInfo(destination).isDir())
        refuse(destination, QStringLiteral("a directory stands there"));
    QFile trial(result.temporaryPath());
    if (!trial.open(QIODevice::WriteOnly))
        refuse(destination, trial.errorString());
}
