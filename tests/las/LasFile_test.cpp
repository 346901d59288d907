#include "LasTesting.h"

#include <QDir>
#include <QFile>
#include <QList>

#include <cstddef>
#include <type_traits>
#include <vector>

using namespace ptCloud;
using support::expectUnloaded;
using support::LasBytes;
using support::LasWindow;
using support::LasWriter;
using support::putAt;
using support::soundLas;
using support::walk;
using support::windowOf;

using LasFileTest = support::LasTest;
using LasFileFormats = support::LasFormatTest;

static_assert(std::is_base_of_v<QFile, LasFile>, "a host may use it as the device that it is");

namespace
{

template <typename Record>
QByteArray bytesOf(const Record *record)
{
    return record == nullptr ? QByteArray() : QByteArray(reinterpret_cast<const char *>(record), sizeof *record);
}

QByteArray variableHead(char mark)
{
    return QByteArray(54, mark);
}

/// A file in which each header field behind the description has a value of its own: the numbers as listed, the doubles
/// 100 to 111 in file order.
QByteArray numberedHeader(quint8 minor)
{
    QByteArray bytes = soundLas(1, 3, minor).bytes();
    bytes.replace(0, 4, "ABCD");
    putAt<quint16>(bytes, 4, 1004);
    putAt<quint16>(bytes, 6, 1006);
    for (int i = 0; i < 16; ++i)
        putAt<quint8>(bytes, 8 + i, static_cast<quint8>(i + 40));
    bytes.replace(26, 32, QByteArray(32, 'i'));
    bytes.replace(58, 32, QByteArray(32, 'w'));
    putAt<quint16>(bytes, 90, 1090);
    putAt<quint16>(bytes, 92, 1092);
    putAt<quint16>(bytes, 94, 1094);
    putAt<quint16>(bytes, 105, 1105);
    const int counters = minor == 3 ? 7 : 5;
    for (int i = 0; i < counters; ++i)
        putAt<quint32>(bytes, 26 + 85 + 4 * i, static_cast<quint32>(2000 + i));
    for (int i = 0; i < 12; ++i)
        putAt<double>(bytes, 26 + (minor == 3 ? 113 : 105) + 8 * i, 100.0 + i);
    if (minor == 3)
        putAt<quint64>(bytes, 26 + 209, 0x1122334455667788ULL);
    return bytes;
}

template <typename Head>
void expectNumberedHeader(const Head *head, std::size_t counters)
{
    ASSERT_NE(head, nullptr);
    EXPECT_EQ(QByteArray(head->systemIdentifier, 32), QByteArray(32, 'i'));
    EXPECT_EQ(QByteArray(head->generatingSoftware, 32), QByteArray(32, 'w'));
    EXPECT_EQ(head->fileCreationDayOfYear, 1090);
    EXPECT_EQ(head->fileCreationYear, 1092);
    EXPECT_EQ(head->headerSize, 1094);
    EXPECT_EQ(quint32{head->offsetToPointData}, counters == 7 ? 243U : 227U);
    EXPECT_EQ(quint32{head->numberOfVariableLengthRecords}, 0U);
    EXPECT_EQ(head->pointDataFormatId, 1);
    EXPECT_EQ(quint16{head->pointDataRecordLength}, 1105);
    EXPECT_EQ(quint32{head->numberOfPointRecords}, 3U);
    for (std::size_t i = 0; i < counters; ++i)
        EXPECT_EQ(quint32{head->numberOfPointsByReturn[i]}, 2000U + i);
    const double doubles[] = {head->xScaleFactor, head->yScaleFactor, head->zScaleFactor, head->xOffset,
                              head->yOffset,      head->zOffset,      head->maxX,         head->minX,
                              head->maxY,         head->minY,         head->maxZ,         head->minZ};
    double expected = 100.0;
    for (const double value : doubles)
        EXPECT_EQ(value, expected++);
}

} // namespace

TEST_F(LasFileTest, BeginsUnloaded)
{
    expectUnloaded(m_las);
    EXPECT_EQ(m_las.getFormat(), 255);
    EXPECT_EQ(m_las.getBufSize(), 0U);
    EXPECT_FALSE(m_las.isColor256());
    EXPECT_EQ(m_las.variableLenHead(0), nullptr);
    EXPECT_EQ(bytesOf(m_las.getFileHeadDescription()), QByteArray(26, '\0'));
    QList<EDataSetColumn> columns;
    m_las.getColumns(columns);
    EXPECT_TRUE(columns.isEmpty());
}

