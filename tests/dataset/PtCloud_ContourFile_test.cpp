#include "ContourTesting.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <limits>
#include <random>
#include <utility>

using contour::contents;
using contour::fill;
using contour::kept;
using contour::noContours;
using ptCloud::PtCloud_ContourFile;
using support::contourLine;
using support::sampleContours;

namespace
{

using ContourFile = contour::ContourFileTest;

/// One height of 2.5 with a line of one point (1, -1) in the first group; 4 with a line without points in the second.
QByteArray handWorkedBytes()
{
    return QByteArray::fromHex("00000001"
                               "00000001" // heights
                               "4004000000000000"
                               "00000001" // lines
                               "00000001" // points
                               "3ff0000000000000bff0000000000000"
                               "00000001"
                               "4010000000000000"
                               "00000001"
                               "00000000");
}

QVector<QPointF> line(std::initializer_list<QPointF> points)
{
    return QVector<QPointF>(points);
}

/// Puts the sample contours into an object, not in the order of their heights.
void fillWithSample(PtCloud_ContourFile &file)
{
    file.contourGroup1()[0.5] = {line({{5.0, 6.0}}), line({{7.0, 8.0}, {9.0, 10.0}})};
    file.contourGroup1()[-12.5] = {line({{1.25, -2.5}, {3.0, 4.0}, {1e300, -1e-300}})};
    file.contourGroup2()[100.0] = {line({}), line({{11.0, 12.0}, {13.5, 14.25}})};
}

} // namespace

TEST(NewContourFile, HoldsNothingAndFailsSoftly)
{
    PtCloud_ContourFile file;
    EXPECT_EQ(file.getFilepath(), QString());
    EXPECT_FALSE(file.isOpen());
    EXPECT_FALSE(file.isValid());
    EXPECT_FALSE(file.openFile());
    file.closeFile();
    file.removeFile();
    EXPECT_EQ(contents(file), noContours());
}

TEST(NewContourFile, SavesNothingWithoutAPath)
{
    const QTemporaryDir directory;
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(directory.path()));
    PtCloud_ContourFile file;
    fill(file);
    EXPECT_FALSE(file.saveToFile());
    EXPECT_TRUE(QDir(directory.path()).isEmpty());
    EXPECT_TRUE(QDir::setCurrent(before));
}

TEST(NewContourFile, RemovesNothingWithoutAPath)
{
    PtCloud_ContourFile file;
    fill(file);
    const QByteArray before = contents(file);
    file.removeFile();
    EXPECT_EQ(contents(file), before) << "without a path nothing happens at all";
}

TEST_F(ContourFile, SavesTwelveBytesWhereThereAreNoContours)
{
    ASSERT_TRUE(m_file.saveToFile());
    EXPECT_EQ(written(), QByteArray::fromHex("000000010000000000000000"));
    EXPECT_TRUE(m_file.openFile());
    EXPECT_EQ(contents(m_file), noContours());
}

TEST_F(ContourFile, SavesEveryNumberBigEndian)
{
    m_file.contourGroup1()[2.5] = {line({{1.0, -1.0}})};
    m_file.contourGroup2()[4.0] = {line({})};
    ASSERT_TRUE(m_file.saveToFile());
    EXPECT_EQ(written().toHex(), handWorkedBytes().toHex());
}

TEST_F(ContourFile, ReadsBytesWorkedByHand)
{
    ASSERT_TRUE(opens(handWorkedBytes()));
    ASSERT_EQ(m_file.contourGroup1().keys(), QList<double>{2.5});
    EXPECT_EQ(m_file.contourGroup1()[2.5], QList<QVector<QPointF>>{line({{1.0, -1.0}})});
    ASSERT_EQ(m_file.contourGroup2().keys(), QList<double>{4.0});
    EXPECT_EQ(m_file.contourGroup2()[4.0], QList<QVector<QPointF>>{line({})});
}

