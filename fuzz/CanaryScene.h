#pragma once

#include "DataSetDirectory.h"

#include <QString>

namespace fuzz
{

/// A directory `place` for a reader, with files beside it and above it that must stay as they are:
///
///     canary
///     outer/canary
///     outer/beside/Points        a sound data set
///     outer/beside/notes.txt     what loading it would delete
///     outer/place/               the reader's own
///
/// Every check throws as `check` does.
class CanaryScene
{
public:
    /// @param name  of the scene's directory within the scratch directory
    explicit CanaryScene(const QString &name);

    QString place() const { return m_outer + QStringLiteral("/place"); }
    QString inPlace(const QString &name) const { return place() + QLatin1Char('/') + name; }

    /// Empties the place and puts these files there; a "/" in a name makes a directory.
    void lay(const support::DiskState &files) const;
    support::DiskState inPlace() const { return support::diskState(place()); }
    /// Checks that nothing outside the place was made, changed or removed.
    void checkOutside() const;

private:
    support::DiskState outside() const;

    QString m_root;
    QString m_outer;
    support::DiskState m_before;
};

} // namespace fuzz
