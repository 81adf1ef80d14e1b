// Who is on a port, and the latency timer of an adapter, in a file system that a test makes.
#include "host/port_services.h"
#include "support/temporary_folder.h"

#include <fstream>
#include <gtest/gtest.h>

using namespace fgs;

namespace
{

class PortServices : public ::testing::Test
{
protected:
    void write(const std::string &path, const std::string &content) const
    {
        const std::filesystem::path file = folder.path / path;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << content;
    }
    void run(int process, const std::string &name, const std::string &arguments) const
    {
        const std::string here = "proc/" + std::to_string(process) + "/";
        write(here + "comm", name + "\n");
        write(here + "cmdline", arguments);
    }
    std::string on(const char *path) const
    {
        std::string text;
        for (const PortService &service : servicesOn(QString::fromLatin1(path), root()))
            text += std::to_string(service.kind) + ":" + service.program.toStdString() + " ";
        return text;
    }
    QString root() const { return QString::fromStdString(folder.path.string()); }

    TemporaryFolder folder;
};

TEST_F(PortServices, AreNone)
{
    run(1, "init", "init");
    EXPECT_EQ(on("/dev/ttyUSB7"), "");
    EXPECT_EQ(on("/dev/pts/3"), "");
}

TEST_F(PortServices, AreModemManagerOnAdapters)
{
    run(815, "ModemManager", "/usr/sbin/ModemManager");
    EXPECT_EQ(on("/dev/ttyUSB7"), "0:ModemManager (pid 815) ");
    EXPECT_EQ(on("/dev/ttyACM7"), "0:ModemManager (pid 815) ");
    EXPECT_EQ(on("/dev/ttySX7"), "") << "it leaves built-in ports alone";
}

TEST_F(PortServices, AreLogInPrompts)
{
    using namespace std::string_literals;
    run(20, "agetty", "/sbin/agetty\0-o\0ttyUSB7\0vt220\0"s);
    run(21, "agetty", "/sbin/agetty\0tty1\0"s);
    run(22, "mingetty", "/sbin/mingetty\0/dev/ttySX7\0"s);
    EXPECT_EQ(on("/dev/ttyUSB7"), "1:agetty (pid 20) ");
    EXPECT_EQ(on("/dev/ttySX7"), "1:mingetty (pid 22) ");
}

TEST_F(PortServices, AreTheKernelsConsole)
{
    write("sys/class/tty/console/active", "tty0 ttySX7\n");
    EXPECT_EQ(on("/dev/ttySX7"), "2: ");
    EXPECT_EQ(on("/dev/ttySX"), "");
}

TEST_F(PortServices, HaveATimerOnSomeAdapters)
{
    write("sys/class/tty/ttyUSB7/device/latency_timer", "16\n");
    EXPECT_EQ(latencyTimerOf(QStringLiteral("/dev/ttyUSB7"), root()), Time(16ms));
    EXPECT_EQ(latencyTimerOf(QStringLiteral("/dev/ttyUSB8"), root()), std::nullopt);
    EXPECT_EQ(latencyTimerOf(QStringLiteral("/dev/pts/3"), root()), std::nullopt);
}

} // namespace
