// Serial devices that are used by others, closed to the user, or none at all.
#include "far_ends.h"
#include "host/device_trouble.h"
#include "host/held_device.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <functional>
#include <grp.h>
#include <pwd.h>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTextStream>
#include <string>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>

using namespace fgs;

namespace
{

const uid_t Nobody = 65534;

/// Another process, which does something, tells a text, and stays. Ends with the object.
class Other
{
public:
    explicit Other(const std::function<std::string()> &work)
    {
        int ends[2];
        EXPECT_EQ(::pipe(ends), 0);
        process = ::fork();
        if (process == 0)
            run(work, ends[1]);
        ::close(ends[1]);
        char buffer[1024];
        for (ssize_t count; (count = ::read(ends[0], buffer, sizeof buffer)) > 0;)
            told.append(buffer, size_t(count));
        ::close(ends[0]);
    }
    ~Other() { end(); }

    void end()
    {
        if (process > 0) {
            ::kill(process, SIGKILL);
            ::waitpid(process, nullptr, 0);
        }
        process = 0;
    }

    pid_t process;
    std::string told;

private:
    [[noreturn]] static void run(const std::function<std::string()> &work, int output)
    {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::prctl(PR_SET_NAME, "other");
        const std::string text = work();
        if (::write(output, text.data(), text.size()) < 0)
            ::_exit(1);
        ::close(output);
        for (;;)
            ::pause();
    }
};

std::string inUseBy(const QString &path, const char *name, pid_t process)
{
    return path.toStdString() + " is in use by " + name + " (pid " + std::to_string(process) +
           "); end it, or wait for it";
}

class SerialDevice : public DeviceLink<PtyEnd>
{
protected:
    SerialDevice() { ::prctl(PR_SET_NAME, "meter"); }

    int openDevice() const { return ::open(device().constData(), O_RDWR | O_NOCTTY | O_CLOEXEC); }
    bool tellsOfExclusiveMarks() const
    {
        int exclusive = 0;
        const int file = openDevice();
        const bool tells = ::ioctl(file, TIOCGEXCL, &exclusive) == 0;
        ::close(file);
        return tells;
    }
    QByteArray device() const { return QFile::encodeName(end.address()); }

    QString symbolicLink() const
    {
        const QString path = folder.filePath(QStringLiteral("plc"));
        QFile::link(end.address(), path);
        return path;
    }

    static std::string errorOf(const QString &path)
    {
        const auto other = makeLink(path);
        return other->open() ? "opened" : other->error().toStdString();
    }

