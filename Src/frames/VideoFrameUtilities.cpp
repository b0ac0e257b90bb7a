#include "frames/VideoFrameUtilities.h"

#include <cstddef>
#include <new>
#include <sstream>
#include <string>
#include <string_view>

#include "VideoFrame/FrameInterfaces.h"
#include "frames/Contract.h"

namespace VF {

namespace {

// Never destroyed: a host may dispose of handles while the process ends. In a place of its own,
// since the last stop must not fail for want of memory.
template <class Map>
Map& TheMap() {
    alignas(Map) static std::byte place[sizeof(Map)];
    static Map& map = *new (place) Map;
    return map;
}

}  // namespace

FrameMap<TPixHand>& TPixFrameMap() {
    return TheMap<FrameMap<TPixHand>>();
}

FrameMap<GF_Pixel*>& EffectWorldFrameMap() {
    return TheMap<FrameMap<GF_Pixel*>>();
}

void RegisterTPixFrame(TPixHand inHandle, const Brix::InterfaceRef<Brix::BrixUnknown>& inFrame) {
    Require(static_cast<bool>(inFrame), "videoFrame != 0", "VideoFrameUtilities", 113);
    TPixFrameMap().Register(inHandle, inFrame);
}

void RegisterEffectWorldFrame(GF_Pixel* inWorld,
                              const Brix::InterfaceRef<Brix::BrixUnknown>& inFrame) {
    Require(static_cast<bool>(inFrame), "videoFrame != 0", "VideoFrameUtilities", 139);
    EffectWorldFrameMap().Register(inWorld, inFrame);
}

// ---------------------------------------------------------------------------------------------
// The leak report

namespace {

constexpr const char* kCategory = "TPix";

// One line of the report. Asking whether its category is on costs, so the answer is kept until
// some category is switched.
class TraceLine {
  public:
    void Write(std::string_view inMessage) {
        if (!IsOn()) return;
        std::ostringstream line;
        line << "<" << tulocore::threads::GetCurrentThreadID() << "> <" << kCategory << "> <0> "
             << inMessage << "\r\n";
        tulocore::debug::Trace(line.str().c_str());
    }

  private:
    bool IsOn() {
        const int changeCount = tulocore::debug::TraceChangeCount();
        if (changeCount != seenChangeCount_) {
            seenChangeCount_ = changeCount;
            isOn_ = tulocore::debug::TraceEnabled(kCategory, 0, true);
        }
        return isOn_;
    }

    int seenChangeCount_ = -1;
    bool isOn_ = false;
};

void ReportTPixFrame(TPixHand inHandle, const Brix::InterfaceRef<Brix::BrixUnknown>& inFrame) {
    const auto memory = Brix::QueryInterface<IVideoFrameMemoryAccess>(inFrame);
    if (!memory) return;
    std::ostringstream message;
    message << "<Leaked Video frame,0x" << std::hex << reinterpret_cast<std::uintptr_t>(inHandle)
            << std::dec << "> ";
    if (const auto rows = Brix::QueryInterface<IVideoFrame2DPixelMemoryAccess>(memory)) {
        static TraceLine rowsLine;
        message << "row bytes:" << rows->GetRowBytes() << ", data size:" << memory->GetDataSize();
        rowsLine.Write(message.view());
    } else {
        static TraceLine bytesLine;
        message << "data size:" << memory->GetDataSize();
        bytesLine.Write(message.view());
    }
}

}  // namespace

void ReportAndForgetLeaks() {
    if (auto& frames = TPixFrameMap().Frames(); !frames.empty()) {
        static TraceLine countLine;
        countLine.Write(std::to_string(frames.size()) + " TPix frames were leaked at shutdown!");
        for (const auto& [handle, frame] : frames)
            ReportTPixFrame(handle, frame);
        frames.clear();
    }
    if (auto& frames = EffectWorldFrameMap().Frames(); !frames.empty()) {
        static TraceLine worldsLine;
        worldsLine.Write(std::to_string(frames.size()) + " GFWorlds were leaked at shutdown!");
        frames.clear();
    }
}

}  // namespace VF
