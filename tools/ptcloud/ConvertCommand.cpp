#include "Commands.h"
#include "FileFacts.h"
#include "LasInput.h"
#include "LasOutput.h"
#include "LasReport.h"
#include "OutputFile.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <string>

namespace
{

using Triple = std::array<double, 3>;

struct ConvertOptions
{
    std::string in;
    std::string out;
    std::string shift = "auto";
};

/// Raw integers of a file.
struct RawRange
{
    std::array<qint32, 3> minimum;
    std::array<qint32, 3> maximum;
};

RawRange rangeOf(LasInput &las)
{
    RawRange range{};
    range.minimum.fill(std::numeric_limits<qint32>::max());
    range.maximum.fill(std::numeric_limits<qint32>::min());
    stLasRecord_fmt_5 record;
    las.rewind();
    while (las.next(record)) {
        const qint32 xyz[3] = {record.x, record.y, record.z};
        for (std::size_t i = 0; i < 3; ++i) {
            range.minimum[i] = std::min(range.minimum[i], xyz[i]);
            range.maximum[i] = std::max(range.maximum[i], xyz[i]);
        }
    }
    return range;
}

double coordinate(const LasInput &las, qint32 raw, std::size_t axis)
{
    return raw * las.scale()[axis] + las.offset()[axis];
}

/// Steps between 32-bit floats stay below a thousandth up to here.
constexpr double exactUpTo = 16384.0;
constexpr double shiftStep = 1000.0;

/// Each axis that reaches too far from 0 is moved by whole thousands, so that its middle comes to lie near 0.
Triple automaticShift(const LasInput &las, const RawRange &range)
{
    Triple shift = {};
    for (std::size_t i = 0; i < 3; ++i) {
        const double low = coordinate(las, range.minimum[i], i);
        const double high = coordinate(las, range.maximum[i], i);
        if (std::max(std::abs(low), std::abs(high)) > exactUpTo)
            shift[i] = std::round((low + high) / 2 / shiftStep) * shiftStep;
    }
    return shift;
}

Triple chooseShift(const LasInput &las, const RawRange &range, const QString &wanted)
{
    if (wanted == QLatin1String("auto"))
        return automaticShift(las, range);
    if (wanted == QLatin1String("none"))
        return {};
    const QStringList parts = wanted.split(QLatin1Char(','));
    Triple shift = {};
    bool isSound = parts.size() == 3;
    for (int i = 0; isSound && i < 3; ++i) {
        shift[static_cast<std::size_t>(i)] = parts[i].toDouble(&isSound);
        isSound = isSound && std::isfinite(shift[static_cast<std::size_t>(i)]);
    }
    if (!isSound)
        throw CLI::ValidationError("--shift", "takes auto, none, or three numbers such as 500000,4600000,0");
    return shift;
}

/// Brings raw integers of a file into thousandths, less the shift.
class Rescale
{
public:
    Rescale(const LasInput &las, const Triple &shift, const RawRange &range) : m_las(las), m_shift(shift)
    {
        for (std::size_t i = 0; i < 3; ++i) {
            for (const qint32 raw : {range.minimum[i], range.maximum[i]}) {
                if (!(std::abs(exact(raw, i)) < static_cast<double>(std::numeric_limits<qint32>::max())))
                    throw CommandError(QStringLiteral("%1 reaches farther from 0 than 32 bits of thousandths; give "
                                                      "--shift auto, or X,Y,Z near its middle")
                                           .arg(quoted(las.path())));
            }
        }
    }

    qint32 operator()(qint32 raw, std::size_t axis) { return static_cast<qint32>(std::llround(exact(raw, axis))); }

private:
    double exact(qint32 raw, std::size_t axis) const
    {
        return (coordinate(m_las, raw, axis) - m_shift[axis]) / LasOutput::scale;
    }

