#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <optional>
#include <vector>

namespace support
{

/// A file of volume areas as plain numbers, written and read without the library and without Qt's streams. Every
/// number is as it lies in the file: what the library keeps as a float is eight bytes there.
struct VolumeFile
{
    struct Prism
    {
        qint32 version = 1;
        std::array<double, 10> floats{}; ///< x, y, z of the three corners, ground
        double dig = 0.0;
        double fill = 0.0;
    };
    struct QuadPrism
    {
        qint32 version = 1;
        std::array<double, 6> floats{}; ///< x min, x max, y min, y max, ground, top
        double dig = 0.0;
        double fill = 0.0;
    };
    struct Area
    {
        QString name;
        qint32 version = 1;
        qint32 groundHeightType = 0;
        double groundHeight = 0.0;
        std::vector<std::array<double, 3>> corners;
        double maxHeight = 99999.0F;
        double gridSize = 0.1F;
        std::vector<Prism> prisms;
        std::vector<QuadPrism> quadPrisms;
        quint8 dtmCalculated = 0;
        quint8 gridCalculated = 0;

        // Counts that lie; otherwise the number of elements.
        std::optional<qint32> cornerCount;
        std::optional<qint32> prismCount;
        std::optional<qint32> quadPrismCount;
    };

    qint32 version = 2;
    std::optional<qint32> areaCount; ///< a count that lies
    std::vector<Area> areas;
    std::vector<QString> trailer; ///< strings behind the areas, of which version 1 has four

    QByteArray bytes() const;

    /// What a file says to a reader that knows nothing of its end: behind it everything is zero.
    struct Reading
    {
        bool ok = false;         ///< whether every record was of a known version
        bool pastTheEnd = false; ///< whether zeros were needed
        qint64 bytesLeft = 0;    ///< behind the last area
        std::vector<Area> areas; ///< the whole ones and, where `ok` is false, the broken one
    };
    static Reading read(const QByteArray &bytes);
};

/// One record by itself.
QByteArray bytesOf(const VolumeFile::Prism &prism);
QByteArray bytesOf(const VolumeFile::QuadPrism &prism);

} // namespace support
