// The texts of --trace and --trace-limit.
#include "formats/trace_settings.h"

#include <gtest/gtest.h>
#include <stdexcept>

using namespace formats;

TEST(TraceLimit, IsASizeInBytes)
{
    EXPECT_EQ(parseTraceLimit("65536"), 65536U);
    EXPECT_EQ(parseTraceLimit("64K"), 65536U);
    EXPECT_EQ(parseTraceLimit("10M"), 10485760U);
    EXPECT_EQ(parseTraceLimit("2G"), 2147483648U);
    EXPECT_EQ(parseTraceLimit("1048576G"), 1125899906842624U);
}

TEST(TraceLimit, IsRefusedIfItIsNone)
{
    for (const char *text : {"", "K", "M10", "10m", "10MB", "1.5M", "-1M", " 1M", "65535", "63K", "0", "1048577G",
                             "99999999999999999999", "99999999999999999999999G"}) {
        try {
            parseTraceLimit(text);
            ADD_FAILURE() << text << " is taken for a size";
        } catch (const std::invalid_argument &error) {
            EXPECT_EQ(error.what(), "'" + std::string(text) + "' is no size from 64K to 1048576G, like 10M");
        }
    }
}

TEST(TraceSettings, MayBeAtOddsWithEachOther)
{
    EXPECT_EQ(faultOf({"", 0}), "");
    EXPECT_EQ(faultOf({"-", 0}), "");
    EXPECT_EQ(faultOf({"file", 65536}), "");
    EXPECT_EQ(faultOf({"", 65536}), "--trace-limit needs --trace FILE");
    EXPECT_EQ(faultOf({"-", 65536}),
              "--trace-limit bounds files, and --trace=- is none; leave it out, or name a file");
}
