#include "LasReport.h"

#include "ColumnNames.h"
#include "Console.h"

#include "LasFile.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace ptCloud;

namespace
{

/// Positions are raw integers in this unit.
constexpr double positionUnit = 0.001;
constexpr int publishedHeaderSize_1_3 = 235;
constexpr unsigned int recordSizes[] = {sizeof(stLasRecord_fmt_0), sizeof(stLasRecord_fmt_1),
                                        sizeof(stLasRecord_fmt_2), sizeof(stLasRecord_fmt_3),
                                        sizeof(stLasRecord_fmt_4), sizeof(stLasRecord_fmt_5)};

QJsonArray toJsonArray(const LasReport::Triple &values)
{
    return {values[0], values[1], values[2]};
}

QString toText(const LasReport::Triple &values)
{
    const auto number = [](double value) { return QString::number(value, 'g', 12); };
    if (values[0] == values[1] && values[1] == values[2])
        return number(values[0]);
    return QStringLiteral("%1, %2, %3").arg(number(values[0]), number(values[1]), number(values[2]));
}

/// The reason for a refused load, which the library does not keep, found by looking at the header again.
QString whyRefused(const QString &path)
{
    const QFileInfo info(path);
    if (info.exists() && !info.isFile())
        return QStringLiteral("it is not a regular file");
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return file.errorString();

    stLasFileHeadDesc desc = {};
    if (file.read(reinterpret_cast<char *>(&desc), sizeof desc) != static_cast<qint64>(sizeof desc))
        return QStringLiteral("it ends within the first %1 bytes of the header").arg(sizeof desc);
    if (desc.versionMajor != 1 || (desc.versionMinor != 2 && desc.versionMinor != 3))
        return QStringLiteral("its version %1.%2 is not read; versions 1.2 and 1.3 are")
            .arg(desc.versionMajor)
            .arg(desc.versionMinor);
    const auto headSize =
        static_cast<qint64>(desc.versionMinor == 2 ? sizeof(stLasFileHead_ver_1_2) : sizeof(stLasFileHead_ver_1_3));
    // Both versions begin alike, up to what is looked at here.
    stLasFileHead_ver_1_3 head = {};
    if (file.read(reinterpret_cast<char *>(&head), headSize) != headSize)
        return QStringLiteral("it ends within its header");
    const qint64 heads = (file.size() - file.pos()) / static_cast<qint64>(sizeof(stLasFileVariableLengthHead));
    if (heads < static_cast<qint64>(head.numberOfVariableLengthRecords))
        return QStringLiteral("it announces %1 variable length records and has room for %2")
            .arg(head.numberOfVariableLengthRecords)
            .arg(heads);
    if (static_cast<qint64>(head.offsetToPointData) >= file.size())
        return QStringLiteral("its point data would begin at byte %1, and the file has %2 bytes")
            .arg(head.offsetToPointData)
            .arg(file.size());
    if ((head.pointDataFormatId & 0x80U) != 0)
        return QStringLiteral("its points are compressed; write it uncompressed first");
    if (head.pointDataFormatId > 5)
        return QStringLiteral("its point format %1 is not read; formats 0 to 5 are").arg(head.pointDataFormatId);
    return QStringLiteral(
        "it could not be read, though its header is sound (are memory, threads or open files short?)");
}

void warnOfScaleAndOffset(LasReport &report)
{
    const LasReport::Triple factor = report.factor();
    const double volume = factor[0] * factor[1] * factor[2];
    if (factor != LasReport::Triple{1.0, 1.0, 1.0})
        report.warnings << QStringLiteral(
                               "its scale is %1 and not 0.001: positions will be %2 times the true lengths, and "
                               "volumes %3 times the true volumes, since they go with the cube")
                               .arg(toText(report.scale), toText(factor))
                               .arg(volume, 0, 'g', 6);
    if (report.offset != LasReport::Triple{0.0, 0.0, 0.0}) {
        LasReport::Triple shift;
        for (std::size_t i = 0; i < 3; ++i)
            shift[i] = -report.offset[i] * factor[i];
        report.warnings << QStringLiteral(
                               "its offset is %1 and not 0: positions will be shifted by %2 (true coordinate = "
                               "position / %3 + offset)")
                               .arg(toText(report.offset), toText(shift), toText(factor));
    }
}

void warnOfFloatSteps(LasReport &report)
{
    double largest = 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
        for (const double bound : {report.minimum[i], report.maximum[i]})
            largest = std::max(largest, std::abs((bound - report.offset[i]) / report.scale[i] * positionUnit));
    }
    const auto position = static_cast<float>(largest);
    const double step = std::nextafter(position, std::numeric_limits<float>::infinity()) - position;
    if (std::isfinite(position) && step > positionUnit)
        report.warnings << QStringLiteral(
                               "positions reach %1 units from 0, where 32-bit floats stand %2 apart: a point moves "
                               "by up to half of that")
                               .arg(largest, 0, 'f', 0)
                               .arg(step, 0, 'g', 4);
}

