// Another way to ask for rows.
#pragma once

#include <cstdint>

#include "contracts/BrixFoundation.h"

namespace VF {

/// Carried by frames that other libraries make, some of which have no two-dimensional view; no frame
/// of this library carries it. So it belongs into no anonymous namespace: of an interface there, a
/// compiler takes it that nobody implements it.
class IVideoFrameRowGeometry : public Brix::BrixUnknown {
  public:
    static constexpr tulocore::utility::Guid kInterfaceId{"5097294E-2EFF-4C04-8861-CC393A73BC5C"};

    virtual std::uint32_t GetPixelSize() = 0;  ///< 4. Bytes.
    virtual std::uint32_t GetRowBytes() = 0;   ///< 5. A signed number, like that of the other view.

  protected:
    ~IVideoFrameRowGeometry() = default;
};

}  // namespace VF
