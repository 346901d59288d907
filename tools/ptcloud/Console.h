#pragma once

#include "CommandError.h"

#include <QJsonObject>
#include <QString>

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

/// A number with blanks between the thousands.
QString grouped(qint64 number);
