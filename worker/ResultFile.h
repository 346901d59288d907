#pragma once

#include <QString>

/// A file that comes into being whole or not at all: it is written under a name of its own beside the destination, and
/// takes the destination's name at the end.
///
///     ResultFile file(path);
///     if (!image.save(file.temporaryPath(), "PNG"))
///         file.fail();
///     file.commit();
///
/// Every failure throws `Failure(ExitCode::WriteDest)`. Without `commit` the destination stays as it was and the other
/// file goes.
class ResultFile
{
public:
    explicit ResultFile(const QString &destination);
    ~ResultFile();
    ResultFile(const ResultFile &) = delete;
    ResultFile &operator=(const ResultFile &) = delete;

    const QString &temporaryPath() const { return m_temporaryPath; }
    [[noreturn]] void fail() const;
    void commit();

    /// Throws where a result can't come to stand at `destination`: no path, no directory, no right to write, or the
    /// source itself stands there. Asked before the work, so that nobody waits for an hour to be told.
    static void check(const QString &destination, const QString &source);

private:
    QString m_destination;
    QString m_temporaryPath;
};
