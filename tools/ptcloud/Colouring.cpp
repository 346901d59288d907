#include "Colouring.h"

#include "Spread.h"

#include <algorithm>
#include <bitset>
#include <cmath>

using namespace ptCloud;

namespace
{

/// A value between those of the corners.
template <typename Value>
double mixed(const Place &place, Value valueOf)
{
    double sum = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        if (place.weights[i] > 0)
            sum += place.weights[i] * static_cast<double>(valueOf(place.corners[i]));
    }
    return sum;
}

unsigned int nearestCorner(const Place &place)
{
    const auto heaviest = std::max_element(place.weights.begin(), place.weights.end()) - place.weights.begin();
    return place.corners[static_cast<std::size_t>(heaviest)];
}

/// Colours in equal steps, from low to high.
using Ramp = std::vector<QRgb>;

constexpr std::size_t rampSize = 256;

/// Through colours that follow each other in equal steps.
Ramp rampThrough(const std::vector<QColor> &stops)
{
    Ramp ramp;
    for (std::size_t i = 0; i < rampSize; ++i) {
        const double at = static_cast<double>(i * (stops.size() - 1)) / (rampSize - 1);
        const std::size_t first = std::min(static_cast<std::size_t>(at), stops.size() - 2);
        const double share = at - static_cast<double>(first);
        const auto channel = [share](int from, int to) {
            return static_cast<int>(std::lround(from + (to - from) * share));
        };
        const QColor &low = stops[first];
        const QColor &high = stops[first + 1];
        ramp.push_back(
            qRgb(channel(low.red(), high.red()), channel(low.green(), high.green()), channel(low.blue(), high.blue())));
    }
    return ramp;
}

/// A value in the colours of a ramp, which a few strays at both ends don't stretch.
class RampColouring : public Colouring
{
public:
    using ValueOf = float (*)(const stPtCloud_PointArray &block, unsigned int point);

    RampColouring(const char *title, EDataSetColumn column, ValueOf valueOf, const std::vector<QColor> &stops,
                  double light)
        : m_title(QLatin1String(title)), m_column(column), m_valueOf(valueOf), m_ramp(rampThrough(stops)),
          m_light(light)
    {}

    EDataSetColumn column() const override { return m_column; }
    void see(const stPtCloud_PointArray &block, unsigned int point) override { m_spread.add(m_valueOf(block, point)); }
    void settle() override
    {
        constexpr double strays = 0.002;
        m_low = m_spread.quantile(strays);
        m_high = m_spread.quantile(1 - strays);
    }
    QRgb color(const Place &place) const override
    {
        const double value = mixed(place, [&](unsigned int corner) { return m_valueOf(place.block, corner); });
        const double share = m_high > m_low ? std::clamp((value - m_low) / (m_high - m_low), 0.0, 1.0) : 0.0;
        return m_ramp[static_cast<std::size_t>(std::lround(share * (rampSize - 1)))];
    }
    Legend legend() const override
    {
        Legend legend;
        legend.title = m_title;
        legend.ramp = m_ramp;
        legend.low = m_low;
        legend.high = m_high;
        return legend;
    }
    double lightOnPoints() const override { return m_light; }

private:
    QString m_title;
    EDataSetColumn m_column;
    ValueOf m_valueOf;
    Ramp m_ramp;
    double m_light;
    Spread m_spread;
    double m_low = 0;
    double m_high = 0;
};

std::unique_ptr<Colouring> byHeight(const QList<int> &)
{
    // Blue, green, yellow, red, each as bright as its neighbours.
    return std::make_unique<RampColouring>(
        "height", EDataSetColumn_Position,
        [](const stPtCloud_PointArray &block, unsigned int point) { return block.m_position[point].z(); },
        std::vector<QColor>{{51, 77, 166}, {51, 153, 153}, {115, 191, 89}, {242, 217, 89}, {217, 89, 64}}, 0.6);
}

std::unique_ptr<Colouring> byIntensity(const QList<int> &)
{
    return std::make_unique<RampColouring>(
        "intensity", EDataSetColumn_Intensity,
        [](const stPtCloud_PointArray &block, unsigned int point) {
            return static_cast<float>(block.m_intensity[point]);
        },
        std::vector<QColor>{{20, 20, 20}, {240, 240, 240}}, 0);
}

class OwnColours : public Colouring
{
public:
    EDataSetColumn column() const override { return EDataSetColumn_Color; }
    QRgb color(const Place &place) const override
    {
        const auto channel = [&place](unsigned int number) {
            const double value = mixed(place, [&](unsigned int i) { return place.block.m_color[i][number]; });
            // A channel that is not a number is as good as full.
            return value < 1 ? static_cast<int>(std::max(value, 0.0) * 255) : 255;
        };
        return qRgb(channel(0), channel(1), channel(2));
    }
    Legend legend() const override { return {}; }
};

