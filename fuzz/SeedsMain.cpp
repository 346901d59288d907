// Writes the seeds of all drivers into a directory, each driver's into one of its own:  fuzz_seeds DIR

#include "Driver.h"

#include "Bytes.h"

#include <QCoreApplication>
#include <QDir>

#include <cstdio>

namespace
{

bool writeSeeds(const fuzz::Driver &driver, const QDir &root)
{
    const QString name = QString::fromLatin1(driver.name());
    if (!root.mkpath(name))
        return false;
    const QDir directory(root.filePath(name));
    for (const fuzz::Seed &seed : driver.seeds()) {
        if (!support::writeFile(directory.filePath(QString::fromLatin1(seed.name)), seed.bytes))
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (argc != 2) {
        std::fputs("usage: fuzz_seeds DIR\n", stderr);
        return 2;
    }
    for (const fuzz::Driver *driver : fuzz::Driver::all()) {
        if (!writeSeeds(*driver, QDir(QString::fromLocal8Bit(argv[1])))) {
            std::fprintf(stderr, "fuzz_seeds: can't write the seeds of %s\n", driver->name());
            return 1;
        }
    }
    return 0;
}
