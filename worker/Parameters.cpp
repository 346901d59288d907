#include "Parameters.h"

#include "Failure.h"

#include <QFile>
#include <QSettings>
#include <QStringList>

#include <cmath>

namespace
{

const QLatin1String section("section/");

/// An unquoted value with commas is a list to `QSettings`.
QString toText(const QVariant &value)
{
    return value.type() == QVariant::StringList ? value.toStringList().join(QLatin1String(", ")) : value.toString();
}

[[noreturn]] void refuse(const char *key, const QString &value, const QString &wanted)
{
    throw Failure(ExitCode::Argument,
                  QStringLiteral("%1 is \"%2\": it must be %3").arg(QLatin1String(key), value.left(100), wanted));
}

QString describe(double number)
{
    return QString::number(number, 'g', 10);
}

QString describe(const char *kind, double least, double most)
{
    return QStringLiteral("%1 from %2 to %3").arg(QLatin1String(kind), describe(least), describe(most));
}

} // namespace

Parameters Parameters::fromFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw Failure(ExitCode::ConfigFile,
                      QStringLiteral("the settings file %1 can't be read: %2").arg(path, file.errorString()));
    file.close();
    QSettings settings(path, QSettings::IniFormat);
    // Hosts write plain letters; people who write a file by hand may use others.
    settings.setIniCodec("UTF-8");
    // A line that is no setting is nobody's: the host, which writes into the file that is there, keeps it for ever.
    QHash<QString, QString> values;
    const QStringList keys = settings.allKeys();
    for (const QString &key : keys) {
        if (key.startsWith(section))
            values.insert(key.mid(section.size()), toText(settings.value(key)));
    }
    if (settings.status() == QSettings::AccessError || !values.contains(QStringLiteral("function")))
        throw Failure(
            ExitCode::ConfigFile,
            QStringLiteral("the settings file %1 has no section [section] with a key \"function\"").arg(path));
    return Parameters(values);
}

double Parameters::number(const char *key, const Range &range) const
{
    const QString text = value(key);
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    if (!isNumber || !std::isfinite(number))
        refuse(key, text, QStringLiteral("a number"));
    if (number < range.least || number > range.most)
        refuse(key, text, describe("a number", range.least, range.most));
    return number;
}

int Parameters::integer(const char *key, int least, int most) const
{
    const QString text = value(key);
    bool isNumber = false;
    const double number = text.toDouble(&isNumber);
    // NaN is no whole number either.
    if (!isNumber || !(std::floor(number) == number) || number < least || number > most)
        refuse(key, text, describe("a whole number", least, most));
    return static_cast<int>(number);
}

bool Parameters::flag(const char *key) const
{
    const QString text = value(key);
    const QString word = text.toLower();
    if (word == QLatin1String("true") || word == QLatin1String("1"))
        return true;
    if (word == QLatin1String("false") || word == QLatin1String("0"))
        return false;
    refuse(key, text, QStringLiteral("true or false"));
}

QString Parameters::text(const char *key) const
{
    return m_values.value(QLatin1String(key));
}

QString Parameters::value(const char *key) const
{
    const auto found = m_values.constFind(QLatin1String(key));
    if (found == m_values.cend())
        throw Failure(ExitCode::Argument, QStringLiteral("the settings lack the key %1").arg(QLatin1String(key)));
    return *found;
}
