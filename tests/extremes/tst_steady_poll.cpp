// A steady poll of groups of one size asks for no memory.
#include "support/heap.h"
#include "support/polling.h"

namespace
{

class SteadyPoll : public PollingTest
{
protected:
    /// Polls so many times and gives the number of good results. The replies are made before they are needed.
    int poll(int count)
    {
        int good = 0;
        for (int i = 0; i < count; ++i) {
            QByteArray &reply = replies[ComCommunication()->replyLen];
            good += DataCom(&reply, int(reply.size()))->result == 1;
        }
        return good;
    }

    void makeReplies(int count)
    {
        for (int i = 0; i < count; ++i) {
            const Protocol &request = *ComCommunication();
            replies[request.replyLen] = goodReply(request);
            DataCom(&replies[request.replyLen], request.replyLen);
        }
    }

    std::map<int, QByteArray> replies;
};

TEST_F(SteadyPoll, AsksForNoMemory)
{
    const int cycle = 2; // groups of six
    cyclic({1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 2});
    makeReplies(2 * cycle);
    const long long before = heap::requests();
    const int good = poll(100 * cycle);
    const long long after = heap::requests();
    EXPECT_EQ(good, 100 * cycle);
    EXPECT_EQ(after, before);
}

TEST_F(SteadyPoll, AWriteThatIsDoneLeavesNothingOfItsDataBehind)
{
    RW_VAR write = variable(5, 1000, 400, 1, QByteArray(800, 1));
    cyclic({1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2, 2});
    for (int i = 0; i < 2; ++i) { // the first one makes the queue
        SCOPED_TRACE(i);
        makeReplies(4);
        const long long before = heap::inUse();
        PLC_driver.WriteVarList.append(write);
        makeReplies(1);
        EXPECT_TRUE(write.data.isDetached());
        EXPECT_LT(heap::inUse(), before + 400);
    }
}

} // namespace
