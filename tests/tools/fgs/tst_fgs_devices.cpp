// A serial device is one host's: whatever path it is opened by, and for other programs too.
#include "own_controller.h"
#include "rows.h"
#include "support/serial_ports.h"
#include "support/texts.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
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
    /// 1 or 0; -1 where the question is not known, as under an emulator.
    int isExclusive() const
    {
        int exclusive = 0;
        return ::ioctl(descriptor, TIOCGEXCL, &exclusive) == 0 ? exclusive : -1;
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
    NEEDS_SERIAL_PORTS();
    OwnController controller(obey, OwnController::On::Pty);
    const OtherPath other(controller.link());
    Program poll("poll L 5:0", controller.link());
    EXPECT_EQ(rowOf(poll.line()).place, "5:0@1");
    for (const QString &path : {controller.link(), QString::fromStdString(other.path())}) {
        SCOPED_TRACE(path.toStdString());
        const Result second = runFgs("read L 5:0", path);
        EXPECT_EQ(second.code, 3);
        EXPECT_TRUE(contains(second.messages, path));
        const QString holder =
            *TARN_EMULATOR ? QString() : QStringLiteral("fgs (pid "); // an emulator has its own name
        EXPECT_TRUE(contains(second.messages, QStringLiteral("is in use by ") + holder));
    }
    poll.interrupt();
    EXPECT_EQ(poll.wait().code, 130);
    EXPECT_EQ(runFgs("read L 5:0", QString::fromStdString(other.path())).code, 0) << "free again";
}

TEST(Device, IsLockedAsOtherProgramsDo)
{
    NEEDS_SERIAL_PORTS();
    OwnController controller(obey, OwnController::On::Pty);
    const Beside beside(controller.link());
    EXPECT_LE(beside.isExclusive(), 0);
    Program poll("poll L 5:0", controller.link());
    EXPECT_EQ(rowOf(poll.line()).place, "5:0@1");
    EXPECT_FALSE(beside.lock());
    EXPECT_EQ(errno, EWOULDBLOCK);
    if (beside.isExclusive() < 0)
        GTEST_SKIP() << "whether a terminal is exclusive cannot be asked here";
    EXPECT_EQ(beside.isExclusive(), 1);
}

TEST(Device, LockedByAnotherProgramIsRefused)
{
    NEEDS_SERIAL_PORTS();
    OwnController controller(obey, OwnController::On::Pty);
    const Beside beside(controller.link());
    ASSERT_TRUE(beside.lock());
    const Result result = runFgs("read L 5:0", controller.link());
    EXPECT_EQ(result.code, 3);
    EXPECT_TRUE(contains(result.messages, QString::number(::getpid())) ||
                result.messages.contains(QLatin1String("tst_fgs_devices")))
        << "who holds it: " << result.messages.toStdString();
    EXPECT_EQ(controller.log().size(), 0u);
}

const char SetUser[] = "/usr/bin/setpriv";

/// fgs as a user without rights, whoever runs the tests.
Result runWithoutRights(const QString &device)
{
    const std::string program = TARN_BINARY_DIR "/fgs";
    const std::vector<std::string> read = {"read", device.toStdString(), "5:0"};
    std::vector<std::string> asNobody = {"--reuid=65534", "--regid=65534", "--clear-groups", program};
    asNobody.insert(asNobody.end(), read.begin(), read.end());
    Process process(::geteuid() == 0 ? SetUser : program, ::geteuid() == 0 ? asNobody : read);
    const QString out = QString::fromStdString(process.restOfOutput());
    const QString messages = QString::fromStdString(process.restOfLog());
    return {process.wait(), out, messages};
}

TEST(Device, WithoutPermissionNamesTheGroup)
{
    NEEDS_SERIAL_PORTS();
    if (::geteuid() == 0 && (*TARN_EMULATOR || ::access(SetUser, X_OK) != 0))
        GTEST_SKIP() << "root has every permission, and setpriv cannot take it away here";
    OwnController controller(obey, OwnController::On::Pty);
    const QByteArray device = controller.link().toLatin1();
    ASSERT_EQ(::chmod(device.constData(), 0060), 0) << "for its group alone";
    struct stat status;
    ASSERT_EQ(::stat(device.constData(), &status), 0);
    const Result result = runWithoutRights(controller.link());
    if (result.code == 126 || result.code == 127)
        GTEST_SKIP() << "a user without rights cannot run fgs here: " << result.messages.toStdString();
    EXPECT_EQ(result.code, 3);
    const group *owner = ::getgrgid(status.st_gid);
    EXPECT_TRUE(contains(result.messages, QLatin1String("group")));
    EXPECT_TRUE(!owner || result.messages.contains(QLatin1String(owner->gr_name))) << result.messages.toStdString();
}

} // namespace
