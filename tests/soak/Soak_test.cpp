// A long session in one process. SOAK_COMMANDS and SOAK_SEED make it longer and another one: see scripts/soak.sh.

#include <QtGlobal>

#ifdef Q_OS_LINUX

#include "Holdings.h"
#include "Sanitizer.h"
#include "Session.h"

#include <QTemporaryDir>

#include <cstdio>

namespace
{

constexpr int rounds = 10;
#ifndef SUPPORT_HAS_SANITIZER
/// What may come on top of the first state, whatever the number of commands: room that the C library and Qt keep for
/// the most of something that was ever there at once.
constexpr qint64 heapSlack = 32 << 10;
constexpr qint64 residentSlack = 4 << 20;
#endif

int number(const char *variable, int otherwise)
{
    const int given = qEnvironmentVariableIntValue(variable);
    return given > 0 ? given : otherwise;
}

void print(int commands, const soak::Holdings &now)
{
    std::printf("%9d %8lld KiB %8lld KiB %6d %8d %9d %11d\n", commands, static_cast<long long>(now.heap >> 10),
                static_cast<long long>(now.resident >> 10), now.files, now.threads, now.blocks.size(),
                now.semaphores.size());
    std::fflush(stdout);
}

void expectSame(const soak::Holdings &now, const soak::Holdings &first)
{
    EXPECT_EQ(now.files, first.files);
    EXPECT_EQ(now.threads, first.threads);
    EXPECT_FALSE(now.children);
    EXPECT_EQ(support::leftObjects("shm", first.blocks), QSet<int>());
    EXPECT_EQ(support::leftObjects("sem", first.semaphores), QSet<int>());
    EXPECT_EQ(now.named, first.named);
#ifndef SUPPORT_HAS_SANITIZER
    // The C library may keep freed blocks for the thread that had them, and counts them as in use.
    if (qgetenv("GLIBC_TUNABLES").contains("glibc.malloc.tcache_count=0")) {
        EXPECT_LE(now.heap, first.heap + heapSlack);
    }
    EXPECT_LE(now.resident, first.resident + residentSlack);
#endif
}

} // namespace

TEST(Soak, HoldsNothingMoreAfterManyCommandsThanAfterTheFirst)
{
    const QTemporaryDir directory;
    const int commands = number("SOAK_COMMANDS", 300);
    const auto seed = static_cast<quint32>(number("SOAK_SEED", 1));
    soak::Session session(directory.path(), seed);
    // The first time, each kind of command makes what the process keeps for good.
    for (int i = 0; i < 2; ++i) {
        session.begin();
        session.playAll();
        session.end();
    }
    std::printf("seed %u\n commands         heap     resident  files  threads  shm blocks  semaphores\n", seed);
    const soak::Holdings first;
    print(0, first);
    for (int round = 1; round <= rounds; ++round) {
        session.begin();
        for (int i = 0; i < commands / rounds; ++i)
            session.play();
        session.end();
        const soak::Holdings now;
        print(round * (commands / rounds), now);
        expectSame(now, first);
    }
    for (auto it = session.played().cbegin(); it != session.played().cend(); ++it)
        std::printf("%6d %s\n", *it, qPrintable(it.key()));
}

#endif
