#include "ExportTesting.h"
#include "PublishedLas.h"

#include <cmath>
#include <limits>
#include <string>

using support::BlockFile;
using support::blockOf;
using support::Box;
using support::PublishedLas;
using support::run;
using support::sameBytes;

namespace
{

/// Two points with something in every column, and one triangle.
BlockFile fileWithEveryColumn()
{
    BlockFile file;
    for (quint32 column = 0; column <= 18; ++column)
        file.columns.push_back(column);
    file.blocks = {
        blockOf(1,
                {run({0.0F, 1.0F, 2.0F, 0.1F, -2.5F, 1000.0F}), run({0.0F, 0.0F, 1.0F, 0.5F, -0.5F, 0.25F}),
                 run({0U, 1U, 0U}), run({0.0F, 0.0F, 0.0F, 0.0F, 1.0F, 0.5F, 0.2F, 1.0F}),
                 run({quint16(0), quint16(65535)}), run({quint8(1), quint8(3)}), run({quint8(1), quint8(5)}),
                 run({quint8(0), quint8(1)}), run({quint8(1), quint8(0)}), run({quint8(2), quint8(200)}),
                 run({qint8(15), qint8(-15)}), run({quint8(0), quint8(255)}), run({quint16(7), quint16(40000)}),
                 run({0.5, 123456789.125}), run({quint8(0), quint8(9)}), run({quint64(1), quint64(5000000000U)}),
                 run({2U, 4000000000U}), run({0.0F, 2.5F}), run({0.0F, 0.0F, 0.0F, 1.5F, -2.0F, 3.0F})},
                1)};
    return file;
}

QByteArray plyHead(int vertices, const QByteArray &properties)
{
    return "ply\nformat binary_little_endian 1.0\nelement vertex " + QByteArray::number(vertices) + "\n" + properties;
}

QByteArray face(quint32 a, quint32 b, quint32 c)
{
    return run({quint8(3)}) + run({a, b, c});
}

const QByteArray positionProperties = "property float x\nproperty float y\nproperty float z\n";
const QByteArray endOfHead = "end_header\n";

QByteArray faceHead(int faces)
{
    return "element face " + QByteArray::number(faces) + "\nproperty list uchar uint vertex_indices\n" + endOfHead;
}

/// The LAS file that must come of thousandths.
PublishedLas lasOf(int format, const std::vector<support::PublishedPoint> &points)
{
    PublishedLas las;
    las.format = static_cast<quint8>(format);
    las.generator = "ptcloud export";
    las.points = points;
    return las;
}

/// The points of the file with every column, in the fields of a LAS record.
std::vector<support::PublishedPoint> pointsOfEveryColumn()
{
    std::vector<support::PublishedPoint> points(2);
    points[0].y = 1000;
    points[0].z = 2000;
    points[0].returnNumber = points[0].numberOfReturns = 1;
    points[0].isEdge = true;
    points[0].classification = 2;
    points[0].scanAngle = 15;
    points[0].pointSourceId = 7;
    points[0].gpsTime = 0.5;
    points[1].x = 100;
    points[1].y = -2500;
    points[1].z = 1000000;
    points[1].intensity = 65535;
    points[1].returnNumber = 3;
    points[1].numberOfReturns = 5;
    points[1].scansForward = true;
    points[1].classification = 200 & 31;
    points[1].classFlags = 200 >> 5;
    points[1].scanAngle = -15;
    points[1].userData = 255;
    points[1].pointSourceId = 40000;
    points[1].gpsTime = 123456789.125;
    points[1].color = {65535, 32768, 13107};
    return points;
}

class ExportCommand : public support::ExportTest
{
protected:
    static QJsonArray numbers(const PtcloudRun &done, const char *key)
    {
        return done.json().value(QLatin1String(key)).toArray();
    }
};

/// Two blocks side by side of four and three points with triangles; the first has a corner that is no point.
BlockFile twoMeshBlocks()
{
    BlockFile file;
    file.columns = {0, 2};
    const QByteArray left = run({0.0F, 0.0F, 0.0F, 1.0F, 0.0F, 0.0F, 1.0F, 1.0F, 0.0F, 2.0F, 1.0F, 0.0F});
    const QByteArray right = run({5.0F, 0.0F, 0.0F, 6.0F, 0.0F, 0.0F, 6.0F, 1.0F, 0.0F});
    file.blocks = {blockOf(1, {left, run({0U, 1U, 2U, 1U, 2U, 3U, 1U, 2U, 9U})}, 3, Box{0, 0, 0, 2, 1, 0}),
                   blockOf(2, {right, run({2U, 1U, 0U})}, 1, Box{5, 0, 0, 6, 1, 0})};
    return file;
}

} // namespace

