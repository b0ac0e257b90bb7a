// The interfaces through which a frame's memory is reached. OV::IVideoFrame and
// OV::IVideoFrameClearable, which come with them, are declared in contracts/Orvane.h.
//
// Memory rows run bottom-up: memory row m of a frame H rows high is display row H - 1 - m, where
// display row 0 is the top. Pointers and row bytes here are those of memory rows.
#pragma once

#include <cstdint>

#include "contracts/Orvane.h"

namespace VF {

using VideoFrameRef = Brix::InterfaceRef<OV::IVideoFrame>;

/// A frame's bytes. Every frame of the library carries it.
class IVideoFrameMemoryAccess : public Brix::BrixUnknown {
  public:
    static constexpr tulocore::utility::Guid kInterfaceId{"58D1D4D6-E9FB-4FE0-A8BC-3A3C7634EB3B"};

    /// 4. The first pixel of memory row 0. Writable when the frame is not read-only; otherwise
    /// nothing may be written through it.
    virtual void* GetData() = 0;
    /// 5. Bytes of the tight picture; of a custom format, all bytes behind the frame header.
    virtual std::uint64_t GetDataSize() = 0;
    /// 6. Bytes of the frame's whole buffer, header and alignment included.
    virtual std::uint64_t GetAllocatedSize() = 0;

  protected:
    ~IVideoFrameMemoryAccess() = default;
};

/// A frame's rows. Carried by frames whose rows can be addressed, custom formats excepted.
class IVideoFrame2DPixelMemoryAccess : public Brix::BrixUnknown {
  public:
    static constexpr tulocore::utility::Guid kInterfaceId{"282D21CF-D8DA-4E4F-82BE-6E9C176CA796"};

    /// 4. Bytes from one pixel to the next; half a unit for 4:2:2; 0 where there is no such number.
    virtual std::uint32_t GetPixelSize() = 0;
    /// 5. Bytes from one memory row to the next.
    virtual std::uint32_t GetRowBytes() = 0;
    /// 6. and 7. The first pixel of the first memory row of a field. Raise an input contract
    /// violation when the format's rows cannot be addressed.
    virtual void* GetField0Data() = 0;
    virtual void* GetField1Data() = 0;
    /// 8. Bytes from one memory row of a field to its next: twice GetRowBytes.
    virtual std::uint32_t GetFieldRowBytes() = 0;
    /// 9. The first memory row, 0 or 1, of field 0 or 1; its others follow in steps of two.
    virtual std::uint32_t GetFieldFirstRow(std::uint32_t inField) = 0;

  protected:
    ~IVideoFrame2DPixelMemoryAccess() = default;
};

/// A frame whose own buffer is memory that other processes can be shown.
class IPublishableVideoFrame : public Brix::BrixUnknown {
  public:
    static constexpr tulocore::utility::Guid kInterfaceId{"3807D999-2D17-4C49-9BC3-41051EBEC079"};

    /// 4. Makes the frame's buffer available to other processes under the Guid, without a copy.
    /// The frame is read-only from then on. 0, or kGeneralFailure with nothing published.
    virtual std::int32_t Publish(const tulocore::utility::Guid& inGuid) = 0;

  protected:
    ~IPublishableVideoFrame() = default;
};

}  // namespace VF