TEST_F(ContourFile, SavesHeightsFromTheLowestToTheHighest)
{
    fillWithSample(m_file);
    ASSERT_TRUE(m_file.saveToFile());
    EXPECT_EQ(written().toHex(), sampleContours().bytes().toHex());
    EXPECT_EQ(contents(m_file).toHex(), sampleContours().bytes().toHex()) << "saving leaves the object as it is";
}

TEST_F(ContourFile, ReadsWhatLiesInTheFile)
{
    expectRead(sampleContours().bytes(), sampleContours());
}

TEST_F(ContourFile, ReadsHeightsInAnyOrder)
{
    support::ContourFile file = sampleContours();
    std::swap(file.groups[0].heights[0], file.groups[0].heights[1]);
    expectRead(file.bytes(), file);
}

TEST_F(ContourFile, EqualHeightsBecomeOneWithTheirLinesInOrder)
{
    support::ContourFile file;
    file.groups[1].heights = {{3.0, {contourLine({{1.0, 1.0}}), contourLine({{2.0, 2.0}})}, {}},
                              {-1.0, {contourLine({{3.0, 3.0}})}, {}},
                              {3.0, {contourLine({{4.0, 4.0}})}, {}}};
    ASSERT_TRUE(opens(file.bytes()));
    EXPECT_TRUE(m_file.contourGroup1().isEmpty());
    ASSERT_EQ(m_file.contourGroup2().keys(), (QList<double>{-1.0, 3.0}));
    EXPECT_EQ(m_file.contourGroup2()[3.0],
              (QList<QVector<QPointF>>{line({{1.0, 1.0}}), line({{2.0, 2.0}}), line({{4.0, 4.0}})}));
}

TEST_F(ContourFile, TheSameHeightInBothGroupsStaysApart)
{
    support::ContourFile file;
    file.groups[0].heights = {{3.0, {contourLine({{1.0, 1.0}})}, {}}};
    file.groups[1].heights = {{3.0, {contourLine({{2.0, 2.0}})}, {}}};
    expectRead(file.bytes(), file);
}

TEST_F(ContourFile, BothZerosAreOneHeight)
{
    support::ContourFile file;
    file.groups[0].heights = {{0.0, {contourLine({{1.0, 1.0}})}, {}}, {-0.0, {contourLine({{2.0, 2.0}})}, {}}};
    expectRead(file.bytes(), file);
    EXPECT_EQ(m_file.contourGroup1().size(), 1);
}

TEST_F(ContourFile, AHeightWithoutLinesIsSavedAndLostOnReading)
{
    m_file.contourGroup1()[1.0] = {};
    m_file.contourGroup1()[2.0] = {line({{1.0, 2.0}})};
    ASSERT_TRUE(m_file.saveToFile());
    support::ContourFile file;
    file.groups[0].heights = {{1.0, {}, {}}, {2.0, {contourLine({{1.0, 2.0}})}, {}}};
    EXPECT_EQ(written().toHex(), file.bytes().toHex());
    ASSERT_TRUE(m_file.openFile());
    EXPECT_EQ(m_file.contourGroup1().keys(), QList<double>{2.0});
}

TEST_F(ContourFile, ValuesThatAreNoNumbersKeepTheirBits)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    support::ContourFile file;
    file.groups[0].heights = {{-infinity, {contourLine({{nan, infinity}, {-infinity, -0.0}})}, {}},
                              {infinity, {contourLine({{5e-324, -1.7976931348623157e308}})}, {}}};
    expectRead(file.bytes(), file);
    ASSERT_TRUE(m_file.saveToFile());
    EXPECT_EQ(written().toHex(), file.bytes().toHex());
}

TEST_F(ContourFile, HeightsThatAreNotNumbersDisturbNothingElse)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    support::ContourFile file = sampleContours();
    file.groups[0].heights = {{nan, {contourLine({{1.0, 1.0}})}, {}},
                              {1.0, {contourLine({{2.0, 2.0}})}, {}},
                              {nan, {contourLine({{3.0, 3.0}})}, {}}};
    ASSERT_TRUE(opens(file.bytes()));
    EXPECT_FALSE(m_file.contourGroup1().isEmpty());
    EXPECT_EQ(m_file.contourGroup2().keys(), QList<double>{100.0});
    EXPECT_EQ(m_file.contourGroup2()[100.0].size(), 2);
}

