// Point arrays, the reader interface, block files and blocks in memory.

#include "interface.h"

#include <points_cloud.h>

#include <list>
#include <set>
#include <tuple>

using namespace ptCloud;

namespace names
{

using Columns = QList<EDataSetColumn>;
using Array = stPtCloud_PointArray;
using Blocks = QMap<int, std::tuple<unsigned int, pcBoundingBoxf>>;

static void columns()
{
    hasValue(EDataSetColumn_Position, 0);
    hasValue(EDataSetColumn_Normal, 1);
    hasValue(EDataSetColumn_Triangle, 2);
    hasValue(EDataSetColumn_Color, 3);
    hasValue(EDataSetColumn_Intensity, 4);
    hasValue(EDataSetColumn_ReturnNumber, 5);
    hasValue(EDataSetColumn_NumberOfReturns, 6);
    hasValue(EDataSetColumn_ScanDirection, 7);
    hasValue(EDataSetColumn_EdgeOfFlightLine, 8);
    hasValue(EDataSetColumn_Classification, 9);
    hasValue(EDataSetColumn_ScanAngleRank, 10);
    hasValue(EDataSetColumn_UserData, 11);
    hasValue(EDataSetColumn_PointSourceId, 12);
    hasValue(EDataSetColumn_GpsTime, 13);
    hasValue(EDataSetColumn_WavePacketDescriptorIndex, 14);
    hasValue(EDataSetColumn_ByteOffsetToWaveformData, 15);
    hasValue(EDataSetColumn_WaveformPacketSize, 16);
    hasValue(EDataSetColumn_ReturnPointWaveformLocation, 17);
    hasValue(EDataSetColumn_WaveformXyzT, 18);
    static_assert(std::is_same_v<decltype(EDataSetColumn_Position), EDataSetColumn>);
}

static void arrayFields()
{
    static_assert(sizeof(stTriangle) == 12 && std::is_trivially_copyable_v<stTriangle>);
    Fields<stTriangle>()
        .has<unsigned int>(&stTriangle::a)
        .has<unsigned int>(&stTriangle::b)
        .has<unsigned int>(&stTriangle::c);

    static_assert(!std::is_polymorphic_v<Array>);
    Fields<Array>()
        .has<unsigned int>(&Array::m_pointCount)
        .has<int>(&Array::m_blockTag)
        .has<unsigned int>(&Array::m_triangleCount)
        .has<unsigned int *>(&Array::m_pointIndices)
        .has<unsigned char *>(&Array::m_pointMarks)
        .has<pcVec3f *>(&Array::m_position)
        .has<pcVec3f *>(&Array::m_normal)
        .has<stTriangle *>(&Array::m_triangle)
        .has<pcVec4f *>(&Array::m_color)
        .has<unsigned short *>(&Array::m_intensity)
        .has<unsigned char *>(&Array::m_returnNumber)
        .has<unsigned char *>(&Array::m_numberOfReturns)
        .has<unsigned char *>(&Array::m_scanDirection)
        .has<unsigned char *>(&Array::m_edgeOfFlightLine)
        .has<unsigned char *>(&Array::m_classification)
        .has<unsigned char *>(&Array::m_scanAngleRank)
        .has<unsigned char *>(&Array::m_userData)
        .has<unsigned short *>(&Array::m_pointSourceId)
        .has<double *>(&Array::m_gpsTime)
        .has<unsigned char *>(&Array::m_wavePacketDescriptorIndex)
        .has<quint64 *>(&Array::m_byteOffsetToWaveformData)
        .has<unsigned int *>(&Array::m_waveformPacketSize)
        .has<float *>(&Array::m_returnPointWaveformLocation)
        .has<pcVec3f *>(&Array::m_waveformXyzT);
}

void pointArrays()
{
    columns();
    arrayFields();
    constructs<Array>();
    static_assert(!std::is_copy_constructible_v<Array>, "a flat copy that is destroyed would release the arrays twice");
    has<bool (Array::*)(unsigned int, const Columns &, bool, unsigned int)>(&Array::alloc);
    has<void (Array::*)()>(&Array::clear);
    has<Array &(Array::*)(const Array &)>(&Array::operator=);
    has<void (Array::*)(const Array &, unsigned int, unsigned int, unsigned int)>(&Array::copy_noTriangle);
    has<bool (Array::*)(Array *&) const>(&Array::makeCopy);
    has<void (Array::*)(Columns &) const>(&Array::getColumns);
    has<bool (Array::*)(unsigned int, QMap<EDataSetColumn, QVariant> &) const>(&Array::getPeace);
    has<bool (Array::*)(unsigned int, bool)>(&Array::markPoint);
    has<void (Array::*)(const QSet<unsigned int> &)>(&Array::markPoints);
    has<void (Array::*)(QSet<unsigned int> &)>(&Array::removeAllMarks);
    has<void (Array::*)(const pcBoundingBoxf &)>(&Array::removeInnerByBox);
    has<void (Array::*)(const pcBoundingBoxf &)>(&Array::removeOutterByBox);
    has<void (Array::*)(const pcBoundingSpheref &)>(&Array::removeInnerBySphere);
    has<void (Array::*)(const pcBoundingSpheref &)>(&Array::removeOutterBySphere);
    has<bool (Array::*)(const std::set<unsigned int> &)>(&Array::removePointsByIndies);
}

/// A reader of a host's own: the overrides are all that it takes to be one.
class HostReader : public IDataSetReader
{
public:
    ~HostReader() override = default;
    void getBlocks(Blocks &) const override {}
    const stPtCloud_PointArray *readBlock(int) override { return nullptr; }
    bool openFile() override { return true; }
    void closeFile() override {}
    EDataSetSort getSortType() override { return EDataSetSort_None; }
    EDataSetType getDataSetType() override { return EDataSetType_File; }
};

/// The virtual operations of the interface, as Reader has them.
template <typename Reader>
void reads()
{
    static_assert(std::is_base_of_v<IDataSetReader, Reader> && std::is_convertible_v<Reader *, IDataSetReader *>);
    static_assert(std::has_virtual_destructor_v<Reader> && !std::is_final_v<Reader>);
    has<void (Reader::*)(Blocks &) const>(&Reader::getBlocks);
    has<const Array *(Reader::*)(int)>(&Reader::readBlock);
    has<bool (Reader::*)()>(&Reader::openFile);
    has<void (Reader::*)()>(&Reader::closeFile);
    has<EDataSetSort (Reader::*)()>(&Reader::getSortType);
    has<EDataSetType (Reader::*)()>(&Reader::getDataSetType);
}

static void readerInterface()
{
    hasValue(EDataSetSort_None, 0);
    hasValue(EDataSetSort_ByBox, 1);
    hasValue(EDataSetSort_ByArray, 2);
    hasValue(EDataSetType_File, 0);
    hasValue(EDataSetType_Memory, 1);

    static_assert(std::is_abstract_v<IDataSetReader> && sizeof(IDataSetReader) == sizeof(void *));
    reads<IDataSetReader>();
    constructs<HostReader>();
    expectAscending({slotOf(&IDataSetReader::getBlocks), slotOf(&IDataSetReader::readBlock),
                     slotOf(&IDataSetReader::openFile), slotOf(&IDataSetReader::closeFile),
                     slotOf(&IDataSetReader::getSortType), slotOf(&IDataSetReader::getDataSetType)},
                    "IDataSetReader");
}

static void blockFile()
{
    using File = PtCloud_DataSetFile;
    using Infos = QMap<int, std::tuple<qint64, unsigned int, pcBoundingBoxf>>;
    using Prepared = QMap<int, std::tuple<pcBoundingBoxf, const Array *>>;

    constructs<File>();
    reads<File>();
    has<bool (File::*)(const QString &)>(&File::setFile);
    keep(+[](File &file) -> QString { return file.getFilepath(); });
    static_assert(std::is_same_v<QString, decltype(std::declval<File &>().getFilepath())>);
    has<bool (File::*)() const>(&File::isOpened);
    has<bool (File::*)() const>(&File::isValid);
    has<void (File::*)()>(&File::removeFile);
    has<const Columns &(File::*)() const>(&File::getColumns);
    has<Infos (File::*)() const>(&File::getBlockInfos);
    has<bool (File::*)(const QList<const LasFile *> &, const Columns &)>(&File::makeDataSet_byLasFile);
    has<bool (File::*)(const Array &)>(&File::makeDataSet_byPointsArray);
    has<bool (File::*)(QList<const Array *>)>(&File::makeDataSet_byPointsArray);
    has<bool (File::*)(const std::list<const Array *> &)>(&File::makeDataSet_bySplittedPointsArray);
    has<bool (File::*)(EDataSetSort, const Columns &, const Prepared &)>(&File::makeDataSet_byMemory);
    has<bool (File::*)(const QList<File *> &)>(&File::makeDataSet_byDataSetFiles);
}

static void memory()
{
    using Memory = PtCloud_DataSetMemory;
    using Owned = QMap<int, std::tuple<pcBoundingBoxf, Array *>>;

    constructs<Memory>();
    constructs<Memory, const Memory &>();
    has<Memory &(Memory::*)(const Memory &)>(&Memory::operator=);
    reads<Memory>();
    has<bool (Memory::*)(PtCloud_DataSetFile *)>(&Memory::makeFromFile);
    has<bool (Memory::*)(PtCloud_DataSetFile *)>(&Memory::saveToFile);
    has<Owned *(Memory::*)()>(&Memory::getAllBlocksPtr);
}

void readers()
{
    readerInterface();
    blockFile();
    memory();
}

} // namespace names
