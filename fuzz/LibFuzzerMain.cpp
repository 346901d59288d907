// The one driver of this program as libFuzzer calls it.

#include "Driver.h"

#include <QCoreApplication>
#include <QStandardPaths>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <thread>

/// In place of the system's: a thread of the library waits for another by sleeping a millisecond at a time, in which a
/// search of small files would spend nine tenths of its time.
extern "C" int nanosleep(const timespec *, timespec *)
{
    std::this_thread::yield();
    return 0;
}

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    QStandardPaths::setTestModeEnabled(true);
    fuzz::silenceLibrary();
    static const QCoreApplication application(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const fuzz::Driver &driver = *fuzz::Driver::all().front();
    driver.run(QByteArray(reinterpret_cast<const char *>(data), static_cast<int>(size)));
    return 0;
}
