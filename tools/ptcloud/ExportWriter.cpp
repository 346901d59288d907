#include "ExportWriter.h"

#include "Console.h"
#include "LasOutput.h"

#include <algorithm>
#include <cmath>
#include <limits>

using namespace ptCloud;

namespace
{

bool endsWith(const QString &path, const char *ending)
{
    return path.endsWith(QLatin1String(ending), Qt::CaseInsensitive);
}

/// A file of rows, gathered into large pieces.
class RowFile
{
public:
    explicit RowFile(const QString &path) : m_file(path)
    {
        if (!m_file.open(QIODevice::WriteOnly))
            fail();
    }

    QByteArray &row()
    {
        constexpr int pieceSize = 1 << 20;
        if (m_piece.size() >= pieceSize)
            flush();
        return m_piece;
    }

    qint64 bytes() const { return m_flushed + m_piece.size(); }

    void commit()
    {
        flush();
        if (!m_file.commit())
            fail();
    }

private:
    void flush()
    {
        if (m_file.write(m_piece) != m_piece.size() || !m_file.flush())
            fail();
        m_flushed += m_piece.size();
        m_piece.resize(0);
    }
    [[noreturn]] void fail() const
    {
        throw CommandError(
            QStringLiteral("%1 can't be written: %2").arg(quoted(m_file.fileName()), m_file.errorString()));
    }

    QSaveFile m_file;
    QByteArray m_piece;
    qint64 m_flushed = 0;
};

/// A file with a row for each point: x, y, z, then the other columns.
class RowWriter : public ExportWriter
{
public:
    explicit RowWriter(const ExportPlan &plan) : m_plan(plan), m_file(plan.path), m_fields(exportFields(plan.columns))
    {}

    void addPoints(const ExportedPoints &points) override
    {
        // A shift changes x, y and z, which are the first fields.
        const std::size_t firstPlain = m_plan.shift ? 3 : 0;
        for (const quint32 point : points.indices) {
            QByteArray &row = m_file.row();
            for (std::size_t axis = 0; axis < firstPlain; ++axis) {
                const auto position = static_cast<double>(points.array.m_position[point][static_cast<int>(axis)]);
                appendCoordinate(row, position + (*m_plan.shift)[axis]);
            }
            for (std::size_t i = firstPlain; i < m_fields.size(); ++i)
                appendField(row, m_fields[i], points.array, point);
            endRow(row);
        }
    }

    void commit() override { m_file.commit(); }
    qint64 bytes() const override { return m_file.bytes(); }

protected:
    virtual void appendCoordinate(QByteArray &row, double coordinate) const = 0;
    virtual void appendField(QByteArray &row, const ExportField &field, const stPtCloud_PointArray &array,
                             quint32 point) const = 0;
    virtual void endRow(QByteArray &) const {}

    const ExportPlan &plan() const { return m_plan; }
    const std::vector<ExportField> &fields() const { return m_fields; }
    RowFile &file() { return m_file; }

private:
    ExportPlan m_plan;
    RowFile m_file;
    std::vector<ExportField> m_fields;
};

class CsvWriter : public RowWriter
{
public:
    explicit CsvWriter(const ExportPlan &plan) : RowWriter(plan)
    {
        QByteArray &head = file().row();
        for (const ExportField &field : fields())
            head.append(field.name).append(',');
        CsvWriter::endRow(head);
    }

    QList<EDataSetColumn> dropped() const override
    {
        return plan().columns.contains(EDataSetColumn_Triangle) ? QList<EDataSetColumn>{EDataSetColumn_Triangle}
                                                                : QList<EDataSetColumn>();
    }

protected:
    void appendCoordinate(QByteArray &row, double coordinate) const override
    {
        row.append(QByteArray::number(coordinate, 'f', 3)).append(',');
    }
    void appendField(QByteArray &row, const ExportField &field, const stPtCloud_PointArray &array,
                     quint32 point) const override
    {
        field.appendText(row, array, point);
        row.append(',');
    }
    void endRow(QByteArray &row) const override { row[row.size() - 1] = '\n'; }
};

class PlyWriter : public RowWriter
{
public:
    explicit PlyWriter(const ExportPlan &plan) : RowWriter(plan)
    {
        QByteArray &head = file().row();
        head += "ply\nformat binary_little_endian 1.0\n";
        head += "element vertex " + QByteArray::number(plan.points) + '\n';
        for (const ExportField &field : fields()) {
            const bool isWide = plan.shift && field.column == EDataSetColumn_Position;
            head.append("property ").append(isWide ? "double" : field.plyType);
            head.append(' ').append(field.name).append('\n');
        }
        if (plan.columns.contains(EDataSetColumn_Triangle)) {
            head += "element face " + QByteArray::number(plan.triangles) + '\n';
            head += "property list uchar uint vertex_indices\n";
        }
        head += "end_header\n";
    }

    void addTriangles(const std::vector<stTriangle> &triangles) override
    {
        constexpr char corners = 3;
        for (const stTriangle &triangle : triangles)
            file().row().append(corners).append(reinterpret_cast<const char *>(&triangle), sizeof triangle);
    }

