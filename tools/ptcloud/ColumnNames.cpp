#include "ColumnNames.h"

#include "Console.h"

#include <QStringList>

#include <iterator>

using namespace ptCloud;

namespace
{

constexpr const char *names[] = {
    "position",
    "normal",
    "triangle",
    "colour",
    "intensity",
    "return number",
    "number of returns",
    "scan direction",
    "edge of flight line",
    "classification",
    "scan angle rank",
    "user data",
    "point source id",
    "gps time",
    "wave packet descriptor index",
    "byte offset to waveform data",
    "waveform packet size",
    "return point waveform location",
    "waveform xyz t",
};
constexpr unsigned int columnCount = std::size(names);
static_assert(columnCount == EDataSetColumn_WaveformXyzT + 1, "a name for each column");

} // namespace

QString columnName(EDataSetColumn column)
{
    const auto number = static_cast<unsigned int>(column);
    return number < columnCount ? QString::fromLatin1(names[number]) : QString::number(number);
}

QString columnNames(const QList<EDataSetColumn> &columns)
{
    QStringList words;
    for (const EDataSetColumn column : columns)
        words.append(columnName(column));
    return words.join(QStringLiteral(", "));
}

QJsonArray columnNumbers(const QList<EDataSetColumn> &columns)
{
    QJsonArray numbers;
    for (const EDataSetColumn column : columns)
        numbers.append(static_cast<int>(column));
    return numbers;
}

QList<EDataSetColumn> parseColumns(const QString &list)
{
    QList<EDataSetColumn> columns;
    for (const QString &item : list.split(QLatin1Char(','))) {
        bool isNumber = false;
        const unsigned int number = item.trimmed().toUInt(&isNumber);
        if (!isNumber || number >= columnCount)
            throw CommandError(QStringLiteral("%1 in --columns is no column; give numbers from 0 to %2, such as 0,3,4")
                                   .arg(quoted(item))
                                   .arg(columnCount - 1));
        columns.append(static_cast<EDataSetColumn>(number));
    }
    return columns;
}
