#pragma once

#include <QByteArray>

#include <optional>
#include <utility>
#include <vector>

namespace support
{

/// A file of contours as plain numbers, written and read without the library and without Qt's streams.
struct ContourFile
{
    struct Point
    {
        double x = 0.0;
        double y = 0.0;
    };
    struct Line
    {
        std::vector<Point> points;
        std::optional<qint32> pointCount; ///< a count that lies; otherwise the number of elements
    };
    struct Height
    {
        double height = 0.0;
        std::vector<Line> lines;
        std::optional<qint32> lineCount; ///< likewise
    };
    struct Group
    {
        std::vector<Height> heights;
        std::optional<qint32> heightCount; ///< likewise
    };

    qint32 version = 1;
    Group groups[2];

    QByteArray bytes() const;

    /// What a file says to a reader that knows nothing of its end: behind it everything is zero. Counts below 1 are
    /// none. Nothing for another version, and where a count is above a million.
    static std::optional<ContourFile> read(const QByteArray &bytes);
};

/// A line of these points.
ContourFile::Line contourLine(std::vector<std::pair<double, double>> points);
/// Two groups with something of everything: three heights, two lines at one of them, a line without points.
ContourFile sampleContours();

} // namespace support
