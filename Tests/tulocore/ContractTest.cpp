#include <gtest/gtest.h>

#include "contracts/TuloCore.h"

using namespace tulocore;

TEST(Contract, ErrorSaysWhatItsKeySaysAndKeepsReplacements) {
    const config::Error error(7, "$$$/Some/Key=Something went wrong", 105, 25, true,
                              {{{"a"}, {"b"}, {}, {"d"}}});
    EXPECT_STREQ(error.what(), "Something went wrong");
    EXPECT_EQ(error.replacements[3].text, "d");
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
