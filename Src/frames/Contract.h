// Broken preconditions of the library's own functions.
#pragma once

#include <source_location>

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

/// Breaks the contract named by its text and place unless the condition holds. Hosts know some
/// reports by their line, which is then given; the others carry the line of the check.
inline void Require(bool inHolds, const char* inCondition, const char* inFile,
                    int inLine = static_cast<int>(std::source_location::current().line())) {
    if (!inHolds) [[unlikely]]
        BreakContract(inCondition, inFile, inLine);
}

}  // namespace VF
