// What a spool keeps, what it drops, and what it does when its file or its disk is bad.
#include "gateway/database.h"
#include "gateway/spool.h"
#include "support/small_disk.h"
#include "support/temporary_folder.h"

#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <random>
#include <regex>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace fgs;

namespace
{

const Epoch Start = 1700000000000;
const Epoch Minute = 60000;
const std::int64_t Overhead = 32; // bytes for each record

using Lines = std::vector<std::string>;

SpoolSettings settingsOf(const std::string &file, std::int64_t mostBytes = 1 << 20)
{
    SpoolSettings settings;
    settings.file = file;
    settings.mostBytes = mostBytes;
    return settings;
}

/// A spool, and what it tells.
struct Open {
    explicit Open(const SpoolSettings &settings, const std::string &layout = "plain")
        : spool(settings, layout, [this](const std::string &line) { told.push_back(line); })
    {
    }

    Lines contents()
    {
        Lines all;
        for (const Spool::Kept &each : spool.oldest(0, 1000000))
            all.push_back(each.record.content);
        return all;
    }

    Lines told;
    Spool spool;
};

std::string contentOf(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void write(const std::filesystem::path &path, const std::string &content)
{
    std::ofstream(path, std::ios::binary) << content;
}

class SpoolTest : public ::testing::Test
{
protected:
    explicit SpoolTest(const std::filesystem::path &parent = memoryFolder()) : folder(parent) {}

    std::string file() const { return folder.path / "press7.spool"; }
    SpoolSettings settings(std::int64_t mostBytes = 1 << 20) const { return settingsOf(file(), mostBytes); }

    /// All that is on the disk.
    std::map<std::string, std::string> files() const
    {
        std::map<std::string, std::string> all;
        for (const auto &entry : std::filesystem::directory_iterator(folder.path))
            all[entry.path().filename()] = contentOf(entry.path());
        return all;
    }
    std::int64_t bytesOnDisk() const
    {
        std::int64_t sum = 0;
        for (const auto &entry : std::filesystem::directory_iterator(folder.path))
            sum += std::int64_t(entry.file_size());
        return sum;
    }
    bool isOnDisk(const std::string &text) const
    {
        const auto all = files();
        return std::any_of(all.begin(), all.end(),
                           [&](const auto &each) { return each.second.find(text) != std::string::npos; });
    }
    Lines setAside() const
    {
        const std::regex form("press7\\.spool\\.damaged-[0-9]{8}T[0-9]{6}Z");
        Lines found;
        for (const auto &entry : std::filesystem::directory_iterator(folder.path))
            if (std::regex_match(entry.path().filename().string(), form))
                found.push_back(entry.path().filename());
        return found;
    }
    void keep(const Lines &contents) const
    {
        Open open(settings());
        for (const std::string &content : contents)
            open.spool.add({"oven", Start, content});
        open.spool.commit(Start);
        EXPECT_EQ(open.told, Lines());
    }

    const TemporaryFolder folder;
};

class SpoolOnADiskTest : public SpoolTest
{
protected:
    SpoolOnADiskTest() : SpoolTest(std::filesystem::temp_directory_path()) {}
};

TEST_F(SpoolOnADiskTest, KeepsRecordsInTheirOrderOverARestart)
{
    const std::string odd("\0\xFF'\n", 4);
    Spool::Number last = 0;
    {
        Open open(settings());
        open.spool.add({"oven", Start, "one"});
        last = open.spool.add({odd, Start + 1, odd});
        open.spool.commit(Start + 2);
    }
    Open open(settings());
    const std::vector<Spool::Kept> found = open.spool.oldest(0, 10);
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[0].record.key, "oven");
    EXPECT_EQ(found[0].record.time, Start);
    EXPECT_EQ(found[0].record.content, "one");
    EXPECT_EQ(found[1].record.key, odd);
    EXPECT_EQ(found[1].record.content, odd);
    EXPECT_EQ(found[1].number, last);
    EXPECT_LT(found[0].number, last);
    EXPECT_GT(open.spool.add({"oven", Start + 3, "two"}), last);
    EXPECT_EQ(open.spool.records(), 3);
    EXPECT_EQ(open.spool.bytes(), 3 * Overhead + 4 + 3 + 4 + 4 + 4 + 3);
    EXPECT_EQ(open.spool.oldestTime(), Start);
    EXPECT_EQ(open.spool.oldest(last, 10).size(), 1u);
    EXPECT_EQ(open.spool.oldest(0, 1).size(), 1u);
    EXPECT_EQ(open.told, Lines());
}

TEST_F(SpoolTest, NumbersGoOnWhenEverythingWasSent)
{
    Spool::Number last = 0;
    {
        Open open(settings());
        last = open.spool.add({"oven", Start, "one"});
        open.spool.commit(Start);
        open.spool.acknowledged(last);
    }
    Open open(settings());
    EXPECT_EQ(open.spool.records(), 0);
    EXPECT_EQ(open.spool.oldestTime(), 0);
    EXPECT_GT(open.spool.add({"oven", Start, "two"}), last);
}

TEST_F(SpoolTest, WhatIsAcknowledgedBeforeTheCommitNeverTouchesTheDisk)
{
    Open open(settings());
    const Spool::Number sent = open.spool.add({"oven", Start, "acknowledged at once"});
    open.spool.add({"oven", Start, "left alone"});
    open.spool.acknowledged(sent);
    open.spool.commit(Start);
    EXPECT_TRUE(isOnDisk("left alone"));
    EXPECT_FALSE(isOnDisk("acknowledged at once"));
    EXPECT_EQ(open.contents(), Lines{"left alone"});
}

TEST_F(SpoolTest, WritesNothingWithoutAChange)
{
    Open open(settings());
    open.spool.add({"oven", Start, "left alone"});
    open.spool.commit(Start);
    const auto before = files();
    const Spool::Number sent = open.spool.add({"oven", Start, "acknowledged at once"});
    open.spool.acknowledged(sent);
    open.spool.acknowledged(sent + 1000);
    open.spool.acknowledged(1);
    open.spool.commit(Start + 1000);
    open.spool.commit(Start + 2000);
    EXPECT_TRUE(files() == before);
}

TEST_F(SpoolTest, WhatIsAcknowledgedLaterGoesWithTheNextCommit)
{
    {
        Open open(settings());
        const Spool::Number first = open.spool.add({"oven", Start, "one"});
        open.spool.add({"oven", Start, "two"});
        open.spool.commit(Start);
        open.spool.acknowledged(first);
        open.spool.acknowledged(first);
        EXPECT_EQ(open.spool.records(), 1);
        EXPECT_EQ(open.spool.bytes(), Overhead + 7);
        EXPECT_EQ(open.contents(), Lines{"two"}) << "not to be sent again";
        open.spool.commit(Start + 1000);
        EXPECT_EQ(open.spool.dropped(), 0u);
    }
    EXPECT_EQ(Open(settings()).contents(), Lines{"two"});
}

TEST_F(SpoolTest, DropsTheOldestBeyondItsBytesAndTheFileStaysBounded)
{
    const std::int64_t most = 100000;
    Open open(settings(most));
    std::mt19937 random(1);
    int added = 0;
    for (int second = 0; second < 100; ++second) {
        for (int i = 0; i < 30; ++i)
            open.spool.add({"oven", Start, std::to_string(added++) + std::string(random() % 400, 'x')});
        open.spool.commit(Start);
        ASSERT_LE(open.spool.bytes(), most);
        ASSERT_LE(bytesOnDisk(), 2 * most + 3 * (1 << 20));
    }
    EXPECT_GT(open.spool.bytes(), most - 1000);
    const Lines left = open.contents();
    EXPECT_EQ(open.spool.dropped() + left.size(), std::size_t(added));
    EXPECT_EQ(std::stoul(left.front()), open.spool.dropped());
    EXPECT_EQ(std::stoi(left.back()), added - 1);
    EXPECT_EQ(open.told, Lines());
}

TEST_F(SpoolTest, GivesBackToTheDiskWhatASmallerBoundLeaves)
{
    {
        Open open(settings(16 << 20));
        for (int i = 0; i < 100; ++i)
            open.spool.add({"oven", Start, std::string(100000, 'x')});
        open.spool.commit(Start);
    }
    EXPECT_GT(bytesOnDisk(), 9000000);
    {
        Open open(settings(1 << 20));
        open.spool.commit(Start);
        EXPECT_EQ(open.spool.records(), 10);
        EXPECT_EQ(open.spool.dropped(), 90u);
    }
    EXPECT_LE(bytesOnDisk(), 4 * (1 << 20)); // with the journal
}

TEST_F(SpoolTest, DropsWhatIsTooOld)
{
    SpoolSettings hour = settings();
    hour.longestAge = std::chrono::hours(1);
    Open open(hour);
    open.spool.add({"oven", Start, "old"});
    open.spool.add({"oven", Start + 1, "new"});
    open.spool.commit(Start);
    open.spool.commit(Start + 60 * Minute);
    EXPECT_EQ(open.contents(), (Lines{"old", "new"}));
    open.spool.commit(Start + 60 * Minute + 1);
    EXPECT_EQ(open.contents(), Lines{"new"});
    EXPECT_EQ(open.spool.dropped(), 1u);
    open.spool.commit(Start + 600 * Minute);
    open.spool.add({"oven", Start, "old as it comes"});
    open.spool.commit(Start + 600 * Minute);
    EXPECT_EQ(open.contents(), Lines());
    EXPECT_EQ(open.spool.dropped(), 3u);
}

TEST_F(SpoolTest, WritesEarlyWhatIsTooMuchForItsMemory)
{
    Open open(settings(16 << 20));
    for (int i = 0; i < 30; ++i)
        open.spool.add({"oven", Start, "early " + std::to_string(i) + std::string(100000, 'x')});
    EXPECT_TRUE(isOnDisk("early 5"));
    EXPECT_EQ(open.spool.records(), 30);
    EXPECT_EQ(open.contents().size(), 30u);
    EXPECT_EQ(open.spool.dropped(), 0u);
}

/// What may be wrong with a file, done to a sound one.
struct Damage {
    const char *name;
    std::function<void(const std::string &file)> make;
    const char *told;
};

const Damage damages[] = {
    {"Garbage", [](const std::string &file) { write(file, std::string(5000, 'g')); }, "not a database"},
    {"Truncated",
     [](const std::string &file) { std::filesystem::resize_file(file, std::filesystem::file_size(file) - 5000); },
     "malformed"},
    {"TruncatedHeader", [](const std::string &file) { std::filesystem::resize_file(file, 60); }, ""},
    {"BadPage",
     [](const std::string &file) {
         std::string bytes = contentOf(file);
         std::fill(bytes.begin() + 2 * 4096, bytes.begin() + 3 * 4096, 'x');
         write(file, bytes);
     },
     ""},
    {"Foreign",
     [](const std::string &file) {
         std::filesystem::remove(file);
         Database(file).run("CREATE TABLE recipes(name TEXT); INSERT INTO recipes VALUES ('bread')");
     },
     "something else"},
    {"OtherVersion", [](const std::string &file) { Database(file).run("PRAGMA user_version = 2"); },
     "another version"},
    {"OtherTables",
     [](const std::string &file) {
         Database(file).run("CREATE TRIGGER t AFTER INSERT ON records BEGIN DELETE FROM records; END");
     },
     "tables"},
    {"OtherLayout", [](const std::string &file) { Database(file).run("UPDATE about SET layout = 'sparkplug'"); },
     "layout 'sparkplug', not 'plain'"},
};

class DamagedSpoolTest : public SpoolTest, public ::testing::WithParamInterface<Damage>
{
};

TEST_P(DamagedSpoolTest, IsSetAsideAndANewOneBegun)
{
    keep({std::string(3000, 'a'), std::string(3000, 'b'), std::string(3000, 'c')});
    GetParam().make(file());
    const std::string damaged = contentOf(file());
    {
        Open open(settings());
        ASSERT_EQ(open.told.size(), 1u);
        EXPECT_NE(open.told[0].find(GetParam().told), std::string::npos) << open.told[0];
        ASSERT_EQ(setAside().size(), 1u);
        EXPECT_NE(open.told[0].find("set aside as '" + (folder.path / setAside()[0]).string() + "'"),
                  std::string::npos)
            << open.told[0];
        EXPECT_EQ(open.spool.problem(), "");
        EXPECT_EQ(open.spool.records(), 0);
        open.spool.add({"oven", Start, "new"});
        open.spool.commit(Start);
    }
    EXPECT_TRUE(contentOf(folder.path / setAside()[0]) == damaged) << "it was changed";
    Open open(settings());
    EXPECT_EQ(open.contents(), Lines{"new"});
    EXPECT_EQ(open.told, Lines());
}

INSTANTIATE_TEST_SUITE_P(All, DamagedSpoolTest, ::testing::ValuesIn(damages),
                         [](const auto &damage) { return std::string(damage.param.name); });

TEST_F(SpoolTest, KeepsThreeFilesThatWereSetAside)
{
    for (int i = 0; i < 6; ++i) {
        write(file(), "garbage " + std::to_string(i) + std::string(1000, 'g'));
        Open(settings()).spool.commit(Start);
    }
    Lines kept;
    for (const std::string &name : setAside())
        kept.push_back(contentOf(folder.path / name).substr(0, 9));
    std::sort(kept.begin(), kept.end());
    EXPECT_EQ(kept, (Lines{"garbage 3", "garbage 4", "garbage 5"}));
}

TEST_F(SpoolTest, DamageWhileItIsOpenIsFoundAndSurvived)
{
    Open open(settings(16 << 20));
    for (int i = 0; i < 9; ++i)
        for (int k = 0; k < 9; ++k)
            open.spool.add({"oven", Start, std::string(90000, 'a')});
    open.spool.commit(Start);
    const int handle = ::open(file().c_str(), O_WRONLY); // stays open: closing it would end the lock
    const std::string noise(4096, '\x5A');
    for (off_t page = 1; page < 1500; ++page)
        ASSERT_EQ(::pwrite(handle, noise.data(), noise.size(), page * 4096), 4096);
    const std::size_t found = open.contents().size();
    ASSERT_EQ(open.told.size(), 1u) << found;
    EXPECT_EQ(setAside().size(), 1u);
    EXPECT_EQ(open.spool.dropped(), 81u);
    open.spool.add({"oven", Start, "new"});
    open.spool.commit(Start + 1000);
    EXPECT_EQ(open.contents(), Lines{"new"});
    EXPECT_EQ(open.spool.problem(), "");
    ::close(handle);
}

/// A reason why the spool does not work, and its end.
class StoppedSpoolTest : public SpoolTest
{
protected:
    /// One message, the records wait in memory, and a minute later it works.
    void expectStopped(Open &open, const std::string &why, const std::function<void()> &repair)
    {
        EXPECT_NE(open.spool.problem(), "");
        open.spool.add({"oven", Start, "meanwhile"});
        open.spool.commit(Start);
        open.spool.commit(Start + 1000);
        ASSERT_EQ(open.told.size(), 1u);
        EXPECT_NE(open.told[0].find(why), std::string::npos) << open.told[0];
        EXPECT_EQ(open.told[0].find("the spool '"), 0u) << open.told[0];
        repair();
        open.spool.commit(Start + Minute - 1);
        EXPECT_NE(open.spool.problem(), "") << "tried too often";
        open.spool.commit(Start + Minute);
        EXPECT_EQ(open.spool.problem(), "");
        ASSERT_EQ(open.told.size(), 2u);
        EXPECT_NE(open.told[1].find("works again; messages lost meanwhile: 0"), std::string::npos) << open.told[1];
    }
};

TEST_F(StoppedSpoolTest, InUseByAnotherGateway)
{
    auto first = std::make_unique<Open>(settings());
    first->spool.add({"oven", Start, "first"});
    Open second(settings());
    expectStopped(second, "another program has it open; give each gateway a file of its own",
                  [&] { first.reset(); });
    EXPECT_EQ(second.contents(), (Lines{"first", "meanwhile"}));
}

TEST_F(StoppedSpoolTest, FolderIsMissing)
{
    const std::filesystem::path missing = folder.path / "missing";
    Open open(settingsOf(missing / "x.spool"));
    expectStopped(open, "the folder '" + missing.string() + "' does not exist; make it",
                  [&] { std::filesystem::create_directory(missing); });
    EXPECT_EQ(open.contents(), Lines{"meanwhile"});
}

TEST_F(StoppedSpoolTest, FileIsAFolder)
{
    std::filesystem::create_directory(file());
    Open open(settings());
    expectStopped(open, "it is no file", [&] { std::filesystem::remove(file()); });
    EXPECT_EQ(open.contents(), Lines{"meanwhile"});
}

TEST_F(StoppedSpoolTest, MemoryIsBoundedAndLossesAreCounted)
{
    Open open(settingsOf(folder.path / "missing" / "x.spool"));
    const int count = 5000;
    for (int i = 0; i < count; ++i) {
        open.spool.add({"oven", Start, std::to_string(i) + std::string(1000, 'x')});
        ASSERT_LE(open.spool.bytes(), 1 << 20);
    }
    EXPECT_GT(open.spool.bytes(), (1 << 20) - 2000);
    EXPECT_EQ(open.spool.dropped() + quint64(open.spool.records()), quint64(count));
    EXPECT_EQ(std::stoul(open.contents().front()), open.spool.dropped()) << "the oldest go first";
    EXPECT_EQ(open.told.size(), 1u);
}

TEST_F(StoppedSpoolTest, DiskIsFull)
{
    EXPECT_ON_SMALL_DISK(folder.path, [&] {
        Findings findings;
        Open open(settings(64 << 20));
        open.spool.add({"oven", Start, "before"});
        open.spool.commit(Start);
        write(folder.path / "filler", std::string(4 << 20, 'f')); // as much of it as finds room
        for (int i = 0; i < 5; ++i) {
            open.spool.add({"oven", Start, std::to_string(i) + std::string(50000, 'x')});
            open.spool.commit(Start + i * 1000);
        }
        findings.require(!open.spool.problem().empty(), "works on a full disk");
        findings.require(open.told.size() == 1 && open.told[0].find("no space is left") != std::string::npos,
                         "not one message about space");
        findings.require(open.contents().size() == 6, "records are hidden");
        std::filesystem::remove(folder.path / "filler");
        open.spool.commit(Start + 3 * Minute);
        findings.require(open.spool.problem().empty() && open.told.size() == 2, "does not work again");
        findings.require(open.spool.records() == 6 && open.spool.dropped() == 0, "records are lost");
        return findings.text;
    });
}

/// Adds until the disk is full: "0xxx", "1xxx" and so on. Gives their count.
int fill(Spool &spool)
{
    int added = 0;
    while (spool.problem().empty() && added < 100000) {
        for (int i = 0; i < 20; ++i)
            spool.add({"oven", Start, std::to_string(added++) + std::string(300, 'x')});
        spool.commit(Start);
    }
    return added;
}

TEST_F(StoppedSpoolTest, DiskThatTheSpoolItselfHasFilledGivesAllInOrderAndWorksAgain)
{
    EXPECT_ON_SMALL_DISK(folder.path, [&] {
        Findings findings;
        Open open(settings(64 << 20));
        const int added = fill(open.spool);
        findings.require(!open.spool.problem().empty(), "never full");
        int expected = 0;
        Epoch now = Start;
        while (expected < added && findings.text.empty()) {
            const std::vector<Spool::Kept> found = open.spool.oldest(0, 100);
            findings.require(!found.empty(), "nothing left before the last");
            for (const Spool::Kept &each : found) {
                findings.require(std::stoi(each.record.content) == expected++, "not in order, or twice");
                open.spool.acknowledged(each.number);
            }
            open.spool.commit(now += Minute);
        }
        findings.require(open.spool.dropped() == 0, "lost");
        findings.require(open.spool.problem().empty() && open.spool.records() == 0, "does not work again");
        findings.require(open.told.size() == 2, std::to_string(open.told.size()) + " messages");
        return findings.text;
    });
}

/// What is acknowledged while it is stopped makes room for what comes.
std::string stopAndAcknowledge(Open &open, const std::function<bool(int)> &isAcknowledged)
{
    Findings findings;
    const int added = fill(open.spool);
    Lines left;
    for (const Spool::Kept &each : open.spool.oldest(0, added))
        if (isAcknowledged(std::stoi(each.record.content)))
            open.spool.acknowledged(each.number);
        else
            left.push_back(each.record.content);
    open.spool.commit(Start + Minute);
    findings.require(open.spool.problem().empty(), "does not work again");
    open.spool.add({"oven", Start, "afterwards"});
    left.push_back("afterwards");
    open.spool.commit(Start + Minute);
    findings.require(open.contents() == left, "not what was left");
    findings.require(open.spool.records() == std::int64_t(left.size()) && open.spool.dropped() == 0, "lost");
    return findings.text;
}

TEST_F(StoppedSpoolTest, DiskThatTheSpoolItselfHasFilledHasRoomForWhatIsAcknowledged)
{
    const std::function<bool(int)> choices[] = {[](int) { return true; }, [](int number) { return number < 500; },
                                                [](int number) { return number > 1000; },
                                                [](int number) { return number % 8 != 0; }};
    for (const auto &isAcknowledged : choices) {
        EXPECT_ON_SMALL_DISK(folder.path, [&] {
            std::string found;
            {
                Open open(settings(64 << 20));
                found = stopAndAcknowledge(open, isAcknowledged);
            }
            Open again(settings(64 << 20));
            return found + (again.contents().back() == "afterwards" ? "" : "not kept over a restart");
        });
    }
}

TEST_F(StoppedSpoolTest, DiskIsReadOnly)
{
    EXPECT_ON_SMALL_DISK(folder.path, [&] {
        Findings findings;
        const auto remount = [&](unsigned long flags) {
            return ::mount("none", folder.path.c_str(), "tmpfs", MS_REMOUNT | flags, "size=2m") == 0;
        };
        keep({"before"});
        findings.require(remount(MS_RDONLY), "cannot be mounted read-only");
        Open open(settings());
        open.spool.add({"oven", Start, "meanwhile"});
        open.spool.commit(Start);
        findings.require(open.told.size() == 1 && open.told[0].find("may not be written") != std::string::npos,
                         open.told.empty() ? "no message" : "told: " + open.told[0]);
        findings.require(remount(0), "cannot be mounted writable");
        open.spool.commit(Start + Minute);
        findings.require(open.spool.problem().empty() && open.told.size() == 2, "does not work again");
        findings.require(open.contents() == Lines{"before", "meanwhile"}, "not what was kept");
        return findings.text;
    });
}

TEST_F(SpoolTest, AKillLosesNothingOfCommittedSeconds)
{
    std::mt19937 random(7);
    int expected = 0; // all before it were seen committed
    for (int round = 0; round < 20; ++round) {
        int ends[2];
        ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            Open open(settings(16 << 20));
            for (int added = int(open.spool.records());;) {
                for (int i = 0; i < 7; ++i)
                    open.spool.add({"oven", Start, std::to_string(added++) + std::string(200, 'x')});
                open.spool.commit(Start);
                if (::write(ends[1], &added, sizeof added) != sizeof added)
                    ::_exit(1);
            }
        }
        ::close(ends[1]);
        for (auto commits = 1 + random() % 40; commits > 0; --commits)
            ASSERT_EQ(::read(ends[0], &expected, sizeof expected), ssize_t(sizeof expected));
        for (auto spin = random() % 100000; spin > 0; --spin) // somewhere in the next second
            asm volatile("");
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        while (::read(ends[0], &expected, sizeof expected) == ssize_t(sizeof expected))
            ;
        ::close(ends[0]);
        Open open(settings(16 << 20));
        ASSERT_EQ(open.told, Lines());
        const Lines found = open.contents();
        ASSERT_GE(int(found.size()), expected);
        ASSERT_EQ(found.size() % 7, 0u) << "half a second";
        for (std::size_t i = 0; i < found.size(); ++i)
            ASSERT_EQ(std::stoul(found[i]), i) << "lost, twice or out of order";
    }
}

