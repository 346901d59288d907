#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

namespace fuzz
{

/// A sound file that the search starts from.
struct Seed
{
    QByteArray name; ///< letters and digits
    QByteArray bytes;
};

/// One reader of the library under inputs that nobody made on purpose. An object of it at namespace scope, one for each
/// file `FORMATDriver.cpp`, is all that a driver needs: libFuzzer, the corpora and the tests find it in `all`.
///
///     bool run(const QByteArray &input);     // one input; answers whether the reader took it
///     std::vector<fuzz::Seed> seeds();       // taken, all of them
///     const fuzz::Driver driver("Format", run, seeds);
///
/// A run leaves nothing behind that another could notice, and throws what `check` throws.
class Driver
{
public:
    using Run = bool (*)(const QByteArray &input);
    using Seeds = std::vector<Seed> (*)();

    /// @param format  as in the name of the file; corpus, kept files and tests go by it
    Driver(const char *format, Run runOne, Seeds makeSeeds);
    Driver(const Driver &) = delete;
    Driver &operator=(const Driver &) = delete;

    const char *name() const { return m_name; }
    bool run(const QByteArray &input) const { return m_run(input); }
    std::vector<Seed> seeds() const { return m_seeds(); }

    /// The drivers of this program.
    static const std::vector<const Driver *> &all();

private:
    const char *m_name;
    Run m_run;
    Seeds m_seeds;
};

/// Throws where something does not hold. Nobody catches it under libFuzzer, so that the program ends on the spot with
/// the calls that led there; in a test it fails the row.
void check(bool holds, const char *what);

/// A directory of this process alone. It lies in memory where the system has a place for
/// that, or where `TMPDIR` says.
const QString &scratchDirectory();

/// Writes a file into the scratch directory, in place of the one that had the name.
///
/// @return its path
QString scratchFile(const QString &name, const QByteArray &bytes);

/// Keeps what the library logs off the terminal: most of the time would go there.
void silenceLibrary();

} // namespace fuzz
