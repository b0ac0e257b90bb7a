// The library that declares the framework's frame interfaces, and the media manager, which decides
// what caches keep.
#pragma once

#include <cstdint>

#include "BrixFoundation.h"
#include "TuloCore.h"
#include "TuloMediaTypes.h"

namespace OV {

using tulomediatypes::kPixelFormat_BGRA_4444_16u;
using tulomediatypes::kPixelFormat_BGRA_4444_32f;
using tulomediatypes::kPixelFormat_BGRA_4444_8u;
using tulomediatypes::kPixelFormat_Invalid;
using tulomediatypes::kPixelFormat_NTSCDV25;
using tulomediatypes::kPixelFormat_NTSCDV50;
using tulomediatypes::kPixelFormat_PALDV25;
using tulomediatypes::kPixelFormat_PALDV50;
using tulomediatypes::kPixelFormat_VUYA_4444_16u;
using tulomediatypes::kPixelFormat_VUYA_4444_32f;
using tulomediatypes::kPixelFormat_VUYA_4444_32f_709;
using tulomediatypes::kPixelFormat_VUYA_4444_8u;
using tulomediatypes::kPixelFormat_VUYA_4444_8u_709;

inline constexpr auto kPixelFormat_NTSCDV100_720p = tulomediatypes::kPixelFormat_NTSC_DV100_720p;
inline constexpr auto kPixelFormat_PALDV100_720p = tulomediatypes::kPixelFormat_PAL_DV100_720p;
inline constexpr auto kPixelFormat_NTSCDV100_1080i = tulomediatypes::kPixelFormat_NTSC_DV100_1080i;
inline constexpr auto kPixelFormat_PALDV100_1080i = tulomediatypes::kPixelFormat_PAL_DV100_1080i;

/// A position in pixels, x to the right and y downwards.
struct Point {
    std::int32_t x = 0;
    std::int32_t y = 0;

    friend constexpr bool operator==(const Point&, const Point&) = default;
};

/// Three words that travel with a frame without being looked at.
struct AuxiliaryInfo {
    std::uint32_t first = 0;
    std::uint32_t second = 0;
    std::uint32_t third = 0;

    friend constexpr bool operator==(const AuxiliaryInfo&, const AuxiliaryInfo&) = default;
};

/// Properties of a frame. Rectangles are in display coordinates: (0, 0) is the top left pixel.
/// A setter on a frame that cannot be written raises an input contract violation, unless it says
/// otherwise. Each operation is named with its position in the table.
class IVideoFrame : public Brix::BrixUnknown {
  public:
    static constexpr tulocore::utility::Guid kInterfaceId{"5A2A4FE9-EE01-4438-8F14-AA8946104D5F"};

    /// 4. (0, 0, width, height).
    virtual Brix::Rect GetBounds() = 0;
    /// 5. Whether the frame's data can be read at exactly this rectangle without resampling.
    virtual bool IsRectNative(const Brix::Rect& inRect) = 0;
    /// 6. and 7.
    virtual tulomediatypes::PixelAspectRatio GetPixelAspectRatio() = 0;
    virtual void SetPixelAspectRatio(tulomediatypes::PixelAspectRatio inRatio) = 0;
    /// 8.
    virtual tulomediatypes::PixelFormat GetPixelType() = 0;
    /// 9. and 10.
    virtual bool GetReadOnly() = 0;
    virtual void SetReadOnly(bool inReadOnly) = 0;
    /// 11. and 12.
    virtual tulomediatypes::FieldType GetFieldType() = 0;
    virtual void SetFieldType(tulomediatypes::FieldType inFieldType) = 0;
    /// 13. and 14. 1 straight, 2 premultiplied, 3 opaque.
    virtual std::uint32_t GetAlphaType() = 0;
    virtual void SetAlphaType(std::uint32_t inAlphaType) = 0;
    /// 15. Whether the format holds alpha and the alpha type lets it count.
    virtual bool HasAlphaChannel() = 0;
    /// 16. and 17. Where the picture lies in a larger one; (-1, -1) when unset.
    virtual Point GetOrigin() = 0;
    virtual void SetOrigin(std::int32_t inX, std::int32_t inY) = 0;
    /// 18. and 19. The part of the frame that holds picture.
    virtual Brix::Rect GetContentRect() = 0;
    virtual void SetContentRect(const Brix::Rect& inRect) = 0;
    /// 20. and 21.
    virtual AuxiliaryInfo GetAuxiliaryInfo() = 0;
    virtual void SetAuxiliaryInfo(AuxiliaryInfo inInfo) = 0;
    /// 22. and 23. What rendering the frame cost; setting it on a read-only frame does nothing.
    virtual std::uint32_t GetRenderTime() = 0;
    virtual void SetRenderTime(std::uint32_t inRenderTime) = 0;
    /// 24. A new frame with the same properties and pixels of its own, not copied; null when it
    /// cannot be made.
    virtual Brix::InterfaceRef<IVideoFrame> Duplicate() = 0;
    /// 25., 26. and 27. The part of the frame that holds valid data. The getter returns whether
    /// the rectangle was set; the reset sets it to the bounds.
    virtual bool GetDataRect(Brix::Rect& outRect) = 0;
    virtual void SetDataRect(const Brix::Rect& inRect) = 0;
    virtual void ResetDataRect() = 0;

