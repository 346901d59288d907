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
/// Calls from there on, one of these at random: some steps make one, others a handful, and builds very many.
constexpr quint32 mostCalls[] = {1, 8, 150};
constexpr int longestRunMs = 60000;

} // namespace

HostOrder HostOrder::random(std::mt19937 &random)
{
    const auto below = [&random](quint32 limit) { return static_cast<quint32>(random()) % limit; };
    HostOrder order;
    order.seed = below(1000000);
    if (below(2) == 0) {
        order.microseconds = below(mostMicroseconds);
        return order;
    }
    order.step = static_cast<int>(below(mostSteps));
    order.call = 1 + static_cast<long>(below(mostCalls[below(3)]));
    order.share = static_cast<int>(below(257));
    return order;
}

QString HostOrder::text() const
{
    const QString when = microseconds.has_value()
                             ? QStringLiteral("after %1 us").arg(*microseconds)
                             : QStringLiteral("from step %1 at call %2, share %3").arg(step).arg(call).arg(share);
    return QStringLiteral("host of seed %1, killed %2").arg(seed).arg(when);
}

HostEnd runHost(const QString &directory, const HostOrder &order)
{
    const QString journalPath = directory + QStringLiteral("/journal");
    QFile::remove(journalPath);
    QProcess process;
    process.start(QStringLiteral(CRASH_HOST),
                  QStringList{directory + QStringLiteral("/project"), directory + QStringLiteral("/las"), journalPath,
                              QString::number(order.seed), QString::number(order.step), QString::number(order.call),
                              QString::number(order.share)}
                      + order.lines);
    if (order.microseconds.has_value() && process.waitForReadyRead()) {
        std::this_thread::sleep_for(std::chrono::microseconds(*order.microseconds));
        process.kill();
    }
    HostEnd end;
    if (process.waitForFinished(longestRunMs)) {
        end.isKilled = process.exitStatus() == QProcess::CrashExit;
    } else {
        process.kill();
        process.waitForFinished();
    }
    end.journal = readJournal(support::readFile(journalPath));
    return end;
}

} // namespace crash
