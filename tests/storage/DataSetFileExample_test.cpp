#include "Bytes.h"
#include "DebugLog.h"
#include "LasWriter.h"

#include "LasFile.h"
#include "PtCloud_DataSetFile.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

using namespace ptCloud;

/// The worked example of docs/formats.md, byte for byte.
TEST(DataSetFileExample, IsWhatTheFormatDocumentShows)
{
    const QByteArray expected = QByteArray::fromHex("01000000"
                                                    "01000000"
                                                    "02000000"
                                                    "0000000004000000"
                                                    "01000000"
                                                    "01000000"
                                                    "6f1283ba6f1283ba6f1283ba"
                                                    "77be7f3f77be7f3f77be7f3f"
                                                    "02000000"
                                                    "ffffffff"
                                                    "00000000"
                                                    "0000000001000000"
                                                    "0000"
                                                    "000000000000000000000000"
                                                    "0000003f0000000000000000"
                                                    "6400c800");
    ASSERT_EQ(expected.size(), 102);

    const support::DebugLog silence;
    const QTemporaryDir dir;
    support::LasWriter writer;
    writer.points.resize(2);
    writer.points[0].intensity = 100;
    writer.points[1].intensity = 200;
    writer.points[1].x = 500;
    ASSERT_TRUE(writer.write(dir.filePath(QStringLiteral("two.las"))));
    LasFile las;
    ASSERT_TRUE(las.load(dir.filePath(QStringLiteral("two.las")), 10));
    PtCloud_DataSetFile file;
    ASSERT_TRUE(file.setFile(dir.filePath(QStringLiteral("two.blk"))));
    ASSERT_TRUE(file.makeDataSet_byLasFile({&las}, {EDataSetColumn_Position, EDataSetColumn_Intensity}));
    EXPECT_EQ(support::readFile(file.getFilepath()).toHex(), expected.toHex());
}
