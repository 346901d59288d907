#include "DataSetArchive.h"

#include <QSet>

#include <algorithm>
#include <array>

namespace fuzz
{

namespace
{

constexpr std::array<const char *, 20> names = {
    "Points", "dem.demmesh", "dem.height.png", "dem.contour", "dem.classify", "earth.volume", "a.mesh",
    "b.mesh", "A.MESH",      "a.b.mesh",       ".mesh",       "a.split",      "b.split",      "a.cut",
    "b.cut",  "DEM.Contour", "tmp_points",     "notes.txt",   ".hidden",      "points"};
constexpr quint8 freeName = 63;
constexpr quint8 kinds = 0xC0;

class Reader
{
public:
    explicit Reader(const QByteArray &bytes) : m_bytes(bytes) {}

    bool atEnd() const { return m_at >= m_bytes.size(); }
    quint8 byte() { return atEnd() ? quint8(0) : static_cast<quint8>(m_bytes.at(m_at++)); }
    QByteArray take(int size)
    {
        const QByteArray taken = m_bytes.mid(m_at, size);
        m_at += taken.size();
        return taken;
    }

private:
    QByteArray m_bytes;
    int m_at = 0;
};

QString readName(Reader &reader, quint8 number)
{
    if (number != freeName)
        return QString::fromLatin1(names[number % names.size()]);
    QByteArray name = reader.take(reader.byte());
    name.replace('/', '_').replace('\0', '_');
    const bool isPlain = !name.isEmpty() && name != "." && name != "..";
    return isPlain ? QString::fromUtf8(name) : QStringLiteral("unnamed");
}

} // namespace

DataSetArchive DataSetArchive::parse(const QByteArray &bytes)
{
    DataSetArchive archive;
    QSet<QString> taken;
    for (Reader reader(bytes); !reader.atEnd() && archive.entries.size() < mostEntries;) {
        const quint8 head = reader.byte();
        Entry entry;
        entry.kind = (head & Link) != 0 ? Link : static_cast<EKind>(head & Directory);
        entry.name = readName(reader, head & quint8(~kinds));
        const int low = reader.byte();
        const int middle = reader.byte();
        entry.contents = reader.take(low | middle << 8 | reader.byte() << 16);
        if (!taken.contains(entry.name))
            archive.entries.push_back(entry);
        taken.insert(entry.name);
    }
    return archive;
}

QByteArray DataSetArchive::bytes() const
{
    QByteArray bytes;
    for (const Entry &entry : entries) {
        const auto *const known = std::find(names.begin(), names.end(), entry.name.toStdString());
        const bool isKnown = known != names.end();
        bytes.append(static_cast<char>(entry.kind | (isKnown ? static_cast<int>(known - names.begin()) : freeName)));
        if (!isKnown)
            bytes.append(static_cast<char>(entry.name.toUtf8().size())).append(entry.name.toUtf8());
        for (int shift = 0; shift < 24; shift += 8)
            bytes.append(static_cast<char>(entry.contents.size() >> shift & 0xff));
        bytes.append(entry.contents);
    }
    return bytes;
}

} // namespace fuzz
