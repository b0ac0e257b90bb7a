// A media manager that notes its calls and flushes what a test tells it to.
#pragma once

#include "contracts/Orvane.h"
#include "support/Testing.h"

namespace support {

/// Stands in for the process's media manager while it lives. Calls are noted one word each: "4",
/// "5:item/value", "6:item", "7:item", "r:bytes",
/// these in sizes of the item that was added last.
class RecordingMediaManager final : public OV::IMediaManager {
  public:
    using MapRef = Brix::InterfaceRef<OV::IMediaMap>;

    RecordingMediaManager()
        : before_(OV::SetMediaManager(Brix::InterfaceRef<OV::IMediaManager>(this))) {}
    ~RecordingMediaManager() { OV::SetMediaManager(before_); }

    std::string TakeCalls() { return std::exchange(calls, {}); }

    // It lives on the stack of a test, whatever its count.
    void AddRef() override { ++references; }
    void Release() override { --references; }
    void Destroy() override {}
    std::int32_t QueryInterface(const tulocore::utility::Guid&, void**) override { return -1; }

    void GetMapGuid(tulocore::utility::Guid& outMap) override {
        Note("4");
        mapGuid = outMap = tulocore::utility::Guid::Generate();
    }
    void AddItem(std::uint64_t inItem, std::uint64_t inSize, std::uint32_t inValue,
                 bool inIsPublishable, const MapRef& inMap) override {
        Note("5:" + std::to_string(inItem) + "/" + std::to_string(inValue));
        map = inMap;
        size = inSize;
        isPublishable = inIsPublishable;
        if (flushDuringCalls) inMap->FlushItem(inItem);
    }
    void UseItem(std::uint64_t inItem, const MapRef& inMap) override {
        Note("6:" + std::to_string(inItem));
        if (flushDuringCalls) inMap->FlushItem(inItem);
    }
    void RemoveItem(std::uint64_t inItem, const MapRef&) override {
        Note("7:" + std::to_string(inItem));
    }
    void SetRetainedBytes(const tulocore::utility::Guid& inMap, std::uint64_t inBytes) override {
        Note((inMap == mapGuid ? "r:" : "foreign:") + std::to_string(inBytes / size) +
             (inBytes % size == 0 ? "" : "..."));
    }
    void SetBudget(std::uint64_t) override {}
    std::uint64_t GetBudget() override { return 0; }
    std::uint64_t GetUsedBytes() override { return 0; }
    void Purge() override {}

    int references = 0;
    std::string calls;
    std::function<void(const std::string&)> onCall;
    bool flushDuringCalls = false;
    // Of the last calls.
    tulocore::utility::Guid mapGuid;
    MapRef map;
    std::uint64_t size = 1;
    bool isPublishable = false;

  private:
    void Note(const std::string& inCall) {
        calls += (calls.empty() ? "" : " ") + inCall;
        if (onCall) onCall(inCall);
    }

    Brix::InterfaceRef<OV::IMediaManager> before_;
};

}  // namespace support
