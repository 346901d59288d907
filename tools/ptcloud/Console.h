#pragma once

#include <QJsonObject>
#include <QString>

#include <exception>
#include <string>

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

/// Text on the terminal. Results go to standard output, everything else to standard error, so that with `--json`
/// standard output holds one JSON object and nothing more.
class Console
{
public:
    bool json = false;

    /// A line of the result for people; nothing with `--json`.
    void line(const QString &text = {}) const;
    /// The result for programs; nothing without `--json`.
    void object(const QJsonObject &object) const;
    /// Something that the user must know although the command goes on.
    void warn(const QString &text) const;
    /// The end of a command that failed.
    void fail(const CommandError &error) const;
};

/// How far long work is: a bar that is drawn over itself on a terminal, a line for each quarter elsewhere.
class Progress
{
public:
    explicit Progress(QString title);
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    /// @param text  what is being done now
    void show(double fraction, const QString &text = {});

private:
    QString m_title;
    bool m_isTerminal;
    int m_shown = -1; ///< per cent on a terminal, quarters elsewhere
    QString m_text;   ///< shown with it
};

/// A path or name as the command line gave it.
QString argument(const std::string &text);
/// The other way, for file names in error lines.
QString quoted(const QString &path);
/// A number with blanks between the thousands.
QString grouped(qint64 number);
