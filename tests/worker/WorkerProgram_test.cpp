// The worker program as a host finds it: started with a settings file, it ends with a code and a message.

#include "Scarcity.h"
#include "WorkerTesting.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QElapsedTimer>
#include <QSharedMemory>
#include <QThread>

#include <algorithm>
#include <cstring>
#include <limits>
#include <set>

using namespace ptCloud;
using namespace support;

namespace
{

const QByteArray alpha = "function=0\nfastNormal=false\nalpha=3\n";
const QByteArray pivot = "function=1\nfastNormal=false\nradius=0\n";
const QByteArray poisson = "function=2\nfastNormal=false\ndepth=6\nwidth=0\ndesity_divide=0\n";
const QByteArray thin = "function=200\ntargetPercents=10\ninit_factor=5\nmakeMeshAlpha=0\n";
const QByteArray thinMesh = "function=200\ntargetPercents=10\ninit_factor=5\nmakeMeshAlpha=3\n";
const QByteArray allFunctions[] = {alpha, pivot, poisson, thin, thinMesh};

QList<EDataSetColumn> allPointColumns()
{
    QList<EDataSetColumn> columns;
    for (int column = 0; column <= 18; ++column) {
        if (column != EDataSetColumn_Triangle)
            columns.append(static_cast<EDataSetColumn>(column));
    }
    return columns;
}

/// Values by which each point can be told from the others, in all columns but the position.
void number(stPtCloud_PointArray &array)
{
    for (unsigned int i = 0; i < array.m_pointCount; ++i) {
        const auto byte = static_cast<unsigned char>(i);
        const auto real = static_cast<float>(i);
        array.m_normal[i].set(0, 0, 1);
        array.m_color[i] = pcVec4f(real / 100000, 0.25F, 0.5F, 1);
        array.m_intensity[i] = static_cast<unsigned short>(i);
        for (unsigned char *column :
             {array.m_returnNumber, array.m_numberOfReturns, array.m_scanDirection, array.m_edgeOfFlightLine,
              array.m_classification, array.m_scanAngleRank, array.m_userData, array.m_wavePacketDescriptorIndex})
            column[i] = byte;
        array.m_pointSourceId[i] = static_cast<unsigned short>(i * 3);
        array.m_gpsTime[i] = i;
        array.m_byteOffsetToWaveformData[i] = std::numeric_limits<quint64>::max() - i;
        array.m_waveformPacketSize[i] = i * 7;
        array.m_returnPointWaveformLocation[i] = real / 3;
        array.m_waveformXyzT[i].set(real, real * 2, real * 3);
    }
}

/// Expects that a point of a result is the point of the source that its time of GPS tells, in every column.
void expectPoint(const stPtCloud_PointArray &result, unsigned int index, const stPtCloud_PointArray &source)
{
    QMap<EDataSetColumn, QVariant> found;
    QMap<EDataSetColumn, QVariant> wanted;
    ASSERT_TRUE(result.getPeace(index, found));
    ASSERT_TRUE(source.getPeace(static_cast<unsigned int>(result.m_gpsTime[index]), wanted));
    EXPECT_EQ(found, wanted) << index;
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

/// A result, with its file.
struct Result
{
    PtCloud_DataSetFile file;
    QMap<int, std::tuple<unsigned int, pcBoundingBoxf>> blocks;

    explicit Result(const QString &path)
    {
        EXPECT_TRUE(file.setFile(path) && file.openFile());
        file.getBlocks(blocks);
    }
    unsigned int pointCount() const
    {
        unsigned int count = 0;
        for (const auto &block : blocks)
            count += std::get<0>(block);
        return count;
    }
};

class WorkerProgram : public ::testing::Test
{
protected:
    QString source() const { return m_worker.path("source"); }
    QString result() const { return m_worker.path("result"); }
    WorkerDirectory::End run(const QByteArray &function) { return m_worker.run(function + m_worker.paths()); }

    void expectEnd(const QByteArray &function, int code, const char *message)
    {
        const WorkerDirectory::End end = run(function);
        EXPECT_TRUE(end.isNormal);
        EXPECT_EQ(end.code, code) << end.errors.constData();
        EXPECT_TRUE(end.lastLine().contains(message)) << end.errors.constData();
        expectNoResult();
    }
    void expectNoResult() const
    {
        EXPECT_FALSE(QFile::exists(result()));
        EXPECT_FALSE(QFile::exists(m_worker.path("result.part")));
    }

    WorkerDirectory m_worker;
};

} // namespace

TEST_F(WorkerProgram, MakesMeshesOfProjectedCoordinates)
{
    // Floats near 4,500,000 lie half a unit apart.
    constexpr double radius = 200;
    const pcVec3d middle(500000, 4500000, 100);
    ASSERT_TRUE(writeSource(source(), toFloats(ball(4000, radius, middle))));
    for (const QByteArray &function : {QByteArray("function=0\nfastNormal=false\nalpha=40\n"), pivot, poisson}) {
        SCOPED_TRACE(function.constData());
        const WorkerDirectory::End end = run(function);
        ASSERT_EQ(end.code, 0) << end.errors.constData();
        Result mesh(result());
        ASSERT_EQ(mesh.blocks.size(), 1);
        const stPtCloud_PointArray *const block = mesh.file.readBlock(mesh.blocks.firstKey());
        ASSERT_NE(block, nullptr);
        const Surface surface =
            measure(block->m_position, block->m_pointCount, block->m_triangle, block->m_triangleCount);
        EXPECT_TRUE(surface.isClosed()) << surface.openEdges << ", " << surface.badEdges;
        EXPECT_NEAR(surface.area, ballArea(radius), ballArea(radius) * 0.02);
        EXPECT_NEAR(surface.volume, ballVolume(radius), ballVolume(radius) * 0.02);
        for (unsigned int i = 0; i < block->m_pointCount; ++i)
            ASSERT_NEAR((pcVec3d(block->m_position[i]) - middle).length(), radius, 2);
    }
}

TEST_F(WorkerProgram, KeepsAllColumnsWherePointsSurvive)
{
    const Points points = toFloats(hills(3000, 40, {500000, 4500000, 0}));
    stPtCloud_PointArray wanted;
    ASSERT_TRUE(writeSource(source(), points, allPointColumns(), [&wanted](stPtCloud_PointArray &array) {
        number(array);
        wanted.alloc(array.m_pointCount, allPointColumns(), false, 0);
        wanted.copy_noTriangle(array, 0, 0, array.m_pointCount);
    }));
    for (const QByteArray &function : {alpha, pivot, thin}) {
        SCOPED_TRACE(function.constData());
        const WorkerDirectory::End end = run(function);
        ASSERT_EQ(end.code, 0) << end.errors.constData();
        Result found(result());
        QList<EDataSetColumn> columns = allPointColumns();
        if (function != thin)
            columns.insert(2, EDataSetColumn_Triangle);
        EXPECT_EQ(found.file.getColumns(), columns);
        for (auto it = found.blocks.cbegin(); it != found.blocks.cend(); ++it) {
            const stPtCloud_PointArray *const block = found.file.readBlock(it.key());
            ASSERT_NE(block, nullptr);
            for (unsigned int i = 0; i < block->m_pointCount; ++i)
                expectPoint(*block, i, wanted);
        }
    }
}

TEST_F(WorkerProgram, ThinsToTheShareThatIsWanted)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(2000, 40))));
    ASSERT_EQ(run(thin).code, 0);
    EXPECT_EQ(Result(result()).pointCount(), 200U);
    ASSERT_EQ(run("function=200\ntargetPercents=100\ninit_factor=0\nmakeMeshAlpha=0\n").code, 0);
    EXPECT_EQ(Result(result()).pointCount(), 2000U);
    ASSERT_EQ(run("function=200\ntargetPercents=0.0001\ninit_factor=0\nmakeMeshAlpha=0\n").code, 0);
    EXPECT_EQ(Result(result()).pointCount(), 1U);
    ASSERT_EQ(run(thinMesh).code, 0);
    EXPECT_EQ(Result(result()).pointCount(), 200U);
    EXPECT_EQ(Result(result()).file.getColumns(), QList<EDataSetColumn>{EDataSetColumn_Position});
}

