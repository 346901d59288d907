#pragma once

#include "LasRecords.h"

#include <QtGlobal>

/// A survey that never took place: rolling ground with buildings and trees, seen from an aeroplane in parallel strips.
///
/// Every point is a function of its index alone, so that any order and any number can be had without memory.
/// Coordinates are thousandths of a metre near 1000 m, intensities, colours, returns, classes (2 ground, 5 vegetation,
/// 6 building) and GPS times belong together. The same number of points and of the survey give the same points again.
class DemoSurvey
{
public:
    /// @param number  one survey among many
    DemoSurvey(quint32 pointCount, quint32 number);

    /// Edge of the square that was flown over, in metres; about eight points fall on each square metre.
    double edge() const { return m_edge; }

    /// Point `index` in flight order; formats with fewer fields take what they have.
    stLasRecord_fmt_5 point(quint32 index) const;

private:
    /// What the laser meets above a place.
    struct Surface
    {
        double height;
        quint8 classification;
        quint16 red;
        quint16 green;
        quint16 blue;
        quint16 intensity;
        bool isCrown; ///< lets part of the light through to the ground
    };

    double noise(double x, double y) const;
    double groundAt(double x, double y) const;
    Surface groundSurface(double x, double y) const;
    Surface surfaceAt(double x, double y) const;
    bool buildingAt(double x, double y, Surface &surface) const;
    bool treeAt(double x, double y, Surface &surface) const;

    quint32 m_pointCount;
    quint64 m_number;
    double m_edge;
    quint32 m_strips;
};

/// Brings the numbers 0 to count - 1 into an order without any pattern, each once, without a table.
class Shuffle
{
public:
    Shuffle(quint32 count, quint32 number);
    quint32 operator()(quint32 index) const;

private:
    quint32 m_count;
    quint64 m_number;
    unsigned int m_halfBits;
};
