// The time of day of what happens on a link.
#include "support/fake_link.h"
#include "watch/wall_clock.h"

#include <cstdlib>
#include <ctime>

using namespace fgs;

namespace
{

/// Sets the local zone for one test.
class Zone
{
public:
    explicit Zone(const char *name) : before(qgetenv("TZ")), wasSet(qEnvironmentVariableIsSet("TZ")) { set(name); }
    ~Zone() { wasSet ? set(before.constData()) : unset(); }
    Zone(const Zone &) = delete;
    Zone &operator=(const Zone &) = delete;

private:
    static void set(const char *name)
    {
        qputenv("TZ", name);
        tzset();
    }
    static void unset()
    {
        qunsetenv("TZ");
        tzset();
    }

    const QByteArray before;
    const bool wasSet;
};

/// 2026-11-21 20:15:03.456 UTC.
std::chrono::system_clock::time_point evening()
{
    return std::chrono::system_clock::time_point(std::chrono::milliseconds(1795292103456));
}

std::string textAt(const char *zone, Time ago)
{
    const Zone local(zone);
    const FakeLink link;
    return WallClock(link, evening).text(link.now() - ago).toStdString();
}

TEST(WallClock, TellsLocalTimeWithItsOffset)
{
    EXPECT_EQ(textAt("UTC0", 0s), "2026-11-21T20:15:03.456+00:00");
    EXPECT_EQ(textAt("CET-1", 0s), "2026-11-21T21:15:03.456+01:00");
    EXPECT_EQ(textAt("NST3:30", 0s), "2026-11-21T16:45:03.456-03:30");
}

TEST(WallClock, CountsBackFromNow)
{
    EXPECT_EQ(textAt("UTC0", 1456ms), "2026-11-21T20:15:02.000+00:00");
    EXPECT_EQ(textAt("UTC0", 24h), "2026-11-20T20:15:03.456+00:00");
}

TEST(WallClock, FollowsAClockThatIsSet)
{
    const Zone local("UTC0");
    const FakeLink link;
    auto now = evening();
    const WallClock clock(link, [&now] { return now; });
    now += 90s;
    EXPECT_EQ(clock.text(link.now()).toStdString(), "2026-11-21T20:16:33.456+00:00");
}

} // namespace