TEST_F(WorkerProgram, LeavesOutPointsWithoutAPlaceAndSaysSo)
{
    Points points = toFloats(hills(1000, 30));
    points.insert(points.begin(), {std::nanf(""), 1, 1});
    points.insert(points.begin() + 500, {1, std::numeric_limits<float>::infinity(), 1});
    points.emplace_back(1.0F, 1.0F, -1e30F);
    ASSERT_TRUE(writeSource(source(), points));
    for (const QByteArray &function : allFunctions) {
        const WorkerDirectory::End end = run(function);
        EXPECT_EQ(end.code, 0) << end.errors.constData();
        EXPECT_TRUE(end.lastLine().endsWith(", 3 points without a usable position left out")) << end.errors.constData();
    }
}

TEST_F(WorkerProgram, GivesTheSameForEveryNumberOfThreads)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(4000, 50))));
    for (const QByteArray &function : allFunctions) {
        SCOPED_TRACE(function.constData());
        QByteArray first;
        for (const char *threads : {"1", "2", "5"}) {
            m_worker.setVariable("OMP_NUM_THREADS", threads);
            ASSERT_EQ(run(function).code, 0);
            const QByteArray bytes = readFile(result());
            EXPECT_FALSE(bytes.isEmpty());
            EXPECT_TRUE(first.isEmpty() || bytes == first) << threads;
            first = bytes;
        }
    }
}