TEST_F(ContourFile, BytesBehindTheContoursAreIgnored)
{
    expectRead(sampleContours().bytes() + QByteArray(7, '\x7f'), sampleContours());
}

TEST_F(ContourFile, RefusesEveryVersionButOne)
{
    for (const qint32 version : {0, 2, -1, 0x01000000, 0x7fffffff}) {
        support::ContourFile file = sampleContours();
        file.version = version;
        EXPECT_FALSE(opens(file.bytes())) << version;
        EXPECT_EQ(contents(m_file), noContours()) << version;
    }
}

TEST_F(ContourFile, AFileOfNoBytesIsOfNoVersion)
{
    EXPECT_FALSE(opens({}));
    EXPECT_EQ(contents(m_file), noContours());
}

TEST_F(ContourFile, AnExistingFileIsValid)
{
    EXPECT_FALSE(m_file.isValid());
    write("nonsense");
    EXPECT_TRUE(m_file.isValid());
}

TEST_F(ContourFile, AMissingFileDoesNotOpenAndLeavesNoContours)
{
    fill(m_file);
    EXPECT_FALSE(m_file.openFile());
    EXPECT_EQ(contents(m_file), noContours());
    EXPECT_FALSE(QFileInfo::exists(path()));
}

TEST_F(ContourFile, ADirectoryIsNoFile)
{
    ASSERT_TRUE(QDir().mkpath(path("dem.contour/within")));
    fill(m_file);
    EXPECT_FALSE(m_file.isValid());
    EXPECT_FALSE(m_file.saveToFile());
    EXPECT_FALSE(m_file.openFile());
    EXPECT_EQ(contents(m_file), noContours());
    m_file.removeFile();
    EXPECT_TRUE(QFileInfo(path("dem.contour/within")).isDir());
}

TEST_F(ContourFile, SetFileDropsWhatWasReadEvenForTheSamePath)
{
    ASSERT_TRUE(opens(sampleContours().bytes()));
    m_file.setFile(path());
    EXPECT_EQ(contents(m_file), noContours());
    EXPECT_EQ(m_file.getFilepath(), path());
    EXPECT_EQ(written(), sampleContours().bytes());
}

TEST_F(ContourFile, SetFileTouchesNothingOnDisk)
{
    m_file.setFile(path("elsewhere"));
    m_file.setFile(path("missing/dem.contour"));
    m_file.setFile(QString());
    EXPECT_TRUE(QDir(m_dir.path()).isEmpty());
    EXPECT_EQ(m_file.getFilepath(), QString());
}

TEST_F(ContourFile, CloseFileEmptiesTheContoursAndKeepsThePath)
{
    ASSERT_TRUE(opens(sampleContours().bytes()));
    m_file.closeFile();
    EXPECT_FALSE(m_file.isOpen());
    EXPECT_EQ(contents(m_file), noContours());
    EXPECT_EQ(m_file.getFilepath(), path());
    EXPECT_EQ(written(), sampleContours().bytes());
    EXPECT_TRUE(m_file.openFile());
    EXPECT_EQ(contents(m_file), sampleContours().bytes());
}

TEST_F(ContourFile, OpeningAgainReplacesWhatWasRead)
{
    ASSERT_TRUE(opens(sampleContours().bytes()));
    expectRead(handWorkedBytes(), *support::ContourFile::read(handWorkedBytes()));
}

TEST_F(ContourFile, RemoveFileRemovesTheFileAndKeepsThePath)
{
    ASSERT_TRUE(opens(sampleContours().bytes()));
    m_file.removeFile();
    EXPECT_FALSE(QFileInfo::exists(path()));
    EXPECT_EQ(contents(m_file), noContours());
    EXPECT_FALSE(m_file.isOpen());
    EXPECT_EQ(m_file.getFilepath(), path());
}

