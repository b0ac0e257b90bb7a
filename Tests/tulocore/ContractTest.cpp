#include <gtest/gtest.h>

#include "contracts/TuloCore.h"

using namespace tulocore;

TEST(Contract, ErrorCarriesEveryArgument) {
    try {
        config::ThrowError(7, "$$$/Some/Key=Something went wrong", 105, 25, true, {"a"}, {"b"}, {},
                           {"d"});
    } catch (const config::Error& error) {
        EXPECT_EQ(error.level, 7);
        EXPECT_EQ(error.messageKey, "$$$/Some/Key=Something went wrong");
        EXPECT_STREQ(error.what(), "Something went wrong");
        EXPECT_EQ(error.area, 105);
        EXPECT_EQ(error.number, 25);
        EXPECT_TRUE(error.flag);
        EXPECT_EQ(error.replacements[0].text + error.replacements[1].text +
                      error.replacements[2].text + error.replacements[3].text,
                  "abd");
        return;
    }
    FAIL() << "nothing was thrown";
}

TEST(Trace, CategoriesAreOffUntilSwitchedOn) {
    const int before = debug::TraceChangeCount();
    EXPECT_FALSE(debug::TraceEnabled("Colour", 0, true));
    debug::SetTraceEnabled("Colour", true);
    EXPECT_TRUE(debug::TraceEnabled("Colour", 0, true));
    EXPECT_FALSE(debug::TraceEnabled("Other", 0, true));
    debug::SetTraceEnabled("Colour", false);
    EXPECT_FALSE(debug::TraceEnabled("Colour", 0, true));
    EXPECT_EQ(debug::TraceChangeCount(), before + 2);
}

TEST(Trace, WritesToStandardErrorWithoutASink) {
    const debug::TraceSink before = debug::SetTraceSink([](std::string_view) {});
    debug::SetTraceSink({});
    testing::internal::CaptureStderr();
    debug::Trace("line\r\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "line\r\n");
    debug::SetTraceSink(before);
}