    const QTemporaryDir folder;
};

TEST_F(SerialDevice, IsOneUnderEveryPath)
{
    connect();
    EXPECT_EQ(errorOf(symbolicLink()), inUseBy(symbolicLink(), "meter", ::getpid()));
    EXPECT_EQ(errorOf(end.address()), inUseBy(end.address(), "meter", ::getpid()));
}

TEST_F(SerialDevice, IsFreeAgainOnceTheLinkIsClosed)
{
    connect();
    EXPECT_NE(errorOf(symbolicLink()), "opened");
    link.reset();
    EXPECT_EQ(errorOf(symbolicLink()), "opened");
}

TEST_F(SerialDevice, StaysLockedWhenItIsOpenedAgain)
{
    connect();
    connect();
    EXPECT_EQ(errorOf(symbolicLink()), inUseBy(symbolicLink(), "meter", ::getpid()));
}

/// Skips the test where nobody tells: emulators do not pass the question on.
#define NEEDS_EXCLUSIVE_MARKS()                                                                                    \
    if (!tellsOfExclusiveMarks())                                                                                  \
    GTEST_SKIP() << "this system does not tell whether a device is used exclusively"

TEST_F(SerialDevice, IsLockedForOtherPrograms)
{
    NEEDS_EXCLUSIVE_MARKS();
    const int other = openDevice();
    int exclusive = 0;
    connect();
    EXPECT_EQ(::flock(other, LOCK_EX | LOCK_NB), -1);
    EXPECT_EQ(errno, EWOULDBLOCK);
    EXPECT_EQ(::ioctl(other, TIOCGEXCL, &exclusive), 0);
    EXPECT_TRUE(exclusive);
    link.reset();
    EXPECT_EQ(::flock(other, LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(::ioctl(other, TIOCGEXCL, &exclusive), 0);
    EXPECT_FALSE(exclusive);
    ::close(other);
}

TEST_F(SerialDevice, TellsWhoHoldsTheLock)
{
    Other other([this] {
        ::flock(openDevice(), LOCK_EX);
        return std::string();
    });
    EXPECT_EQ(errorOf(end.address()), inUseBy(end.address(), "other", other.process));
    other.end();
    EXPECT_TRUE(link->open()) << link->error().toStdString();
}

TEST_F(SerialDevice, TellsWhoUsesItExclusively)
{
    NEEDS_EXCLUSIVE_MARKS();
    Other other([this] {
        end.hangUp(); // its maker is no user
        ::ioctl(openDevice(), TIOCEXCL);
        return std::string();
    });
    EXPECT_EQ(errorOf(symbolicLink()), inUseBy(symbolicLink(), "other", other.process));
}

TEST_F(SerialDevice, DoesNotTakeItsMakerForAUser)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root may open a device that is marked as used exclusively";
    Other other([this] {
        ::ioctl(openDevice(), TIOCEXCL);
        return std::string();
    });
    EXPECT_TRUE(link->open()) << link->error().toStdString();
}

std::string troubleWithHolding(const QString &path, DeviceTrouble::TroubleKind expected)
{
    try {
        holdDevice(path);
        return "held";
    } catch (const DeviceTrouble &trouble) {
        EXPECT_EQ(trouble.kind, expected);
        return trouble.what();
    }
}

TEST_F(SerialDevice, IsHeldUnlessItIsOpenElsewhere)
{
    Other other([this] {
        end.hangUp();
        openDevice(); // without any lock
        return std::string();
    });
    EXPECT_EQ(troubleWithHolding(end.address(), DeviceTrouble::InUse),
              inUseBy(end.address(), "other", other.process));
    other.end();
    EXPECT_EQ(troubleWithHolding(end.address(), DeviceTrouble::InUse), "held");
}

TEST_F(SerialDevice, StaysHeldWhileItsSettingsChange)
{
    const std::unique_ptr<HeldDevice> held = holdDevice(end.address());
    for (const int baud : {9600, 115200}) {
        const std::unique_ptr<Link> one = held->linkWith({QString(), baud, 8, 'E', 1});
        EXPECT_TRUE(one->open()) << one->error().toStdString();
        EXPECT_EQ(held->settings().baud, baud);
        EXPECT_EQ(held->settings().dataBits, 8);
        EXPECT_EQ(held->settings().stopBits, 1);
    }
    EXPECT_EQ(errorOf(end.address()), inUseBy(end.address(), "meter", ::getpid()));
}

TEST_F(SerialDevice, ComesBackFromItsHolderAsItWas)
{
    const int file = openRaw(end.address().toStdString());
    termios before{}, after{};
    ::tcgetattr(file, &before);
    {
        const std::unique_ptr<HeldDevice> held = holdDevice(end.address());
        EXPECT_TRUE(held->linkWith({QString(), 1200, 8, 'N', 2})->open());
    }
    ::tcgetattr(file, &after);
    ::close(file);
    EXPECT_EQ(::cfgetospeed(&after), ::cfgetospeed(&before));
    EXPECT_EQ(after.c_cflag, before.c_cflag);
    EXPECT_EQ(errorOf(end.address()), "opened");
}

TEST_F(SerialDevice, TellsWhatItIsToItsHolder)
{
    const std::unique_ptr<HeldDevice> held = holdDevice(end.address());
    EXPECT_TRUE(held->isPseudoTerminal());
    EXPECT_FALSE(held->errors()) << "a pseudo-terminal counts none";
    EXPECT_FALSE(held->rs485Mode());
    EXPECT_NE(troubleWithHolding(QStringLiteral("/dev/no_such_port"), DeviceTrouble::Missing), "held");
    EXPECT_NE(troubleWithHolding(QStringLiteral("/dev/null"), DeviceTrouble::Missing), "held");
}

/// The lock file of a device, as other programs write it.
class LockFile : public SerialDevice
{
protected:
    void SetUp() override
    {
        SerialDevice::SetUp();
        path = QStringLiteral("/var/lock/LCK..") + end.address().mid(5).replace(QLatin1Char('/'), QLatin1Char('_'));
        if (::access("/var/lock", W_OK) != 0)
            GTEST_SKIP() << "/var/lock cannot be written to";
    }
    void TearDown() override
    {
        link.reset();
        QFile::remove(path);
    }

    void write(const QString &text) const
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        QTextStream(&file) << text;
    }
    static pid_t endedProcess()
    {
        const Other other([] { return std::string(); });
        return other.process;
    }

    QString path;
};

TEST_F(LockFile, OfAKilledProgramIsNoHindrance)
{
    Other other([this] {
        link->open();
        return link->error().toStdString();
    });
    ASSERT_EQ(other.told, "");
    EXPECT_EQ(errorOf(end.address()), inUseBy(end.address(), "other", other.process));
    other.end();
    const bool opened = link->open();
    if (::geteuid() == 0)
        EXPECT_TRUE(opened) << link->error().toStdString();
    else // whom the mark of a pseudo-terminal keeps out
        EXPECT_EQ(link->error().toStdString(),
                  end.address().toStdString() +
                      " is in use by another program, or was by one that was killed; end it, "
                      "or start anew what made this pseudo-terminal");
}

TEST_F(LockFile, OfAnEndedProgramIsNoHindrance)
{
    write(QStringLiteral("%1\n").arg(endedProcess(), 10));
    EXPECT_TRUE(link->open()) << link->error().toStdString();
}

TEST_F(LockFile, OfAnEndedProgramWithItsNameIsNoHindrance)
{
    write(QStringLiteral("%1\nfgs\n%2\n").arg(endedProcess()).arg(QSysInfo::machineHostName()));
    EXPECT_TRUE(link->open()) << link->error().toStdString();
}

TEST_F(LockFile, OfARunningProgramIsObeyed)
{
    const Other other([this] {
        end.hangUp();
        openDevice();
        return std::string();
    });
    write(QStringLiteral("%1\n").arg(other.process, 10));
    EXPECT_EQ(errorOf(symbolicLink()), inUseBy(symbolicLink(), "other", other.process));
}

TEST_F(LockFile, WhoseProcessHasBecomeAnotherProgramIsNoHindrance)
{
    const Other other([] { return std::string(); });
    write(QStringLiteral("%1\n").arg(other.process, 10));
    EXPECT_TRUE(link->open()) << link->error().toStdString();
}

TEST_F(LockFile, ThatCannotBeRemovedIsNamed)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root may become another user";
    write(QStringLiteral("%1\n").arg(endedProcess(), 10));
    ::chmod(device().constData(), 0666);
    const Other other([this] {
        return ::setresuid(Nobody, Nobody, Nobody) == 0 ? errorOf(end.address()) : std::strerror(errno);
    });
    EXPECT_EQ(other.told, end.address().toStdString() + " is locked by the file " + path.toStdString() +
                              ", which an ended program has left; remove it (sudo rm " + path.toStdString() + ")");
}