/// Colours without end, of which any two among many neighbours in the row differ well. The steps round the hues are
/// those of the golden section; the ways through paler and darker colours were sought with the first 64 in view.
QColor colorInRow(int number)
{
    const auto part = [number](double step) { return number * step - std::floor(number * step); };
    return QColor::fromHsvF(part(0.618033988749895), 0.4 + 0.5 * part(0.698492517065975),
                            0.5 + 0.5 * part(0.960857735641706));
}

class BlockColours : public Colouring
{
public:
    explicit BlockColours(const QList<int> &keys) : m_keys(keys) {}

    QRgb color(const Place &place) const override { return colorInRow(place.key).rgb(); }
    double lightOnPoints() const override { return 0.4; }
    Legend legend() const override
    {
        constexpr int mostNamed = 12;
        Legend legend;
        legend.title = m_keys.size() == 1 ? QStringLiteral("1 block") : QStringLiteral("%1 blocks").arg(m_keys.size());
        for (const int key : m_keys.mid(0, m_keys.size() > mostNamed ? 0 : mostNamed))
            legend.entries.push_back({colorInRow(key), QStringLiteral("block %1").arg(key)});
        return legend;
    }

private:
    QList<int> m_keys;
};

struct PointClass
{
    const char *name;
    QRgb color;
};

/// By number.
constexpr PointClass pointClasses[] = {
    {"never classified", 0xff9c9c9c},
    {"unclassified", 0xffb8b4ac},
    {"ground", 0xffaa8255},
    {"low vegetation", 0xffa9cc6c},
    {"medium vegetation", 0xff62a945},
    {"high vegetation", 0xff27752f},
    {"building", 0xffc8463c},
    {"low noise", 0xffd81bd8},
    {"model key point", 0xffe0c020},
    {"water", 0xff3c6ec8},
    {"rail", 0xff5a4a78},
    {"road surface", 0xff707880},
    {"overlap", 0xffe8a0b8},
    {"wire guard", 0xfff0a030},
    {"wire conductor", 0xffe8d840},
    {"tower", 0xff30a0a8},
    {"wire connector", 0xffb07820},
    {"bridge deck", 0xff8890b8},
    {"high noise", 0xffff50a0},
};

class ClassColours : public Colouring
{
public:
    EDataSetColumn column() const override { return EDataSetColumn_Classification; }
    void see(const stPtCloud_PointArray &block, unsigned int point) override { m_seen.set(classOf(block, point)); }
    QRgb color(const Place &place) const override { return colorOf(classOf(place.block, nearestCorner(place))); }
    double lightOnPoints() const override { return 0.4; }
    Legend legend() const override
    {
        Legend legend;
        legend.title = QStringLiteral("classification");
        for (std::size_t number = 0; number < m_seen.size(); ++number) {
            if (m_seen.test(number))
                legend.entries.push_back({QColor(colorOf(number)), nameOf(number)});
        }
        return legend;
    }

private:
    /// The upper three bits are marks of their own.
    static std::size_t classOf(const stPtCloud_PointArray &block, unsigned int point)
    {
        return block.m_classification[point] & 0x1fU;
    }
    static QRgb colorOf(std::size_t number)
    {
        return number < std::size(pointClasses) ? pointClasses[number].color
                                                : colorInRow(static_cast<int>(number)).rgb();
    }
    static QString nameOf(std::size_t number)
    {
        return number < std::size(pointClasses) ? QLatin1String(pointClasses[number].name)
                                                : QStringLiteral("class %1").arg(number);
    }

    std::bitset<32> m_seen;
};

/// Light and shade alone, over a grey that is white in full light.
class Hillshade : public Colouring
{
public:
    QRgb color(const Place &) const override { return qRgb(180, 180, 180); }
    Legend legend() const override { return {}; }
    double lightOnPoints() const override { return 1; }
};

struct NamedColouring
{
    const char *name;
    std::unique_ptr<Colouring> (*make)(const QList<int> &keys);
};

template <typename Colours>
std::unique_ptr<Colouring> by(const QList<int> &)
{
    return std::make_unique<Colours>();
}

constexpr NamedColouring colourings[] = {
    {"height", byHeight},
    {"colour", by<OwnColours>},
    {"classification", by<ClassColours>},
    {"block",
     [](const QList<int> &keys) -> std::unique_ptr<Colouring> { return std::make_unique<BlockColours>(keys); }},
    {"intensity", byIntensity},
    {"hillshade", by<Hillshade>},
};

} // namespace

std::vector<std::string> colouringNames()
{
    std::vector<std::string> names;
    for (const NamedColouring &colouring : colourings)
        names.emplace_back(colouring.name);
    return names;
}

std::unique_ptr<Colouring> makeColouring(const std::string &name, const QList<int> &keys)
{
    return std::find_if(std::begin(colourings), std::end(colourings),
                        [&name](const NamedColouring &colouring) { return name == colouring.name; })
        ->make(keys);
}