  protected:
    ~IVideoFrame() = default;
};

/// Fills of a whole frame; each returns 0, or -1 when the frame's format cannot be filled.
class IVideoFrameClearable : public Brix::BrixUnknown {
  public:
    static constexpr tulocore::utility::Guid kInterfaceId{"A1489635-6B6B-47A6-8FB6-576F3E25BE56"};

    virtual std::int32_t FillWithOpaqueBlack() = 0;       ///< 4.
    virtual std::int32_t FillWithOpaqueWhite() = 0;       ///< 5.
    virtual std::int32_t FillWithTransparentBlack() = 0;  ///< 6.
    virtual std::int32_t FillWithTransparentWhite() = 0;  ///< 7.

  protected:
    ~IVideoFrameClearable() = default;
};

// ---------------------------------------------------------------------------------------------
// The media manager

/// What a cache gives the media manager: the way back to it.
class IMediaMap : public Brix::BrixUnknown {
  public:
    /// 4. Drops the item, if it is still there. May come from any thread, also from inside a call
    /// to the manager on the same thread; the manager holds no lock of its own meanwhile.
    virtual void FlushItem(std::uint64_t inItem) = 0;
    /// 5. The Guid that the manager gave the map.
    virtual tulocore::utility::Guid GetMapGuid() = 0;
    /// 6.
    virtual Brix::InterfaceRef<IMediaMap> GetReference() = 0;

  protected:
    ~IMediaMap() = default;
};

/// Keeps caches within a budget of bytes: items are counted with their sizes, and while more than
/// the budget is used, the least recently used one is dropped from the books and flushed. Bytes
/// that maps retain outside their items count as used.
///
/// An item is known by its map and its number. Any thread may call any operation, with locks of its
/// own held where that is said. A null map raises Brix::NullInterfaceException.
class IMediaManager : public Brix::BrixUnknown {
  public:
    /// 4. A new Guid for a map.
    virtual void GetMapGuid(tulocore::utility::Guid& outMap) = 0;
    /// 5. Counts an item as just used; one that is known already is counted anew. When the budget
    /// is passed, other items are flushed; this one stays, whatever its size. Items of the same map
    /// are flushed by the calling thread, which may hold the map's lock if that is re-entrant;
    /// items of other maps from the main thread. This manager makes no difference between values
    /// of inManagerValue, nor between frames that can be published and others.
    virtual void AddItem(std::uint64_t inItem, std::uint64_t inSize, std::uint32_t inManagerValue,
                         bool inIsPublishable, const Brix::InterfaceRef<IMediaMap>& inMap) = 0;
    /// 6. Counts the item as just used. An unknown one is ignored. May be called under the map's
    /// lock.
    virtual void UseItem(std::uint64_t inItem, const Brix::InterfaceRef<IMediaMap>& inMap) = 0;
    /// 7. Takes the item from the books without flushing it. An unknown one is ignored. May be
    /// called under the map's lock.
    virtual void RemoveItem(std::uint64_t inItem, const Brix::InterfaceRef<IMediaMap>& inMap) = 0;
    /// 8. and 9. The budget in bytes, 512 MiB at first. The setter flushes what is beyond it from
    /// the calling thread, which must hold no map's lock.
    virtual void SetBudget(std::uint64_t inBytes) = 0;
    virtual std::uint64_t GetBudget() = 0;
    /// 10. Bytes of all items and all bytes retained outside items, at the moment.
    virtual std::uint64_t GetUsedBytes() = 0;
    /// 11. What the map retains outside its items from now on. When that is more than before and
    /// the budget is passed, items are flushed by the calling thread, which must hold no map's
    /// lock then.
    virtual void SetRetainedBytes(const tulocore::utility::Guid& inMap, std::uint64_t inBytes) = 0;
    /// 12. Flushes every item, from the calling thread, which must hold no map's lock.
    virtual void Purge() = 0;

  protected:
    ~IMediaManager() = default;
};

/// The media manager of the process.
SIBLING_API Brix::InterfaceRef<IMediaManager> GetMediaManager();

/// For hosts: puts another manager in its place, or none, and returns the one before. Maps that
/// exist stay with the manager they began with.
SIBLING_API Brix::InterfaceRef<IMediaManager> SetMediaManager(
    Brix::InterfaceRef<IMediaManager> inManager);

}  // namespace OV
