#pragma once

#include <QString>

#include <exception>
#include <string>

/// Text as one line that a terminal only shows: names in files may hold line ends, and letters that a terminal obeys.
QString oneLine(QString text);

/// What a command throws when it can't be done: one line that says what, which file or name, why, and what to do.
class CommandError : public std::exception
{
public:
    /// @param result  the library's own result by name, such as "ActResult_FileError"; empty where there is none
    explicit CommandError(QString text, QString result = {});

    const QString &text() const { return m_text; }
    const QString &result() const { return m_result; }
    const char *what() const noexcept override { return m_utf8.c_str(); }

private:
    QString m_text;
    QString m_result;
    std::string m_utf8;
};

/// A path or name as the command line gave it.
QString argument(const std::string &text);
/// The other way, for file names in error lines.
QString quoted(const QString &path);