TEST_P(LasFileFormats, AreLoaded)
{
    const LasBytes bytes(soundLas(format(), 12, minor()).bytes());
    ASSERT_TRUE(loads(bytes.bytes, 5));
    EXPECT_TRUE(m_las.isLoaded());
    EXPECT_EQ(m_las.getFormat(), format());
    EXPECT_EQ(m_las.getPointDataFormat(), format());
    EXPECT_EQ(m_las.getBufSize(), 5U);
    EXPECT_EQ(m_las.getNumberOfVariableLengthRecords(), 0U);
    EXPECT_TRUE(m_las.getLoadErrorString().isEmpty());
    EXPECT_EQ(bytesOf(m_las.getFileHeadDescription()), bytes.bytes.left(26));
    EXPECT_EQ(bytesOf(m_las.getFileHead_ver_1_2()), minor() == 2 ? bytes.bytes.mid(26, 201) : QByteArray());
    EXPECT_EQ(bytesOf(m_las.getFileHead_ver_1_3()), minor() == 3 ? bytes.bytes.mid(26, 217) : QByteArray());
}

TEST_P(LasFileFormats, GiveTheirRecordsInWindows)
{
    const LasBytes bytes(soundLas(format(), 23, minor()).bytes());
    for (const unsigned int bufSize : {1U, 5U, 23U, 1000U, UINT_MAX}) {
        ASSERT_TRUE(loads(bytes.bytes, bufSize));
        EXPECT_EQ(walk(m_las, format()), bytes.records(0, 23)) << bufSize;
        EXPECT_EQ(walk(m_las, format(), 3), bytes.records(0, 23)) << bufSize;
    }
}

TEST_P(LasFileFormats, AnswerOnlyTheirOwnRequest)
{
    const LasBytes bytes(soundLas(format(), 4, minor()).bytes());
    ASSERT_TRUE(loads(bytes.bytes));
    for (quint8 asked = 0; asked < 6; ++asked) {
        const LasWindow window = windowOf(m_las, asked, 0, 10);
        EXPECT_EQ(window.count, asked == format() ? 4U : 0U);
        EXPECT_EQ(window.bytes, asked == format() ? bytes.records(0, 4) : QByteArray());
        EXPECT_EQ(window.records != nullptr, asked == format());
    }
}

TEST_P(LasFileFormats, FillTheirColumns)
{
    const std::vector<int> rows[] = {
        {0, 4, 5, 6, 7, 8, 9, 10, 11, 12},
        {0, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13},
        {0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12},
        {0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13},
        {0, 4, 5, 6, 7, 8, 9, 10, 11, 12, 14, 15, 16, 17, 18},
        {0, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18},
    };
    ASSERT_TRUE(loads(soundLas(format(), 1, minor())));
    QList<EDataSetColumn> columns;
    m_las.getColumns(columns);
    std::vector<int> numbers;
    for (const EDataSetColumn column : columns)
        numbers.push_back(column);
    EXPECT_EQ(numbers, rows[format()]);
}

TEST_P(LasFileFormats, EndWithTheFileWhereMoreIsAnnounced)
{
    LasWriter las = soundLas(format(), 6, minor());
    las.announcedPoints = 1000;
    las.tail = QByteArray(LasWriter::recordSize(format()) - 1, 'x');
    const LasBytes bytes(las.bytes());
    ASSERT_TRUE(loads(bytes.bytes, 4));
    EXPECT_EQ(walk(m_las, format()), bytes.records(0, 6));
    EXPECT_EQ(windowOf(m_las, format(), 6, 1).count, 0U);
}

TEST_P(LasFileFormats, EndWithTheAnnouncedNumberWhereTheFileHasMore)
{
    LasWriter las = soundLas(format(), 6, minor());
    las.announcedPoints = 4;
    const LasBytes bytes(las.bytes());
    ASSERT_TRUE(loads(bytes.bytes, 3));
    EXPECT_EQ(walk(m_las, format()), bytes.records(0, 4));
    EXPECT_EQ(windowOf(m_las, format(), 4, 1).count, 0U);
}

