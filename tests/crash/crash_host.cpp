// A host that does random things to a project until somebody ends it, and writes down each before and after.
//
//   crash_host PROJECT LAS-DIRECTORY JOURNAL SEED [STEP CALL SHARE]
//
// With STEP it ends itself: at that call, counted from the begin of that step, by which a file of the project changes,
// see FileCalls.h.

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
    if (arguments.size() < 5)
        return 2;
    qInstallMessageHandler(beSilent);
    QFile journal(arguments.at(3));
    if (!journal.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered))
        return 2;
    crash::HostSteps host(arguments.at(1), arguments.at(2), arguments.at(4).toUInt());
    const int lastStep = arguments.size() == 8 ? arguments.at(5).toInt() : mostSteps;
    std::puts("at work");
    std::fflush(stdout);
    crash::Step step = crash::HostSteps::opening();
    for (int count = 0; count < mostSteps; ++count) {
        if (count == lastStep) {
            crash::killAtFileCall(QDir(arguments.at(1)).absolutePath().toStdString(), arguments.at(6).toLong(),
                                  arguments.at(7).toInt());
        }
        journal.write(crash::beginLine(step));
        journal.write(crash::endLine(host.run(step)));
        step = host.next();
    }
    return 1;
}
