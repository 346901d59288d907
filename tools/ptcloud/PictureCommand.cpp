#include "ColumnNames.h"
#include "Commands.h"
#include "LibraryLog.h"
#include "OutputFile.h"
#include "TopView.h"

#include <QJsonObject>

#include <map>
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
    int size = 1200;
};

/// What a picture can be coloured by, and the column that it takes.
struct Colouring
{
    TopView::By by;
    EDataSetColumn column;
};

const std::map<std::string, Colouring> colourings = {
    {"height", {TopView::Height, EDataSetColumn_Position}},
    {"colour", {TopView::Colour, EDataSetColumn_Color}},
    {"classification", {TopView::Classification, EDataSetColumn_Classification}},
    {"intensity", {TopView::Intensity, EDataSetColumn_Intensity}},
    {"block", {TopView::Block, EDataSetColumn_Position}},
};

void run(const Console &console, const PictureOptions &options)
{
    const QString path = argument(options.file);
    const QString out = argument(options.out);
    const LibraryLog silence;
    PtCloud_DataSetFile file;
    file.setFile(path);
    if (!file.openFile())
        throw CommandError(QStringLiteral("%1 is no sound data set file").arg(quoted(path)));
    const Colouring &colouring = colourings.at(options.by);
    for (const EDataSetColumn column : {EDataSetColumn_Position, colouring.column}) {
        if (!file.getColumns().contains(column))
            throw CommandError(QStringLiteral("%1 has no column \"%2\"; its columns are %3")
                                   .arg(quoted(path), columnName(column), columnNames(file.getColumns())));
    }
    TopView view(file, colouring.by, options.size);
    const QImage image = view.draw();
    if (image.isNull())
        throw CommandError(QStringLiteral("%1 has no points that can be drawn").arg(quoted(path)));
    writePicture(out, image);
    const pcBoundingBoxf &bounds = view.bounds();
    console.line(QStringLiteral("%1: %2 x %3 pixels, x %4 to %5, y %6 to %7")
                     .arg(out)
                     .arg(image.width())
                     .arg(image.height())
                     .arg(static_cast<double>(bounds.xMin()))
                     .arg(static_cast<double>(bounds.xMax()))
                     .arg(static_cast<double>(bounds.yMin()))
                     .arg(static_cast<double>(bounds.yMax())));
    console.object({{QStringLiteral("picture"), out},
                    {QStringLiteral("width"), image.width()},
                    {QStringLiteral("height"), image.height()}});
}

} // namespace

void addPictureCommand(CLI::App &app, Console &console)
{
    const auto options = std::make_shared<PictureOptions>();
    CLI::App *command = app.add_subcommand("picture", "Draw a data set file from above as a PNG picture");
    command->add_option("FILE", options->file, "A data set file")->required();
    command->add_option("OUT", options->out, "The picture to write, a .png file")->required();
    command->add_option("--by", options->by, "What the colours show")
        ->capture_default_str()
        ->check(CLI::IsMember({"height", "colour", "classification", "intensity", "block"}));
    command->add_option("--size", options->size, "Pixels of the longer edge")
        ->capture_default_str()
        ->check(CLI::Range(16, 8192));
    command->callback([options, &console] { run(console, *options); });
}
