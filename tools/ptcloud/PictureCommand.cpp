#include "ColumnNames.h"
#include "Commands.h"
#include "ContourLines.h"
#include "DataSetView.h"
#include "LibraryLog.h"
#include "OutputFile.h"

#include <QJsonObject>

#include <memory>
#include <string>

using namespace ptCloud;

namespace
{

struct PictureOptions
{
    std::string file;
    std::string out;
    std::string by = "height";
    std::string view = "top";
    double exaggeration = 1.0;
    std::string contours;
    int size = 1200;
};

void requireColumn(const PtCloud_DataSetFile &file, EDataSetColumn column)
{
    if (!file.getColumns().contains(column))
        throw CommandError(QStringLiteral("%1 has no column \"%2\"; its columns are %3")
                               .arg(quoted(file.getFilepath()), columnName(column), columnNames(file.getColumns())));
}

/// Lays the lines of a contour file over the drawing, and tells of them in the legend.
void addContours(QImage &drawing, Legend &legend, const DataSetView &view, const QString &path)
{
    PtCloud_ContourFile contours;
    contours.setFile(path);
    if (!contours.openFile())
        throw CommandError(QStringLiteral("%1 is no contour file that can be read").arg(quoted(path)));
    QPainter painter(&drawing);
    const auto place = [&view](const QPointF &point) { return view.pixelOf({point.x(), point.y(), 0}); };
    if (!drawContourLines(painter, drawing.rect(), contours, place))
        throw CommandError(QStringLiteral("no line of %1 lies in the picture").arg(quoted(path)));
    for (const Legend::Entry &entry : contourEntries(contours))
        legend.entries.push_back(entry);
}

void tellLeftOut(const Console &console, const DataSetView &view)
{
    if (view.leftOutPoints() > 0)
        console.warn(QStringLiteral("%1 points are left out: their coordinates are no places of a survey")
                         .arg(grouped(static_cast<qint64>(view.leftOutPoints()))));
    if (view.leftOutTriangles() > 0)
        console.warn(QStringLiteral("%1 triangles are left out: a corner is missing or no place of a survey")
                         .arg(grouped(static_cast<qint64>(view.leftOutTriangles()))));
}

void run(const Console &console, const PictureOptions &options)
{
    const QString path = argument(options.file);
    const QString out = argument(options.out);
    refuseSource(out, {path, argument(options.contours)});
    const LibraryLog silence;
    PtCloud_DataSetFile file;
    file.setFile(path);
    if (!file.openFile())
        throw CommandError(QStringLiteral("%1 is no sound data set file").arg(quoted(path)));
    const auto colouring = makeColouring(options.by, file.getBlockInfos().keys());
    for (const EDataSetColumn column : {EDataSetColumn_Position, colouring->column()})
        requireColumn(file, column);
    const Camera camera(options.view == "top" ? Camera::Top : Camera::Oblique, options.exaggeration);
    DataSetView view(file, *colouring, camera, options.size);
    QImage drawing = view.draw();
    tellLeftOut(console, view);
    if (drawing.isNull())
        throw CommandError(QStringLiteral("%1 has nothing that can be drawn").arg(quoted(path)));
    Legend legend = colouring->legend();
    if (!options.contours.empty())
        addContours(drawing, legend, view, argument(options.contours));
    const QImage image = framed(drawing, view.unitsPerPixel(), legend);
    writePicture(out, image);
    console.line(QStringLiteral("%1: %2 x %3 pixels, %4 units a pixel")
                     .arg(out)
                     .arg(image.width())
                     .arg(image.height())
                     .arg(view.unitsPerPixel(), 0, 'g', 4));
    console.object({{QStringLiteral("picture"), out},
                    {QStringLiteral("width"), image.width()},
                    {QStringLiteral("height"), image.height()},
                    {QStringLiteral("unitsPerPixel"), view.unitsPerPixel()}});
}

} // namespace

void addPictureCommand(CLI::App &app, Console &console)
{
    const auto options = std::make_shared<PictureOptions>();
    CLI::App *command =
        app.add_subcommand("picture", "Draw a data set file, points or a mesh, as a PNG picture with a scale bar and a "
                                      "legend");
    command->add_option("FILE", options->file, "A data set file")->required();
    command->add_option("OUT", options->out, "The picture to write, a .png file")->required();
    command
        ->add_option("--by", options->by,
                     "What the colours show; hillshade: the shape alone, in light from the north-west")
        ->capture_default_str()
        ->check(CLI::IsMember(colouringNames()));
    CLI::Option *const view =
        command
            ->add_option("--view", options->view, "From straight above, or from the south, 35 degrees above the ground")
            ->capture_default_str()
            ->check(CLI::IsMember({"top", "oblique"}));
    command->add_option("--exaggerate", options->exaggeration, "Multiply heights by this")
        ->capture_default_str()
        ->check(CLI::Range(0.01, 100.0));
    command->add_option("--contours", options->contours,
                        "Lay the lines of this contour file over the picture, such as dem.contour over --by hillshade; "
                        "only with --view top");
    command
        ->add_option("--size", options->size,
                     "Pixels of the drawing's longer edge; scale bar and legend come beside it")
        ->capture_default_str()
        ->check(CLI::Range(16, 8192));
    command->callback([options, view, &console] {
        if (!options->contours.empty() && options->view != "top")
            throw CLI::ValidationError(view->get_name(), "contours are drawn from the top only");
        run(console, *options);
    });
}
