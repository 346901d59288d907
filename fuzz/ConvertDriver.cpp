// Converts a LAS file as the command does, and looks at what came of it.

#include "CommandError.h"
#include "Commands.h"
#include "Driver.h"
#include "LasInput.h"

#include "Bytes.h"
#include "LasFile.h"
#include "PublishedLas.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <utility>

using fuzz::check;

namespace
{

using Triple = std::array<double, 3>;

/// Keeps what a command prints off the terminal. What a sanitizer says goes there all the same.
class Silence
{
public:
    Silence() { swap(); }
    ~Silence() { swap(); }
    Silence(const Silence &) = delete;
    Silence &operator=(const Silence &) = delete;

private:
    void swap()
    {
        std::swap(stdout, m_out);
        std::swap(stderr, m_error);
    }

    static std::FILE *sink()
    {
        static std::FILE *const file = std::fopen("/dev/null", "w");
        return file;
    }

    std::FILE *m_out = sink();
    std::FILE *m_error = sink();
};

/// Whether the command does it.
bool convert(const QString &in, const QString &out, const char *shift)
{
    const Silence silence;
    Console console;
    CLI::App app;
    addConvertCommand(app, console);
    try {
        // The parser takes arguments from the back.
        app.parse(std::vector<std::string>{shift, "--shift", out.toStdString(), in.toStdString(), "convert"});
        return true;
    } catch (const CommandError &error) {
        check(!error.text().contains(QLatin1Char('\n')), "a refusal is more than one line");
        return false;
    }
}

QString sideFileOf(const QString &out)
{
    return out + QStringLiteral(".json");
}

Triple shiftOf(const QString &out)
{
    const QJsonObject side = QJsonDocument::fromJson(support::readFile(sideFileOf(out))).object();
    const QJsonArray numbers = side.value(QLatin1String("shift")).toArray();
    check(numbers.size() == 3, "the side file tells no shift");
    return {numbers[0].toDouble(), numbers[1].toDouble(), numbers[2].toDouble()};
}

double coordinate(const LasInput &las, qint32 raw, std::size_t axis)
{
    return raw * las.scale()[axis] + las.offset()[axis];
}

/// Every point stands where it stood, but for the shift and half a thousandth, and its other fields are the same.
void checkPoints(const QString &in, const QString &out)
{
    LasInput source(in);
    LasInput result(out);
    check(result.points() == source.points(), "the result has more or fewer points");
    const Triple shift = shiftOf(out);
    stLasRecord_fmt_5 from;
    stLasRecord_fmt_5 to;
    while (source.next(from) && result.next(to)) {
        const std::array<qint32, 3> raw = {from.x, from.y, from.z};
        const std::array<qint32, 3> made = {to.x, to.y, to.z};
        for (std::size_t i = 0; i < 3; ++i) {
            const double stood = coordinate(source, raw[i], i);
            const double moved = std::abs(stood - (coordinate(result, made[i], i) + shift[i]));
            check(moved <= 0.0005001 + 1e-15 * (std::abs(stood) + std::abs(shift[i])), "a point has moved");
        }
        to.x = from.x;
        to.y = from.y;
        to.z = from.z;
        from.wavePacketDescriptorIndex = to.wavePacketDescriptorIndex;
        check(std::memcmp(&from, &to, sizeof(stLasRecord_fmt_3)) == 0, "a field of a point has changed");
    }
}

/// The library reads the file, and another conversion changes nothing.
void checkResult(const QString &out)
{
    ptCloud::LasFile las;
    check(las.load(out, 1000), "the library does not load the result");
    const QString again = fuzz::scratchDirectory() + QStringLiteral("/again.las");
    check(convert(out, again, "none"), "the result can't be converted");
    check(support::readFile(again) == support::readFile(out), "converting the result changed it");
}

void removeResult(const QString &out)
{
    QFile::remove(out);
    QFile::remove(sideFileOf(out));
}

bool checkConversion(const QString &in, const QByteArray &input, const char *shift)
{
    const QString out = fuzz::scratchDirectory() + QStringLiteral("/out.las");
    removeResult(out);
    const bool isDone = convert(in, out, shift);
    check(support::readFile(in) == input, "the source was changed");
    check(QFile::exists(out) == isDone && QFile::exists(sideFileOf(out)) == isDone,
          "a refusal left a file, or a result is missing");
    if (isDone) {
        checkPoints(in, out);
        checkResult(out);
    }
    return isDone;
}

/// A file of somebody else is never written over.
void checkForeign(const QString &in)
{
    const QString foreign = fuzz::scratchFile(QStringLiteral("foreign.las"), "somebody's survey");
    check(!convert(in, foreign, "auto") && support::readFile(foreign) == "somebody's survey",
          "a file of somebody else was written over");
}

bool run(const QByteArray &input)
{
    const QString in = fuzz::scratchFile(QStringLiteral("in.las"), input);
    checkForeign(in);
    const bool isDone = checkConversion(in, input, "auto");
    checkConversion(in, input, "none");
    return isDone;
}

support::PublishedLas file(int minor, int format)
{
    support::PublishedLas las;
    las.versionMinor = static_cast<quint8>(minor);
    las.format = static_cast<quint8>(format);
    las.points.resize(3);
    las.points[1].x = 7;
    las.points[1].scanAngle = -15;
    las.points[2].z = -900000;
    las.points[2].classification = 31;
    las.variableRecords = {{"LASF_Projection", 34735, "keys"}, {"somebody", 7, "text"}};
    return las;
}

std::vector<fuzz::Seed> seeds()
{
    std::vector<fuzz::Seed> result;
    for (int format = 0; format <= 8; ++format) {
        const int minor = format < 2 ? format : format < 6 ? 1 + format / 2 : 4;
        result.push_back({"format" + QByteArray::number(format), file(minor, format).bytes()});
    }
    support::PublishedLas far = file(4, 7);
    far.scale = {0.01, 0.0001, 1.0};
    far.offset = {500000, 4600000, -20};
    far.extraBytes = 5;
    far.extendedRecords = {{"somebody", 8, "more"}};
    result.push_back({"far", far.bytes()});
    return result;
}

const fuzz::Driver driver("Convert", run, seeds);

} // namespace
