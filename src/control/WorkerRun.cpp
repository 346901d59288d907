#include "WorkerRun.h"

#include "AppConfig.h"
#include "ILongLiveActionProgress.h"
#include "System.h"

#include <array>
#include <cstring>

namespace ptCloud
{

namespace
{

const QLatin1String blockKey("open3d_wrapper_shared_memory");
constexpr std::size_t messageSize = 1000;
constexpr char firstMessage[] = "initializing......";
constexpr int makeAttempts = 5;
constexpr int startTimeoutMs = 3000;
constexpr int periodMs = 100;

/// The block as it lies in memory.
struct BlockImage
{
    quint8 value = 0;
    std::array<char, messageSize> message{};
};
static_assert(sizeof(BlockImage) == 1001, "workers know where each byte lies");
static_assert(sizeof firstMessage <= messageSize, "with the byte 0 behind it");

} // namespace

bool ProgressBlock::makeMemory()
{
    // Once a block that a crash has left is out of the way, its number may lead to the next one.
    for (int attempt = 0; attempt < makeAttempts; ++attempt) {
        // Anew each time: an object that has found a block in its way keeps looking for that one.
        m_memory = std::make_unique<QSharedMemory>(blockKey);
        if (m_memory->create(sizeof(BlockImage), QSharedMemory::ReadWrite))
            return true;
        if (m_memory->error() != QSharedMemory::AlreadyExists)
            return false;
        platform::releaseStaleSharedMemory(blockKey);
    }
    return false;
}

bool ProgressBlock::create()
{
    if (!makeMemory())
        return false;
    BlockImage image;
    std::memcpy(image.message.data(), firstMessage, sizeof firstMessage);
    // Without the lock: there is no worker yet.
    std::memcpy(m_memory->data(), &image, sizeof image);
    return true;
}

bool ProgressBlock::read(Image &image)
{
    BlockImage bytes;
    if (!m_memory->lock())
        return false;
    std::memcpy(&bytes, m_memory->constData(), sizeof bytes);
    m_memory->unlock();
    image.value = bytes.value;
    // A worker may have filled the message to its last byte, or still be in the middle of a character.
    image.text = QString::fromUtf8(bytes.message.data(), static_cast<int>(qstrnlen(bytes.message.data(), messageSize)));
    return true;
}

bool WorkerRun::start(const QString &configFilepath)
{
    if (!m_block.create())
        return false;
    // Nobody reads what the worker prints. Down a pipe it would pile up in our memory, as fast as the worker can print,
    // and keep the wait for its end from ending.
    m_process.setStandardOutputFile(QProcess::nullDevice());
    m_process.setStandardErrorFile(QProcess::nullDevice());
    const QString program = AppConfig::getInstance().binDir().absoluteFilePath(platform::workerFileName());
    m_process.start(program, {configFilepath}, QIODevice::ReadWrite);
    return m_process.waitForStarted(startTimeoutMs);
}

WorkerRun::End WorkerRun::watch(ILongLiveActionProgress *progress)
{
    while (m_process.state() != QProcess::NotRunning) {
        if (progress != nullptr && progress->isCancelRequested()) {
            m_process.kill();
            return End::Cancelled;
        }
        m_process.waitForFinished(periodMs);
        ProgressBlock::Image image;
        if (progress == nullptr || !m_block.read(image))
            continue;
        progress->setProgressValue(image.value);
        progress->setProgressText(image.text);
    }
    return m_process.exitStatus() == QProcess::CrashExit ? End::Crashed : End::Exited;
}

unsigned int WorkerRun::exitCode() const
{
    return static_cast<unsigned int>(m_process.exitCode());
}

} // namespace ptCloud
