#pragma once

#include "DataSetFileTest.h"
#include "LasWriter.h"
#include "PlainLasBuild.h"

#include "LasFile.h"

#include <functional>
#include <memory>

/// Builds a data set file from LAS files of its own making, beside the plain account of what has to come of them.
class LasBuildTest : public support::DataSetFileTest
{
protected:
    struct Input
    {
        QByteArray bytes;
        std::unique_ptr<ptCloud::LasFile> las;
    };

    /// A point whose other fields all differ from point to point.
    static support::LasPoint point(qint32 x, qint32 y, qint32 z, int number = 0)
    {
        support::LasPoint made;
        made.x = x;
        made.y = y;
        made.z = z;
        made.intensity = static_cast<quint16>(1000 + number);
        made.returnFlags = static_cast<quint8>(37 * number + 0x95);
        made.classification = static_cast<quint8>(2 + number);
        made.scanAngleRank = static_cast<quint8>(200 + number);
        made.userData = static_cast<quint8>(3 * number + 1);
        made.pointSourceId = static_cast<quint16>(500 + number);
        made.gpsTime = 0.25 * number + 1e5;
        made.red = static_cast<quint16>(4099U * static_cast<quint32>(number) + 300U);
        made.green = static_cast<quint16>(977U * static_cast<quint32>(number) + 65535U);
        made.blue = static_cast<quint16>(31 * number);
        made.wavePacketDescriptorIndex = static_cast<quint8>(number + 7);
        made.byteOffsetToWaveformData = 0x100000000ULL + static_cast<quint64>(number);
        made.waveformPacketSize = static_cast<quint32>(70000 + number);
        made.returnPointWaveformLocation = 0.5F * static_cast<float>(number) + 0.125F;
        for (int axis = 0; axis < 3; ++axis)
            made.xyzT[axis] = static_cast<float>(number) - 0.75F * static_cast<float>(axis);
        return made;
    }

    /// Points at these raw integers, in this order, in a file whose scale is 1, so that its header's range is exact.
    static support::LasWriter fileOf(const std::vector<std::array<qint32, 3>> &places, quint8 format = 0)
    {
        support::LasWriter writer;
        writer.format = format;
        writer.scale = {1.0, 1.0, 1.0};
        int number = 0;
        for (const auto &[x, y, z] : places)
            writer.points.push_back(point(x, y, z, number++));
        return writer;
    }

    /// The same with the header's range set by hand, equal on all axes.
    static support::LasWriter fileOf(const std::vector<std::array<qint32, 3>> &places, double least, double most,
                                     quint8 format = 0)
    {
        support::LasWriter writer = fileOf(places, format);
        writer.hasBounds = true;
        writer.minimum = {least, least, least};
        writer.maximum = {most, most, most};
        return writer;
    }

    /// Loads a file of these bytes. It is not in the builder's list yet.
    const ptCloud::LasFile *load(const QByteArray &bytes, unsigned int step = 1000)
    {
        const QString lasPath = lasFilePath(m_inputs.size());
        m_inputs.push_back({bytes, std::make_unique<ptCloud::LasFile>()});
        EXPECT_TRUE(support::writeFile(lasPath, bytes));
        EXPECT_TRUE(m_inputs.back().las->load(lasPath, step));
        return m_inputs.back().las.get();
    }

    /// Loads a file and appends it to the builder's list.
    const ptCloud::LasFile *add(const QByteArray &bytes, unsigned int step = 1000)
    {
        m_list.append(load(bytes, step));
        return m_list.last();
    }
    const ptCloud::LasFile *add(const support::LasWriter &writer, unsigned int step = 1000)
    {
        return add(writer.bytes(), step);
    }

    QString lasFilePath(std::size_t number) const
    {
        return m_dir.filePath(QStringLiteral("%1.las").arg(static_cast<int>(number)));
    }

    bool build(const std::vector<quint32> &columns = {0})
    {
        QList<ptCloud::EDataSetColumn> list;
        for (const quint32 column : columns)
            list.append(static_cast<ptCloud::EDataSetColumn>(column));
        return m_file.makeDataSet_byLasFile(m_list, list);
    }

    /// The file that was built, taken apart; no blocks if it does not add up.
    support::BlockFile built() const
    {
        QString reason;
        const auto parsed = support::BlockFile::parse(support::readFile(path()), &reason);
        EXPECT_TRUE(parsed) << reason.toStdString();
        return parsed.value_or(support::BlockFile());
    }

    support::PlainLasBuild plain(const std::vector<quint32> &columns) const
    {
        std::vector<const Input *> listed;
        for (const Input &input : m_inputs) {
            if (m_list.contains(input.las.get()))
                listed.push_back(&input);
        }
        std::sort(listed.begin(), listed.end(), [](const Input *a, const Input *b) {
            return std::less<const ptCloud::LasFile *>()(a->las.get(), b->las.get());
        });
        std::vector<support::PlainLasFile> files;
        files.reserve(listed.size());
        for (const Input *input : listed)
            files.push_back({input->bytes, input->las->getBufSize()});
        const auto indexOf = [&](const ptCloud::LasFile *las) {
            const auto found =
                std::find_if(listed.begin(), listed.end(), [las](const Input *i) { return i->las.get() == las; });
            return static_cast<std::size_t>(found - listed.begin());
        };
        return support::buildPlainly(files, indexOf(m_list.first()), indexOf(m_list.last()), columns);
    }

    /// Expects that the builder answers, logs and writes what the plain account has.
    void expectBuildsAsPlain(const std::vector<quint32> &columns)
    {
        const support::PlainLasBuild expected = plain(columns);
        const auto before = static_cast<int>(m_log.lines().size());
        ASSERT_EQ(build(columns), expected.complete);
        support::expectClosed(m_file);
        const QByteArray bytes = support::readFile(path());
        ASSERT_EQ(bytes.size(), expected.blockFile.size());
        EXPECT_TRUE(bytes == expected.blockFile)
            << "first difference at " << firstDifference(bytes, expected.blockFile);
        expectLog(m_log.lines().mid(before), expected.readingLines, expected.complete);
    }

    /// Expects the lines of the reading steps, then the one with the seconds, then, where nothing came of it, why.
    static void expectLog(const QStringList &lines, const QStringList &readingLines, bool complete)
    {
        const int steps = static_cast<int>(readingLines.size());
        ASSERT_EQ(lines.size(), steps + (complete ? 1 : 2));
        EXPECT_EQ(lines.mid(0, steps), readingLines);
        EXPECT_TRUE(isTimeLine(lines[steps])) << lines[steps].toStdString();
        if (!complete) {
            EXPECT_EQ(lines.last(), emptyLine());
        }
    }

    static QString emptyLine() { return QStringLiteral("makeDataSet_byLasFile: points is empty."); }

    /// Whether a line tells whole seconds.
    static bool isTimeLine(const QString &line)
    {
        const QString head = QStringLiteral("initialize las buf boxs: ");
        const QString tail = QStringLiteral(" seconds.");
        const QString number = line.mid(head.size(), line.size() - head.size() - tail.size());
        bool isWhole = false;
        number.toUInt(&isWhole);
        return isWhole && line == head + number + tail;
    }

    static int firstDifference(const QByteArray &a, const QByteArray &b)
    {
        return static_cast<int>(std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first - a.begin());
    }

    std::vector<Input> m_inputs;
    QList<const ptCloud::LasFile *> m_list;
};
