#pragma once

#include <QHash>
#include <QString>

#include <limits>

/// The numbers that a key may have; both ends belong to it.
struct Range
{
    double least = std::numeric_limits<double>::lowest();
    double most = std::numeric_limits<double>::max();
};

/// The settings of a run: the values of the settings file's section, each checked when it is asked for.
///
///     const double epsilon = parameters.number("epsilon", {0.001, 1000});
///
/// A value that is missing, of the wrong kind or out of range throws `Failure(ExitCode::Argument)`, whose message names
/// the key, the value and what it may be. Keys of other functions may stand in the file; nobody asks for them.
class Parameters
{
public:
    /// Values by key, as text.
    explicit Parameters(const QHash<QString, QString> &values) : m_values(values) {}
    /// Reads the settings file. Throws `Failure(ExitCode::ConfigFile)` where it is missing, can't be read or is no ini
    /// file with the key `function`. Lines that are no settings are passed over.
    static Parameters fromFile(const QString &path);

    /// Finite; a decimal point, whatever the user's language.
    double number(const char *key, const Range &range = {}) const;
    /// A number without a fraction that fits `int`.
    int integer(const char *key, int least = std::numeric_limits<int>::min(),
                int most = std::numeric_limits<int>::max()) const;
    /// true or false, 1 or 0.
    bool flag(const char *key) const;
    /// Empty where the key is missing: an empty path means that there is none.
    QString text(const char *key) const;

private:
    QString value(const char *key) const;

    QHash<QString, QString> m_values;
};
