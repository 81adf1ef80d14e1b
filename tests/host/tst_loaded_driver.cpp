// The driver's names, linked and found at run time.
#include "host/driver_api.h"

#include <gtest/gtest.h>

using namespace fgs;

namespace
{

TEST(LoadedDriver, FindsTheSameDriverThatIsLinked)
{
    const LoadedDriver loaded(QStringLiteral(TARN_BINARY_DIR "/libTarnFGs.so.1"));
    const DriverApi linked = linkedDriver();
#define EXPECT_SAME(name) EXPECT_EQ(loaded.api().name, linked.name) << #name;
    FGS_DRIVER_NAMES(EXPECT_SAME)
#undef EXPECT_SAME
}

TEST(LoadedDriver, NamesTheFileThatIsMissing)
{
    try {
        LoadedDriver(QStringLiteral("/nowhere/libTarnFGs.so.1"));
        FAIL();
    } catch (const std::runtime_error &error) {
        const std::string text = error.what();
        EXPECT_EQ(text.find("cannot load the driver: "), 0u) << text;
        EXPECT_NE(text.find("/nowhere/libTarnFGs.so.1"), std::string::npos) << text;
        EXPECT_NE(text.find("; install it, or set LD_LIBRARY_PATH to its folder"), std::string::npos) << text;
    }
}

TEST(LoadedDriver, NamesTheFunctionThatIsMissing)
{
    try {
        LoadedDriver(QStringLiteral("libm.so.6"));
        FAIL();
    } catch (const std::runtime_error &error) {
        const std::string text = error.what();
        EXPECT_NE(text.find("has no 'SetComInfo': not the driver, or another version of it"), std::string::npos)
            << text;
    }
}

} // namespace