/// What another user is told about a device with this owner, group and mode.
class Permission : public SerialDevice
{
protected:
    void SetUp() override
    {
        SerialDevice::SetUp();
        if (::geteuid() != 0)
            GTEST_SKIP() << "only root may give devices to others and become another user";
        // A program that was killed may have left a lock of a device of this number, which nobody could remove.
        ASSERT_EQ(errorOf(end.address()), "opened");
    }

    std::string told(uid_t owner, gid_t group, mode_t mode)
    {
        EXPECT_EQ(::chown(device().constData(), owner, group), 0);
        EXPECT_EQ(::chmod(device().constData(), mode), 0);
        return toldTo(end.address());
    }

    /// As a process of nobody without any group that has a name.
    static std::string toldTo(const QString &path)
    {
        const Other other([&path] {
            const gid_t group = 64999;
            const bool became = ::setgroups(0, nullptr) == 0 && ::setresgid(group, group, group) == 0 &&
                                ::setresuid(Nobody, Nobody, Nobody) == 0;
            return became ? errorOf(path) : std::strerror(errno);
        });
        return other.told;
    }

    std::string refused(const char *why) const
    {
        return "no permission for " + device().toStdString() + ": " + why;
    }
};

TEST_F(Permission, NamesTheGroupToJoin)
{
    const group *const dialout = ::getgrnam("dialout");
    if (!dialout)
        GTEST_SKIP() << "this system has no group dialout";
    EXPECT_EQ(told(0, dialout->gr_gid, 0660),
              refused("join the group dialout (sudo adduser nobody dialout, then log in again)"));
}

