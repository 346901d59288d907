// las_floor IN.las OUT COLUMNS
//
// The floor under the builder: the same bytes from the same LAS file (format 3, scale 0.001, offset 0, COLUMNS "all" or
// "some") with nothing else. It maps the file, walks it twice in order, gathers all blocks in memory and writes each
// with one call; no library, no read-ahead, no bound on memory, no look at an error. Prints the seconds.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr std::size_t recordSize = 34;
constexpr std::size_t window = 1000000; // where the builder's reading steps cut a run

template <typename T>
T get(const unsigned char *bytes)
{
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

template <typename T>
void put(unsigned char *bytes, T value)
{
    std::memcpy(bytes, &value, sizeof value);
}

struct Grid
{
    std::int64_t lower[3];
    std::int64_t size;
    std::int64_t count[3];

    int boxOf(const unsigned char *record) const
    {
        std::int64_t box = 0;
        for (int axis = 0; axis < 3; ++axis) {
            const std::int64_t distance = get<std::int32_t>(record + 4 * axis) - lower[axis];
            const auto index = static_cast<std::int64_t>(static_cast<double>(distance) / static_cast<double>(size));
            if (distance < 0 || index >= count[axis])
                return -1;
            box = box * count[axis] + index;
        }
        return static_cast<int>(box);
    }
};

Grid gridOf(const unsigned char *file)
{
    Grid grid = {};
    std::int64_t longest = 0;
    for (int axis = 0; axis < 3; ++axis) {
        const auto scale = get<double>(file + 131 + 8 * axis);
        const auto high = static_cast<std::int64_t>(get<double>(file + 179 + 16 * axis) / scale) + 1;
        const auto low = static_cast<std::int64_t>(get<double>(file + 187 + 16 * axis) / scale) - 1;
        grid.lower[axis] = low;
        grid.count[axis] = high - low;
        longest = std::max(longest, high - low);
    }
    grid.size =
        std::max<std::int64_t>(static_cast<std::int64_t>(static_cast<double>(longest) * 0.0625) / 1000 * 1000, 1000);
    for (std::int64_t &count : grid.count)
        count = count / grid.size + 1;
    return grid;
}

/// A block as it stands in the file: head, data, and where the next value of each column goes.
struct Block
{
    int box = 0;
    std::uint32_t points = 0;
    unsigned char *bytes = nullptr;
    unsigned char *indices = nullptr;
    unsigned char *position = nullptr;
    unsigned char *color = nullptr;
    unsigned char *intensity = nullptr;
    unsigned char *flags = nullptr; // return number, number of returns, direction, edge, class, angle, user data
    unsigned char *pointSource = nullptr;
    unsigned char *gpsTime = nullptr;

    static std::size_t size(std::size_t points, bool all) { return 40 + points * (all ? 52U : 43U); }

    void place(unsigned char *at, bool all)
    {
        const std::size_t n = points;
        bytes = at;
        indices = at + 40;
        position = indices + 5 * n;
        color = position + 12 * n;
        intensity = color + 16 * n;
        flags = intensity + 2 * n;
        pointSource = flags + (all ? 7 * n : 0);
        gpsTime = pointSource + (all ? 2 * n : 0);
        std::memset(indices + 4 * n, 0, n); // marks
    }
};

template <typename T>
void append(unsigned char *&at, T value)
{
    put(at, value);
    at += sizeof value;
}

template <bool all>
void convert(const unsigned char *record, Block &block, std::uint32_t index, float divisor)
{
    append(block.indices, index);
    for (std::size_t axis = 0; axis < 3; ++axis)
        append(block.position, static_cast<float>(get<std::int32_t>(record + 4 * axis)) / 1000.0F);
    for (std::size_t channel = 0; channel < 3; ++channel)
        append(block.color,
               std::min(static_cast<float>(get<std::uint16_t>(record + 28 + 2 * channel)) / divisor, 1.0F));
    append(block.color, 1.0F);
    append(block.intensity, get<std::uint16_t>(record + 12));
    append(block.gpsTime, get<double>(record + 20));
    if (!all)
        return;
    const std::size_t n = block.points;
    const unsigned int flags = record[14];
    block.flags[0] = static_cast<unsigned char>(flags & 7U);
    block.flags[n] = static_cast<unsigned char>((flags >> 3U) & 7U);
    block.flags[2 * n] = static_cast<unsigned char>((flags >> 6U) & 1U);
    block.flags[3 * n] = static_cast<unsigned char>(flags >> 7U);
    block.flags[4 * n] = record[15];
    block.flags[5 * n] = record[16];
    block.flags[6 * n] = record[17];
    ++block.flags;
    append(block.pointSource, get<std::uint16_t>(record + 18));
}

std::vector<unsigned char> headBytes(std::size_t blocks, bool all)
{
    std::vector<std::uint32_t> words = {1, 1};
    const std::vector<std::uint32_t> columns = all ? std::vector<std::uint32_t>{0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}
                                                   : std::vector<std::uint32_t>{0, 3, 4, 13};
    words.push_back(static_cast<std::uint32_t>(columns.size()));
    words.insert(words.end(), columns.begin(), columns.end());
    words.push_back(static_cast<std::uint32_t>(blocks));
    std::vector<unsigned char> bytes(4 * words.size());
    std::memcpy(bytes.data(), words.data(), bytes.size());
    return bytes;
}

void writeBlockHead(const Block &block, int key, const Grid &grid)
{
    unsigned char *out = block.bytes;
    put(out, key);
    const std::int64_t index[3] = {block.box / grid.count[2] / grid.count[1], block.box / grid.count[2] % grid.count[1],
                                   block.box % grid.count[2]};
    for (int axis = 0; axis < 3; ++axis) {
        const std::int64_t low = grid.lower[axis] + index[axis] * grid.size;
        put(out + 4 + 4 * axis, static_cast<float>(low) / 1000.0F);
        put(out + 16 + 4 * axis, static_cast<float>(low + grid.size) / 1000.0F);
    }
    put(out + 28, block.points);
    put(out + 32, -1);
    put(out + 36, 0);
}

/// The sampled test for colours of 8 bits.
float colorDivisor(const unsigned char *records, std::size_t count)
{
    for (std::size_t i = 0; i < count; i += std::max<std::size_t>(count / 1000, 1)) {
        const unsigned char *color = records + i * recordSize + 28;
        if (color[1] != 0 || color[3] != 0 || color[5] != 0)
            return 65535.0F;
    }
    return 255.0F;
}

std::vector<Block> blocksOf(const std::vector<std::uint32_t> &pointsOf)
{
    std::vector<Block> blocks;
    for (std::size_t box = 0; box < pointsOf.size(); ++box) {
        if (pointsOf[box] == 0)
            continue;
        blocks.emplace_back();
        blocks.back().box = static_cast<int>(box);
        blocks.back().points = pointsOf[box];
    }
    return blocks;
}

/// The records in the order of their boxes, and within a box in their own.
struct Order
{
    std::vector<std::uint32_t> pointsOf;
    std::unique_ptr<std::uint32_t[]> records;
    std::unique_ptr<std::uint16_t[]> boxes;
};

Order sortByBox(const unsigned char *records, std::size_t count, const Grid &grid)
{
    Order order;
    order.pointsOf.assign(static_cast<std::size_t>(grid.count[0] * grid.count[1] * grid.count[2]), 0);
    order.boxes.reset(new std::uint16_t[count]);
    order.records.reset(new std::uint32_t[count]);
    for (std::size_t i = 0; i < count; ++i) {
        const auto box = static_cast<std::uint16_t>(grid.boxOf(records + i * recordSize));
        order.boxes[i] = box;
        ++order.pointsOf[box];
    }
    std::vector<std::uint32_t> next(order.pointsOf.size(), 0);
    for (std::size_t box = 1; box < next.size(); ++box)
        next[box] = next[box - 1] + order.pointsOf[box - 1];
    for (std::size_t i = 0; i < count; ++i)
        order.records[next[order.boxes[i]]++] = static_cast<std::uint32_t>(i);
    return order;
}

struct Figures
{
    std::size_t runs = 0;
    std::size_t largestBlock = 0;
};

template <bool all>
Figures build(const char *in, const char *out)
{
    Figures figures;
    const int file = ::open(in, O_RDONLY);
    struct stat info = {};
    ::fstat(file, &info);
    const auto *bytes = static_cast<const unsigned char *>(
        ::mmap(nullptr, static_cast<std::size_t>(info.st_size), PROT_READ, MAP_SHARED | MAP_POPULATE, file, 0));
    const unsigned char *records = bytes + get<std::uint32_t>(bytes + 96);
    const std::size_t count = get<std::uint32_t>(bytes + 107);
    const Grid grid = gridOf(bytes);
    const Order order = sortByBox(records, count, grid);
    const std::vector<Block> blocks = blocksOf(order.pointsOf);
    const float divisor = colorDivisor(records, count);

    const int target = ::open(out, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const std::vector<unsigned char> head = headBytes(blocks.size(), all);
    bool done = ::write(target, head.data(), head.size()) == static_cast<ssize_t>(head.size());
    std::vector<unsigned char> memory;
    const std::uint32_t *next = order.records.get();
    int key = 0;
    for (Block block : blocks) {
        const std::size_t size = Block::size(block.points, all);
        if (memory.size() < size)
            memory.resize(size);
        figures.largestBlock = memory.size();
        block.place(memory.data(), all);
        writeBlockHead(block, ++key, grid);
        std::uint32_t index = 0;
        for (std::uint32_t i = 0; i < block.points; ++i, ++next) {
            const bool goesOn = i != 0 && next[0] == next[-1] + 1 && *next % window != 0;
            index = goesOn ? index + 1 : 0;
            figures.runs += goesOn ? 0 : 1;
            convert<all>(records + *next * recordSize, block, index, divisor);
        }
        done = ::write(target, memory.data(), size) == static_cast<ssize_t>(size) && done;
    }
    ::close(target);
    if (!done)
        std::abort();
    return figures;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 4)
        return 2;
    const auto begin = std::chrono::steady_clock::now();
    const bool all = std::strcmp(argv[3], "all") == 0;
    const Figures figures = all ? build<true>(argv[1], argv[2]) : build<false>(argv[1], argv[2]);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    std::printf("%.4f %zu %zu\n", seconds.count(), figures.runs, figures.largestBlock);
    std::fflush(stdout);
    ::_exit(0); // what the system needs to take the memory back is not part of the work
}
