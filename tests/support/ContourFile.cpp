#include "ContourFile.h"

#include "BigEndian.h"

namespace support
{

namespace
{

template <typename Element>
void putCount(QByteArray &out, const std::optional<qint32> &lie, const std::vector<Element> &elements)
{
    putInt(out, lie.value_or(static_cast<qint32>(elements.size())));
}

void putGroup(QByteArray &out, const ContourFile::Group &group)
{
    putCount(out, group.heightCount, group.heights);
    for (const ContourFile::Height &height : group.heights) {
        putDouble(out, height.height);
        putCount(out, height.lineCount, height.lines);
        for (const ContourFile::Line &line : height.lines) {
            putCount(out, line.pointCount, line.points);
            for (const ContourFile::Point &point : line.points) {
                putDouble(out, point.x);
                putDouble(out, point.y);
            }
        }
    }
}

class Reader : public BigEndianReader
{
public:
    using BigEndianReader::BigEndianReader;

    /// How often something is repeated; none where that is more than a plain reader should try.
    qint32 count()
    {
        const qint32 count = int32();
        m_tooMany = m_tooMany || count > 1000000;
        return m_tooMany ? 0 : count;
    }
    bool tooMany() const { return m_tooMany; }

private:
    bool m_tooMany = false;
};

ContourFile::Line readLine(Reader &reader)
{
    ContourFile::Line line;
    const qint32 points = reader.count();
    for (qint32 i = 0; i < points; ++i) {
        const double x = reader.float64();
        line.points.push_back({x, reader.float64()});
    }
    return line;
}

ContourFile::Group readGroup(Reader &reader)
{
    ContourFile::Group group;
    const qint32 heights = reader.count();
    for (qint32 i = 0; i < heights; ++i) {
        ContourFile::Height height;
        height.height = reader.float64();
        const qint32 lines = reader.count();
        for (qint32 j = 0; j < lines; ++j)
            height.lines.push_back(readLine(reader));
        group.heights.push_back(height);
    }
    return group;
}

} // namespace

QByteArray ContourFile::bytes() const
{
    QByteArray out;
    putInt(out, version);
    for (const Group &group : groups)
        putGroup(out, group);
    return out;
}

std::optional<ContourFile> ContourFile::read(const QByteArray &bytes)
{
    Reader reader(bytes);
    ContourFile file;
    file.version = reader.int32();
    if (file.version != 1)
        return std::nullopt;
    for (Group &group : file.groups)
        group = readGroup(reader);
    if (reader.tooMany())
        return std::nullopt;
    return file;
}

ContourFile::Line contourLine(std::vector<std::pair<double, double>> points)
{
    ContourFile::Line line;
    for (const auto &[x, y] : points)
        line.points.push_back({x, y});
    return line;
}

ContourFile sampleContours()
{
    ContourFile file;
    file.groups[0].heights = {{-12.5, {contourLine({{1.25, -2.5}, {3.0, 4.0}, {1e300, -1e-300}})}, {}},
                              {0.5, {contourLine({{5.0, 6.0}}), contourLine({{7.0, 8.0}, {9.0, 10.0}})}, {}}};
    file.groups[1].heights = {{100.0, {contourLine({}), contourLine({{11.0, 12.0}, {13.5, 14.25}})}, {}}};
    return file;
}

} // namespace support
