// TimeTest.cpp - times as text, and back.

#include "Tools/Common/Time.h"

#include <gtest/gtest.h>

namespace {

TEST(Time, IsWrittenWithDateAndZone)
{
    EXPECT_EQ(Tools::FormatUTC(0), "1970-01-01T00:00:00.000000Z");
    EXPECT_EQ(Tools::FormatUTC(1'798'761'599'123'456'789), "2026-12-31T23:59:59.123456Z");
}

TEST(Time, IsReadAsItIsWritten)
{
    EXPECT_EQ(Tools::ParseUTC("2026-12-31T23:59:59.123456Z"), 1'798'761'599'123'456'000u);
    for (const char* const text :
         {"", "today", "2026-12-31T23:59:59.123456", "2026-12-31T23:59:59.12345Z",
          "2026-02-30T00:00:00.000000Z", "2026-12-31T23:59:59.123456Z ",
          "1969-12-31T23:59:59.000000Z", " 026-12-31T23:59:59.123456Z"}) {
        EXPECT_EQ(Tools::ParseUTC(text), std::nullopt) << text;
    }
}

} // namespace
