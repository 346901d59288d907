#include "Commands.h"
#include "DemoSurvey.h"
#include "LasOutput.h"

#include <memory>
#include <optional>
#include <string>

namespace
{

struct DemoOptions
{
    std::string out;
    quint32 points = 0;
    int format = 3;
    std::string version = "1.2";
    std::string order = "flight";
    quint32 number = 1;
};

void writePoints(LasOutput &las, const DemoOptions &options)
{
    const DemoSurvey survey(options.points, options.number);
    std::optional<Shuffle> shuffle;
    if (options.order == "random")
        shuffle.emplace(options.points, options.number);
    constexpr quint32 step = 1 << 16;
    Progress progress(QStringLiteral("writing"));
    for (quint32 i = 0; i < options.points; ++i) {
        las.add(survey.point(shuffle ? (*shuffle)(i) : i));
        if (i % step == step - 1)
            progress.show(i / static_cast<double>(options.points));
    }
}

void run(const Console &console, const DemoOptions &options)
{
    const QString out = argument(options.out);
    LasOutput::refuseToOverwrite(out);
    LasHead head;
    head.minorVersion = options.version == "1.3" ? 3 : 2;
    head.format = options.format;
    head.generator = "ptcloud demo-las";
    LasOutput las(out, head);
    writePoints(las, options);
    las.commit();
    console.line(QStringLiteral("%1: %2 points of format %3, version %4, in %5 order")
                     .arg(out, grouped(options.points))
                     .arg(options.format)
                     .arg(argument(options.version), argument(options.order)));
    console.object({{QStringLiteral("file"), out},
                    {QStringLiteral("points"), static_cast<qint64>(options.points)},
                    {QStringLiteral("format"), options.format},
                    {QStringLiteral("version"), argument(options.version)},
                    {QStringLiteral("order"), argument(options.order)},
                    {QStringLiteral("bytes"), las.bytes()}});
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