    QList<EDataSetColumn> dropped() const override { return {}; }

protected:
    void appendCoordinate(QByteArray &row, double coordinate) const override
    {
        row.append(reinterpret_cast<const char *>(&coordinate), sizeof coordinate);
    }
    void appendField(QByteArray &row, const ExportField &field, const stPtCloud_PointArray &array,
                     quint32 point) const override
    {
        field.appendBytes(row, array, point);
    }
};

class LasPointWriter : public ExportWriter
{
public:
    explicit LasPointWriter(const ExportPlan &plan) : m_plan(plan), m_las(plan.path, headFor(plan)) {}

    void addPoints(const ExportedPoints &points) override
    {
        for (const quint32 point : points.indices)
            m_las.add(recordOf(points.array, point));
    }

    void commit() override { m_las.commit(); }
    qint64 bytes() const override { return m_las.bytes(); }

    QList<EDataSetColumn> dropped() const override
    {
        QList<EDataSetColumn> result;
        for (const EDataSetColumn column : m_plan.columns) {
            const bool isKept = column == EDataSetColumn_Position
                                || (column >= EDataSetColumn_Color && column <= EDataSetColumn_GpsTime);
            if (!isKept)
                result << column;
        }
        return result;
    }

private:
    static LasHead headFor(const ExportPlan &plan)
    {
        if (plan.points > static_cast<qint64>(std::numeric_limits<quint32>::max()))
            throw CommandError(QStringLiteral("%1 points do not fit one LAS file of version 1.2; give a --box")
                                   .arg(grouped(plan.points)));
        LasHead head;
        head.format = (plan.columns.contains(EDataSetColumn_GpsTime) ? 1 : 0)
                      + (plan.columns.contains(EDataSetColumn_Color) ? 2 : 0);
        head.generator = "ptcloud export";
        if (plan.shift)
            head.offset = *plan.shift;
        return head;
    }

    bool has(EDataSetColumn column) const { return m_plan.columns.contains(column); }

    static qint32 thousandths(float position)
    {
        const double exact = static_cast<double>(position) / LasOutput::scale;
        if (!(std::abs(exact) < static_cast<double>(std::numeric_limits<qint32>::max())))
            throw CommandError(
                QStringLiteral("a position of %1 does not fit a LAS file with steps of 0.001; write .ply")
                    .arg(static_cast<double>(position)));
        return static_cast<qint32>(std::llround(exact));
    }

    /// A column that is not wanted, or not there, is zero.
    template <typename Value>
    Value take(const Value *values, EDataSetColumn column, quint32 point) const
    {
        return has(column) ? values[point] : Value();
    }

    stLasRecord_fmt_5 recordOf(const stPtCloud_PointArray &array, quint32 i) const
    {
        stLasRecord_fmt_5 record = {};
        record.x = thousandths(array.m_position[i].x());
        record.y = thousandths(array.m_position[i].y());
        record.z = thousandths(array.m_position[i].z());
        record.intensity = take(array.m_intensity, EDataSetColumn_Intensity, i);
        record.returnFlags =
            static_cast<quint8>((take(array.m_returnNumber, EDataSetColumn_ReturnNumber, i) & 7U)
                                | (take(array.m_numberOfReturns, EDataSetColumn_NumberOfReturns, i) & 7U) << 3U
                                | (take(array.m_scanDirection, EDataSetColumn_ScanDirection, i) & 1U) << 6U
                                | (take(array.m_edgeOfFlightLine, EDataSetColumn_EdgeOfFlightLine, i) & 1U) << 7U);
        record.classification = take(array.m_classification, EDataSetColumn_Classification, i);
        record.scanAngleRank = take(array.m_scanAngleRank, EDataSetColumn_ScanAngleRank, i);
        record.userData = take(array.m_userData, EDataSetColumn_UserData, i);
        record.pointSourceId = take(array.m_pointSourceId, EDataSetColumn_PointSourceId, i);
        record.gpsTime = take(array.m_gpsTime, EDataSetColumn_GpsTime, i);
        if (has(EDataSetColumn_Color)) {
            record.red = wide(array.m_color[i].x());
            record.green = wide(array.m_color[i].y());
            record.blue = wide(array.m_color[i].z());
        }
        return record;
    }

    static quint16 wide(float channel)
    {
        return static_cast<quint16>(std::lround(std::clamp(channel, 0.0F, 1.0F) * 65535.0F));
    }

    ExportPlan m_plan;
    LasOutput m_las;
};

} // namespace

std::unique_ptr<ExportWriter> ExportWriter::create(const ExportPlan &plan)
{
    if (endsWith(plan.path, ".las"))
        return std::make_unique<LasPointWriter>(plan);
    if (endsWith(plan.path, ".ply"))
        return std::make_unique<PlyWriter>(plan);
    if (endsWith(plan.path, ".csv"))
        return std::make_unique<CsvWriter>(plan);
    throw CommandError(QStringLiteral("%1 ends neither in .las nor in .ply or .csv").arg(quoted(plan.path)));
}

bool ExportWriter::takesTriangles(const QString &path)
{
    return endsWith(path, ".ply");
}