INSTANTIATE_TEST_SUITE_P(All, LasFileFormats, support::allFormats(), support::LasFormatName());

TEST_F(LasFileTest, ReadsTheDescription)
{
    ASSERT_TRUE(loads(numberedHeader(2)));
    const stLasFileHeadDesc *head = m_las.getFileHeadDescription();
    EXPECT_EQ(QByteArray(head->fileSignature, 4), QByteArray("ABCD"));
    EXPECT_EQ(head->fileSourceId, 1004);
    EXPECT_EQ(head->globalEncoding, 1006);
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(head->projectGuid[i], i + 40);
    EXPECT_EQ(head->versionMajor, 1);
    EXPECT_EQ(head->versionMinor, 2);
}

TEST_F(LasFileTest, ReadsTheHeaderOfVersionTwo)
{
    ASSERT_TRUE(loads(numberedHeader(2)));
    expectNumberedHeader(m_las.getFileHead_ver_1_2(), 5);
    EXPECT_EQ(m_las.getFileHead_ver_1_3(), nullptr);
}

TEST_F(LasFileTest, ReadsTheHeaderOfVersionThreeWithSevenCounters)
{
    ASSERT_TRUE(loads(numberedHeader(3)));
    expectNumberedHeader(m_las.getFileHead_ver_1_3(), 7);
    EXPECT_EQ(quint64{m_las.getFileHead_ver_1_3()->startOfWaveformDataPacketRecord}, 0x1122334455667788ULL);
    EXPECT_EQ(m_las.getFileHead_ver_1_2(), nullptr);
}

TEST_F(LasFileTest, LooksNeitherAtTheSignatureNorAtTheSizesInTheHeader)
{
    LasWriter las = soundLas(3, 5);
    las.signature = "none";
    LasBytes bytes(las.bytes());
    putAt<quint16>(bytes.bytes, 94, 9999);
    putAt<quint16>(bytes.bytes, LasWriter::recordLengthAt, 1);
    ASSERT_TRUE(loads(bytes.bytes));
    EXPECT_EQ(walk(m_las, 3), bytes.records(0, 5));
}

TEST_F(LasFileTest, WalksWithTheSizeOfTheFormatWhateverTheRecordLengthSays)
{
    LasWriter las = soundLas(1, 0);
    las.tail = QByteArray(100, '\1') + QByteArray(100, '\2');
    las.announcedPoints = 5;
    LasBytes bytes(las.bytes());
    putAt<quint16>(bytes.bytes, LasWriter::recordLengthAt, 40);
    ASSERT_TRUE(loads(bytes.bytes));
    EXPECT_EQ(walk(m_las, 1), bytes.bytes.mid(227, 5 * 28));
}

TEST_F(LasFileTest, KeepsTheVariableHeads)
{
    for (const quint8 minor : {quint8{2}, quint8{3}}) {
        LasFile las;
        LasWriter writer = soundLas(0, 2, minor);
        QByteArray numbered = variableHead('h');
        putAt<quint16>(numbered, 0, 500);
        putAt<quint16>(numbered, 18, 518);
        putAt<quint16>(numbered, 20, 520);
        numbered.replace(2, 16, QByteArray(16, 'u'));
        numbered.replace(22, 32, QByteArray(32, 'd'));
        writer.variableHeads = {numbered, variableHead('b')};
        const LasBytes bytes(writer.bytes());
        ASSERT_TRUE(support::writeFile(path(), bytes.bytes) && las.load(path(), 10));
        EXPECT_EQ(las.getNumberOfVariableLengthRecords(), 2U);
        const stLasFileVariableLengthHead *first = las.variableLenHead(0);
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(first->reserved, 500);
        EXPECT_EQ(QByteArray(first->userId, 16), QByteArray(16, 'u'));
        EXPECT_EQ(first->recordId, 518);
        EXPECT_EQ(first->recordLengthAfterHeader, 520);
        EXPECT_EQ(QByteArray(first->description, 32), QByteArray(32, 'd'));
        EXPECT_EQ(bytesOf(las.variableLenHead(1)), variableHead('b'));
        EXPECT_EQ(walk(las, 0), bytes.records(0, 2));
    }
}