TEST_F(WorkerProgram, LetsAResultAppearWhole)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(20000, 100))));
    writeFile(result(), "before");
    const QStringList arguments{m_worker.settings(alpha + m_worker.paths())};
    const auto process = m_worker.start(arguments);
    while (!process->waitForFinished(1)) {
        const QByteArray bytes = readFile(result());
        if (bytes != "before") {
            EXPECT_EQ(Result(result()).blocks.size(), 1);
        }
    }
    EXPECT_EQ(process->exitCode(), 0);
    EXPECT_NE(readFile(result()), "before");
    EXPECT_FALSE(QFile::exists(m_worker.path("result.part")));
}

TEST_F(WorkerProgram, LeavesNoHalfResultWhenKilled)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(20000, 100))));
    writeFile(result(), "before");
    const QByteArray lines = alpha + m_worker.paths();
    for (const char *stage : {"reading", "estimating", "agree", "tetrahedra", "carving"}) {
        SCOPED_TRACE(stage);
        const auto process = m_worker.start({m_worker.settings(lines)});
        process->setReadChannel(QProcess::StandardError);
        QByteArray told;
        while (!told.contains(stage) && process->waitForReadyRead())
            told += process->readAllStandardError();
        EXPECT_TRUE(told.contains(stage));
        process->kill();
        process->waitForFinished();
        EXPECT_EQ(process->exitStatus(), QProcess::CrashExit);
        EXPECT_EQ(readFile(result()), "before");
    }
    // What a killed run has left is in nobody's way.
    writeFile(m_worker.path("result.part"), "half");
    EXPECT_EQ(run(alpha).code, 0);
    EXPECT_FALSE(QFile::exists(m_worker.path("result.part")));
}

TEST_F(WorkerProgram, EndsWith2ForParametersThatCannotBe)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(500, 20))));
    expectEnd("function=0\nfastNormal=true\nalpha=0\n", 2, "alpha is 0: it must be above 0");
    expectEnd("function=0\nfastNormal=true\nalpha=nan\n", 2, "alpha is \"nan\": it must be a number");
    expectEnd("function=0\nfastNormal=perhaps\nalpha=1\n", 2, "fastNormal is \"perhaps\"");
    expectEnd("function=0\nfastNormal=true\n", 2, "the settings lack the key alpha");
    expectEnd("function=1\nfastNormal=true\nradius=-1\n", 2, "radius is -1: it must be 0 or more");
    expectEnd("function=1\nfastNormal=true\nradius=1000\n", 2, "radius is 1000, and the points lie about");
    expectEnd("function=2\nfastNormal=true\ndepth=15\nwidth=0\ndesity_divide=0\n", 2, "depth is 15");
    expectEnd("function=2\nfastNormal=true\ndepth=4294967295\nwidth=0\ndesity_divide=0\n", 2, "depth is");
    expectEnd("function=2\nfastNormal=true\ndepth=8\nwidth=1e-9\ndesity_divide=0\n", 2, "width is 1e-09, too fine");
    expectEnd("function=2\nfastNormal=true\ndepth=8\nwidth=0\ndesity_divide=1\n", 2, "desity_divide is 1");
    expectEnd("function=200\ntargetPercents=0\ninit_factor=5\nmakeMeshAlpha=0\n", 2, "targetPercents is 0");
    expectEnd("function=200\ntargetPercents=101\ninit_factor=5\nmakeMeshAlpha=0\n", 2, "targetPercents is \"101\"");
    expectEnd("function=200\ntargetPercents=50\ninit_factor=1\nmakeMeshAlpha=2\n", 2, "init_factor is 1");
    expectEnd("function=200\ntargetPercents=50\ninit_factor=2\nmakeMeshAlpha=-2\n", 2, "makeMeshAlpha is \"-2\"");
    expectEnd("function=x\n", 2, "function is \"x\"");
    for (const QStringList &arguments : {QStringList(), QStringList{QStringLiteral("a"), QStringLiteral("b")}}) {
        const WorkerDirectory::End end = m_worker.run(arguments);
        EXPECT_EQ(end.code, 2);
        EXPECT_TRUE(end.lastLine().startsWith("usage: ")) << end.errors.constData();
    }
}

