#include "frames/VideoFrameUtilities.h"

#include <charconv>
#include <string>

#include "VideoFrame/FrameInterfaces.h"
#include "frames/Contract.h"

namespace VF {

FrameMap<TPixHand>& TPixFrameMap() {
    // Never destroyed: a host may dispose of handles while the process ends.
    static auto& map = *new FrameMap<TPixHand>;
    return map;
}

FrameMap<GF_Pixel*>& EffectWorldFrameMap() {
    static auto& map = *new FrameMap<GF_Pixel*>;
    return map;
}

namespace {

template <class Key>
void Register(FrameMap<Key>& inMap, Key inKey, Brix::InterfaceRef<Brix::BrixUnknown> inFrame) {
    // What stood there before is let go with inFrame, after the lock: its end is its own business.
    const Brix::CriticalSectionLock lock(inMap.lock);
    Brix::InterfaceRef<Brix::BrixUnknown>& registered = inMap.frames[inKey];
    std::swap(registered, inFrame);
}

}  // namespace

void RegisterTPixFrame(TPixHand inHandle, const Brix::InterfaceRef<Brix::BrixUnknown>& inFrame) {
    Require(static_cast<bool>(inFrame), "videoFrame != 0", "VideoFrameUtilities", 113);
    Register(TPixFrameMap(), inHandle, inFrame);
}

void RegisterEffectWorldFrame(GF_Pixel* inWorld,
                              const Brix::InterfaceRef<Brix::BrixUnknown>& inFrame) {
    Require(static_cast<bool>(inFrame), "videoFrame != 0", "VideoFrameUtilities", 139);
    Register(EffectWorldFrameMap(), inWorld, inFrame);
}

// ---------------------------------------------------------------------------------------------
// The leak report

namespace {

constexpr const char* kCategory = "TPix";

// One line of the report. Asking whether its category is on costs, so the answer is kept until
// some category is switched.
class TraceLine {
  public:
    void Write(const std::string& inMessage) {
        if (!IsOn()) return;
        const std::string line = "<" + std::to_string(tulocore::threads::GetCurrentThreadID()) +
                                 "> <" + kCategory + "> <0> " + inMessage + "\r\n";
        tulocore::debug::Trace(line.c_str());
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

std::string Hexadecimal(const void* inAddress) {
    char digits[2 * sizeof(std::uintptr_t)];
    const auto end = std::to_chars(std::begin(digits), std::end(digits),
                                   reinterpret_cast<std::uintptr_t>(inAddress), 16);
    return {digits, end.ptr};
}

void ReportTPixFrame(TPixHand inHandle, const Brix::InterfaceRef<Brix::BrixUnknown>& inFrame) {
    const auto memory = Brix::QueryInterface<IVideoFrameMemoryAccess>(inFrame);
    if (!memory) return;
    const std::string frame = "<Leaked Video frame,0x" + Hexadecimal(inHandle) + ">";
    const std::string dataSize = "data size:" + std::to_string(memory->GetDataSize());
    if (const auto rows = Brix::QueryInterface<IVideoFrame2DPixelMemoryAccess>(memory)) {
        static TraceLine rowsLine;
        rowsLine.Write(frame + " row bytes:" + std::to_string(rows->GetRowBytes()) + ", " +
                       dataSize);
    } else {
        static TraceLine bytesLine;
        bytesLine.Write(frame + " " + dataSize);
    }
}

}  // namespace

void ReportAndForgetLeaks() {
    if (auto& frames = TPixFrameMap().frames; !frames.empty()) {
        static TraceLine countLine;
        countLine.Write(std::to_string(frames.size()) + " TPix frames were leaked at shutdown!");
        for (const auto& [handle, frame] : frames)
            ReportTPixFrame(handle, frame);
        frames.clear();
    }
    if (auto& frames = EffectWorldFrameMap().frames; !frames.empty()) {
        static TraceLine worldsLine;
        worldsLine.Write(std::to_string(frames.size()) + " GFWorlds were leaked at shutdown!");
        frames.clear();
    }
}

}  // namespace VF
