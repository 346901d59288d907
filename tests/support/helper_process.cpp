// helper_process sleep          waits to be killed
// helper_process hold KEY       makes a shared memory block, says "ready" and waits to be killed
// helper_process crash KEY      makes a shared memory block and dies without releasing it

#include <QSharedMemory>
#include <QString>
#include <QThread>

#include <csignal>
#include <cstdio>
#include <cstring>

namespace
{

void waitToBeKilled()
{
    std::puts("ready");
    std::fflush(stdout);
    QThread::sleep(60);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        return 2;
    if (std::strcmp(argv[1], "sleep") == 0) {
        waitToBeKilled();
        return 0;
    }
    if (argc < 3)
        return 2;
    QSharedMemory block(QString::fromLocal8Bit(argv[2]));
    if (!block.create(64))
        return 3;
    if (std::strcmp(argv[1], "crash") == 0)
        std::raise(SIGKILL);
    waitToBeKilled();
    return 0;
}
