// Building a data set file from an array beside the same work with nothing else: two passes that bin the points in
// memory, and one write. Both files are compared.
//
//   array_build DIR [ROUNDS]

#include "Best.h"

#include "PtCloud_DataSetFile.h"

#include <QDir>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <random>
#include <vector>

using namespace ptCloud;

namespace
{

constexpr unsigned int pointCount = 10000000;
constexpr float side = 40000.0F;
const QList<EDataSetColumn> columns = {EDataSetColumn_Position, EDataSetColumn_Color, EDataSetColumn_Intensity,
                                       EDataSetColumn_Classification, EDataSetColumn_GpsTime};

/// A survey in strips, as it was flown; or the same points in no order.
void fill(stPtCloud_PointArray &array, bool isShuffled)
{
    array.alloc(pointCount, columns, false, 0);
    constexpr unsigned int perLine = 2000;
    std::vector<unsigned int> order(pointCount);
    std::iota(order.begin(), order.end(), 0U);
    if (isShuffled)
        std::shuffle(order.begin(), order.end(), std::mt19937(1));
    for (unsigned int i = 0; i < pointCount; ++i) {
        const unsigned int number = order[i];
        const auto x = static_cast<float>(number % perLine) * (side / perLine);
        const auto y = static_cast<float>(number / perLine) * (side / (pointCount / perLine));
        array.m_position[i].set(x, y, 500.0F * std::sin(x / 3000.0F) * std::cos(y / 5000.0F));
        array.m_color[i].set(x / side, y / side, 0.5F, 1.0F);
        array.m_intensity[i] = static_cast<unsigned short>(number);
        array.m_classification[i] = static_cast<unsigned char>(number % 7);
        array.m_gpsTime[i] = number * 1e-5;
    }
}

/// The grid of one axis.
struct Axis
{
    int lower = 0;
    int upper = 0;
};

std::array<Axis, 3> axesOf(const stPtCloud_PointArray &array)
{
    std::array<Axis, 3> axes;
    for (int i = 0; i < 3; ++i) {
        float low = array.m_position[0][i];
        float high = low;
        for (unsigned int point = 0; point < array.m_pointCount; ++point) {
            low = std::min(low, array.m_position[point][i]);
            high = std::max(high, array.m_position[point][i]);
        }
        axes[static_cast<std::size_t>(i)] = {static_cast<int>(low - 0.5F) - 1, static_cast<int>(high + 0.5F) + 1};
    }
    return axes;
}

class PlainBuild
{
public:
    explicit PlainBuild(const stPtCloud_PointArray &array) : m_array(array), m_axes(axesOf(array)) {}

    void write(const QString &path)
    {
        bin();
        layOut();
        scatter();
        QFile file(path);
        file.open(QIODevice::WriteOnly | QIODevice::Truncate);
        file.write(m_bytes.data(), static_cast<qint64>(m_bytes.size()));
        file.flush();
    }

private:
    int boxOf(const pcVec3f &p) const
    {
        std::array<int, 3> index{};
        for (int i = 0; i < 3; ++i) {
            const auto lower = static_cast<float>(m_axes[static_cast<std::size_t>(i)].lower);
            index[static_cast<std::size_t>(i)] = static_cast<int>((p[i] - lower) / static_cast<float>(m_edge));
        }
        return (index[0] * m_counts[1] + index[1]) * m_counts[2] + index[2];
    }

    void bin()
    {
        int longest = 0;
        for (const Axis &axis : m_axes)
            longest = std::max(longest, axis.upper - axis.lower);
        m_edge = std::max(longest / 16 / 1000 * 1000, 1000);
        for (std::size_t i = 0; i < 3; ++i)
            m_counts[i] = (m_axes[i].upper - m_axes[i].lower + m_edge - 1) / m_edge;
        m_points.assign(static_cast<std::size_t>(m_counts[0] * m_counts[1] * m_counts[2]), 0);
        m_boxes.resize(m_array.m_pointCount);
        for (unsigned int i = 0; i < m_array.m_pointCount; ++i) {
            m_boxes[i] = boxOf(m_array.m_position[i]);
            ++m_points[static_cast<std::size_t>(m_boxes[i])];
        }
    }

    template <typename T>
    void put(T value)
    {
        std::memcpy(&m_bytes[m_at], &value, sizeof value);
        m_at += sizeof value;
    }

