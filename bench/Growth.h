#pragma once

#include <QFile>

#include <cstdio>
#include <ctime>

#ifdef __GLIBC__
#include <malloc.h>
#endif

/// Measures the steps of one size: what a step took of the processor, in all threads, and what memory it came to beyond
/// what was there before. scripts/large.sh puts the sizes side by side.
class Growth
{
public:
    explicit Growth(qint64 items) : m_items(items)
    {
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    }

    /// Runs a step and prints its row. Ends the program where the step tells that something went wrong.
    template <typename Work>
    void step(const char *name, Work work)
    {
#ifdef __GLIBC__
        // What earlier steps gave back must not be handed out again unseen.
        malloc_trim(0);
#endif
        resetPeak();
        const double memoryBefore = memory("VmRSS:");
        const std::clock_t begin = std::clock();
        const bool isDone = work();
        const double seconds = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
        const double bytes = memory("VmHWM:") - memoryBefore;
        if (!isDone) {
            std::fprintf(stderr, "%s failed with %lld items\n", name, static_cast<long long>(m_items));
            std::exit(1);
        }
        const auto items = static_cast<double>(m_items);
        std::printf("%s\t%lld\t%.4f\t%.1f\n", name, static_cast<long long>(m_items), seconds * 1e6 / items,
                    bytes / items);
        std::fflush(stdout);
    }

private:
    static void resetPeak()
    {
        QFile file(QStringLiteral("/proc/self/clear_refs"));
        if (file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
            file.write("5");
    }
    /// A line of the process's state, in bytes; 0 where the system has none.
    static double memory(const char *line)
    {
        QFile status(QStringLiteral("/proc/self/status"));
        if (!status.open(QIODevice::ReadOnly))
            return 0.0;
        const QList<QByteArray> lines = status.readAll().split('\n');
        for (const QByteArray &text : lines) {
            if (text.startsWith(line))
                return text.mid(static_cast<int>(qstrlen(line))).trimmed().split(' ').first().toDouble() * 1024.0;
        }
        return 0.0;
    }

    qint64 m_items;
};
