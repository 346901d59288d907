#pragma once

#include "PictureFrame.h"

#include "stPtCloud_PointArray.h"

#include <QList>

#include <array>
#include <memory>
#include <string>
#include <vector>

/// A place to be coloured: in a triangle of a block, or one of its points, which is all three corners then.
struct Place
{
    const ptCloud::stPtCloud_PointArray &block;
    int key; ///< of the block
    std::array<unsigned int, 3> corners;
    std::array<double, 3> weights = {1, 0, 0}; ///< of the corners; their sum is 1
};

/// What the colours of a picture show. It sees all that will be drawn first, and gives the colours then.
class Colouring
{
public:
    virtual ~Colouring() = default;

    /// The column that it takes.
    virtual ptCloud::EDataSetColumn column() const { return ptCloud::EDataSetColumn_Position; }
    virtual void see(const ptCloud::stPtCloud_PointArray &, unsigned int) {}
    /// All has been seen.
    virtual void settle() {}
    virtual QRgb color(const Place &place) const = 0;
    virtual Legend legend() const = 0;
    /// How much of light and shade points take, 0 to 1. Surfaces always take some.
    virtual double lightOnPoints() const { return 0; }
};

/// "height", "colour", "classification", "block", "intensity" and "hillshade".
std::vector<std::string> colouringNames();
/// @param name  one of those
/// @param keys  of the blocks that the picture will show
std::unique_ptr<Colouring> makeColouring(const std::string &name, const QList<int> &keys);