template <int returnCounters>
void takeHead(LasReport &report, const stLasFileHeadFields<returnCounters> &head, qint64 fileSize)
{
    report.announced = head.numberOfPointRecords;
    report.scale = {head.xScaleFactor, head.yScaleFactor, head.zScaleFactor};
    report.offset = {head.xOffset, head.yOffset, head.zOffset};
    report.minimum = {head.minX, head.minY, head.minZ};
    report.maximum = {head.maxX, head.maxY, head.maxZ};

    const unsigned int size = recordSizes[head.pointDataFormatId];
    report.points = std::min(report.announced, (fileSize - static_cast<qint64>(head.offsetToPointData)) / size);
    if (report.points < report.announced) {
        report.warnings << QStringLiteral("its header tells of %1 points, and it holds %2")
                               .arg(grouped(report.announced), grouped(report.points));
    }
    const unsigned int recordLength = head.pointDataRecordLength;
    if (recordLength != size) {
        report.warnings << QStringLiteral(
                               "its header tells of records of %1 bytes, and format %2 is read with %3: nearly all "
                               "points will be wrong")
                               .arg(recordLength)
                               .arg(head.pointDataFormatId)
                               .arg(size);
    }
    if (report.versionMinor == 3 && head.headerSize == publishedHeaderSize_1_3)
        report.warnings << QStringLiteral(
            "it has the published header of version 1.3, whose scale, offset and range this "
            "library reads 8 bytes further back: the range will be wrong; write it as version "
            "1.2");
    if (report.points * size > std::numeric_limits<quint32>::max())
        report.warnings << QStringLiteral(
            "its records take more than 4 GiB: those behind are read from the wrong place; split "
            "the file");
    warnOfScaleAndOffset(report);
    warnOfFloatSteps(report);
}

} // namespace

bool LasReport::isExact() const
{
    return scale == Triple{positionUnit, positionUnit, positionUnit} && offset == Triple{0.0, 0.0, 0.0};
}

LasReport::Triple LasReport::factor() const
{
    return {positionUnit / scale[0], positionUnit / scale[1], positionUnit / scale[2]};
}

QJsonObject LasReport::toJson() const
{
    QJsonObject object = {{QStringLiteral("file"), file}, {QStringLiteral("loads"), loads}};
    if (!loads) {
        object.insert(QStringLiteral("why"), why);
        return object;
    }
    object.insert(QStringLiteral("why"), QString());
    object.insert(QStringLiteral("version"), QStringLiteral("%1.%2").arg(versionMajor).arg(versionMinor));
    object.insert(QStringLiteral("format"), format);
    object.insert(QStringLiteral("points"), points);
    object.insert(QStringLiteral("announced"), announced);
    object.insert(QStringLiteral("scale"), toJsonArray(scale));
    object.insert(QStringLiteral("offset"), toJsonArray(offset));
    object.insert(QStringLiteral("bounds"), QJsonObject{{QStringLiteral("min"), toJsonArray(minimum)},
                                                        {QStringLiteral("max"), toJsonArray(maximum)}});
    object.insert(QStringLiteral("colors256"), isColor256);
    object.insert(QStringLiteral("columns"), columnNumbers(columns));
    object.insert(QStringLiteral("exact"), isExact());
    object.insert(QStringLiteral("factor"), toJsonArray(factor()));
    object.insert(QStringLiteral("warnings"), QJsonArray::fromStringList(warnings));
    return object;
}

LasReport reportOnFile(const QString &path)
{
    LasFile las;
    if (las.load(path, 1))
        return reportOnLoaded(las);
    LasReport report;
    report.file = path;
    report.why = whyRefused(path);
    return report;
}

LasReport reportOnLoaded(const LasFile &las)
{
    LasReport report;
    report.file = las.fileName();
    report.loads = true;
    report.versionMajor = las.getFileHeadDescription()->versionMajor;
    report.versionMinor = las.getFileHeadDescription()->versionMinor;
    report.format = las.getPointDataFormat();
    report.isColor256 = las.isColor256();
    las.getColumns(report.columns);
    if (const stLasFileHead_ver_1_2 *head = las.getFileHead_ver_1_2())
        takeHead(report, *head, las.size());
    else
        takeHead(report, *las.getFileHead_ver_1_3(), las.size());
    return report;
}

QList<EDataSetColumn> chooseColumns(const QString &wanted, const std::vector<LasReport> &files)
{
    if (wanted != QLatin1String("all")) {
        const QList<EDataSetColumn> columns = parseColumns(wanted);
        if (!columns.contains(EDataSetColumn_Position))
            throw CommandError(QStringLiteral("--columns lacks 0, the position, which every data set has"));
        if (columns.contains(EDataSetColumn_Normal) || columns.contains(EDataSetColumn_Triangle))
            throw CommandError(QStringLiteral("--columns holds 1 or 2: LAS files have no normals and no triangles"));
        return columns;
    }
    QList<EDataSetColumn> columns = files.front().columns;
    for (const LasReport &file : files) {
        const auto isMissing = [&file](EDataSetColumn column) { return !file.columns.contains(column); };
        columns.erase(std::remove_if(columns.begin(), columns.end(), isMissing), columns.end());
    }
    return columns;
}
