// What the worker program tells its host on the way.

#include "ProgramTesting.h"

#include <QSharedMemory>

#include <cstring>
#include <set>

using namespace ptCloud;
using namespace support;

namespace
{

/// The block of shared memory that a host makes, where the worker of this directory finds it.
class HostBlock
{
public:
    explicit HostBlock(const WorkerDirectory &worker) : m_before(qgetenv("TMPDIR"))
    {
        qputenv("TMPDIR", worker.directory().toUtf8());
        m_memory = std::make_unique<QSharedMemory>(QStringLiteral("open3d_wrapper_shared_memory"));
        EXPECT_TRUE(m_memory->create(size)) << qPrintable(m_memory->errorString());
        std::memset(m_memory->data(), 0x7F, size);
        static_cast<char *>(m_memory->data())[0] = 0;
    }
    ~HostBlock()
    {
        m_memory.reset();
        if (m_before.isNull())
            qunsetenv("TMPDIR");
        else
            qputenv("TMPDIR", m_before);
    }
    HostBlock(const HostBlock &) = delete;
    HostBlock &operator=(const HostBlock &) = delete;

    int value() { return static_cast<unsigned char>(bytes()[0]); }
    QByteArray message()
    {
        const QByteArray text = bytes().mid(1);
        const int end = text.indexOf('\0');
        EXPECT_GE(end, 0) << "a message without an end";
        return text.left(end);
    }
    QByteArray bytes()
    {
        EXPECT_TRUE(m_memory->lock());
        const QByteArray copy(static_cast<const char *>(m_memory->constData()), size);
        m_memory->unlock();
        return copy;
    }

private:
    static constexpr int size = 1001;
    QByteArray m_before;
    std::unique_ptr<QSharedMemory> m_memory;
};

const QByteArray alpha = "function=0\nfastNormal=false\nalpha=3\n";

} // namespace

TEST_F(WorkerProgram, TellsTheHostHowFarItIs)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(30000, 120))));
    HostBlock block(m_worker);
    const QStringList arguments{m_worker.settings(alpha + m_worker.paths())};
    const auto process = m_worker.start(arguments);
    std::set<QByteArray> messages;
    int value = 0;
    while (!process->waitForFinished(5)) {
        const QByteArray bytes = block.bytes();
        const int now = static_cast<unsigned char>(bytes[0]);
        EXPECT_GE(now, value);
        value = now;
        if (bytes[1] != '\x7F')
            messages.insert(block.message());
    }
    EXPECT_EQ(process->exitCode(), 0);
    EXPECT_EQ(block.value(), 255);
    EXPECT_TRUE(block.message().startsWith("a mesh of ")) << block.message().constData();
    EXPECT_GE(messages.size(), 4U);
    EXPECT_FALSE(process->readAllStandardError().contains("a mesh of")) << "it goes to the block alone";
}

TEST_F(WorkerProgram, TellsTheHostWhyItFailed)
{
    HostBlock block(m_worker);
    EXPECT_EQ(run(alpha).code, 4);
    EXPECT_EQ(block.message(), "the source " + source().toUtf8() + " is not there");
    EXPECT_LT(block.value(), 255);
}

TEST_F(WorkerProgram, CutsLongMessagesAtAWholeCharacter)
{
    for (const char *start : {"", "x", "xy"}) {
        HostBlock block(m_worker);
        const QByteArray path = "/" + QByteArray(start) + QByteArray("\xe2\x82\xac").repeated(600);
        EXPECT_EQ(m_worker.run(alpha + "source_filepath=" + path + "\ndest_filepath=" + result().toUtf8() + "\n").code,
                  4);
        const QByteArray message = block.message();
        EXPECT_GE(message.size(), 997);
        EXPECT_LE(message.size(), 999);
        EXPECT_EQ(QString::fromUtf8(message).toUtf8(), message);
        EXPECT_FALSE(QString::fromUtf8(message).contains(QChar(QChar::ReplacementCharacter)));
    }
}
