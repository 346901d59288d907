#include "MemoryGuard.h"

#include "Failure.h"
#include "System.h"

namespace
{

QString gigabytes(std::uint64_t bytes)
{
    return QString::number(static_cast<double>(bytes) / 1e9, 'f', 1);
}

} // namespace

void requireMemory(std::uint64_t bytes, const QString &step)
{
    const quint64 available = ptCloud::platform::availableMemory();
    if (bytes > available)
        throw Failure(ExitCode::Memory,
                      QStringLiteral("%1 takes about %2 GB of memory, and %3 GB are free; try fewer points, such as a "
                                     "sample or a part of them")
                          .arg(step, gigabytes(bytes), gigabytes(available)));
}