TEST_F(LasFileTest, ReadsVariableHeadsStraightBehindOneAnother)
{
    LasWriter las = soundLas(0, 2);
    QByteArray head = variableHead('a');
    putAt<quint16>(head, 20, 30);
    // A body of 30 bytes lies between the two heads, and is taken for the front of the second.
    las.variableHeads = {head + QByteArray(30, 'B'), variableHead('c')};
    ASSERT_TRUE(loads(las));
    EXPECT_EQ(bytesOf(m_las.variableLenHead(0)), head);
    EXPECT_EQ(bytesOf(m_las.variableLenHead(1)), QByteArray(30, 'B') + QByteArray(24, 'c'));
}

TEST_F(LasFileTest, HasNoVariableHeadOutsideTheList)
{
    LasWriter las = soundLas(0, 2);
    las.variableHeads = {variableHead('a')};
    ASSERT_TRUE(loads(las));
    EXPECT_NE(m_las.variableLenHead(0), nullptr);
    for (const unsigned int index : {1U, 2147483647U, 2147483648U, 4294967295U})
        EXPECT_EQ(m_las.variableLenHead(index), nullptr) << index;
}

TEST_F(LasFileTest, AppendsTheVariableHeadsOfASecondLoad)
{
    LasWriter las = soundLas(0, 2);
    las.variableHeads = {variableHead('a'), variableHead('b')};
    ASSERT_TRUE(loads(las));
    las.variableHeads = {variableHead('c')};
    ASSERT_TRUE(loads(las));
    EXPECT_EQ(m_las.getNumberOfVariableLengthRecords(), 1U);
    EXPECT_EQ(bytesOf(m_las.variableLenHead(0)), variableHead('a'));
    EXPECT_EQ(bytesOf(m_las.variableLenHead(1)), variableHead('b'));
    EXPECT_EQ(bytesOf(m_las.variableLenHead(2)), variableHead('c'));
    EXPECT_EQ(m_las.variableLenHead(3), nullptr);
}

TEST_F(LasFileTest, CutsAWindowToTheCountAskedFor)
{
    const LasBytes bytes(soundLas(0, 10).bytes());
    ASSERT_TRUE(loads(bytes.bytes, 4));
    EXPECT_EQ(windowOf(m_las, 0, 0, 3).bytes, bytes.records(0, 3));
    EXPECT_EQ(windowOf(m_las, 0, 1, 100).bytes, bytes.records(1, 3));
    EXPECT_EQ(windowOf(m_las, 0, 0, 0).count, 0U);
}

TEST_F(LasFileTest, HasNoWindowBeyondTheLastRecord)
{
    ASSERT_TRUE(loads(soundLas(0, 10)));
    for (const unsigned int start : {10U, 11U, UINT_MAX}) {
        const LasWindow window = windowOf(m_las, 0, start, 5);
        EXPECT_EQ(window.count, 0U) << start;
        EXPECT_EQ(window.records, nullptr) << start;
    }
}

TEST_F(LasFileTest, HandsOutTheSameMemoryWhileTheWindowStays)
{
    ASSERT_TRUE(loads(soundLas(0, 10), 10));
    const auto *first = static_cast<const char *>(windowOf(m_las, 0, 0, 10).records);
    EXPECT_EQ(windowOf(m_las, 0, 3, 10).records, first + 3 * 20);
}

TEST_F(LasFileTest, RefusesPointDataThatBeginsAtTheEndOfTheFile)
{
    LasWriter las = soundLas(0, 0);
    ASSERT_FALSE(loads(las));
    EXPECT_EQ(m_las.getFormat(), 255);
    las.tail = "x";
    ASSERT_TRUE(loads(las));
    EXPECT_EQ(windowOf(m_las, 0, 0, 1).count, 0U);
    las.announcedPoints = 1;
    ASSERT_TRUE(loads(las));
    EXPECT_EQ(windowOf(m_las, 0, 0, 1).count, 0U);
}

TEST_F(LasFileTest, TakesPointDataThatBeginsInTheHeader)
{
    LasWriter las = soundLas(0, 3);
    las.offsetToPointData = 0;
    las.announcedPoints = 5;
    const QByteArray bytes = las.bytes();
    ASSERT_TRUE(loads(bytes));
    EXPECT_EQ(walk(m_las, 0), bytes.left(5 * 20));
}

