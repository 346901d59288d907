#include "DemoSurvey.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr double pointsPerSquareMetre = 8.0;
constexpr double origin = 1000.0;
constexpr double stripWidth = 60.0;
constexpr double flyingHeight = 400.0;
constexpr double pointsPerSecond = 200000.0;

quint64 mix(quint64 value)
{
    // splitmix64 (Steele, Lea, Flood: Fast Splittable Pseudorandom Number Generators, 2014)
    value += 0x9e3779b97f4a7c15ULL;
    value = (value ^ (value >> 30U)) * 0xbf58476d1ce4e5b9ULL;
    value = (value ^ (value >> 27U)) * 0x94d049bb133111ebULL;
    return value ^ (value >> 31U);
}

quint64 mix(quint64 a, quint64 b, quint64 c)
{
    return mix(mix(mix(a) ^ b) ^ c);
}

/// 0 to below 1.
double unit(quint64 hash)
{
    return static_cast<double>(hash >> 11U) * 0x1.0p-53;
}

quint64 cell(double value)
{
    return static_cast<quint64>(static_cast<qint64>(std::floor(value)));
}

double smooth(double t)
{
    return t * t * (3.0 - 2.0 * t);
}

/// Turns back at the edges what would lie beyond them.
double reflected(double value, double edge)
{
    return std::clamp(value < 0.0 ? -value : value > edge ? 2.0 * edge - value : value, 0.0, edge);
}

quint16 shade(double value)
{
    return static_cast<quint16>(std::clamp(value, 0.0, 1.0) * 65535.0);
}

} // namespace

DemoSurvey::DemoSurvey(quint32 pointCount, quint32 number)
    : m_pointCount(pointCount), m_number(mix(number)),
      m_edge(std::max(std::sqrt(pointCount / pointsPerSquareMetre), 20.0)),
      m_strips(static_cast<quint32>(std::max(std::lround(m_edge / stripWidth), 1L)))
{}

/// Value noise: random heights at whole coordinates, joined smoothly.
double DemoSurvey::noise(double x, double y) const
{
    const double fx = smooth(x - std::floor(x));
    const double fy = smooth(y - std::floor(y));
    const auto corner = [&](double dx, double dy) { return unit(mix(m_number, cell(x + dx), cell(y + dy))); };
    const double low = corner(0, 0) * (1.0 - fx) + corner(1, 0) * fx;
    const double high = corner(0, 1) * (1.0 - fx) + corner(1, 1) * fx;
    return low * (1.0 - fy) + high * fy;
}

double DemoSurvey::groundAt(double x, double y) const
{
    return 120.0 + 30.0 * noise(x / 180.0, y / 180.0) + 8.0 * noise(x / 50.0, y / 50.0)
           + 1.2 * noise(x / 12.0, y / 12.0);
}

DemoSurvey::Surface DemoSurvey::groundSurface(double x, double y) const
{
    const double wetness = noise(x / 90.0 + 500.0, y / 90.0);
    const double grain = 0.08 * noise(x * 2.0, y * 2.0);
    return {groundAt(x, y),
            2,
            shade(0.42 - 0.22 * wetness + grain),
            shade(0.46 - 0.04 * wetness + grain),
            shade(0.26 - 0.08 * wetness + grain),
            static_cast<quint16>(900 + 700 * wetness),
            false};
}

/// Lots of 42 m, about a third of them with a gabled house.
bool DemoSurvey::buildingAt(double x, double y, Surface &surface) const
{
    constexpr double lot = 42.0;
    const double left = std::floor(x / lot) * lot;
    const double low = std::floor(y / lot) * lot;
    const quint64 hash = mix(m_number + 1, cell(x / lot), cell(y / lot));
    if (unit(hash) > 0.33)
        return false;
    const double width = 10.0 + 12.0 * unit(mix(hash));
    const double depth = 8.0 + 10.0 * unit(mix(hash + 1));
    const double middleX = left + width / 2.0 + (lot - width) * unit(mix(hash + 4));
    const double middleY = low + depth / 2.0 + (lot - depth) * unit(mix(hash + 5));
    const double dx = std::abs(x - middleX) / (width / 2.0);
    const double dy = std::abs(y - middleY) / (depth / 2.0);
    if (dx > 1.0 || dy > 1.0)
        return false;
    const double eaves = groundAt(middleX, middleY) + 3.0 + 5.0 * unit(mix(hash + 2));
    const double red = 0.45 + 0.3 * unit(mix(hash + 3));
    surface = {eaves + 3.0 * (1.0 - dy), 6, shade(red), shade(0.3), shade(0.25), 2600, false};
    return true;
}

