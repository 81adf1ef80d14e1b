// The poll loop and what lies behind it.
#include "replies.h"
#include "session.h"

using namespace model;

std::string Session::ask()
{
    operation += "ComCommunication";
    const Request *request = expected.ComCommunication();
    const Protocol *got = ComCommunication();
    if (!request || !got)
        return request || got ? "null differs" : "";
    if (got != &PLC_driver.ProtocolList.constFirst())
        return "not the head of ProtocolList";
    return named("request", model::difference(*request, *got));
}

std::string Session::answer(const Bytes &reply, int length)
{
    operation += "DataCom(" + text(reply) + ", " + std::to_string(length) + ")";
    QByteArray bytesOfReply = toDriver(reply);
    expected.DataCom(reply, length);
    const RW_VAR *got = DataCom(&bytesOfReply, length);
    if (got != &PLC_driver.RetVar)
        return "DataCom returned something else than RetVar";
    return named("reply", model::difference(reply, bytesOfReply));
}

std::string Session::poll()
{
    const std::string found = first({ask(), difference()});
    if (!found.empty() || expected.ProtocolList.empty())
        return found;
    operation += ", ";
    Bytes reply = goodReply(random, expected.ProtocolList[0]);
    int length = static_cast<int>(reply.size());
    if (random.between(0, 100) > calm)
        damage(random, reply, length);
    return answer(reply, length);
}

std::string Session::askOnly()
{
    return ask();
}

std::string Session::answerOnly()
{
    Bytes reply = anyBytes(random, random.between(0, 12));
    int length = static_cast<int>(reply.size());
    if (random.chance(50) && !expected.ProtocolList.empty())
        reply = goodReply(random, expected.ProtocolList[0]);
    if (random.chance(20))
        length = anyInt(random);
    return answer(reply, length);
}

bool Session::startJob()
{
    ComCommunication();
    return expected.ComCommunication() && !PLC_driver.ProtocolList.isEmpty();
}

// A request that no scheduler asked for, by itself or behind the one in flight.
std::string Session::builder()
{
    Var var = anyVar(random);
    operation = "a request alone: " + text(var) + ", ";
    RW_VAR record = toDriver(var);
    switch (random.between(0, 3)) {
    case 0:
        expected.ReadRegister(var);
        ReadRegister(&record);
        break;
    case 1:
        expected.WriteRegister(var);
        WriteRegister(&record);
        break;
    case 2:
        expected.Remote_WriteVar(var);
        Remote_WriteVar(&record);
        break;
    default:
        expected.ReadRegisterGroup({var});
        ReadRegister1(&record);
        break;
    }
    const std::string found = named("argument", model::difference(var, record));
    return found.empty() ? poll() : found;
}

// A job of several frames, as no builder makes alone: more requests behind the one in flight.
std::string Session::moreFrames()
{
    const int frames = random.between(1, 3);
    operation = "further frames: " + std::to_string(frames);
    if (!startJob())
        return "";
    for (int i = 0; i < frames; ++i) {
        Var var = anyVar(random);
        RW_VAR record = toDriver(var);
        random.between(0, 1) ? (expected.ReadRegister(var), ReadRegister(&record))
                             : (expected.Remote_ReadVar(var), Remote_ReadVar(&record));
    }
    set(frameTotal, frames + random.between(0, 1));
    return "";
}

// A request to which any length, or another one, is an answer.
std::string Session::otherReplyLength()
{
    const int length = random.pick({-1, -1, -1, 0, 2, 3, 8, 40});
    operation = "replyLen = " + std::to_string(length) + ", ";
    if (!startJob())
        return "";
    expected.ProtocolList[0].replyLen = length;
    PLC_driver.ProtocolList[0].replyLen = length;
    return poll();
}

// The routines behind DataCom(), by themselves.
std::string Session::judge()
{
    if (!startJob())
        return "";
    Bytes reply = goodReply(random, expected.ProtocolList[0]);
    int length = static_cast<int>(reply.size());
    if (random.chance(60))
        damage(random, reply, length);
    operation = "judging " + text(reply) + ", length " + std::to_string(length);
    QByteArray got = toDriver(reply);
    std::string found =
        named("CheckGetData", model::difference(expected.CheckGetData(reply, length), CheckGetData(&got, length)));
    if (found.empty() && random.chance(50))
        found = named("DealDataOfLocalArea", model::difference(expected.DealDataOfLocalArea(reply, length),
                                                               DealDataOfLocalArea(&got, length)));
    else if (found.empty())
        found = named("DealDataOfRemoteArea", model::difference(expected.DealDataOfRemoteArea(reply, length),
                                                                DealDataOfRemoteArea(&got, length)));
    const int reason = random.between(-1, 9);
    if (found.empty())
        found = named("GetDriverReturnValue",
                      model::difference(expected.GetDriverReturnValue(reason), GetDriverReturnValue(reason)));
    return found;
}