/// What a spool must be, plainly.
class Model
{
public:
    explicit Model(const SpoolSettings &theSettings) : settings(theSettings) {}

    void add(Spool::Number number, const Record &record) { records[number] = record; }
    void acknowledged(Spool::Number number) { records.erase(number); }
    void commit(std::optional<Epoch> now)
    {
        const auto isTooOld = [&](const Record &record) {
            return now && *now - record.time > settings.longestAge.count() * 1000;
        };
        while (!records.empty() && (bytes() > settings.mostBytes || isTooOld(records.begin()->second))) {
            records.erase(records.begin());
            ++dropped;
        }
    }
    std::int64_t bytes() const
    {
        std::int64_t sum = 0;
        for (const auto &each : records)
            sum += Overhead + std::int64_t(each.second.key.size() + each.second.content.size());
        return sum;
    }

    std::map<Spool::Number, Record> records;
    quint64 dropped = 0;

private:
    const SpoolSettings settings;
};

void expectSame(Spool &spool, const Model &model)
{
    ASSERT_EQ(spool.records(), std::int64_t(model.records.size()));
    ASSERT_EQ(spool.bytes(), model.bytes());
    ASSERT_EQ(spool.dropped(), model.dropped);
    ASSERT_EQ(spool.oldestTime(), model.records.empty() ? 0 : model.records.begin()->second.time);
}

