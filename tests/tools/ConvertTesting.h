#pragma once

#include "Bytes.h"
#include "PtcloudRun.h"
#include "PublishedLas.h"
#include "SameBytes.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>

#include <vector>

namespace support
{

/// Three points with something in every field, all of which the classic records can hold.
inline std::vector<PublishedPoint> pointsWithEveryField()
{
    std::vector<PublishedPoint> points(3);
    for (unsigned int i = 0; i < 3; ++i) {
        PublishedPoint &point = points[i];
        const auto number = static_cast<int>(i);
        point.x = 1000 + 7 * number;
        point.y = -2000 - 13 * number;
        point.z = 300000 * number - 5;
        point.intensity = static_cast<quint16>(65535 - i);
        point.returnNumber = i + 1;
        point.numberOfReturns = i + 5;
        point.scansForward = i != 1;
        point.isEdge = i == 1;
        point.classification = i == 2 ? 31 : 2 + i;
        point.classFlags = 1U << i;
        point.scanAngle = 15.0 * (number - 1);
        point.userData = static_cast<quint8>(200 + i);
        point.pointSourceId = static_cast<quint16>(65000 + i);
        point.gpsTime = 123456789.123456 + number;
        point.color = {static_cast<quint16>(65535 - i), static_cast<quint16>(256 * i), static_cast<quint16>(40000 + i)};
        point.nearInfrared = static_cast<quint16>(7 + i);
    }
    return points;
}

/// A file with something in every field of the header.
inline PublishedLas fullFile(int minor, int format)
{
    PublishedLas las;
    las.versionMinor = static_cast<quint8>(minor);
    las.format = static_cast<quint8>(format);
    las.fileSourceId = 4711;
    las.projectGuid = QByteArray("0123456789abcdef");
    las.systemIdentifier = "a scanner";
    las.generator = "some program";
    las.creationDay = 321;
    las.creationYear = 2019;
    las.points = pointsWithEveryField();
    return las;
}

/// The file that must come of one whose coordinates are thousandths already.
inline PublishedLas convertedFrom(PublishedLas las)
{
    constexpr quint8 formats[] = {0, 1, 2, 3, 1, 3, 1, 3, 3};
    if (las.versionMinor == 0)
        las.fileSourceId = 0; // the first version had none: its bytes say nothing
    las.versionMinor = 2;
    las.format = formats[las.format];
    las.generator = "ptcloud convert";
    las.headerTail.clear();
    las.gap.clear();
    las.extraBytes = 0;
    las.extendedRecords.clear();
    return las;
}

/// `in.las` and what becomes of it as `out.las`.
class ConvertTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_dir.isValid()); }

    QString path(const char *name) const { return m_dir.filePath(QString::fromUtf8(name)); }
    QString in() const { return path("in.las"); }
    QString out() const { return path("out.las"); }
    QString sideFile() const { return path("out.las.json"); }

    PtcloudRun convert(const QByteArray &bytes, const QStringList &more = {}) const
    {
        EXPECT_TRUE(writeFile(in(), bytes));
        return PtcloudRun(QStringList{QStringLiteral("convert"), in(), out()} + more);
    }
    /// What the command tells of a file that it converts.
    QJsonObject told(const QByteArray &bytes, const QStringList &more = {}) const
    {
        const PtcloudRun done = convert(bytes, more + QStringList{QStringLiteral("--json")});
        EXPECT_EQ(done.exitCode, 0) << done.errors.constData();
        return done.json();
    }
    QJsonObject told(const PublishedLas &las, const QStringList &more = {}) const { return told(las.bytes(), more); }

    static QStringList textsOf(const QJsonObject &told, const char *key)
    {
        QStringList texts;
        for (const QJsonValue &text : told.value(QLatin1String(key)).toArray())
            texts << text.toString();
        return texts;
    }
    QStringList droppedOf(const PublishedLas &las, const QStringList &more = {}) const
    {
        return textsOf(told(las, more), "dropped");
    }

    /// What the side file says of the shift.
    QJsonArray shiftOnDisk() const
    {
        return QJsonDocument::fromJson(readFile(sideFile())).object().value(QStringLiteral("shift")).toArray();
    }

    void expectExactFile() const
    {
        const PtcloudRun las({QStringLiteral("las"), out(), QStringLiteral("--json")});
        const QJsonObject report = las.json().value(QStringLiteral("files")).toArray().first().toObject();
        EXPECT_TRUE(report.value(QStringLiteral("loads")).toBool()) << las.output.constData();
        EXPECT_TRUE(report.value(QStringLiteral("exact")).toBool()) << las.output.constData();
        EXPECT_TRUE(report.value(QStringLiteral("warnings")).toArray().isEmpty()) << las.output.constData();
    }

    /// Expects one line that tells of the source and why, and nothing written.
    void expectRefused(const PtcloudRun &done, const char *why) const
    {
        EXPECT_EQ(done.exitCode, 1) << why;
        ASSERT_EQ(done.errorLines().size(), 1) << why << ": " << done.errors.constData();
        const QByteArray line = done.errorLines().first();
        EXPECT_TRUE(line.contains(why)) << why << ": " << line.constData();
        EXPECT_TRUE(line.contains("in.las")) << line.constData();
        EXPECT_FALSE(QFile::exists(out())) << why;
        EXPECT_FALSE(QFile::exists(sideFile())) << why;
    }

    QTemporaryDir m_dir;
};

} // namespace support
