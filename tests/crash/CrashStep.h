#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

namespace crash
{

/// One thing that a host does to a project, as a line of words: the verb, then what it takes. `ProjectModel` tells what
/// each of them means, `HostSteps` carries them out.
struct Step
{
    QStringList words;

    QString verb() const { return words.value(0); }
    QString word(int index) const { return words.value(index); }
    /// The words from `first` on.
    QStringList rest(int first) const { return words.mid(first); }
    QString text() const { return words.join(QLatin1Char(' ')); }
};

inline Step stepOf(const QString &line)
{
    return {line.split(QLatin1Char(' '))};
}

/// What a host wrote down before it was killed: each step before its begin, and its result behind its end. All but the
/// last have a result.
struct JournalEntry
{
    Step step;
    int result = 0;
    bool hasEnded = false;
};

inline QByteArray beginLine(const Step &step)
{
    return "begin " + step.text().toUtf8() + '\n';
}

inline QByteArray endLine(int result)
{
    return "end " + QByteArray::number(result) + '\n';
}

inline std::vector<JournalEntry> readJournal(const QByteArray &bytes)
{
    std::vector<JournalEntry> entries;
    const QList<QByteArray> lines = bytes.split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("begin ")) {
            entries.push_back({stepOf(QString::fromUtf8(line.mid(6))), 0, false});
        } else if (line.startsWith("end ") && !entries.empty()) {
            entries.back().result = line.mid(4).toInt();
            entries.back().hasEnded = true;
        }
    }
    return entries;
}

} // namespace crash