TEST_F(LasFileTest, TakesPointDataThatLieFarBehindTheHeader)
{
    LasWriter las = soundLas(2, 3);
    las.offsetToPointData = 5000;
    const LasBytes bytes(las.bytes());
    ASSERT_TRUE(loads(bytes.bytes));
    EXPECT_EQ(walk(m_las, 2), bytes.bytes.mid(5000, 3 * 26));
}

TEST_F(LasFileTest, LoadsWithABufferForNoRecords)
{
    ASSERT_TRUE(loads(soundLas(0, 3), 0));
    EXPECT_TRUE(m_las.isLoaded());
    EXPECT_EQ(m_las.getBufSize(), 0U);
    EXPECT_EQ(windowOf(m_las, 0, 0, 3).count, 0U);
}

TEST_F(LasFileTest, LoadsFromAPathInAnyLanguage)
{
    const QDir directory(m_dir.path());
    const QString folder = QString::fromUtf8("Vermessung \xc3\xa4\xc3\xb6 \xe7\x82\xb9\xe4\xba\x91");
    ASSERT_TRUE(directory.mkdir(folder));
    const QString file =
        directory.filePath(folder + QString::fromUtf8("/\xd1\x82\xd0\xbe\xd1\x87\xd0\xba\xd0\xb8.las"));
    ASSERT_TRUE(soundLas(0, 3).write(file));
    EXPECT_TRUE(m_las.load(file, 10));
    EXPECT_EQ(m_las.fileName(), file);
}

TEST_F(LasFileTest, ASecondLoadReplacesTheFirst)
{
    ASSERT_TRUE(loads(soundLas(5, 9, 3), 3));
    ASSERT_EQ(windowOf(m_las, 5, 0, 3).count, 3U);
    const LasBytes bytes(soundLas(1, 4).bytes());
    ASSERT_TRUE(loads(bytes.bytes, 100));
    EXPECT_EQ(m_las.getFileHead_ver_1_3(), nullptr);
    EXPECT_NE(m_las.getFileHead_ver_1_2(), nullptr);
    EXPECT_EQ(m_las.getFormat(), 1);
    EXPECT_EQ(m_las.getBufSize(), 100U);
    EXPECT_FALSE(m_las.isColor256());
    EXPECT_EQ(windowOf(m_las, 5, 0, 3).count, 0U);
    EXPECT_EQ(walk(m_las, 1), bytes.records(0, 4));
}

TEST_F(LasFileTest, AFailedSecondLoadLeavesTheOldFormatAndBufferSize)
{
    LasWriter first = soundLas(3, 9);
    first.variableHeads = {variableHead('a')};
    LasWriter refused = soundLas(0, 9);
    refused.versionMinor = 4;
    for (const bool isMissing : {true, false}) {
        LasFile las;
        ASSERT_TRUE(first.write(path()) && las.load(path(), 7));
        ASSERT_TRUE(refused.write(path("refused")));
        ASSERT_FALSE(las.load(path(isMissing ? "missing" : "refused"), 8));
        expectUnloaded(las);
        EXPECT_EQ(las.getFormat(), 3);
        EXPECT_EQ(las.getBufSize(), 7U);
        EXPECT_TRUE(las.isColor256());
        EXPECT_EQ(bytesOf(las.variableLenHead(0)), variableHead('a'));
        EXPECT_EQ(las.getFileHeadDescription()->versionMinor, isMissing ? 2 : 4);
        ASSERT_TRUE(las.load(path(), 9));
        EXPECT_EQ(las.getBufSize(), 9U);
    }
}

TEST_F(LasFileTest, AFailedLoadLeavesTheNameThatWasTried)
{
    ASSERT_TRUE(loads(soundLas(0, 3)));
    LasWriter refused = soundLas(0, 3);
    refused.versionMinor = 4;
    ASSERT_TRUE(refused.write(path("refused")));
    for (const char *name : {"refused", "missing"}) {
        EXPECT_FALSE(m_las.load(path(name), 10));
        EXPECT_EQ(m_las.fileName().toStdString(), path(name).toStdString());
    }
}
