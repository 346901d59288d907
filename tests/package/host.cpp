// The whole road through the installed library: a LAS file given on the command line becomes a block file and is read.

#include <points_cloud.h>

#include <cstdio>

using namespace ptCloud;

int main(int argc, char **argv)
{
    if (argc != 3)
        return 2;
    PtCloud_Controller controller;
    QString name;
    if (controller.doCmd_LasFile_Import({QString::fromLocal8Bit(argv[1])}, &name) != ActResult_Success)
        return 1;
    LasFile las;
    PtCloud_DataSetFile file;
    if (!las.load(QString::fromLocal8Bit(argv[1]), 1000) || !file.setFile(QString::fromLocal8Bit(argv[2])))
        return 1;
    if (!file.makeDataSet_byLasFile({&las}, {EDataSetColumn_Position}) || !file.openFile())
        return 1;
    const stPtCloud_PointArray *block = file.readBlock(1);
    if (block == nullptr)
        return 1;
    std::printf("%u points in block 1\n", block->m_pointCount);
    return 0;
}
