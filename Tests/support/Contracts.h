// Catching broken contracts in tests.
#pragma once

#include "contracts/TuloCore.h"
#include "support/Testing.h"

namespace support {

/// Expects that the call breaks exactly this contract: reported once and then thrown. Line 0
/// stands for any.
template <class Call>
void ExpectBroken(const std::string& inCondition, const std::string& inFile, int inLine,
                  Call inCall) {
    int reports = 0;
    const auto before =
        tulocore::debug::SetContractHandler([&](const tulocore::debug::ContractReport& inReport) {
            ++reports;
            EXPECT_EQ(inReport.condition, inCondition);
            EXPECT_EQ(inReport.file, inFile);
            EXPECT_EQ(inReport.line, inLine == 0 ? inReport.line : inLine);
            return false;
        });
    try {
        inCall();
        ADD_FAILURE() << "nothing broken, expected " << inCondition;
    } catch (const tulocore::config::Error& error) {
        EXPECT_TRUE(error.level == 0 && error.area == 105 && error.number == 25 && error.flag);
        EXPECT_EQ(error.messageKey,
                  "$$$/tulocore/utility/Error/Contract/InputContractViolation="
                  "An input contract violation has occurred!");
        for (const auto& replacement : error.replacements)
            EXPECT_EQ(replacement.text, "");
    }
    tulocore::debug::SetContractHandler(before);
    EXPECT_EQ(reports, 1);
}

}  // namespace support
