#include "ColumnNames.h"
#include "Commands.h"
#include "DataSetSource.h"
#include "ExportWriter.h"
#include "LasOutput.h"
#include "LibraryLog.h"
#include "OutputFile.h"

#include "PtCloud_DataSetFile.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>
#include <limits>
#include <memory>
#include <numeric>
#include <string>

using namespace ptCloud;

namespace
{

using Shift = std::optional<std::array<double, 3>>;

struct ExportOptions
{
    SourceOptions source;
    std::string out;
    std::vector<double> box;
    std::string columns = "all";
    std::string sideFile;
};

/// The points of a data set that lie in a box; without one, all.
class Selection
{
public:
    Selection(PtCloud_DataSetFile &file, const std::optional<pcBoundingBoxf> &box) : m_file(file), m_box(box)
    {
        const auto blocks = file.getBlockInfos();
        for (auto it = blocks.cbegin(); it != blocks.cend(); ++it) {
            if (!box || std::get<2>(*it).intersects(*box))
                m_keys << it.key();
        }
    }

    const QList<int> &keys() const { return m_keys; }

    /// Reads a block and chooses its points.
    void read(int key)
    {
        m_array = m_file.readBlock(key);
        if (m_array == nullptr)
            throw CommandError(
                QStringLiteral("block %1 of %2 can't be read").arg(key).arg(quoted(m_file.getFilepath())));
        m_indices.clear();
        for (quint32 i = 0; i < m_array->m_pointCount; ++i) {
            if (!m_box || m_box->contains(m_array->m_position[i]))
                m_indices.push_back(i);
        }
    }

    ExportedPoints points() const { return {*m_array, m_indices}; }

