// The worker: reads the settings file that is its only argument, runs the function that it names, and ends with a
// number that tells the host how it went. The last message says the same to the user, in words.

#include "Failure.h"
#include "Function.h"
#include "HostProgress.h"
#include "Parameters.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QStringList>

#include <exception>
#include <new>

namespace
{

int fail(HostProgress &progress, ExitCode code, const QString &message)
{
    progress.fail(message);
    return static_cast<int>(code);
}

int run(const QStringList &arguments, HostProgress &progress)
{
    try {
        if (arguments.size() != 2)
            throw Failure(ExitCode::Argument, QStringLiteral("usage: open3d_wrapper SETTINGS-FILE"));
        const Parameters parameters = Parameters::fromFile(arguments.at(1));
        const Runner runFunction = findFunction(parameters.integer("function"));
        progress.succeed(runFunction(parameters, progress));
        return static_cast<int>(ExitCode::Success);
    } catch (const Failure &failure) {
        return fail(progress, failure.code(), failure.message());
    } catch (const std::bad_alloc &) {
        return fail(progress, ExitCode::Memory,
                    QStringLiteral("the memory is used up; try fewer points, such as a sample or a part of them"));
    } catch (const std::exception &error) {
        return fail(progress, ExitCode::Crashed,
                    QStringLiteral("the function broke down: %1").arg(QString::fromLocal8Bit(error.what())));
    } catch (...) {
        return fail(progress, ExitCode::Crashed, QStringLiteral("the function broke down"));
    }
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    // What the library notes of each file is of no use here.
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    HostProgress progress;
    return run(QCoreApplication::arguments(), progress);
}
