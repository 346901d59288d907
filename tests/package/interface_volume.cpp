// Prisms, areas and the list of areas.

#include "interface.h"

#include <points_cloud.h>

#include <QDir>

using namespace ptCloud;

namespace names
{

using D = double;

/// What both prisms have beside their fields.
template <typename Prism>
void anyPrism()
{
    static_assert(!std::is_polymorphic_v<Prism> && std::is_trivially_copyable_v<Prism>);
    constructs<Prism>();
    copiesAndMoves<Prism>();
    has<void (Prism::*)()>(&Prism::calcVolume);
    has<void (Prism::*)()>(&Prism::clear);
    has<bool (Prism::*)(QDataStream &)>(&Prism::load);
    has<void (Prism::*)(QDataStream &) const>(&Prism::save);
}

static void prism()
{
    static_assert(sizeof(stPrism) == 10 * sizeof(float) + 2 * sizeof(double));
    anyPrism<stPrism>();
    Fields<stPrism>()
        .has<float>(&stPrism::x1)
        .has<float>(&stPrism::y1)
        .has<float>(&stPrism::z1)
        .has<float>(&stPrism::x2)
        .has<float>(&stPrism::y2)
        .has<float>(&stPrism::z2)
        .has<float>(&stPrism::x3)
        .has<float>(&stPrism::y3)
        .has<float>(&stPrism::z3)
        .has<float>(&stPrism::groundZ)
        .has<double>(&stPrism::digVolume)
        .has<double>(&stPrism::fillVolume);
    has<D (*)(D, D, D, D, D, D)>(&stPrism::planeTriangleArea);
    has<D (*)(D, D, D, D, D, D, D)>(&stPrism::trianglePrismVolume);
    has<D (*)(D, D, D, D, D, D, D)>(&stPrism::trianglePyramidVolume);
    has<D (*)(D, D, D, D, D, D, D, D, D)>(&stPrism::threeDTriangleProjectionVolume);
    has<D (*)(D, D, D, D, D, D, D, D, D)>(&stPrism::threeDTriangleProjectionVolume_reverse);
    has<void (*)(D, D, D, D, D, D, D, D &, D &)>(&stPrism::posCutOnLine);
    has<void (*)(D, D, D, D, D, D, D, D, D, D &, D &, D &, D &, D &, D &, D &, D &)>(
        &stPrism::splitHorLineAndSinglePos);
    has<void (*)(D, D, D, D, D, D, D, D, D, D &, D &, D &, D &, D &, D &, D &, D &, D &)>(&stPrism::splitTopBottomPos);
    has<void (*)(D, D, D, D, D, D, D, D, D, D, D &, D &)>(&stPrism::trianglePrismVolume);
}

static void quadPrism()
{
    static_assert(sizeof(stQuadPrism) == 6 * sizeof(float) + 2 * sizeof(double));
    anyPrism<stQuadPrism>();
    Fields<stQuadPrism>()
        .has<float>(&stQuadPrism::xMin)
        .has<float>(&stQuadPrism::xMax)
        .has<float>(&stQuadPrism::yMin)
        .has<float>(&stQuadPrism::yMax)
        .has<float>(&stQuadPrism::groundZ)
        .has<float>(&stQuadPrism::topZ)
        .has<double>(&stQuadPrism::digVolume)
        .has<double>(&stQuadPrism::fillVolume);
}

static void area()
{
    using Area = VolumeCalcArea;

    constructs<Area>();
    copiesAndMoves<Area>();
    Fields<Area>()
        .has<int>(&Area::groundHeightType)
        .has<float>(&Area::groundHeight)
        .has<float>(&Area::maxHeight)
        .has<float>(&Area::gridSize)
        .has<QList<pcVec3f>>(&Area::boundary)
        .has<QList<stPrism>>(&Area::prisms)
        .has<QList<stQuadPrism>>(&Area::quadPrisms)
        .has<bool>(&Area::dtmCalculated)
        .has<bool>(&Area::gridCalculated);
    has<double (Area::*)() const>(&Area::getDigVolume_dtm);
    has<double (Area::*)() const>(&Area::getFillVolume_dtm);
    has<double (Area::*)() const>(&Area::getDigVolume_grid);
    has<double (Area::*)() const>(&Area::getFillVolume_grid);
    has<float (Area::*)() const>(&Area::getGroundHeightBoundaryAvg);
}

static void list()
{
    using List = VolumeCalcAreaList;
    using Areas = QMap<QString, VolumeCalcArea *>;
    using ConstAreas = QMap<QString, const VolumeCalcArea *>;

    hasValue(VolumeCalc_DTM, 0);
    hasValue(VolumeCalc_GRID, 1);
    static_assert(std::is_same_v<decltype(VolumeCalc_DTM), EVolumeCalcFunction>);

    constructs<List>();
    constructs<List, const List &>();
    has<List &(List::*)(const List &)>(&List::operator=);
    has<VolumeCalcArea *(List::*)(const QString &)>(&List::addArea);
    has<void (List::*)(const QString &)>(&List::removeArea);
    has<VolumeCalcArea *(List::*)(const QString &)>(&List::getArea);
    has<const VolumeCalcArea *(List::*)(const QString &) const>(&List::getArea);
    has<void (List::*)(Areas &)>(&List::getAreas);
    has<void (List::*)(ConstAreas &) const>(&List::getAreas);
    has<void (List::*)()>(&List::clear);
    has<bool (List::*)() const>(&List::isEmpty);
    has<void (List::*)(PtCloud_DataSetFile *)>(&List::setDTMFile);
    has<void (List::*)(PtCloud_DataSetFile *)>(&List::setGridFile);
    has<void (List::*)(QDir, const QString &) const>(&List::setFile);
    has<void (List::*)(const QString &)>(&List::rename);
    has<void (List::*)(List &, const QString &)>(&List::copyTo);
    has<bool (List::*)(EVolumeCalcFunction)>(&List::doCalc);
    has<bool (List::*)()>(&List::loadFromFile);
    has<bool (List::*)() const>(&List::saveToFile);
}

void volumes()
{
    prism();
    quadPrism();
    area();
    list();
}

} // namespace names