    /// The triangles whose corners are all chosen, when the first of the chosen points has this number in the file.
    std::vector<stTriangle> triangles(qint64 first) const
    {
        constexpr quint32 absent = std::numeric_limits<quint32>::max();
        std::vector<quint32> numbers(m_array->m_pointCount, absent);
        for (std::size_t i = 0; i < m_indices.size(); ++i)
            numbers[m_indices[i]] = static_cast<quint32>(static_cast<std::size_t>(first) + i);
        const auto numberOf = [&numbers](quint32 corner) { return corner < numbers.size() ? numbers[corner] : absent; };
        std::vector<stTriangle> result;
        for (quint32 i = 0; i < (m_array->m_triangle == nullptr ? 0 : m_array->m_triangleCount); ++i) {
            const stTriangle &corners = m_array->m_triangle[i];
            const stTriangle renumbered{numberOf(corners.a), numberOf(corners.b), numberOf(corners.c)};
            if (renumbered.a != absent && renumbered.b != absent && renumbered.c != absent)
                result.push_back(renumbered);
        }
        return result;
    }

private:
    PtCloud_DataSetFile &m_file;
    std::optional<pcBoundingBoxf> m_box;
    QList<int> m_keys;
    const stPtCloud_PointArray *m_array = nullptr;
    std::vector<quint32> m_indices;
};

Shift readShift(const std::string &sideFile)
{
    if (sideFile.empty())
        return std::nullopt;
    const QString path = argument(sideFile);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw CommandError(QStringLiteral("%1 can't be read: %2").arg(quoted(path), file.errorString()));
    const QJsonArray numbers = QJsonDocument::fromJson(file.readAll()).object().value(QLatin1String("shift")).toArray();
    if (numbers.size() != 3 || !numbers[0].isDouble() || !numbers[1].isDouble() || !numbers[2].isDouble())
        throw CommandError(
            QStringLiteral("%1 tells no \"shift\" of three numbers, as ptcloud convert writes").arg(quoted(path)));
    return std::array<double, 3>{numbers[0].toDouble(), numbers[1].toDouble(), numbers[2].toDouble()};
}

/// In the units of the positions; it was given in true coordinates where a shift is taken back.
std::optional<pcBoundingBoxf> boxOf(const ExportOptions &options, const Shift &shift)
{
    if (options.box.empty())
        return std::nullopt;
    const std::vector<double> &b = options.box;
    const std::array<double, 3> moved = shift.value_or(std::array<double, 3>{});
    if (!(b[0] <= b[3] && b[1] <= b[4] && b[2] <= b[5]))
        throw CLI::ValidationError("--box", "takes the lower corner, then the upper: X0,Y0,Z0,X1,Y1,Z1");
    // In the precision of the positions, so that a point on a face counts as it reads.
    const auto at = [&](std::size_t i) { return static_cast<float>(b[i] - moved[i % 3]); };
    return pcBoundingBoxf(at(0), at(1), at(2), at(3), at(4), at(5));
}

QList<EDataSetColumn> chooseColumns(const PtCloud_DataSetFile &file, const std::string &wanted)
{
    const QList<EDataSetColumn> &present = file.getColumns();
    if (!present.contains(EDataSetColumn_Position))
        throw CommandError(QStringLiteral("%1 has no positions").arg(quoted(file.getFilepath())));
    if (wanted == "all")
        return present;
    QList<EDataSetColumn> columns = parseColumns(argument(wanted));
    for (const EDataSetColumn column : qAsConst(columns)) {
        if (!present.contains(column))
            throw CommandError(QStringLiteral("%1 has no column \"%2\"; its columns are %3")
                                   .arg(quoted(file.getFilepath()), columnName(column), columnNames(present)));
    }
    if (!columns.contains(EDataSetColumn_Position))
        columns.prepend(EDataSetColumn_Position);
    return columns;
}

void refuseTarget(const QString &out, const QStringList &sources)
{
    refuseSource(out, sources);
    if (out.endsWith(QLatin1String(".las"), Qt::CaseInsensitive))
        LasOutput::refuseToOverwrite(out);
}

bool takesTriangles(const ExportPlan &plan)
{
    return plan.columns.contains(EDataSetColumn_Triangle) && ExportWriter::takesTriangles(plan.path);
}

/// Counts before anything is written, since some files tell it in front.
void count(Selection &selection, ExportPlan &plan)
{
    const bool isMesh = takesTriangles(plan);
    for (const int key : selection.keys()) {
        selection.read(key);
        plan.points += static_cast<qint64>(selection.points().indices.size());
        if (isMesh)
            plan.triangles += static_cast<qint64>(selection.triangles(0).size());
    }
    if (plan.points == 0)
        throw CommandError(QStringLiteral("no point lies there; nothing was written"));
}

void write(Selection &selection, const ExportPlan &plan, ExportWriter &writer)
{
    Progress progress(QStringLiteral("writing"));
    qint64 done = 0;
    for (const int key : selection.keys()) {
        selection.read(key);
        writer.addPoints(selection.points());
        done += static_cast<qint64>(selection.points().indices.size());
        progress.show(static_cast<double>(done) / static_cast<double>(plan.points));
    }
    if (!takesTriangles(plan))
        return;
    qint64 first = 0;
    for (const int key : selection.keys()) {
        selection.read(key);
        writer.addTriangles(selection.triangles(first));
        first += static_cast<qint64>(selection.points().indices.size());
    }
}

void run(const Console &console, const ExportOptions &options)
{
    const LibraryLog silence;
    const DataSetSource source(console, options.source);
    PtCloud_DataSetFile &file = source.file();
    ExportPlan plan;
    plan.path = argument(options.out);
    QStringList sources{file.getFilepath()};
    if (!options.sideFile.empty())
        sources << argument(options.sideFile);
    refuseTarget(plan.path, sources);
    source.refuseToOverwrite(plan.path);
    plan.shift = readShift(options.sideFile);
    plan.columns = chooseColumns(file, options.columns);
    Selection selection(file, boxOf(options, plan.shift));
    count(selection, plan);
    const std::unique_ptr<ExportWriter> writer = ExportWriter::create(plan);
    write(selection, plan, *writer);
    writer->commit();

    const QList<EDataSetColumn> dropped = writer->dropped();
    console.line(
        QStringLiteral("%1: %2 points, %3 bytes").arg(plan.path, grouped(plan.points), grouped(writer->bytes())));
    if (!dropped.isEmpty())
        console.line(QStringLiteral("dropped: ") + columnNames(dropped));
    console.object({{QStringLiteral("file"), plan.path},
                    {QStringLiteral("points"), plan.points},
                    {QStringLiteral("triangles"), plan.triangles},
                    {QStringLiteral("columns"), columnNumbers(plan.columns)},
                    {QStringLiteral("dropped"), columnNumbers(dropped)}});
}

} // namespace

void addExportCommand(CLI::App &app, Console &console)
{
    const auto options = std::make_shared<ExportOptions>();
    CLI::App *command = app.add_subcommand(
        "export", "Write points, and for .ply triangles, out of a data set of the project or a data set file. A "
                  "block is read only if its box meets the wanted one");
    command
        ->add_option("SOURCE,--data-set", options->source.name,
                     "A data set of the project, or a data set file; a file goes first unless --project is given")
        ->required();
    addContentOptions(*command, options->source.content);
    addProjectOptions(*command, options->source.project);
    command->add_option("OUT", options->out, "The file to write: .las (version 1.2), .ply (binary) or .csv")
        ->required();
    command
        ->add_option("--box", options->box,
                     "Only points from X0,Y0,Z0 to X1,Y1,Z1, both included, in position units; with --unshift in true "
                     "coordinates")
        ->delimiter(',')
        ->expected(6);
    command
        ->add_option("--columns", options->columns, "all, or numbers such as 0,3,4; 0, the position, always goes out")
        ->capture_default_str();
    command->add_option("--unshift", options->sideFile,
                        "The .json beside a converted LAS file: write true coordinates, less what convert took away");
    command->callback([options, &console] { run(console, *options); });
}
