#include "Commands.h"
#include "DemoSurvey.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <string>

namespace
{

constexpr char generator[32] = "ptcloud demo-las";
constexpr double scale = 0.001;

struct DemoOptions
{
    std::string out;
    quint32 points = 0;
    int format = 3;
    std::string version = "1.2";
    std::string order = "flight";
    quint32 number = 1;
};

/// The range that the header tells, grown point by point.
struct RawRange
{
    qint32 minimum[3] = {std::numeric_limits<qint32>::max(), std::numeric_limits<qint32>::max(),
                         std::numeric_limits<qint32>::max()};
    qint32 maximum[3] = {std::numeric_limits<qint32>::min(), std::numeric_limits<qint32>::min(),
                         std::numeric_limits<qint32>::min()};

    void add(const stLasRecord_fmt_5 &record)
    {
        const qint32 xyz[3] = {record.x, record.y, record.z};
        for (int i = 0; i < 3; ++i) {
            minimum[i] = std::min(minimum[i], xyz[i]);
            maximum[i] = std::max(maximum[i], xyz[i]);
        }
    }
};

template <typename Head>
QByteArray headBytes(quint8 minorVersion, int format, quint32 points, const RawRange &range)
{
    stLasFileHeadDesc desc = {};
    std::memcpy(desc.fileSignature, "LASF", 4);
    desc.versionMajor = 1;
    desc.versionMinor = minorVersion;

    constexpr quint16 recordSizes[] = {20, 28, 26, 34, 49, 63};
    Head head = {};
    std::memcpy(head.generatingSoftware, generator, sizeof generator);
    head.fileCreationDayOfYear = 1;
    head.fileCreationYear = 2024;
    head.headerSize = sizeof desc + sizeof head;
    head.offsetToPointData = head.headerSize;
    head.pointDataFormatId = static_cast<quint8>(format);
    head.pointDataRecordLength = recordSizes[format];
    head.numberOfPointRecords = points;
    head.numberOfPointsByReturn[0] = points;
    head.xScaleFactor = head.yScaleFactor = head.zScaleFactor = scale;
    head.minX = range.minimum[0] * scale;
    head.maxX = range.maximum[0] * scale;
    head.minY = range.minimum[1] * scale;
    head.maxY = range.maximum[1] * scale;
    head.minZ = range.minimum[2] * scale;
    head.maxZ = range.maximum[2] * scale;
    return QByteArray(reinterpret_cast<const char *>(&desc), sizeof desc)
           + QByteArray(reinterpret_cast<const char *>(&head), sizeof head);
}

QByteArray headBytes(const DemoOptions &options, const RawRange &range)
{
    return options.version == "1.3" ? headBytes<stLasFileHead_ver_1_3>(3, options.format, options.points, range)
                                    : headBytes<stLasFileHead_ver_1_2>(2, options.format, options.points, range);
}

/// Appends the part of a record that a format has. The largest format holds the fields of all others, its optional ones
/// as GPS time, colour, wave packet.
void appendRecord(QByteArray &bytes, int format, const stLasRecord_fmt_5 &record)
{
    const auto *raw = reinterpret_cast<const char *>(&record);
    constexpr int common = sizeof(stLasRecord_fmt_0);
    constexpr int color = sizeof(stLasRecord_fmt_1);
    constexpr int wavePacket = sizeof(stLasRecord_fmt_3);
    bytes.append(raw, common);
    if (format == 1 || format == 3 || format == 5)
        bytes.append(raw + common, color - common);
    if (format == 2 || format == 3 || format == 5)
        bytes.append(raw + color, wavePacket - color);
    if (format == 4 || format == 5)
        bytes.append(raw + wavePacket, static_cast<int>(sizeof record) - wavePacket);
}

/// A survey that somebody flew must not be lost to a slip: only what this command wrote is written over.
void refuseToOverwrite(const QString &out)
{
    if (!QFileInfo::exists(out))
        return;
    constexpr int generatorAt = 26 + 32;
    QFile file(out);
    const bool isOurs = QFileInfo(out).isFile() && file.open(QIODevice::ReadOnly) && file.seek(generatorAt)
                        && file.read(sizeof generator) == QByteArray(generator, sizeof generator);
    if (!isOurs)
        throw CommandError(
            QStringLiteral("%1 exists and was not made by this command; name another file").arg(quoted(out)));
}

bool writePoints(QSaveFile &file, const DemoOptions &options)
{
    constexpr int bufferSize = 1 << 20;
    const DemoSurvey survey(options.points, options.number);
    std::optional<Shuffle> shuffle;
    if (options.order == "random")
        shuffle.emplace(options.points, options.number);

    RawRange range;
    if (file.write(headBytes(options, range)) < 0)
        return false;
    Progress progress(QStringLiteral("writing"));
    QByteArray bytes;
    bytes.reserve(bufferSize + 64);
    for (quint32 i = 0; i < options.points; ++i) {
        const stLasRecord_fmt_5 record = survey.point(shuffle ? (*shuffle)(i) : i);
        range.add(record);
        appendRecord(bytes, options.format, record);
        if (bytes.size() < bufferSize && i + 1 < options.points)
            continue;
        if (file.write(bytes) != bytes.size())
            return false;
        bytes.resize(0);
        progress.show((i + 1.0) / options.points);
    }
    return file.seek(0) && file.write(headBytes(options, range)) > 0;
}

void run(const Console &console, const DemoOptions &options)
{
    const QString out = argument(options.out);
    refuseToOverwrite(out);
    QSaveFile file(out);
    if (!file.open(QIODevice::WriteOnly) || !writePoints(file, options) || !file.commit())
        throw CommandError(QStringLiteral("%1 can't be written: %2").arg(quoted(out), file.errorString()));
    console.line(QStringLiteral("%1: %2 points of format %3, version %4, in %5 order")
                     .arg(out, grouped(options.points))
                     .arg(options.format)
                     .arg(argument(options.version), argument(options.order)));
    console.object({{QStringLiteral("file"), out},
                    {QStringLiteral("points"), static_cast<qint64>(options.points)},
                    {QStringLiteral("format"), options.format},
                    {QStringLiteral("version"), argument(options.version)},
                    {QStringLiteral("order"), argument(options.order)},
                    {QStringLiteral("bytes"), QFileInfo(out).size()}});
}

} // namespace

void addDemoLasCommand(CLI::App &app, Console &console)
{
    const auto options = std::make_shared<DemoOptions>();
    CLI::App *command =
        app.add_subcommand("demo-las", "Write a LAS file of a survey that never took place: rolling ground, "
                                       "buildings and trees, about 8 points to a square metre");
    command->add_option("OUT", options->out, "The LAS file to write")->required();
    command->add_option("--points", options->points, "Number of points")
        ->required()
        ->check(CLI::Range(1U, 4294967295U));
    command->add_option("--format", options->format, "Point format")->capture_default_str()->check(CLI::Range(0, 5));
    command->add_option("--version", options->version, "Version of the file")
        ->capture_default_str()
        ->check(CLI::IsMember({"1.2", "1.3"}));
    command->add_option("--order", options->order, "Order of the records")
        ->capture_default_str()
        ->check(CLI::IsMember({"flight", "random"}));
    command->add_option("--number", options->number, "Which of many surveys")->capture_default_str();
    command->callback([options, &console] { run(console, *options); });
}
