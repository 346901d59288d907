#pragma once

#include "pcVec.h"

/// Looks at space without perspective, from the south or from above. Lengths across the picture are true.
///
/// It turns positions into places: x to the right, y upwards in the picture and z towards the eye, all in position
/// units.
class Camera
{
public:
    enum View { Top, Oblique };

    /// @param exaggeration  by which heights are multiplied
    Camera(View view, double exaggeration);

    /// How long a length on the ground from north to south looks, as a share of its own.
    double foreshortening() const { return m_sine; }
    ptCloud::pcVec3d place(const ptCloud::pcVec3d &position) const;
    /// How bright a surface lies in the light that falls from the north-west, 45 degrees above the ground: 0 where it
    /// is turned away, 1 where it faces the light. `normal` is one of places, of any length but 0.
    double brightness(const ptCloud::pcVec3d &normal) const;

private:
    double m_sine; ///< of the angle between the ground and the way that the eye looks
    double m_cosine;
    double m_exaggeration;
};
