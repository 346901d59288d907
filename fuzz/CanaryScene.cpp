#include "CanaryScene.h"

#include "Driver.h"

#include <QFile>

#include <filesystem>

namespace fuzz
{

using support::DiskState;

namespace
{

/// By the names' own bytes: what a hostile name became on disk may be no text.
void empty(const QString &directory)
{
    const std::filesystem::path path(QFile::encodeName(directory).toStdString());
    std::filesystem::create_directories(path);
    for (const auto &entry : std::filesystem::directory_iterator(path))
        std::filesystem::remove_all(entry);
}

} // namespace

CanaryScene::CanaryScene(const QString &name)
    : m_root(scratchDirectory() + QLatin1Char('/') + name), m_outer(m_root + QStringLiteral("/outer"))
{
    support::makeDirectory(m_outer + QStringLiteral("/beside"), {{QStringLiteral("Points"), support::pointsBytes(7)},
                                                                 {QStringLiteral("notes.txt"), "notes"}});
    support::makeDirectory(m_outer, {{QStringLiteral("canary"), "beside"}});
    support::makeDirectory(m_root, {{QStringLiteral("canary"), "above"}});
    lay({});
    m_before = outside();
}

void CanaryScene::lay(const DiskState &files) const
{
    empty(place());
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        const QString path = inPlace(it.key());
        check(QDir().mkpath(QFileInfo(path).path()) && support::writeFile(path, *it), "the place takes no file");
    }
}

void CanaryScene::checkOutside() const
{
    check(outside() == m_before, "a file outside was made, changed or removed");
}

DiskState CanaryScene::outside() const
{
    DiskState state;
    const QStringList directories = {m_root, m_outer, m_outer + QStringLiteral("/beside")};
    for (const QString &directory : directories) {
        const QFileInfoList entries =
            QDir(directory).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
        for (const QFileInfo &entry : entries)
            state[entry.filePath()] = entry.isFile() ? support::readFile(entry.filePath()) : QByteArray("directory");
    }
    return state;
}

} // namespace fuzz
