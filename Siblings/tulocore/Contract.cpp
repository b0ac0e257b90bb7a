#include <csignal>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <utility>

#include "contracts/TuloCore.h"

namespace tulocore::debug {
namespace {

bool WriteToStandardError(const ContractReport& inReport) {
    std::fprintf(stderr, "%s(%d): contract violation: %s\n", inReport.file, inReport.line,
                 inReport.condition);
    return false;
}

struct HandlerSlot {
    std::mutex mutex;
    ContractHandler handler = WriteToStandardError;
};

// Never destroyed: contracts may be broken while the process ends.
HandlerSlot& Slot() {
    static HandlerSlot& slot = *new HandlerSlot;
    return slot;
}

}  // namespace

ContractHandler SetContractHandler(ContractHandler inHandler) {
    if (!inHandler) inHandler = WriteToStandardError;
    HandlerSlot& slot = Slot();
    const std::lock_guard lock(slot.mutex);
    return std::exchange(slot.handler, std::move(inHandler));
}

bool BreakAfterContractDialog(const char* inCondition, const char* inFile, int inLine) {
    ContractHandler handler;
    {
        HandlerSlot& slot = Slot();
        const std::lock_guard lock(slot.mutex);
        handler = slot.handler;
    }
    return handler({inCondition, inFile, inLine});
}

void BreakIntoDebugger() {
    std::raise(SIGTRAP);
}

}  // namespace tulocore::debug

namespace tulocore::config {

Error::Error(int inLevel, const char* inMessageKey, int inArea, int inNumber, bool inFlag,
             std::array<ReplacementValue, 4> inReplacements)
    : level(inLevel),
      messageKey(inMessageKey),
      area(inArea),
      number(inNumber),
      flag(inFlag),
      replacements(std::move(inReplacements)) {}

Error::Error(const Error&) = default;
Error::~Error() = default;

const char* Error::what() const noexcept {
    const char* equals = std::strchr(messageKey.c_str(), '=');
    return equals ? equals + 1 : messageKey.c_str();
}

void ThrowError(int inLevel, const char* inMessageKey, int inArea, int inNumber, bool inFlag,
                const ReplacementValue& inFirst, const ReplacementValue& inSecond,
                const ReplacementValue& inThird, const ReplacementValue& inFourth) {
    throw Error(inLevel, inMessageKey, inArea, inNumber, inFlag,
                {inFirst, inSecond, inThird, inFourth});
}

}  // namespace tulocore::config
