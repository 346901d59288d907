// The LAS file and its records.

#include "interface.h"

#include <points_cloud.h>

#include <QFile>

using ptCloud::LasFile;

namespace names
{

using Byte = unsigned char;
using Word = unsigned short;
using Number = unsigned int;

/// What both versions of the header have in front of their counters of points by return.
template <typename Head>
void headStart(Fields<Head> &fields)
{
    fields.template next<char[32]>(&Head::systemIdentifier).template next<char[32]>(&Head::generatingSoftware);
    fields.template next<Word>(&Head::fileCreationDayOfYear).template next<Word>(&Head::fileCreationYear);
    fields.template next<Word>(&Head::headerSize).template next<Number>(&Head::offsetToPointData);
    fields.template next<Number>(&Head::numberOfVariableLengthRecords);
    fields.template next<Byte>(&Head::pointDataFormatId).template next<Word>(&Head::pointDataRecordLength);
    fields.template next<Number>(&Head::numberOfPointRecords);
}

/// What they have behind those counters.
template <typename Head>
void headEnd(Fields<Head> &fields)
{
    fields.template next<double>(&Head::xScaleFactor).template next<double>(&Head::yScaleFactor);
    fields.template next<double>(&Head::zScaleFactor).template next<double>(&Head::xOffset);
    fields.template next<double>(&Head::yOffset).template next<double>(&Head::zOffset);
    fields.template next<double>(&Head::maxX).template next<double>(&Head::minX);
    fields.template next<double>(&Head::maxY).template next<double>(&Head::minY);
    fields.template next<double>(&Head::maxZ).template next<double>(&Head::minZ);
}

static void heads()
{
    using Desc = stLasFileHeadDesc;
    using Head2 = stLasFileHead_ver_1_2;
    using Head3 = stLasFileHead_ver_1_3;
    using VariableLength = stLasFileVariableLengthHead;

    static_assert(sizeof(Desc) == 26 && sizeof(Head2) == 201 && sizeof(Head3) == 217 && sizeof(VariableLength) == 54);
    Fields<Desc>()
        .next<char[4]>(&Desc::fileSignature)
        .next<Word>(&Desc::fileSourceId)
        .next<Word>(&Desc::globalEncoding)
        .next<decltype(Desc::projectGuid)>(&Desc::projectGuid)
        .next<Byte>(&Desc::versionMajor)
        .next<Byte>(&Desc::versionMinor);

    Fields<Head2> head2;
    headStart(head2);
    head2.next<Number[5]>(&Head2::numberOfPointsByReturn);
    headEnd(head2);

    Fields<Head3> head3;
    headStart(head3);
    head3.next<Number[7]>(&Head3::numberOfPointsByReturn);
    headEnd(head3);
    head3.next<quint64>(&Head3::startOfWaveformDataPacketRecord);

    Fields<VariableLength>()
        .next<Word>(&VariableLength::reserved)
        .next<char[16]>(&VariableLength::userId)
        .next<Word>(&VariableLength::recordId)
        .next<Word>(&VariableLength::recordLengthAfterHeader)
        .next<char[32]>(&VariableLength::description);
}

/// Of the flags and the angle only the width is told.
template <typename Point>
Fields<Point> common()
{
    Fields<Point> fields;
    fields.template next<int>(&Point::x).template next<int>(&Point::y).template next<int>(&Point::z);
    fields.template next<Word>(&Point::intensity);
    fields.template next<decltype(Point::returnFlags)>(&Point::returnFlags);
    fields.template next<Byte>(&Point::classification);
    fields.template next<decltype(Point::scanAngleRank)>(&Point::scanAngleRank);
    fields.template next<Byte>(&Point::userData).template next<Word>(&Point::pointSourceId);
    return fields;
}

template <typename Point>
void time(Fields<Point> &fields)
{
    fields.template next<double>(&Point::gpsTime);
}

template <typename Point>
void colour(Fields<Point> &fields)
{
    fields.template next<Word>(&Point::red).template next<Word>(&Point::green).template next<Word>(&Point::blue);
}

template <typename Point>
void wavePacket(Fields<Point> &fields)
{
    fields.template next<Byte>(&Point::wavePacketDescriptorIndex);
    fields.template next<quint64>(&Point::byteOffsetToWaveformData);
    fields.template next<Number>(&Point::waveformPacketSize);
    fields.template next<float>(&Point::returnPointWaveformLocation);
    fields.template next<float>(&Point::xt).template next<float>(&Point::yt).template next<float>(&Point::zt);
}

static void points()
{
    static_assert(sizeof(stLasRecord_fmt_0) == 20 && sizeof(stLasRecord_fmt_1) == 28
                  && sizeof(stLasRecord_fmt_2) == 26);
    static_assert(sizeof(stLasRecord_fmt_3) == 34 && sizeof(stLasRecord_fmt_4) == 49
                  && sizeof(stLasRecord_fmt_5) == 63);
    common<stLasRecord_fmt_0>();
    Fields<stLasRecord_fmt_1> timed = common<stLasRecord_fmt_1>();
    time(timed);
    Fields<stLasRecord_fmt_2> coloured = common<stLasRecord_fmt_2>();
    colour(coloured);
    Fields<stLasRecord_fmt_3> both = common<stLasRecord_fmt_3>();
    time(both);
    colour(both);
    Fields<stLasRecord_fmt_4> packet = common<stLasRecord_fmt_4>();
    wavePacket(packet);
    Fields<stLasRecord_fmt_5> all = common<stLasRecord_fmt_5>();
    time(all);
    colour(all);
    wavePacket(all);
}

template <typename Record>
using Window = Number (LasFile::*)(Number, Number, const Record *&) const;

void lasFiles()
{
    heads();
    points();

    static_assert(std::is_base_of_v<QFile, LasFile> && std::is_convertible_v<LasFile *, QFile *>);
    static_assert(!std::is_final_v<LasFile>);
    constructs<LasFile>();
    has<bool (LasFile::*)(const QString &, Number)>(&LasFile::load);
    has<bool (LasFile::*)() const>(&LasFile::isLoaded);
    has<QString (LasFile::*)()>(&LasFile::getLoadErrorString);
    has<Number (LasFile::*)() const>(&LasFile::getBufSize);
    has<const stLasFileHeadDesc *(LasFile::*)() const>(&LasFile::getFileHeadDescription);
    has<const stLasFileHead_ver_1_2 *(LasFile::*)() const>(&LasFile::getFileHead_ver_1_2);
    has<const stLasFileHead_ver_1_3 *(LasFile::*)() const>(&LasFile::getFileHead_ver_1_3);
    has<Byte (LasFile::*)() const>(&LasFile::getFormat);
    has<Byte (LasFile::*)() const>(&LasFile::getPointDataFormat);
    has<Number (LasFile::*)() const>(&LasFile::getNumberOfVariableLengthRecords);
    has<const stLasFileVariableLengthHead *(LasFile::*)(Number) const>(&LasFile::variableLenHead);
    has<Window<stLasRecord_fmt_0>>(&LasFile::getPointDatas_fmt_0);
    has<Window<stLasRecord_fmt_1>>(&LasFile::getPointDatas_fmt_1);
    has<Window<stLasRecord_fmt_2>>(&LasFile::getPointDatas_fmt_2);
    has<Window<stLasRecord_fmt_3>>(&LasFile::getPointDatas_fmt_3);
    has<Window<stLasRecord_fmt_4>>(&LasFile::getPointDatas_fmt_4);
    has<Window<stLasRecord_fmt_5>>(&LasFile::getPointDatas_fmt_5);
    has<void (LasFile::*)(Number, Number, float *, float *, Word *, Byte *, Byte *, Byte *, Byte *, Byte *, Byte *,
                          Byte *, Word *, double *, Byte *, quint64 *, Number *, float *, float *) const>(
        &LasFile::readPointData);
}

} // namespace names
