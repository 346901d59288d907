#include "AreasFile.h"

#include "Console.h"

#include "VolumeCalcAreaList.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace ptCloud;

namespace
{

/// Coordinates move by this at most before the user is told.
constexpr double tolerableRounding = 0.001;

/// One feature on its way into the list.
class FeatureReader
{
public:
    FeatureReader(const QJsonObject &feature, int number)
        : m_feature(feature), m_properties(feature.value(QLatin1String("properties")).toObject()),
          m_label(QStringLiteral("feature %1").arg(number))
    {}

    void addTo(VolumeCalcAreaList &list)
    {
        if (m_feature.value(QLatin1String("type")).toString() != QLatin1String("Feature"))
            fail(QStringLiteral("is no Feature"));
        const QJsonValue name = m_properties.value(QLatin1String("name"));
        if (!name.isString() || name.toString().isEmpty())
            fail(QStringLiteral("has no \"name\" among its properties"));
        m_label = QStringLiteral("area \"%1\"").arg(name.toString());
        VolumeCalcArea area;
        area.maxHeight = number(QStringLiteral("max_height"), area.maxHeight);
        area.gridSize = number(QStringLiteral("grid_size"), area.gridSize);
        readGround(area);
        readBoundary(area);
        VolumeCalcArea *const added = list.addArea(name.toString());
        if (added == nullptr)
            fail(QStringLiteral("comes twice; give each area a name of its own"));
        *added = area;
    }

    /// The farthest that a coordinate moved when it became a 32-bit float.
    double rounding() const { return m_rounding; }
    const QString &label() const { return m_label; }

private:
    [[noreturn]] void fail(const QString &what) const { throw CommandError(m_label + QLatin1Char(' ') + what); }

    float narrow(const QJsonValue &value, const QString &what)
    {
        const double wide = value.toDouble();
        if (!value.isDouble() || std::abs(wide) > static_cast<double>(std::numeric_limits<float>::max()))
            fail(what);
        return static_cast<float>(wide);
    }

    float number(const QString &property, float standard)
    {
        const QJsonValue value = m_properties.value(property);
        return value.isUndefined() ? standard
                                   : narrow(value, QStringLiteral("has a \"%1\" that is no number").arg(property));
    }

    void readGround(VolumeCalcArea &area)
    {
        const QJsonValue ground = m_properties.value(QLatin1String("ground_height"));
        m_groundIsAverage = ground.isUndefined() || ground == QJsonValue(QStringLiteral("average"));
        if (m_groundIsAverage)
            return;
        area.groundHeightType = 1;
        area.groundHeight =
            narrow(ground, QStringLiteral("has a \"ground_height\" that is neither a number nor \"average\""));
    }

    void readBoundary(VolumeCalcArea &area)
    {
        const QJsonObject geometry = m_feature.value(QLatin1String("geometry")).toObject();
        const QString type = geometry.value(QLatin1String("type")).toString();
        if (type != QLatin1String("Polygon")) {
            fail(QStringLiteral("has the geometry \"%1\"; only \"Polygon\" can be calculated")
                     .arg(type.isEmpty() ? QStringLiteral("none") : type));
        }
        const QJsonArray rings = geometry.value(QLatin1String("coordinates")).toArray();
        if (rings.size() > 1)
            fail(QStringLiteral("is a polygon with holes, which can't be calculated; cut it into areas without"));
        const QJsonArray ring = rings.first().toArray();
        for (const QJsonValue &position : ring)
            area.boundary.append(corner(position.toArray()));
        if (ring.size() > 1 && ring.first() == ring.last())
            area.boundary.removeLast();
    }

    pcVec3f corner(const QJsonArray &position)
    {
        if (position.size() < 2 || (position.size() < 3 && m_groundIsAverage)) {
            fail(m_groundIsAverage
                     ? QStringLiteral("has a corner without x, y and height, and its ground height is the "
                                      "average of the heights")
                     : QStringLiteral("has a corner without x and y"));
        }
        pcVec3f result;
        for (int i = 0; i < std::min(position.size(), 3); ++i) {
            result[i] = narrow(position.at(i), QStringLiteral("has a coordinate that is no number"));
            m_rounding = std::max(m_rounding, std::abs(position.at(i).toDouble() - static_cast<double>(result[i])));
        }
        return result;
    }

    QJsonObject m_feature;
    QJsonObject m_properties;
    QString m_label;
    bool m_groundIsAverage = true;
    double m_rounding = 0;
};

QJsonArray featuresOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw CommandError(QStringLiteral("%1 can't be read: %2").arg(quoted(path), file.errorString()));
    QJsonParseError error{};
    const QJsonObject root = QJsonDocument::fromJson(file.readAll(), &error).object();
    if (error.error != QJsonParseError::NoError) {
        throw CommandError(
            QStringLiteral("%1 is no JSON: %2 at byte %3").arg(quoted(path), error.errorString()).arg(error.offset));
    }
    const QString type = root.value(QLatin1String("type")).toString();
    if (type == QLatin1String("Feature"))
        return {root};
    if (type != QLatin1String("FeatureCollection"))
        throw CommandError(QStringLiteral("%1 is no GeoJSON FeatureCollection and no Feature").arg(quoted(path)));
    return root.value(QLatin1String("features")).toArray();
}

} // namespace

QStringList readAreas(const QString &path, VolumeCalcAreaList &list)
{
    QStringList warnings;
    int number = 0;
    for (const auto &value : featuresOf(path)) {
        FeatureReader feature(value.toObject(), ++number);
        try {
            feature.addTo(list);
        } catch (const CommandError &error) {
            throw CommandError(quoted(path) + QStringLiteral(": ") + error.text());
        }
        if (feature.rounding() > tolerableRounding) {
            warnings << QStringLiteral("%1: coordinates move by up to %2 as 32-bit floats; shift the data towards 0")
                            .arg(feature.label())
                            .arg(feature.rounding(), 0, 'g', 2);
        }
    }
    if (number == 0)
        throw CommandError(QStringLiteral("%1 holds no area").arg(quoted(path)));
    return warnings;
}
