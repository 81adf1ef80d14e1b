// A serial device is one host's: whatever path it is opened by, and for other programs too.
#include "own_controller.h"
#include "rows.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace
{

/// The device, open beside fgs, as another program has it.
class Beside
{
public:
    explicit Beside(const QString &device) : descriptor(::open(device.toLatin1().constData(), O_RDWR | O_NOCTTY)) {}
    ~Beside() { ::close(descriptor); }

    bool lock() const { return ::flock(descriptor, LOCK_EX | LOCK_NB) == 0; }
    bool isExclusive() const
    {
        int exclusive = 0;
        EXPECT_EQ(::ioctl(descriptor, TIOCGEXCL, &exclusive), 0);
        return exclusive != 0;
    }

private:
    int descriptor;
};

/// Another path of a device.
class OtherPath
{
public:
    explicit OtherPath(const QString &device)
    {
        EXPECT_NE(::mkdtemp(folder), nullptr);
        EXPECT_EQ(::symlink(device.toLatin1().constData(), path().c_str()), 0);
    }
    ~OtherPath()
    {
        ::unlink(path().c_str());
        ::rmdir(folder);
    }
    std::string path() const { return std::string(folder) + "/port"; }

private:
    char folder[24] = "/tmp/fgs-device.XXXXXX";
};

TEST(Device, IsTakenByOneHostWhateverItsPath)
{
    OwnController controller(obey, OwnController::On::Pty);
    const OtherPath other(controller.link());
    Program poll("poll L 5:0", controller.link());
    EXPECT_EQ(rowOf(poll.line()).place, "5:0@1");
    for (const QString &path : {controller.link(), QString::fromStdString(other.path())}) {
        const Result second = runFgs("read L 5:0", path);
        EXPECT_EQ(second.code, 3);
        EXPECT_TRUE(second.messages.contains(path));
        EXPECT_TRUE(second.messages.count(QLatin1String("fgs")) >= 2)
            << "who holds it: " << second.messages.toStdString();
    }
    poll.interrupt();
    EXPECT_EQ(poll.wait().code, 130);
    EXPECT_EQ(runFgs("read L 5:0", QString::fromStdString(other.path())).code, 0) << "free again";
}

TEST(Device, IsLockedAsOtherProgramsDo)
{
    OwnController controller(obey, OwnController::On::Pty);
    const Beside beside(controller.link());
    EXPECT_FALSE(beside.isExclusive());
    Program poll("poll L 5:0", controller.link());
    EXPECT_EQ(rowOf(poll.line()).place, "5:0@1");
    EXPECT_FALSE(beside.lock());
    EXPECT_EQ(errno, EWOULDBLOCK);
    EXPECT_TRUE(beside.isExclusive());
}

TEST(Device, LockedByAnotherProgramIsRefused)
{
    OwnController controller(obey, OwnController::On::Pty);
    const Beside beside(controller.link());
    ASSERT_TRUE(beside.lock());
    const Result result = runFgs("read L 5:0", controller.link());
    EXPECT_EQ(result.code, 3);
    EXPECT_TRUE(result.messages.contains(QString::number(::getpid())) ||
                result.messages.contains(QLatin1String("tst_fgs_devices")))
        << "who holds it: " << result.messages.toStdString();
    EXPECT_EQ(controller.log().size(), 0u);
}

} // namespace