    /// Heads, and where the arrays of each box begin.
    void layOut()
    {
        constexpr std::size_t perPoint = 4 + 1 + 12 + 16 + 2 + 1 + 8;
        const auto blocks =
            m_points.size() - static_cast<std::size_t>(std::count(m_points.begin(), m_points.end(), 0U));
        m_bytes.resize(4 * (4 + static_cast<std::size_t>(columns.size())) + blocks * 40
                       + m_array.m_pointCount * perPoint);
        m_at = 0;
        for (const int word : {1, 1, columns.size()})
            put(word);
        for (const EDataSetColumn column : columns)
            put<int>(column);
        put(static_cast<int>(blocks));
        m_starts.assign(m_points.size(), 0);
        int key = 0;
        for (std::size_t box = 0; box < m_points.size(); ++box) {
            if (m_points[box] == 0)
                continue;
            put(++key);
            putCorners(static_cast<int>(box));
            put(m_points[box]);
            put(-1);
            put(0);
            m_starts[box] = m_at;
            m_at += m_points[box] * perPoint;
        }
    }

    void putCorners(int box)
    {
        const int index[3] = {box / (m_counts[1] * m_counts[2]), box / m_counts[2] % m_counts[1], box % m_counts[2]};
        for (const bool isUpper : {false, true}) {
            for (std::size_t i = 0; i < 3; ++i) {
                put(static_cast<float>(m_axes[i].lower + (index[i] + (isUpper ? 1 : 0)) * m_edge));
            }
        }
    }

    void scatter()
    {
        std::vector<unsigned int> done(m_points.size(), 0);
        unsigned int inRun = 0;
        for (unsigned int i = 0; i < m_array.m_pointCount; ++i) {
            const auto box = static_cast<std::size_t>(m_boxes[i]);
            inRun = i > 0 && m_boxes[i - 1] == m_boxes[i] ? inRun + 1 : 0;
            const std::size_t count = m_points[box];
            const std::size_t n = done[box]++;
            char *column = &m_bytes[m_starts[box]];
            const auto place = [&](const auto &value) {
                std::memcpy(column + n * sizeof value, &value, sizeof value);
                column += count * sizeof value;
            };
            place(inRun);
            place(static_cast<unsigned char>(0));
            place(m_array.m_position[i]);
            place(m_array.m_color[i]);
            place(m_array.m_intensity[i]);
            place(m_array.m_classification[i]);
            place(m_array.m_gpsTime[i]);
        }
    }

    const stPtCloud_PointArray &m_array;
    std::array<Axis, 3> m_axes;
    int m_edge = 0;
    std::array<int, 3> m_counts{};
    std::vector<int> m_boxes;
    std::vector<unsigned int> m_points; ///< in each box
    std::vector<std::size_t> m_starts;
    std::vector<char> m_bytes;
    std::size_t m_at = 0;
};

QByteArray readAll(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

bool compare(const QDir &dir, bool isShuffled, int rounds)
{
    const QString plainPath = dir.absoluteFilePath(QStringLiteral("plain.blk"));
    const QString path = dir.absoluteFilePath(QStringLiteral("array.blk"));
    stPtCloud_PointArray array;
    fill(array, isShuffled);
    double plain = 1e300;
    double library = 1e300;
    bool isSound = true;
    for (int i = 0; i < rounds; ++i) {
        QFile::remove(plainPath);
        QFile::remove(path);
        plain = std::min(plain, best(1, [&] { PlainBuild(array).write(plainPath); }));
        library = std::min(library, best(1, [&] {
                               PtCloud_DataSetFile file;
                               file.setFile(path);
                               isSound = isSound && file.makeDataSet_byPointsArray(array);
                           }));
    }
    const bool isSame = isSound && readAll(path) == readAll(plainPath);
    QFile::remove(plainPath);
    QFile::remove(path);
    std::printf("%-8s library %.3f s, plain %.3f s, ratio %.2f%s\n", isShuffled ? "random" : "strips", library, plain,
                plain / library, isSame ? "" : "  THE FILES DIFFER");
    return isSame;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "array_build DIR [ROUNDS]\n");
        return 2;
    }
    const QDir dir(QString::fromLocal8Bit(argv[1]));
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 5;
    const bool strips = compare(dir, false, rounds);
    const bool random = compare(dir, true, rounds);
    return strips && random ? 0 : 1;
}
