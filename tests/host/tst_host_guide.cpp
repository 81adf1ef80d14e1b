// The C++ blocks of docs/host-guide.md, compiled as they stand, one after the other, and run.
#include "host_guide.h"

#include "support/fake_link.h"

namespace
{

struct EndedRead {
    int hostType, hostAddr, status;
};
std::vector<EndedRead> endedReads;

class Line : public Link
{
public:
    FakeController controller;
    std::vector<int> results;
    int pauses = 0;

    void sleep(int) override { ++pauses; }
    void drain() override { answer.clear(); }
    void send(const QByteArray &frame) override { answer = controller.answer(frame); }
    QByteArray receive(int bytes, int) override
    {
        EXPECT_EQ(bytes, int(answer.size()));
        return answer;
    }
    void log(int result, const RW_VAR &) override { results.push_back(result); }

private:
    QByteArray answer;
};

class HostGuide : public DriverTest
{
protected:
    HostGuide()
    {
        endedReads.clear();
        ::settings = COMINFO();
        start();
    }

    int wanted(int code, int address) const { return int(line.controller.at(1, code, address)); }

    Line line;
};

TEST_F(HostGuide, LoadsTheDriver)
{
    ASSERT_TRUE(load());
    EXPECT_EQ(&ComCommunication, nextRequest);
    EXPECT_EQ(&DataCom, takeReply);
}

TEST_F(HostGuide, PollsWhatTheScreensShow)
{
    pollOnce(line, 9600);
    EXPECT_EQ(std::vector<int>({1}), line.results);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(wanted(0x08, 100 + i), wordOfArea5(std::to_string(100 + i).c_str(), 1)) << i;
    EXPECT_EQ(wanted(0x00, 15), PLC_driver.ucArea0[1] >> 7);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(unsigned(wanted(0x13, i)), PLC_driver.uiArea10[i]) << i;
    EXPECT_EQ(0, line.pauses);
}

TEST_F(HostGuide, WaitsWhileThereIsNothingToSend)
{
    QList<HOST_VAR> nothing;
    ReCreatReadVarList(&nothing);
    pollOnce(line, 9600);
    EXPECT_EQ(1, line.pauses);
}

TEST_F(HostGuide, GivesTheBytesTheirTimeOnTheLine)
{
    Protocol largest;
    largest.frameLen = 29;
    largest.replyLen = 377;
    EXPECT_EQ(100 + 211, timeLimit(largest, 19200));
}

TEST_F(HostGuide, ReadsBitsOnce)
{
    readBitsOnce(2, QString::fromLatin1("8"), 8, 3, 7);
    pollOnce(line, 9600);
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(wanted(0x02, 8 + i), PLC_driver.ucArea2[1] >> i & 1) << i;
    ASSERT_EQ(1u, endedReads.size());
    EXPECT_EQ(3, endedReads[0].hostType);
    EXPECT_EQ(7, endedReads[0].hostAddr);
    EXPECT_EQ(1, endedReads[0].status);
}

TEST_F(HostGuide, WritesAWord)
{
    EXPECT_TRUE(writeWord(QString::fromLatin1("100"), 1, 0x1234, 5, 0));
    pollOnce(line, 9600);
    EXPECT_EQ(0x1234, wanted(0x08, 100));
    EXPECT_EQ(0x1234, wordOfArea5("100", 1));
}

TEST_F(HostGuide, PollsRemotely)
{
    ::settings.remoteMode = 1;
    PLC_driver.ReadVarList.clear();
    pollRemotely(5, 5, 100, 1, 4);
    const Protocol *const request = ComCommunication();
    ASSERT_NE(nullptr, request);
    EXPECT_EQ(5, request->var.linkNo);
    EXPECT_EQ(-1, request->var.remoteStoreMark);
    EXPECT_EQ(100, request->var.address);
}

} // namespace

void onceReadEnded(int, int hostType, int hostAddr, int status)
{
    endedReads.push_back({hostType, hostAddr, status});
}