TEST_F(WorkerProgram, EndsWith3WithoutSettings)
{
    const WorkerDirectory::End missing = m_worker.run(QStringList{m_worker.path("missing.ini")});
    EXPECT_EQ(missing.code, 3);
    EXPECT_TRUE(missing.lastLine().contains("missing.ini can't be read")) << missing.errors.constData();
    EXPECT_EQ(m_worker.run(QStringList{m_worker.directory()}).code, 3);
    expectEnd("alpha=1\n", 3, "has no section [section] with a key \"function\"");
}

TEST_F(WorkerProgram, EndsWith4WithoutASource)
{
    expectEnd(alpha, 4, "is not there");
    writeFile(source(), "no data set file");
    expectEnd(alpha, 4, "can't be read, or is no data set file");
    ASSERT_TRUE(writeSource(source(), Points(3, {std::nanf(""), 0, 0})));
    expectEnd(alpha, 4, "has no usable point, 3 points without a usable position left out");
    const WorkerDirectory::End end = m_worker.run(alpha + "source_filepath=\ndest_filepath=" + result().toUtf8());
    EXPECT_EQ(end.code, 4);
    EXPECT_TRUE(end.lastLine().contains("source_filepath is empty")) << end.errors.constData();
}

TEST_F(WorkerProgram, EndsWith4ForASourceThatIsCutShort)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(500, 20))));
    const QByteArray bytes = readFile(source());
    for (const int size : {0, 3, 20, 100, bytes.size() / 2, bytes.size() - 1}) {
        writeFile(source(), bytes.left(size));
        expectEnd(alpha, 4, "the source");
    }
}

TEST_F(WorkerProgram, EndsWith5WithoutADestination)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(500, 20))));
    const auto endWith = [this](const char *destination) {
        return m_worker.run(alpha + m_worker.paths("source", destination));
    };
    for (const char *destination : {"no/directory/result", ".", "source"}) {
        const WorkerDirectory::End end = endWith(destination);
        EXPECT_EQ(end.code, 5) << destination;
        EXPECT_TRUE(end.lastLine().contains("can't be written")) << end.errors.constData();
    }
    const WorkerDirectory::End end =
        m_worker.run(alpha + "source_filepath=" + source().toUtf8() + "\ndest_filepath=\n");
    EXPECT_EQ(end.code, 5);
    EXPECT_TRUE(end.lastLine().contains("the path of the result is empty")) << end.errors.constData();
    EXPECT_EQ(Result(source()).pointCount(), 500U);
}

#ifdef Q_OS_UNIX
TEST_F(WorkerProgram, EndsWith5OnAFullDisk)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(5000, 50))));
    const QString settings = m_worker.settings(alpha + m_worker.paths());
    constexpr qint64 limit = 50000;
    const FileSizeLimit disk(limit);
    ASSERT_TRUE(disk.holds());
    const WorkerDirectory::End end = m_worker.run(QStringList{settings});
    EXPECT_EQ(end.code, 5) << end.errors.constData();
    EXPECT_TRUE(end.lastLine().contains("the disk may be full")) << end.errors.constData();
    expectNoResult();
}
#endif

