// What libFuzzer calls.
#include "VideoFrame/VideoFrame.h"
#include "fuzz/Input.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    VF::Initialize();
    // Who breaks a contract is told so, quietly.
    tulocore::debug::SetContractHandler([](const auto&) { return false; });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    try {
        fuzz::Run({inData, inSize});
    } catch (const tulocore::config::Error&) {
    } catch (const Brix::Exception&) {
    }
    return 0;
}
