// The driver and its model as fuzz targets have them: one stage, put back to its beginning for every input.
#ifndef TARN_TESTS_FUZZ_STAGE_H
#define TARN_TESTS_FUZZ_STAGE_H

#include "model/generate.h"
#include "model/replies.h"
#include "model/storage_operations.h"
#include "target.h"

namespace fuzz
{

/// A test fixture outside a test.
template <typename Fixture>
class Stage : public Fixture
{
public:
    using Fixture::reset;
    using Fixture::settings;

private:
    void TestBody() override {}
};

/// The model's random cases, decided by the input.
inline model::Random decisions(Input &input)
{
    return model::Random([&input](unsigned long long span) { return input.below(span); });
}

/// One request in flight and the replies to it, on both sides.
class Exchange : public Stage<model::StorageOperations>
{
public:
    /// Both sides as after loading, with any settings that matter to replies.
    void begin(model::Random &random)
    {
        StorageOperations::begin(random);
        set(model::retryLimit, random.between(-1, 3));
        set(model::retryCount, random.between(0, 2));
        set(model::remoteMode, random.chance(80) ? 0 : 1);
        set(model::localLinkNo, random.chance(80) ? 0 : random.between(0, 2));
        set(model::frameTotal, random.between(0, 3));
        set(model::frameDone, random.between(0, 2));
        set(model::blockWords, 30);
        set(model::defaultStation, random.between(0, 2));
    }

    /// Builds a request of any kind. Returns what differs.
    std::string build(model::Random &random)
    {
        switch (random.between(0, 3)) {
        case 0:
            return group(random);
        case 1:
            return single(random, &model::Model::ReadRegister, ReadRegister);
        case 2:
            return single(random, &model::Model::WriteRegister, WriteRegister);
        default:
            return remote(random);
        }
    }

    std::string remote(model::Random &random)
    {
        return random.chance(50) ? single(random, &model::Model::Remote_ReadVar, Remote_ReadVar)
                                 : single(random, &model::Model::Remote_WriteVar, Remote_WriteVar);
    }

    /// One reply, of any bytes and any length, to what is in flight. Returns what differs.
    std::string answer(model::Random &random, Input &input)
    {
        model::Bytes reply = anyReply(random, input);
        int length = static_cast<int>(reply.size());
        if (random.chance(20))
            model::damage(random, reply, length);
        else if (random.chance(15))
            length = model::anyInt(random);
        QByteArray got = model::toDriver(reply);
        const bool isNull = reply.empty() && random.chance(50);
        expected.DataCom(reply, length);
        require(DataCom(isNull ? nullptr : &got, length) == &PLC_driver.RetVar, "DataCom() returns not RetVar");
        std::string found = model::named("reply", model::difference(reply, got));
        if (found.empty())
            found = model::differenceOfState(expected, settings);
        return found.empty() ? found
                             : "DataCom(" + model::text(reply) + ", " + std::to_string(length) + "): " + found +
                                   describeRequest();
    }

private:
    template <typename Record>
    std::string single(model::Random &random, void (model::Model::*ofModel)(Record), void (*ofDriver)(RW_VAR *))
    {
        model::Var var = anyTarget(random);
        RW_VAR record = model::toDriver(var);
        (expected.*ofModel)(var);
        ofDriver(&record);
        return model::named("argument", model::difference(var, record));
    }

    std::string group(model::Random &random)
    {
        std::vector<model::Var> vars;
        std::vector<RW_VAR> records;
        const int count = random.between(1, 6);
        for (int i = 0; i < count; ++i) {
            vars.push_back(anyTarget(random));
            records.push_back(model::toDriver(vars.back()));
        }
        expected.ReadRegisterGroup(vars);
        readGroup(records);
        std::string found;
        for (size_t i = 0; i < vars.size() && found.empty(); ++i)
            found = model::named("argument", model::difference(vars[i], records[i]));
        return found;
    }

    // Of lengths that are built and looked up in no time.
    static model::Var anyTarget(model::Random &random)
    {
        model::Var var = random.chance(80) ? model::anyVar(random) : model::extremeVar(random);
        var.length = std::min(var.length, 500);
        return var;
    }

    // What the controller would say, the input's own bytes, or those sealed behind the head of the request.
    model::Bytes anyReply(model::Random &random, Input &input)
    {
        const int kind = expected.ProtocolList.empty() ? 0 : random.between(0, 2);
        if (kind == 1)
            return model::goodReply(random, expected.ProtocolList[0]);
        model::Bytes reply = input.bytes(static_cast<size_t>(random.between(0, 300)));
        if (kind == 0)
            return reply;
        const model::Bytes &frame = expected.ProtocolList[0].frame;
        for (size_t i = 0; i < 3 && i < std::min(reply.size(), frame.size()); ++i)
            reply[i] = frame[i];
        const unsigned crc = model::CalCRC(reply, static_cast<model::Wide>(reply.size()));
        reply.push_back(model::lowByte(crc));
        reply.push_back(model::lowByte(crc >> 8));
        return reply;
    }
};

} // namespace fuzz

#endif