void expectSameBehind(Spool &spool, const Model &model, Spool::Number after, int most)
{
    auto expected = model.records.upper_bound(after);
    const std::vector<Spool::Kept> found = spool.oldest(after, most);
    for (const Spool::Kept &each : found) {
        ASSERT_TRUE(expected != model.records.end());
        ASSERT_EQ(each.number, expected->first);
        ASSERT_EQ(each.record.key, expected->second.key);
        ASSERT_EQ(each.record.time, expected->second.time);
        ASSERT_EQ(each.record.content, expected->second.content);
        ++expected;
    }
    ASSERT_TRUE(int(found.size()) == most || expected == model.records.end()) << "fewer than there are";
}

TEST_F(SpoolTest, IsItsModelWhateverIsDone)
{
    SpoolSettings small = settings(20000);
    small.longestAge = std::chrono::seconds(50);
    for (unsigned seed = 1; seed <= 5; ++seed) {
        std::filesystem::remove(file());
        std::mt19937 random(seed);
        const auto below = [&](unsigned span) { return unsigned(random() % span); };
        Model model(small);
        auto open = std::make_unique<Open>(small);
        Epoch now = Start;
        Spool::Number last = 0;
        const auto anyNumber = [&] {
            if (model.records.empty() || below(10) == 0)
                return last - below(50);
            return std::next(model.records.begin(), int(below(unsigned(model.records.size()))))->first;
        };
        for (int step = 0; step < 2000; ++step) {
            const unsigned what = below(100);
            if (what < 50) {
                const unsigned longest = below(20) == 0 ? 9000 : 300;
                const Record record = {std::string(below(9), 'k'), now - below(3000),
                                       std::string(below(longest), char(below(256)))};
                last = open->spool.add(record);
                model.add(last, record);
            } else if (what < 75) {
                const Spool::Number number = anyNumber();
                open->spool.acknowledged(number);
                model.acknowledged(number);
            } else if (what < 90) {
                now += below(3000);
                open->spool.commit(now);
                model.commit(now);
            } else if (what < 98) {
                expectSameBehind(open->spool, model, below(3) ? anyNumber() : 0, int(below(30)));
            } else {
                open.reset();
                model.commit({});
                open = std::make_unique<Open>(small);
                model.dropped = 0;
            }
            expectSame(open->spool, model);
            if (HasFatalFailure())
                FAIL() << "seed " << seed << ", step " << step;
        }
        EXPECT_EQ(open->told, Lines());
    }
}

} // namespace
