// The requests in ProtocolList from one to the next: their record and room serve again, their contents do not.
#include "support/polling.h"

namespace
{

class RequestLife : public PollingTest
{
protected:
    /// Sends a write of these values, and has it acknowledged.
    static void write(const QByteArray &values)
    {
        RW_VAR var = variable(5, 100, int(values.size()) / 2, 1, values);
        AddListWriteVar(&var, 1);
        next();
        EXPECT_EQ(answerWell(), 1);
    }
};

TEST_F(RequestLife, AnAnsweredWriteLetsGoOfTheHostsValues)
{
    const QByteArray values(20, '\1');
    write(values);
    EXPECT_TRUE(values.isDetached());
}

TEST_F(RequestLife, TheRoomOfALongFrameIsGivenBack)
{
    cyclic({1});
    write(QByteArray(2000, '\1'));
    ASSERT_NE(next(), nullptr);
    EXPECT_LT(PLC_driver.ProtocolList.first().frame.capacity(), 100);
}

TEST_F(RequestLife, ARequestThatTheHostAppendsEndsLikeAnyOther)
{
    cyclic({1, 1});
    const Protocol own = *next();
    EXPECT_EQ(answerWell(), 1);
    PLC_driver.ProtocolList.append(own);
    EXPECT_EQ(next(), &PLC_driver.ProtocolList.first());
    EXPECT_EQ(answerWell(), 1);
    EXPECT_TRUE(PLC_driver.ProtocolList.isEmpty());
    ASSERT_NE(next(), nullptr);
    EXPECT_EQ(hex(head().frame), hex(own.frame));
}

} // namespace
