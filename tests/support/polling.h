// A poll loop for tests: takes the next request and answers it, well or not.
#ifndef TARN_TESTS_POLLING_H
#define TARN_TESTS_POLLING_H

#include "support/fixture.h"
#include "support/wire.h"

class PollingTest : public DriverTest
{
protected:
    /// A reply that the driver must accept: the acknowledgement of a write, or zeros of the expected length.
    static QByteArray goodReply(const Protocol &request)
    {
        if (request.replyLen == 0)
            return QByteArray();
        if (request.replyLen == 3)
            return QByteArray::fromHex("01FF20");
        return frames::sealed(QByteArray(request.replyLen - 2, 0));
    }

    /// Hands over the reply to the request in flight and gives the result.
    static int answer(const QByteArray &reply)
    {
        QByteArray copy = reply;
        const RW_VAR *result = DataCom(&copy, int(copy.size()));
        EXPECT_EQ(result, &PLC_driver.RetVar);
        EXPECT_TRUE(locksAreFree());
        return result->result;
    }
    static int answerWell() { return answer(goodReply(head())); }
    static int noAnswer() { return answer(QByteArray()); }

    /// The next request; null if there is none.
    static Protocol *next()
    {
        Protocol *request = ComCommunication();
        EXPECT_TRUE(locksAreFree());
        return request;
    }

    /// Polls so many times; a letter for each: w write, o one-shot read, c cyclic read, - nothing to send.
    static std::string jobs(int count)
    {
        std::string text;
        for (int i = 0; i < count; ++i) {
            SCOPED_TRACE(i);
            const bool any = next();
            text += !any                            ? '-'
                    : PLC_driver.CurrentSource == 0 ? 'c'
                    : PLC_driver.CurrentSource == 1 ? 'w'
                    : PLC_driver.CurrentSource == 2 ? 'o'
                                                    : '?';
            if (any) {
                EXPECT_EQ(answerWell(), 1);
            }
        }
        return text;
    }

    /// Words at address 0, 10, 20, ... of these stations, far enough apart to be told from each other.
    static void cyclic(std::initializer_list<int> stations)
    {
        for (int station : stations)
            PLC_driver.ReadVarList.append(variable(5, 10 * int(PLC_driver.ReadVarList.size()), 1, station));
    }
    static void writes(int count)
    {
        for (int i = 0; i < count; ++i)
            PLC_driver.WriteVarList.append(variable(5, 1000 + i, 1, 1, QByteArray::fromHex("3412")));
    }
    static void onceReads(int count)
    {
        for (int i = 0; i < count; ++i)
            PLC_driver.OnceReadVarList.append(variable(2, 8 * i, 1));
    }

    /// A cyclic read of one word from station 1 at address 0, in flight; unless there are more cyclic reads.
    static void readInFlight()
    {
        cyclic({1});
        next();
    }
    static QByteArray wordReply(unsigned value)
    {
        QByteArray reply = QByteArray::fromHex("01FE010801");
        frames::put16(reply, value);
        return frames::sealed(reply);
    }

    /// "1 2 3": a field of every entry, by default the address.
    static std::string column(const QList<RW_VAR> &list, int RW_VAR::*field = &RW_VAR::address)
    {
        std::string text;
        for (const RW_VAR &var : list)
            text += (text.empty() ? "" : " ") + std::to_string(var.*field);
        return text;
    }
};

#endif
