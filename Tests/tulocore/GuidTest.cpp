#include <stdexcept>

#include "contracts/TuloCore.h"
#include "support/Testing.h"

using tulocore::utility::Guid;

TEST(Guid, ReadsBothTextForms) {
    const Guid guid("5A2A4FE9-EE01-4438-8F14-AA8946104D5F");
    EXPECT_EQ(guid.part1, 0x5A2A4FE9U);
    EXPECT_EQ(guid.part3, 0x4438);
    EXPECT_EQ(guid.part4[7], 0x5F);
    EXPECT_EQ(Guid("{5a2a4fe9-ee01-4438-8f14-aa8946104d5f}"), guid);
    EXPECT_EQ(guid.ToString(), "{5A2A4FE9-EE01-4438-8F14-AA8946104D5F}");
    EXPECT_EQ(Guid(), Guid("00000000-0000-0000-0000-000000000000"));
}

TEST(Guid, RefusesEveryOtherText) {
    for (const char* text :
         {"", "{}", "5A2A4FE9", "5A2A4FE9-EE01-4438-8F14-AA8946104D5",
          "5A2A4FE9-EE01-4438-8F14-AA8946104D5FF", "5A2A4FE9xEE01-4438-8F14-AA8946104D5F",
          "5A2A4FEG-EE01-4438-8F14-AA8946104D5F", "{5A2A4FE9-EE01-4438-8F14-AA8946104D5F",
          "5A2A4FE9-EE01-4438-8F14-AA8946104D5F}"}) {
        EXPECT_FALSE(Guid::Parse(text)) << text;
        EXPECT_THROW((Guid{std::string_view(text)}), std::invalid_argument) << text;
    }
}