TEST_F(Permission, NamesTheGroupThatIsToBecomeEffective)
{
    const passwd *const nobody = ::getpwuid(Nobody);
    const group *const own = ::getgrgid(nobody->pw_gid);
    EXPECT_EQ(told(0, own->gr_gid, 0660),
              refused("you have joined the group ") + own->gr_name + " since you logged in; log in again");
}

#define ONLY_ROOT                                                                                                  \
    "only root may use it; run this as root, or have it opened to a group of yours (chgrp and chmod g+rw)"

TEST_F(Permission, NamesTheOwnerWhereNoGroupMay)
{
    EXPECT_EQ(told(0, 20, 0600), refused(ONLY_ROOT));
    EXPECT_EQ(told(0, 20, 0620), refused(ONLY_ROOT)) << "who may only write cannot use it";
    EXPECT_EQ(told(0, 0, 0660), refused(ONLY_ROOT)) << "nobody joins root's group for that";
}

TEST_F(Permission, TellsOfADirectoryThatIsClosed)
{
    EXPECT_EQ(toldTo(symbolicLink()),
              symbolicLink().toStdString() +
                  " cannot be reached: a directory on the way there is closed to you; check its permissions");
}

TEST_F(Permission, IsEnough)
{
    EXPECT_EQ(told(0, 0, 0666), "opened");
}

TEST_F(SerialDevice, OfOnesOwnCanBeOpenedToOneself)
{
    ::chmod(device().constData(), 0);
    const Other other([this] {
        const bool became = ::geteuid() != 0 || (::chown(device().constData(), Nobody, Nobody) == 0 &&
                                                 ::setresuid(Nobody, Nobody, Nobody) == 0);
        return became ? errorOf(end.address()) : std::strerror(errno);
    });
    EXPECT_EQ(other.told, "no permission for " + device().toStdString() +
                              ": it is yours, but closed to you (chmod u+rw " + device().toStdString() + ")");
}

TEST_F(SerialDevice, IsMissed)
{
    EXPECT_EQ(errorOf(QStringLiteral("/dev/no_such_port")),
              "/dev/no_such_port does not exist; is the adapter plugged in?");
    const QString path =
        folder.filePath(QStringLiteral("plc")); // not to a device of before: its number may come back
    QFile::link(QStringLiteral("/dev/no_such_port"), path);
    EXPECT_EQ(errorOf(path), path.toStdString() + " does not exist; is the adapter plugged in?");
}

class NoSerialDevice : public SerialDevice
{
protected:
    std::string path() const { return folder.filePath(QStringLiteral("it")).toStdString(); }
    void expectRefusal(const std::string &path, const char *why) const
    {
        EXPECT_EQ(errorOf(QString::fromStdString(path)), path + " is a " + why);
    }
};

TEST_F(NoSerialDevice, CanBeAFile)
{
    ::close(::creat(path().c_str(), 0600));
    expectRefusal(path(), "file, not a serial device");
}

TEST_F(NoSerialDevice, CanBeADirectory)
{
    expectRefusal("/dev", "directory, not a serial device");
}

TEST_F(NoSerialDevice, CanBeAPipe)
{
    ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
    expectRefusal(path(), "pipe, not a serial device");
}

TEST_F(NoSerialDevice, CanBeADisk)
{
    for (const std::filesystem::directory_entry &entry : std::filesystem::directory_iterator("/dev")) {
        if (entry.is_block_file())
            return expectRefusal(entry.path(), "disk, not a serial device");
    }
    GTEST_SKIP() << "this machine shows no disk";
}

TEST_F(NoSerialDevice, CanBeAnotherDevice)
{
    expectRefusal("/dev/null", "device, but not a serial one");
}

} // namespace
