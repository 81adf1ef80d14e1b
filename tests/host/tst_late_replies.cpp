// Which questions wait for the late replies to others.
#include "host/late_replies.h"
#include "support/frames.h"

#include <gtest/gtest.h>

using namespace fgs;

namespace
{

const Time Now = 1s, Until = 3s;

/// Of four words of area 5, from address 100 on, and of two from there.
Protocol read(int station, int count = 4)
{
    Protocol request;
    request.frame = frames::sealed(QByteArray::fromHex("00FE01080064"
                                                       "00")
                                       .replace(0, 1, QByteArray(1, char(station)))
                                       .replace(4, 1, QByteArray(1, char(count))));
    return request;
}

Protocol write(int station)
{
    Protocol request;
    request.frame = frames::sealed(QByteArray(1, char(station)) + QByteArray::fromHex("FF0108016400"
                                                                                      "1234"));
    return request;
}

class LateRepliesTest : public ::testing::Test
{
protected:
    LateRepliesTest() { replies.expect(read(1), DataStarts(), Until); }

    bool blocks(const Protocol &request, Time now = Now) { return replies.blocking(request, now) != nullptr; }

    LateReplies replies;
};

TEST_F(LateRepliesTest, TheSameQuestionIsAskedAgainAtOnce)
{
    EXPECT_FALSE(blocks(read(1)));
}

TEST_F(LateRepliesTest, AnotherQuestionOfTheShapeWaitsUntilTheReplyIsTooLate)
{
    Protocol other = read(1);
    other.frame = frames::sealed(other.frame.left(5).append(char(200)).append('\0'));
    EXPECT_TRUE(blocks(other));
    EXPECT_TRUE(blocks(other, Until - Time(1)));
    EXPECT_FALSE(blocks(other, Until));
}

TEST_F(LateRepliesTest, QuestionsOfOtherShapesAndStationsDoNotWait)
{
    EXPECT_FALSE(blocks(read(1, 2)));
    EXPECT_FALSE(blocks(read(2)));
}

/// What was read before the write is old after it.
TEST_F(LateRepliesTest, AfterAWriteTheSameQuestionWaitsToo)
{
    replies.noteWrite(write(2));
    EXPECT_FALSE(blocks(read(1))) << "another station was written to";
    replies.noteWrite(write(1));
    EXPECT_TRUE(blocks(read(1)));
}

TEST_F(LateRepliesTest, AWriteToAllStationsIsOneToEach)
{
    replies.noteWrite(write(0));
    EXPECT_TRUE(blocks(read(1)));
}

} // namespace
