#pragma once

#include "ContourFile.h"
#include "LasWriter.h"

#include <QtGlobal>

#include <vector>

namespace crash
{

/// Points that tell where they come from: all fields of a point follow from the number of its survey and its own number
/// in it. So whoever reads a file of points can tell which they are, and whether one of them is not as it was made.
struct SurveyPoint
{
    qint32 x = 0; ///< thousandths, like y and z: whole eighths of a unit, which a float holds exactly
    qint32 y = 0;
    qint32 z = 0;
    quint16 intensity = 0;
    quint16 survey = 0; ///< kept as the point source id
    double number = 0;  ///< kept as the time
};

constexpr qint32 surveyEdge = 4000000; ///< thousandths: points lie between 0 and here in x and y
/// Columns of every file of points, by their stored numbers: position, intensity, point source id, time.
constexpr quint32 surveyColumns[] = {0, 4, 12, 13};
constexpr int lasSurveys = 6; ///< surveys 1 to 6 are LAS files, others are made in memory

/// A square of the volume list, by the number in its name.
struct DrawnArea
{
    float x;
    float y;
    float edge;
    float gridSize;
    float ground;
};

inline int surveySize(int survey)
{
    return 150 + survey * 389 % 2000;
}

inline SurveyPoint surveyPoint(int survey, int number)
{
    const auto eighths = [](qint64 value, qint64 limit) { return static_cast<qint32>(125 * (1 + value % limit)); };
    SurveyPoint point;
    point.x = eighths(survey * 7919LL + number * 104729LL, surveyEdge / 125 - 1);
    point.y = eighths(survey * 6007LL + number * 15485863LL, surveyEdge / 125 - 1);
    point.z = eighths(survey * 31LL + number * 17LL, 800);
    point.intensity = static_cast<quint16>(survey * 251 + number * 13);
    point.survey = static_cast<quint16>(survey);
    point.number = number;
    return point;
}

/// A point by one number, which orders points and is all that the model keeps of them.
inline quint32 pointToken(int survey, int number)
{
    return static_cast<quint32>(survey) << 16 | static_cast<quint32>(number);
}
inline int surveyOf(quint32 token)
{
    return static_cast<int>(token >> 16);
}
inline int numberOf(quint32 token)
{
    return static_cast<int>(token & 0xffffU);
}

/// Whether an edit that takes away one of four parts takes this point.
inline bool isInPart(int number, int part)
{
    return number % 4 == part;
}

inline QString lasName(int survey)
{
    return QStringLiteral("%1.las").arg(survey);
}

inline support::LasWriter surveyLas(int survey)
{
    support::LasWriter writer;
    writer.format = 1;
    writer.hasBounds = true; // the same for all, so that a build from several drops no point; wide, for few blocks
    writer.maximum = {8.0 * surveyEdge / 1000.0, 8.0 * surveyEdge / 1000.0, 200.0};
    for (int number = 0; number < surveySize(survey); ++number) {
        const SurveyPoint from = surveyPoint(survey, number);
        support::LasPoint point;
        point.x = from.x;
        point.y = from.y;
        point.z = from.z;
        point.intensity = from.intensity;
        point.pointSourceId = from.survey;
        point.gpsTime = from.number;
        writer.points.push_back(point);
    }
    return writer;
}

inline DrawnArea drawnArea(int number)
{
    const auto place = static_cast<float>(number);
    return {400.0F * place, 300.0F * place, 1000.0F, 125.0F, 20.0F + place};
}

/// Contours of a drawing of that number: two groups, some kilobytes.
inline support::ContourFile drawnContours(int number)
{
    support::ContourFile file;
    for (int group = 0; group < 2; ++group) {
        for (int height = 0; height < 3; ++height) {
            support::ContourFile::Height entry;
            entry.height = number + height + 0.5 * group;
            std::vector<std::pair<double, double>> points;
            for (int at = 0; at < 40 + number; ++at)
                points.emplace_back(at * 0.25 + height, number - at * 0.5);
            entry.lines = {support::contourLine(points), support::contourLine({{1.0, number}, {2.0, 3.0}})};
            file.groups[group].heights.push_back(entry);
        }
    }
    return file;
}

} // namespace crash