TEST_F(WorkerProgram, EndsWith6ForAFunctionThatIsNone)
{
    for (const char *id : {"4", "99", "108", "201", "-1", "2147483647"})
        expectEnd(QByteArray("function=") + id + "\n", 6, "is none of this worker's");
}

#ifdef SUPPORT_CAN_LIMIT_ADDRESS_SPACE
TEST_F(WorkerProgram, EndsWith7WithTheFiguresWhereMemoryIsShort)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(200000, 400))));
    const QString settings =
        m_worker.settings("function=2\nfastNormal=true\ndepth=14\nwidth=0\ndesity_divide=0\n" + m_worker.paths());
    constexpr rlim_t spare = 2500000000;
    const AddressSpaceLimit limit(spare);
    ASSERT_TRUE(limit.holds());
    const WorkerDirectory::End end = m_worker.run(QStringList{settings});
    EXPECT_EQ(end.code, 7) << end.errors.constData();
    EXPECT_TRUE(end.lastLine().contains("solving for the surface takes about")) << end.errors.constData();
    expectNoResult();
}
#endif

TEST_F(WorkerProgram, EndsWith8WhereThereAreNoNormals)
{
    Points line;
    for (int i = 0; i < 30; ++i)
        line.emplace_back(static_cast<float>(i), static_cast<float>(i), static_cast<float>(i));
    ASSERT_TRUE(writeSource(source(), line));
    for (const QByteArray &function : {alpha, pivot, poisson})
        expectEnd(function, 8, "no normals: all 30 points lie on one line");
}

TEST_F(WorkerProgram, EndsWith9ForTooFewPoints)
{
    ASSERT_TRUE(writeSource(source(), {{1, 2, 3}, {2, 3, 3}}));
    for (const QByteArray &function : {alpha, pivot, poisson})
        expectEnd(function, 9, "2 points make no triangle");
    ASSERT_TRUE(writeSource(source(), {{1, 2, 3}, {2, 3, 3}, {2, 2, 2}}));
    expectEnd(alpha, 9, "3 different points make no alpha shape: 5 are needed");
}

TEST_F(WorkerProgram, EndsWith10WhereAllPointsLieAtOnePlace)
{
    ASSERT_TRUE(writeSource(source(), Points(20, {1, 2, 3}), allPointColumns(), number));
    expectEnd(pivot, 10, "all 1 points lie at one place");
    expectEnd(poisson, 10, "all 20 points lie at one place");
}

TEST_F(WorkerProgram, EndsWith11WhereNothingComesOfThePoints)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(1000, 30))));
    expectEnd("function=0\nfastNormal=true\nalpha=0.001\n", 11, "alpha 0.001 leaves no triangle: the points lie about");
    expectEnd("function=1\nfastNormal=true\nradius=0.0001\n", 11, "no ball of radius 0.0001 rests on three points");
}

TEST_F(WorkerProgram, NeverCrashesOrHangsOnHostileParameters)
{
    ASSERT_TRUE(writeSource(source(), toFloats(hills(300, 15))));
    std::mt19937 random(11);
    const std::vector<QByteArray> values{"0",    "1",    "-1", "0.5", "2",   "3.7",  "1e-30", "1e30",       "nan",
                                         "-inf", "true", "",   "14",  "100", "99.9", "x",     "2147483648", "1e-3"};
    const auto any = [&] { return values[random() % values.size()]; };
    for (int round = 0; round < 20; ++round) {
        const QByteArray common = "fastNormal=" + QByteArray(round % 2 == 0 ? "true" : "false") + "\nalpha=" + any()
                                  + "\nradius=" + any() + "\nwidth=" + any() + "\ndesity_divide=" + any()
                                  + "\ntargetPercents=" + any() + "\ninit_factor=" + any() + "\nmakeMeshAlpha=" + any()
                                  + "\ndepth=" + QByteArray::number(static_cast<int>(random() % 9)) + "\n";
        for (const char *function : {"0", "1", "2", "200"}) {
            const WorkerDirectory::End end = run(QByteArray("function=") + function + "\n" + common);
            EXPECT_TRUE(end.isNormal) << function << ": " << common.constData();
            const std::set<int> codes{0, 2, 7, 9, 11};
            EXPECT_EQ(codes.count(end.code), 1U)
                << function << " ends with " << end.code << ": " << end.errors.constData() << common.constData();
        }
    }
}

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