    const LasInput &m_las;
    Triple m_shift;
};

/// The classic format that holds what the file has: time and colour, or either, or none.
int chooseFormat(const LasInput &las)
{
    return (las.hasGpsTime() ? 1 : 0) + (las.hasColor() ? 2 : 0);
}

bool isShifted(const Triple &shift)
{
    return shift != Triple{};
}

/// Records about waveforms make no sense without them, those about the coordinate system none after a shift.
bool isKept(const LasInput::VariableRecord &record, const Triple &shift)
{
    const bool isWaveform = record.userId == "LASF_Spec" && record.recordId >= 100 && record.recordId < 355;
    const bool isExtraBytes = record.userId == "LASF_Spec" && record.recordId == 4;
    return !isWaveform && !isExtraBytes && !(isShifted(shift) && record.userId == "LASF_Projection");
}

LasHead headFor(LasInput &las, const Triple &shift, QStringList &dropped)
{
    LasHead head;
    head.format = chooseFormat(las);
    head.generator = "ptcloud convert";
    head.systemIdentifier = QByteArray(las.head().systemIdentifier, sizeof las.head().systemIdentifier);
    head.fileSourceId = las.minorVersion() >= 1 ? las.description().fileSourceId : quint16(0);
    // The kind of GPS time; other bits speak of waveforms and of a coordinate system in words, which go as well.
    constexpr unsigned int gpsTimeKind = 1;
    constexpr unsigned int syntheticReturns = 8;
    const unsigned int encoding = las.minorVersion() >= 2 ? las.description().globalEncoding : 0U;
    head.globalEncoding = static_cast<quint16>(encoding & gpsTimeKind);
    if ((encoding & syntheticReturns) != 0)
        dropped << QStringLiteral("the mark that return numbers were not measured");
    std::copy_n(las.description().projectGuid, head.projectGuid.size(), head.projectGuid.begin());
    head.creationDay = las.head().fileCreationDayOfYear;
    head.creationYear = las.head().fileCreationYear;
    const QList<LasInput::VariableRecord> records = las.variableRecords();
    for (const LasInput::VariableRecord &record : records) {
        if (isKept(record, shift)) {
            head.variableRecords += record.bytes;
            ++head.variableRecordCount;
        } else {
            dropped << QStringLiteral("variable length record %1 of %2")
                           .arg(record.recordId)
                           .arg(QString::fromLatin1(record.userId));
        }
    }
    const qint64 damaged = static_cast<qint64>(las.announcedVariableRecords()) - records.size();
    if (damaged > 0)
        dropped
            << QStringLiteral("%1 variable length records that do not stand whole in the file").arg(grouped(damaged));
    return head;
}

void tellLosses(const LasInput &las, QStringList &dropped)
{
    const auto add = [&dropped](qint64 points, const QString &what) {
        if (points > 0)
            dropped << QStringLiteral("%1 of %2 points").arg(what, grouped(points));
    };
    if (las.extraBytes() > 0)
        dropped << QStringLiteral("%1 extra bytes of each record").arg(las.extraBytes());
    if (las.hasWavePackets())
        dropped << QStringLiteral("the wave packets");
    if (las.hasNearInfrared())
        dropped << QStringLiteral("the near infrared channel");
    if (las.hasExtendedVariableRecords())
        dropped << QStringLiteral("the extended variable length records");
    add(las.losses().classes, QStringLiteral("the classes above 31 (made 1)"));
    add(las.losses().returns, QStringLiteral("return numbers above 7 (made 7)"));
    add(las.losses().angles, QStringLiteral("scan angles beyond -128 to 127 degrees (held there)"));
    add(las.losses().overlapFlags, QStringLiteral("the overlap flags"));
    add(las.losses().scannerChannels, QStringLiteral("the scanner channels"));
    for (const double scale : las.scale()) {
        if (std::abs(scale) < LasOutput::scale) {
            dropped << QStringLiteral("what of the coordinates is finer than 0.001 (a step was %1)").arg(scale);
            break;
        }
    }
}

void refuseIfTooLarge(const LasInput &las)
{
    const qint64 size = las.points() * LasOutput::recordSize(chooseFormat(las));
    if (size > static_cast<qint64>(std::numeric_limits<quint32>::max()))
        throw CommandError(QStringLiteral("%1 holds %2 points, whose records take more than 4 GiB, which is as far as "
                                          "points are read; split it first")
                               .arg(quoted(las.path()), grouped(las.points())));
}

void writePoints(LasInput &in, LasOutput &out, Rescale rescale)
{
    constexpr quint32 step = 1 << 16;
    Progress progress(QStringLiteral("writing"));
    stLasRecord_fmt_5 record;
    in.rewind();
    while (in.next(record)) {
        record.x = rescale(record.x, 0);
        record.y = rescale(record.y, 1);
        record.z = rescale(record.z, 2);
        out.add(record);
        if (out.points() % step == 0)
            progress.show(out.points() / static_cast<double>(in.points()));
    }
}

QJsonObject sideFile(const LasInput &las, const Triple &shift)
{
    return {{QStringLiteral("source"), QFileInfo(las.path()).absoluteFilePath()},
            {QStringLiteral("shift"), QJsonArray{shift[0], shift[1], shift[2]}}};
}

/// Something else than the side file of an earlier run must not be lost to a slip.
void refuseForeign(const QString &side)
{
    if (!isThere(side))
        return;
    QFile file(side);
    const bool isOurs = file.open(QIODevice::ReadOnly)
                        && QJsonDocument::fromJson(file.readAll()).object().contains(QLatin1String("shift"));
    if (!isOurs)
        throw CommandError(
            QStringLiteral("%1 exists and tells no shift; move it away or name another file").arg(quoted(side)));
}

void tell(const Console &console, const LasInput &las, const LasOutput &output, const QString &out, const Triple &shift,
          const QStringList &dropped)
{
    const auto number = [](double value) { return QString::number(value, 'f', 3); };
    QStringList warnings = reportOnFile(out).warnings;
    if (las.points() < las.announced()) {
        warnings << QStringLiteral("the header of %1 tells of %2 points, and it holds %3")
                        .arg(quoted(las.path()), grouped(las.announced()), grouped(las.points()));
    }
    for (const QString &warning : qAsConst(warnings))
        console.warn(warning);
    console.line(QStringLiteral("%1: %2 points of format %3, version 1.2")
                     .arg(out, grouped(output.points()))
                     .arg(chooseFormat(las)));
    console.line(QStringLiteral("shift: %1, %2, %3 (true coordinate = position + shift; also in %4.json)")
                     .arg(number(shift[0]), number(shift[1]), number(shift[2]), out));
    for (const QString &what : dropped)
        console.line(QStringLiteral("dropped: ") + what);
    QJsonObject object = sideFile(las, shift);
    object.insert(QStringLiteral("file"), out);
    object.insert(QStringLiteral("points"), static_cast<qint64>(output.points()));
    object.insert(QStringLiteral("format"), chooseFormat(las));
    object.insert(QStringLiteral("dropped"), QJsonArray::fromStringList(dropped));
    object.insert(QStringLiteral("warnings"), QJsonArray::fromStringList(warnings));
    console.object(object);
}

void run(const Console &console, const ConvertOptions &options)
{
    const QString out = argument(options.out);
    LasInput las(argument(options.in));
    const QString side = out + QStringLiteral(".json");
    refuseSource(out, {las.path()});
    refuseSource(side, {las.path()});
    LasOutput::refuseToOverwrite(out);
    refuseForeign(side);
    refuseIfTooLarge(las);
    const RawRange range = rangeOf(las);
    const Triple shift = chooseShift(las, range, argument(options.shift));
    const Rescale rescale(las, shift, range);
    QStringList dropped;
    LasOutput output(out, headFor(las, shift, dropped));
    writePoints(las, output, rescale);
    tellLosses(las, dropped);
    // First, and the old points gone, so that at no moment points stand there with another shift than theirs.
    QFile::remove(out);
    writeText(side, QJsonDocument(sideFile(las, shift)).toJson());
    output.commit();
    tell(console, las, output, out, shift, dropped);
}

} // namespace

void addConvertCommand(CLI::App &app, Console &console)
{
    const auto options = std::make_shared<ConvertOptions>();
    CLI::App *command = app.add_subcommand(
        "convert", "Rewrite an uncompressed LAS file (1.0 to 1.4, formats 0 to 8) as one that is read exactly: version "
                   "1.2, format 0 to 3, scale 0.001, offset 0. Tells what it drops");
    command->add_option("IN", options->in, "A LAS file")->required();
    command->add_option("OUT", options->out, "The LAS file to write; OUT.json tells the shift")->required();
    command
        ->add_option("--shift", options->shift,
                     "What to subtract from coordinates, so that 32-bit floats hold them: auto (whole thousands, where "
                     "an axis goes beyond 16384), none, or X,Y,Z. Files of one survey need one shift")
        ->capture_default_str();
    command->callback([options, &console] { run(console, *options); });
}
