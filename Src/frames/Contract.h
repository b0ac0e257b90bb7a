// Broken preconditions of the library's own functions.
#pragma once

#include "contracts/TuloCore.h"

namespace VF {

/// Reports an input contract violation to the core library's service and raises its error.
[[noreturn]] inline void BreakContract(const char* inCondition, const char* inFile, int inLine) {
    if (tulocore::debug::BreakAfterContractDialog(inCondition, inFile, inLine)) {
        tulocore::debug::BreakIntoDebugger();
    }
    const tulocore::config::ReplacementValue none;
    tulocore::config::ThrowError(0,
                                 "$$$/tulocore/utility/Error/Contract/InputContractViolation="
                                 "An input contract violation has occurred!",
                                 105, 25, true, none, none, none, none);
}

/// Breaks the contract named by its text and place unless the condition holds. Hosts know most
/// reports by their line, which then stands whatever line the check has come to.
inline void Require(bool inHolds, const char* inCondition, const char* inFile, int inLine) {
    if (!inHolds) [[unlikely]]
        BreakContract(inCondition, inFile, inLine);
}

}  // namespace VF
