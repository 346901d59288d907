// The contours of a terrain: read, written, and read again.

#include "Driver.h"

#include "BigEndian.h"
#include "Bytes.h"
#include "ContourFile.h"
#include "PtCloud_ContourFile.h"

#include <algorithm>
#include <cmath>
#include <cstring>

using fuzz::check;
using ptCloud::PtCloud_ContourFile;
using support::ContourFile;

namespace
{

using Group = PtCloud_ContourFile::Group;

/// Beyond this a save would only cost time: a file that was cut may stand for millions of points.
constexpr qint64 mostPointsToSave = 100000;

bool isSame(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

bool isSame(const QVector<QPointF> &a, const QVector<QPointF> &b)
{
    return a.size() == b.size()
           && (a.isEmpty() || std::memcmp(a.constData(), b.constData(), sizeof(QPointF) * std::size_t(a.size())) == 0);
}

bool isSame(const Group &a, const Group &b)
{
    if (a.size() != b.size())
        return false;
    for (auto i = a.cbegin(), j = b.cbegin(); i != a.cend(); ++i, ++j) {
        if (!isSame(i.key(), j.key()) || i->size() != j->size())
            return false;
        for (int line = 0; line < i->size(); ++line) {
            if (!isSame(i->at(line), j->at(line)))
                return false;
        }
    }
    return true;
}

bool isSame(const ContourFile::Group &plain, const Group &group)
{
    if (plain.heights.size() != static_cast<std::size_t>(group.size()))
        return false;
    auto it = group.cbegin();
    for (const ContourFile::Height &height : plain.heights) {
        if (!isSame(height.height, it.key()) || height.lines.size() != static_cast<std::size_t>(it->size()))
            return false;
        for (int line = 0; line < it->size(); ++line) {
            const std::vector<ContourFile::Point> &points = height.lines[static_cast<std::size_t>(line)].points;
            QVector<QPointF> drawn;
            for (const ContourFile::Point &point : points)
                drawn.append({point.x, point.y});
            if (!isSame(drawn, it->at(line)))
                return false;
        }
        ++it;
    }
    return true;
}

/// Lines count as points: each of them takes its count in the file.
qint64 pointsOf(const Group &group)
{
    qint64 points = 0;
    for (const auto &lines : group) {
        for (const QVector<QPointF> &line : lines)
            points += 1 + line.size();
    }
    return points;
}

/// What is not a number has no place in an order, and so none in a map.
bool hasOrder(const Group &group)
{
    for (auto it = group.cbegin(); it != group.cend(); ++it) {
        if (std::isnan(it.key()))
            return false;
    }
    return true;
}

void checkSave(const PtCloud_ContourFile &contours)
{
    PtCloud_ContourFile saved = contours;
    saved.setFile(fuzz::scratchDirectory() + QStringLiteral("/saved.contour"));
    saved.contourGroup1() = contours.contourGroup1();
    saved.contourGroup2() = contours.contourGroup2();
    check(saved.saveToFile(), "what was read can be saved");
    const auto plain = ContourFile::read(support::readFile(saved.getFilepath()));
    check(plain && isSame(plain->groups[0], contours.contourGroup1())
              && isSame(plain->groups[1], contours.contourGroup2()),
          "the saved file holds the contours");
    check(saved.openFile(), "what was saved can be read");
    check(isSame(saved.contourGroup1(), contours.contourGroup1())
              && isSame(saved.contourGroup2(), contours.contourGroup2()),
          "a save and a load change nothing");
}

/// Lines and points that a group announces beyond the end of the file.
qint64 missingIn(support::BigEndianReader &reader)
{
    qint64 missing = 0;
    const qint32 heights = reader.int32();
    for (qint32 i = 0; i < heights && reader.left() > 0; ++i) {
        reader.float64();
        const qint32 lines = reader.int32();
        for (qint32 line = 0; line < lines; ++line) {
            if (reader.left() == 0)
                return missing + lines - line;
            const qint64 points = std::max(reader.int32(), 0);
            const qint64 there = std::min(points, (reader.left() + 15) / 16);
            missing += points - there;
            reader.skip(16 * there);
        }
    }
    return missing;
}

/// A damaged count mostly stands for a million elements, which are read and are all the same. A few of those files are
/// enough: the search spends its time elsewhere.
bool isTedious(const QByteArray &input)
{
    support::BigEndianReader reader(input);
    reader.int32();
    const qint64 missing = missingIn(reader) + missingIn(reader);
    return missing > 1000 && static_cast<quint8>(input.back()) != 0x77;
}

bool run(const QByteArray &input)
{
    if (isTedious(input))
        return false;
    const QString path = fuzz::scratchFile(QStringLiteral("dem.contour"), input);
    PtCloud_ContourFile contours;
    contours.setFile(path);
    const bool isRead = contours.openFile();
    check(!contours.isOpen(), "reading leaves no file open");
    check(isRead || (contours.contourGroup1().isEmpty() && contours.contourGroup2().isEmpty()),
          "a refused file leaves both groups empty");
    if (isRead && hasOrder(contours.contourGroup1()) && hasOrder(contours.contourGroup2())
        && pointsOf(contours.contourGroup1()) + pointsOf(contours.contourGroup2()) < mostPointsToSave)
        checkSave(contours);
    contours.closeFile();
    check(contours.contourGroup1().isEmpty() && contours.contourGroup2().isEmpty(), "closing empties both groups");
    check(support::readFile(path) == input, "reading leaves the file as it is");
    return isRead;
}

std::vector<fuzz::Seed> seeds()
{
    ContourFile line;
    line.groups[0].heights = {{0.5, {support::contourLine({{1, 2}, {3, 4}})}, {}}};
    ContourFile sameHeights = line;
    sameHeights.groups[1].heights = {line.groups[0].heights[0], line.groups[0].heights[0], {-0.5, {}, {}}};
    return {{"none", ContourFile().bytes()},
            {"oneLine", line.bytes()},
            {"sameHeightTwice", sameHeights.bytes()},
            {"severalHeights", support::sampleContours().bytes()}};
}

const fuzz::Driver driver("Contours", run, seeds);

} // namespace
