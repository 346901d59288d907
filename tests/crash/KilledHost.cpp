#include "KilledHost.h"

#include "Bytes.h"

#include <QFile>
#include <QProcess>

#include <chrono>
#include <thread>

namespace crash
{

namespace
{

constexpr quint32 mostMicroseconds = 150000; ///< until a kill by the clock: some dozens of steps
constexpr quint32 mostSteps = 30;            ///< until the calls are counted
/// Calls from there on, one of these at random: most steps make a handful, and builds very many.
constexpr quint32 mostCalls[] = {8, 8, 150};

} // namespace

KilledHost killOneHost(const QString &projectDir, const QString &lasDir, const QString &journalPath,
                       std::mt19937 &random)
{
    const auto below = [&random](quint32 limit) { return static_cast<quint32>(random()) % limit; };
    KilledHost host;
    host.byTheClock = below(2) == 0;
    const quint32 seed = below(1000000);
    const quint32 microseconds = below(mostMicroseconds);
    const quint32 step = below(mostSteps);
    const quint32 call = 1 + below(mostCalls[below(3)]);
    const quint32 share = below(257);
    QStringList arguments = {projectDir, lasDir, journalPath, QString::number(seed)};
    if (!host.byTheClock)
        arguments << QString::number(step) << QString::number(call) << QString::number(share);
    host.how =
        QStringLiteral("host of seed %1, killed %2")
            .arg(seed)
            .arg(host.byTheClock ? QStringLiteral("after %1 us").arg(microseconds)
                                 : QStringLiteral("from step %1 at call %2, share %3").arg(step).arg(call).arg(share));

    QFile::remove(journalPath);
    QProcess process;
    process.start(QStringLiteral(CRASH_HOST), arguments);
    if (process.waitForReadyRead() && host.byTheClock) {
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
        process.kill();
    }
    if (!process.waitForFinished(60000)) {
        process.kill();
        process.waitForFinished();
        host.how += QStringLiteral(", but hung");
        return host;
    }
    host.isKilled = process.exitStatus() == QProcess::CrashExit;
    if (!host.isKilled)
        host.how += QStringLiteral(", but ended with %1").arg(process.exitCode());
    host.journal = readJournal(support::readFile(journalPath));
    return host;
}

} // namespace crash
