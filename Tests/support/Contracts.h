// Catching broken contracts in tests.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "contracts/TuloCore.h"

namespace support {

struct Violation {
    std::string condition;
    std::string file;
    int line = 0;
};

/// Runs the call and returns the contract it broke: reported once and then thrown. Nothing when
/// it broke none.
template <class Call>
std::optional<Violation> BrokenContract(Call inCall) {
    std::optional<Violation> reported;
    const auto before =
        tulocore::debug::SetContractHandler([&](const tulocore::debug::ContractReport& inReport) {
            EXPECT_FALSE(reported) << "reported twice";
            reported = {inReport.condition, inReport.file, inReport.line};
            return false;
        });
    bool thrown = false;
    try {
        inCall();
    } catch (const tulocore::config::Error& error) {
        thrown = true;
        EXPECT_EQ(error.level, 0);
        EXPECT_EQ(error.messageKey,
                  "$$$/tulocore/utility/Error/Contract/InputContractViolation="
                  "An input contract violation has occurred!");
        EXPECT_EQ(error.area, 105);
        EXPECT_EQ(error.number, 25);
        EXPECT_TRUE(error.flag);
        for (const auto& replacement : error.replacements)
            EXPECT_EQ(replacement.text, "");
    }
    tulocore::debug::SetContractHandler(before);
    EXPECT_EQ(thrown, reported.has_value());
    return reported;
}

/// Expects that the call breaks exactly this contract; line 0 stands for any.
template <class Call>
void ExpectBroken(const std::string& inCondition, const std::string& inFile, int inLine,
                  Call inCall) {
    const std::optional<Violation> violation = BrokenContract(inCall);
    ASSERT_TRUE(violation) << "nothing broken, expected " << inCondition;
    EXPECT_EQ(violation->condition, inCondition);
    EXPECT_EQ(violation->file, inFile);
    if (inLine != 0) {
        EXPECT_EQ(violation->line, inLine);
    }
}

}  // namespace support
