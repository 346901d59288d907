// A host that does things to a project until somebody ends it, and writes down each before and after.
//
//   crash_host PROJECT LAS-DIRECTORY JOURNAL SEED STEP CALL SHARE [LINE...]
//
// It does random things, or the steps of the lines, after which it ends. Where STEP is the number of a step, it is
// killed: at that call, counted from the begin of the step, by which a file of the project changes, see FileCalls.h.

#include "FileCalls.h"
#include "HostSteps.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <cstdio>

namespace
{

/// More than any host gets to: one that nobody ends does not run for ever.
constexpr int mostSteps = 5000;

void beSilent(QtMsgType /*type*/, const QMessageLogContext & /*context*/, const QString & /*text*/) {}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 8)
        return 2;
    qInstallMessageHandler(beSilent);
    QFile journal(arguments.at(3));
    if (!journal.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered))
        return 2;
    crash::HostSteps host(arguments.at(1), arguments.at(2), arguments.at(4).toUInt());
    const QStringList lines = arguments.mid(8);
    std::puts("at work");
    std::fflush(stdout);
    const int steps = lines.isEmpty() ? mostSteps : lines.size();
    for (int count = 0; count < steps; ++count) {
        crash::Step step = crash::HostSteps::opening();
        if (!lines.isEmpty())
            step = crash::stepOf(lines.at(count));
        else if (count > 0)
            step = host.next();
        if (count == arguments.at(5).toInt()) {
            crash::killAtFileCall(QDir(arguments.at(1)).absolutePath().toStdString(), arguments.at(6).toLong(),
                                  arguments.at(7).toInt());
        }
        journal.write(crash::beginLine(step));
        journal.write(crash::endLine(host.run(step)));
    }
    return 0;
}
