#include "Commands.h"
#include "ContourReport.h"
#include "OutputFile.h"

#include <QJsonObject>

#include <memory>
#include <string>

using namespace ptCloud;

namespace
{

void run(const Console &console, const QString &path, const QString &picture)
{
    refuseSource(picture, {path});
    PtCloud_ContourFile contours;
    contours.setFile(path);
    if (!contours.isValid())
        throw CommandError(QStringLiteral("%1 is not an existing, readable file").arg(quoted(path)));
    if (!contours.openFile())
        throw CommandError(QStringLiteral("%1 is no contour file").arg(quoted(path)));
    for (const QString &line : contoursToTable(contours))
        console.line(line);
    if (!picture.isEmpty()) {
        const QImage image = drawContours(contours);
        if (image.isNull())
            throw CommandError(QStringLiteral("%1 has no lines that can be drawn").arg(quoted(path)));
        writePicture(picture, image);
        console.line(picture);
    }
    console.object({{QStringLiteral("groups"), contoursToJson(contours)}});
}

} // namespace

void addContoursCommand(CLI::App &app, Console &console)
{
    const auto path = std::make_shared<std::string>();
    const auto picture = std::make_shared<std::string>();
    CLI::App *command =
        app.add_subcommand("contours", "Tell what a contour file holds: its two groups, and for each height its lines");
    command->add_option("FILE", *path, "A contour file, such as dem.contour")->required();
    command->add_option("--picture", *picture, "Draw the lines from above to this .png file");
    command->callback([path, picture, &console] { run(console, argument(*path), argument(*picture)); });
}
