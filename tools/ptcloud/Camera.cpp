#include "Camera.h"

#include <algorithm>
#include <cmath>

using namespace ptCloud;

namespace
{

constexpr double obliqueSine = 0.573576436351046; // 35 degrees
constexpr double obliqueCosine = 0.819152044288992;

} // namespace

Camera::Camera(View view, double exaggeration)
    : m_sine(view == Top ? 1.0 : obliqueSine), m_cosine(view == Top ? 0.0 : obliqueCosine), m_exaggeration(exaggeration)
{}

pcVec3d Camera::place(const pcVec3d &position) const
{
    const double height = position.z() * m_exaggeration;
    return {position.x(), position.y() * m_sine + height * m_cosine, height * m_sine - position.y() * m_cosine};
}

double Camera::brightness(const pcVec3d &normal) const
{
    const pcVec3d toLight(-0.5, 0.5, std::sqrt(0.5));
    const pcVec3d inSpace(normal.x(), normal.y() * m_sine - normal.z() * m_cosine,
                          normal.y() * m_cosine + normal.z() * m_sine);
    return std::max(0.0, inSpace * toLight / inSpace.length());
}