TEST_F(ContourFile, RemovingAFileThatIsNotThereStillEmptiesTheContours)
{
    fill(m_file);
    m_file.removeFile();
    EXPECT_EQ(contents(m_file), noContours());
    EXPECT_EQ(m_file.getFilepath(), path());
}

TEST_F(ContourFile, SavingReplacesALongerFile)
{
    write(QByteArray(5000, 'x'));
    fillWithSample(m_file);
    ASSERT_TRUE(m_file.saveToFile());
    EXPECT_EQ(written(), sampleContours().bytes());
}

TEST_F(ContourFile, SavingLeavesTheErrorTextAlone)
{
    QString error = QStringLiteral("untouched");
    EXPECT_TRUE(m_file.saveToFile(&error));
    m_file.setFile(path("missing/dem.contour"));
    EXPECT_FALSE(m_file.saveToFile(&error));
    m_file.setFile(QString());
    EXPECT_FALSE(m_file.saveToFile(&error));
    EXPECT_EQ(error, QStringLiteral("untouched"));
}

TEST_F(ContourFile, SavingIntoAMissingDirectoryFails)
{
    m_file.setFile(path("missing/dem.contour"));
    EXPECT_FALSE(m_file.saveToFile());
    EXPECT_TRUE(QDir(m_dir.path()).isEmpty());
}

#ifdef Q_OS_LINUX
// The device that is always full stands for a disk that is.
TEST_F(ContourFile, SavingOntoAFullDiskGoesUnnoticed)
{
    ASSERT_TRUE(QFile::link(QStringLiteral("/dev/full"), path()));
    fillWithSample(m_file);
    EXPECT_TRUE(m_file.saveToFile());
    EXPECT_EQ(contents(m_file), sampleContours().bytes());
}
#endif

TEST_F(ContourFile, CopiesAreIndependent)
{
    ASSERT_TRUE(opens(sampleContours().bytes()));
    PtCloud_ContourFile copy(m_file);
    PtCloud_ContourFile assigned;
    fill(assigned);
    assigned = m_file;
    for (PtCloud_ContourFile *each : {&copy, &assigned}) {
        EXPECT_EQ(contents(*each), sampleContours().bytes());
        EXPECT_EQ(each->getFilepath(), path());
        EXPECT_FALSE(each->isOpen());
    }
    copy.contourGroup1()[0.5][0][0].setX(-1.0);
    copy.contourGroup2().clear();
    assigned.setFile(path("other"));
    EXPECT_EQ(contents(m_file), sampleContours().bytes());
    m_file.closeFile();
    EXPECT_EQ(copy.contourGroup1()[0.5][0][0], QPointF(-1.0, 6.0));
    EXPECT_EQ(copy.getFilepath(), path());
}

TEST_F(ContourFile, ACopyOutlivesTheOriginalAndSavesTheSame)
{
    PtCloud_ContourFile copy;
    {
        PtCloud_ContourFile original;
        original.setFile(path());
        fillWithSample(original);
        copy = original;
    }
    ASSERT_TRUE(copy.saveToFile());
    EXPECT_EQ(written(), sampleContours().bytes());
}

TEST_F(ContourFile, RandomContoursComeBackAsTheyLieInTheFile)
{
    constexpr unsigned seed = 20240611;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto below = [&random](int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); };
    for (int round = 0; round < 200; ++round) {
        support::ContourFile file;
        for (support::ContourFile::Group &group : file.groups) {
            group.heights.resize(static_cast<std::size_t>(below(6)));
            for (support::ContourFile::Height &height : group.heights) {
                height.height = below(7) - 3.5;
                height.lines.resize(static_cast<std::size_t>(below(4)));
                for (support::ContourFile::Line &line : height.lines)
                    line.points.resize(static_cast<std::size_t>(below(5)), {below(1000) / 8.0, -below(1000) / 3.0});
            }
        }
        expectRead(file.bytes(), file);
        ASSERT_TRUE(m_file.saveToFile());
        ASSERT_EQ(written(), kept(file).bytes()) << "round " << round;
    }
}