TEST_F(ExportCommand, WritesEveryColumnAsText)
{
    write(fileWithEveryColumn());
    EXPECT_EQ(exported("out.csv").toStdString(),
              "x,y,z,nx,ny,nz,red,green,blue,alpha,intensity,return_number,number_of_returns,scan_direction,"
              "edge_of_flight_line,classification,scan_angle_rank,user_data,point_source_id,gps_time,"
              "wave_packet_descriptor_index,byte_offset_to_waveform_data,waveform_packet_size,"
              "return_point_waveform_location,x_t,y_t,z_t\n"
              "0,1,2,0,0,1,0,0,0,0,0,1,1,0,1,2,15,0,7,0.5,0,1,2,0,0,0,0\n"
              "0.1,-2.5,1000,0.5,-0.5,0.25,1,0.5,0.2,1,65535,3,5,1,0,200,-15,255,40000,123456789.125,9,5000000000,"
              "4000000000,2.5,1.5,-2,3\n");
}

TEST_F(ExportCommand, WritesEveryColumnAsBinaryVertices)
{
    write(fileWithEveryColumn());
    QByteArray head = positionProperties;
    for (const char *property : {"float nx",
                                 "float ny",
                                 "float nz",
                                 "uchar red",
                                 "uchar green",
                                 "uchar blue",
                                 "uchar alpha",
                                 "ushort intensity",
                                 "uchar return_number",
                                 "uchar number_of_returns",
                                 "uchar scan_direction",
                                 "uchar edge_of_flight_line",
                                 "uchar classification",
                                 "char scan_angle_rank",
                                 "uchar user_data",
                                 "ushort point_source_id",
                                 "double gps_time",
                                 "uchar wave_packet_descriptor_index",
                                 "double byte_offset_to_waveform_data",
                                 "uint waveform_packet_size",
                                 "float return_point_waveform_location",
                                 "float x_t",
                                 "float y_t",
                                 "float z_t"})
        head += QByteArray("property ") + property + "\n";
    const QByteArray first = run({0.0F, 1.0F, 2.0F, 0.0F, 0.0F, 1.0F}) + run<quint8>({0, 0, 0, 0}) + run<quint16>({0})
                             + run<quint8>({1, 1, 0, 1, 2, 15, 0}) + run<quint16>({7}) + run({0.5}) + run<quint8>({0})
                             + run({1.0}) + run({2U}) + run({0.0F, 0.0F, 0.0F, 0.0F});
    const QByteArray second = run({0.1F, -2.5F, 1000.0F, 0.5F, -0.5F, 0.25F}) + run<quint8>({255, 128, 51, 255})
                              + run<quint16>({65535}) + run<quint8>({3, 5, 1, 0, 200, 241, 255}) + run<quint16>({40000})
                              + run({123456789.125}) + run<quint8>({9}) + run({5e9}) + run({4000000000U})
                              + run({2.5F, 1.5F, -2.0F, 3.0F});
    EXPECT_TRUE(sameBytes(exported("out.ply"), plyHead(2, head) + faceHead(1) + first + second + face(0, 1, 0)));
}

TEST_F(ExportCommand, WritesWhatALasRecordHolds)
{
    write(fileWithEveryColumn());
    EXPECT_TRUE(sameBytes(exported("out.las"), lasOf(3, pointsOfEveryColumn()).bytes()));
    const PtcloudRun done = exportTo("out.las", {QStringLiteral("--json")});
    EXPECT_EQ(done.json().value(QStringLiteral("points")).toInt(), 2);
    EXPECT_EQ(numbers(done, "dropped"), (QJsonArray{1, 2, 14, 15, 16, 17, 18}));
    EXPECT_TRUE(exportTo("out.las").output.contains("dropped: normal, triangle, wave packet descriptor index"));
}

TEST_F(ExportCommand, ChoosesTheLasFormatByTheColumns)
{
    write(fileWithEveryColumn());
    const struct
    {
        const char *columns;
        int format;
    } cases[] = {{"0,4", 0}, {"0,13", 1}, {"3", 2}, {"3,13", 3}};
    for (const auto &row : cases) {
        const QByteArray bytes = exported("out.las", columns(row.columns));
        EXPECT_EQ(support::get<quint8>(bytes, 104), row.format) << row.columns;
        EXPECT_EQ(bytes.size(), 227 + 2 * PublishedLas::recordSize(row.format)) << row.columns;
    }
}

