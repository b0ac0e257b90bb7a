// What the hand-made rows between 8- and 10-bit formats have in common: see ColourRows.h.
#pragma once

#include <algorithm>
#include <span>

#include "fast/ColourRows.h"

namespace scanvo {

enum class Shape { None, Bgra, Argb, Vuya, Uyvy, Yuyv, V210 };

/// The rows from one shape to another by matrix: that of the source where it has one. Or from one
/// matrix to the other, where they change it.
struct ColourRoad {
    Shape source, destination;
    bool keepsAlpha;
    ConvertRow bt601, bt709;
    bool changesMatrix = false;
};

inline Shape ShapeOf(const Format& inFormat) {
    if (inFormat.layout == Layout::Packed422) {
        if (inFormat.component == Component::Unsigned10) return Shape::V210;
        return inFormat.isReversed ? Shape::Yuyv : Shape::Uyvy;
    }
    if (inFormat.layout != Layout::Packed4444 || inFormat.component != Component::Unsigned8) {
        return Shape::None;
    }
    if (inFormat.colour == Colour::YCbCr) return Shape::Vuya;
    return inFormat.isReversed ? Shape::Argb : Shape::Bgra;
}

inline bool ChangesMatrix(const Format& inSource, const Format& inDestination) {
    return inSource.colour == Colour::YCbCr && inDestination.colour == Colour::YCbCr &&
           inSource.matrix != inDestination.matrix;
}

inline ConvertRow FindIn(std::span<const ColourRoad> inRoads, const Format& inSource,
                         const Format& inDestination) {
    const bool keepsAlpha = HasAlpha(inSource) && HasAlpha(inDestination);
    const bool changesMatrix = ChangesMatrix(inSource, inDestination);
    const Shape source = ShapeOf(inSource);
    const Shape destination = ShapeOf(inDestination);
    const auto road = std::find_if(inRoads.begin(), inRoads.end(), [&](const ColourRoad& each) {
        return each.source == source && each.destination == destination &&
               each.keepsAlpha == keepsAlpha && each.changesMatrix == changesMatrix;
    });
    if (road == inRoads.end()) return nullptr;
    const Format& withMatrix = inSource.colour == Colour::YCbCr ? inSource : inDestination;
    return withMatrix.matrix == Matrix::Bt709 ? road->bt709 : road->bt601;
}

/// Roads to half chroma and 8-bit Y'CbCr, and those to what has full chroma; null when there is
/// none.
ConvertRow FindPackingRow(const Format& inSource, const Format& inDestination);
ConvertRow FindSpreadingRow(const Format& inSource, const Format& inDestination);

}  // namespace scanvo
