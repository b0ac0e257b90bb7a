#include "VideoFrame/Lifecycle.h"

#include <cstdint>
#include <type_traits>

#include "contracts/BrixFoundation.h"
#include "contracts/Pellux.h"
#include "contracts/Scanvo.h"
#include "frames/VideoFrameUtilities.h"
#include "raster/BaseSuite.h"
#include "sharing/SharedVideoFrameCache.h"

namespace VF {
namespace {

struct Library {
    Brix::CriticalSection lock;
    std::uint32_t startCount = 0;  // starts not yet matched by a stop; wraps
};

// Without a destructor: a host may stop the library while the process ends.
Library& State() {
    static_assert(std::is_trivially_destructible_v<Library>);
    static Library library;
    return library;
}

void StopServices() {
    SV_Terminate();
    Brix::Foundation::Terminate();
}

void StartOnce() {
    // Without the service no frame can be shared; everything else works.
    processcoordination::InitializeClient();
    SetCurrentSuite();
    try {
        SharedVideoFrameCache::CreateCache();
    } catch (...) {
        processcoordination::UninitializeClient();
        StopServices();
        throw;
    }
}

void StopOnce() {
    ReportAndForgetLeaks();
    SharedVideoFrameCache::DestroyCache();
    processcoordination::UninitializeClient();
}

}  // namespace

void Initialize() {
    Brix::Foundation::Initialize();
    SV_Initialize();
    Library& library = State();
    const Brix::CriticalSectionLock lock(library.lock);
    if (library.startCount == 0) StartOnce();
    ++library.startCount;
}

void Shutdown() {
    Library& library = State();
    const Brix::CriticalSectionLock lock(library.lock);
    if (library.startCount-- == 1) StopOnce();
    StopServices();
}

}  // namespace VF