TEST_F(ExportCommand, LeavesFieldsOfAbsentColumnsZero)
{
    write(fileWithEveryColumn());
    std::vector<support::PublishedPoint> expected(2);
    const auto all = pointsOfEveryColumn();
    for (std::size_t i = 0; i < 2; ++i) {
        expected[i].x = all[i].x;
        expected[i].y = all[i].y;
        expected[i].z = all[i].z;
        expected[i].numberOfReturns = all[i].numberOfReturns;
        expected[i].userData = all[i].userData;
    }
    EXPECT_TRUE(sameBytes(exported("out.las", columns("11,6")), lasOf(0, expected).bytes()));
}

TEST_F(ExportCommand, HoldsColoursThatReachBeyondOne)
{
    BlockFile file;
    file.columns = {0, 3};
    file.blocks = {blockOf(1, {run({0.0F, 0.0F, 0.0F}), run({-0.5F, 1.5F, 0.999F, 2.0F})})};
    write(file);
    EXPECT_TRUE(sameBytes(exported("out.ply").right(4), run<quint8>({0, 255, 255, 255})));
    EXPECT_TRUE(sameBytes(exported("out.las").right(6), run<quint16>({0, 65535, 65469})));
    EXPECT_TRUE(exported("out.csv").endsWith("\n0,0,0,-0.5,1.5,0.999,2\n"));
}

TEST_F(ExportCommand, WritesJustTheColumnsAskedForAndThePositionAlways)
{
    write(fileWithEveryColumn());
    EXPECT_EQ(exported("out.csv", columns("4")), "x,y,z,intensity\n0,1,2,0\n0.1,-2.5,1000,65535\n");
    EXPECT_EQ(exported("out.csv", columns("10,0,4")),
              "x,y,z,intensity,scan_angle_rank\n0,1,2,0,15\n0.1,-2.5,1000,65535,-15\n");
    EXPECT_EQ(exported("out.csv", columns("0")), "x,y,z\n0,1,2\n0.1,-2.5,1000\n");
    const QByteArray vertices = run({0.0F, 1.0F, 2.0F, 0.1F, -2.5F, 1000.0F});
    EXPECT_TRUE(sameBytes(exported("out.ply", columns("0")), plyHead(2, positionProperties) + endOfHead + vertices));
    EXPECT_TRUE(sameBytes(exported("out.PLY", columns("2")),
                          plyHead(2, positionProperties) + faceHead(1) + vertices + face(0, 1, 0)));
}

TEST_F(ExportCommand, KeepsTheOrderOfBlocksByKeyAndOfPointsWithin)
{
    BlockFile file;
    file.columns = {0};
    file.blocks = {blockOf(7, {run({7.0F, 0.0F, 0.0F, 6.0F, 0.0F, 0.0F})}), blockOf(-3, {run({3.0F, 0.0F, 0.0F})}),
                   blockOf(5, {QByteArray()})};
    write(file);
    EXPECT_EQ(exported("out.csv"), "x,y,z\n3,0,0\n7,0,0\n6,0,0\n");
}

TEST_F(ExportCommand, WritesNumbersThatReadBackAsTheSame)
{
    const float floats[] = {1.0F / 3, 16777217.0F, 1e-30F, -0.0F, 123456.789F, std::numeric_limits<float>::max()};
    QByteArray positions;
    for (const float value : floats)
        positions += run({value, value, value});
    writePositions(positions);
    const QList<QByteArray> lines = exported("out.csv").split('\n');
    ASSERT_EQ(lines.size(), 8);
    for (int i = 0; i < 6; ++i) {
        for (const QByteArray &number : lines[i + 1].split(',')) {
            const float readBack = std::strtof(number.constData(), nullptr);
            EXPECT_EQ(run({readBack}), run({floats[i]})) << number.constData();
        }
    }
}