/// Lots of 12 m, some with a tree whose crown is a half ellipsoid.
bool DemoSurvey::treeAt(double x, double y, Surface &surface) const
{
    constexpr double lot = 12.0;
    const quint64 hash = mix(m_number + 2, cell(x / lot), cell(y / lot));
    if (unit(hash) > 0.55 * noise(x / 70.0, y / 70.0 + 900.0))
        return false;
    const double radius = 2.0 + 3.0 * unit(mix(hash));
    const double middleX = std::floor(x / lot) * lot + radius + (lot - 2.0 * radius) * unit(mix(hash + 3));
    const double middleY = std::floor(y / lot) * lot + radius + (lot - 2.0 * radius) * unit(mix(hash + 4));
    const double dx = x - middleX;
    const double dy = y - middleY;
    const double inside = 1.0 - (dx * dx + dy * dy) / (radius * radius);
    if (inside <= 0.0)
        return false;
    const double height = 4.0 + 10.0 * unit(mix(hash + 1));
    const double depth = std::min(radius, height - 3.0); // no crown reaches the ground
    const double top = groundAt(middleX, middleY) + height;
    const double green = 0.3 + 0.25 * unit(mix(hash + 2));
    surface = {top - depth * (1.0 - std::sqrt(inside)), 5, shade(0.16), shade(green), shade(0.12), 600, true};
    return true;
}

DemoSurvey::Surface DemoSurvey::surfaceAt(double x, double y) const
{
    Surface surface = groundSurface(x, y);
    if (!buildingAt(x, y, surface))
        treeAt(x, y, surface);
    return surface;
}

stLasRecord_fmt_5 DemoSurvey::point(quint32 index) const
{
    const quint64 hash = mix(m_number + 3, index, 0);
    const quint64 perStrip = (static_cast<quint64>(m_pointCount) + m_strips - 1) / m_strips;
    const auto strip = static_cast<quint32>(index / perStrip);
    double along = static_cast<double>(index % perStrip) / static_cast<double>(perStrip);
    if (strip % 2 == 1)
        along = 1.0 - along; // there and back again
    // The mirror swings across the strip some hundred points at a time, a little beyond its edges.
    const double swing = std::sin(static_cast<double>(index) * 0.02 + unit(hash) * 0.3);
    const double width = m_edge / m_strips;
    const double x = reflected((strip + 0.5 + 0.55 * swing) * width, m_edge);
    const double y = reflected(along * m_edge + (unit(mix(hash)) - 0.5), m_edge);

    Surface surface = surfaceAt(x, y);
    quint8 returnNumber = 1;
    quint8 returns = 1;
    if (surface.isCrown) {
        returns = 2;
        const double depth = unit(mix(hash + 1));
        if (depth > 0.7) {
            surface = groundSurface(x, y);
            returnNumber = 2;
        } else {
            surface.height -= 1.5 * depth;
        }
    }
    const double height = surface.height + 0.03 * (unit(mix(hash + 2)) - 0.5);

    stLasRecord_fmt_5 record = {};
    record.x = static_cast<qint32>(std::lround((origin + x) * 1000.0));
    record.y = static_cast<qint32>(std::lround((origin + y) * 1000.0));
    record.z = static_cast<qint32>(std::lround(height * 1000.0));
    record.intensity = static_cast<quint16>(surface.intensity + hash % 200);
    const bool isEdge = std::abs(swing) > 0.995;
    const auto returnBits = static_cast<unsigned int>(returnNumber | returns << 3);
    record.returnFlags = static_cast<quint8>(returnBits | (strip % 2) << 6 | (isEdge ? 1U : 0U) << 7);
    record.classification = surface.classification;
    const double angle = std::atan2(swing * width / 2.0, flyingHeight) * 57.29577951308232;
    record.scanAngleRank = static_cast<quint8>(static_cast<qint8>(std::lround(angle)));
    record.pointSourceId = static_cast<quint16>(strip + 1);
    record.gpsTime = 300000.0 + index / pointsPerSecond;
    record.red = surface.red;
    record.green = surface.green;
    record.blue = surface.blue;
    record.wavePacketDescriptorIndex = 1;
    record.byteOffsetToWaveformData = static_cast<quint64>(index) * 64U;
    record.waveformPacketSize = 64;
    record.returnPointWaveformLocation = static_cast<float>(1000.0 + 500.0 * unit(hash));
    record.xt = static_cast<float>(0.0001 * swing);
    record.zt = -0.00015F;
    return record;
}

Shuffle::Shuffle(quint32 count, quint32 number) : m_count(count), m_number(mix(number)), m_halfBits(1)
{
    while ((1ULL << (2U * m_halfBits)) < m_count)
        ++m_halfBits;
}

quint32 Shuffle::operator()(quint32 index) const
{
    // A Feistel network shuffles the next larger power of four; what falls outside is sent through again.
    const quint64 mask = (1ULL << m_halfBits) - 1;
    quint64 value = index;
    do {
        for (quint64 round = 0; round < 4; ++round) {
            const quint64 right = value & mask;
            value = right << m_halfBits | ((value >> m_halfBits) ^ (mix(m_number, round, right) & mask));
        }
    } while (value >= m_count);
    return static_cast<quint32>(value);
}