TEST_F(ExportCommand, CountsAllFacesOfABoxIn)
{
    const float above = std::nextafter(0.3F, 1.0F);
    const float below = std::nextafter(0.1F, 0.0F);
    QByteArray inside;
    QByteArray outside;
    for (int axis = 0; axis < 3; ++axis) {
        for (const float value : {0.1F, 0.3F, below, above}) {
            float point[3] = {0.2F, 0.2F, 0.2F};
            point[axis] = value;
            const bool isInside = value == 0.1F || value == 0.3F;
            (isInside ? inside : outside) += run({point[0], point[1], point[2]});
        }
    }
    const float notANumber = std::numeric_limits<float>::quiet_NaN();
    outside += run({0.2F, notANumber, 0.2F});
    writePositions(outside + inside);
    EXPECT_TRUE(sameBytes(exported("out.ply", box("0.1,0.1,0.1,0.3,0.3,0.3")),
                          plyHead(6, positionProperties) + endOfHead + inside));
}

TEST_F(ExportCommand, TakesABoxWithoutThickness)
{
    writePositions(run({1.0F, 2.0F, 3.0F, 1.0F, 2.0F, 3.5F, -1.0F, -2.0F, -3.0F}));
    EXPECT_EQ(exported("out.csv", box("1,2,3,1,2,3")), "x,y,z\n1,2,3\n");
    EXPECT_EQ(exported("out.csv", box("-9,-9,3.25,9,9,3.75")), "x,y,z\n1,2,3.5\n");
    EXPECT_EQ(exported("out.csv", box("-1,-2,-3,-1,-2,-3")), "x,y,z\n-1,-2,-3\n");
}

TEST_F(ExportCommand, ReadsABlockOnlyIfItsBoxMeetsTheWantedOne)
{
    // All points lie in the wanted box. The blocks say otherwise, so who reads them all finds them.
    const QByteArray point = run({0.5F, 0.5F, 0.5F});
    BlockFile file;
    file.columns = {0, 4};
    const Box boxes[] = {{2, 0, 0, 3, 1, 1}, {0, 0, -2, 1, 1, -0.1F}, {1, 1, 1, 2, 2, 2}, {-9, -9, -9, 9, 9, 9}};
    for (quint16 i = 0; i < 4; ++i)
        file.blocks.push_back(blockOf(i + 1, {point, run({i})}, 0, boxes[i]));
    write(file);
    EXPECT_EQ(exported("out.csv", box("0,0,0,1,1,1")), "x,y,z,intensity\n0.5,0.5,0.5,2\n0.5,0.5,0.5,3\n");
    EXPECT_EQ(exported("out.csv").count('\n'), 5);
}

TEST_F(ExportCommand, RenumbersTheCornersOfTrianglesOverAllBlocks)
{
    const BlockFile file = twoMeshBlocks();
    write(file);
    const QByteArray all = file.blocks[0].columns[0] + file.blocks[1].columns[0];
    EXPECT_TRUE(sameBytes(exported("out.ply"), plyHead(7, positionProperties) + faceHead(3) + all + face(0, 1, 2)
                                                   + face(1, 2, 3) + face(6, 5, 4)));
    const PtcloudRun done = exportTo("out.ply", {QStringLiteral("--json")});
    EXPECT_EQ(done.json().value(QStringLiteral("triangles")).toInt(), 3);
}

TEST_F(ExportCommand, WritesATriangleOnlyWithAllItsCorners)
{
    const BlockFile file = twoMeshBlocks();
    write(file);
    // The first point lies outside.
    const QByteArray rest = file.blocks[0].columns[0].mid(12) + file.blocks[1].columns[0];
    EXPECT_TRUE(sameBytes(exported("out.ply", box("0.5,0,0,9,9,9")),
                          plyHead(6, positionProperties) + faceHead(2) + rest + face(0, 1, 2) + face(5, 4, 3)));
    EXPECT_TRUE(sameBytes(exported("out.ply", box("0,0,0,0,0,0")),
                          plyHead(1, positionProperties) + faceHead(0) + run({0.0F, 0.0F, 0.0F})));
}

TEST_F(ExportCommand, SaysWhenTrianglesStayBehind)
{
    write(twoMeshBlocks());
    const PtcloudRun done = exportTo("out.csv", {QStringLiteral("--json")});
    EXPECT_EQ(numbers(done, "dropped"), QJsonArray{2});
    EXPECT_EQ(done.json().value(QStringLiteral("triangles")).toInt(-1), 0);
    EXPECT_EQ(numbers(exportTo("out.csv", QStringList{QStringLiteral("--json")} + columns("0")), "dropped"),
              QJsonArray());
    EXPECT_EQ(numbers(exportTo("out.ply", {QStringLiteral("--json")}), "dropped"), QJsonArray());
}
