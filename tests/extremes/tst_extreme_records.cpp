// The fields of a record, in pairs: through every function that takes one, and through whole jobs.
#include "extremes.h"
#include "support/fake_controller.h"

namespace
{

using namespace extremes;

/// In the order of recordOf(). The kinds of areas differ in capacity, so each has edges of its own. What is not
/// looked at to find a place goes through the same code for all kinds; once is enough.
std::vector<Parameter> parametersFor(int areaType, int capacity, bool allFields)
{
    const Values others = allFields ? edges() : Values();
    return {{"hostType", 0, others},
            {"hostAddr", 0, others},
            {"hostField3", 0, others},
            {"remoteModeCopy", 0, others},
            {"linkNo", 0, others},
            {"result", 0, others},
            {"areaType", areaType, areaTypes()},
            {"address", 8, edgesAround(capacity)},
            {"station", 1, edges()},
            {"length", 4, edgesAround(capacity)},
            {"remoteStoreMark", -1, others},
            {"hostField14", 0, others}};
}

RW_VAR recordOf(const Values &values)
{
    int RW_VAR::*const fields[] = {&RW_VAR::hostType,       &RW_VAR::hostAddr,        &RW_VAR::hostField3,
                                   &RW_VAR::remoteModeCopy, &RW_VAR::linkNo,          &RW_VAR::result,
                                   &RW_VAR::areaType,       &RW_VAR::address,         &RW_VAR::station,
                                   &RW_VAR::length,         &RW_VAR::remoteStoreMark, &RW_VAR::hostField14};
    RW_VAR var;
    for (size_t i = 0; i < values.size(); ++i)
        var.*fields[i] = values[i];
    var.addressText = QString::number(var.address);
    var.data = QByteArray(16, 1);
    return var;
}

struct Function {
    const char *name;
    void (*call)(RW_VAR *var);
};

void PrintTo(const Function &function, std::ostream *out)
{
    *out << function.name;
}

RW_VAR plain()
{
    return variable(5, 100, 4);
}

template <int (*Merge)(QList<RW_VAR> *, int, int)>
void merge(RW_VAR *var)
{
    QList<RW_VAR> list;
    list << plain() << *var << plain();
    Bubble_Sort(&list);
    Merge(&list, 30, 0);
}

/// A reply of the length that the request names, if there can be one.
QByteArray answerTo(const Protocol &request)
{
    if (request.replyLen == 3)
        return bytes("01 FF 20");
    return request.replyLen > 3 && request.replyLen <= 70000 ? frames::sealed(QByteArray(request.replyLen - 2, 1))
                                                             : QByteArray();
}

/// The first request is answered, the others are not.
void poll()
{
    for (int i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        const Protocol *request = ComCommunication();
        if (!request)
            return;
        EXPECT_EQ(request->frameLen, request->frame.size());
        QByteArray reply = i == 0 ? answerTo(*request) : QByteArray();
        DataCom(&reply, int(reply.size()));
    }
}

void pollCyclic(RW_VAR *var)
{
    PLC_driver.ReadVarList << *var << plain() << *var;
    poll();
}

void pollWrite(RW_VAR *var)
{
    PLC_driver.WriteVarList << *var << *var;
    poll();
}

void pollOnce(RW_VAR *var)
{
    PLC_driver.OnceReadVarList << *var << *var;
    poll();
}

template <void (*Poll)(RW_VAR *)>
void remotely(RW_VAR *var)
{
    PLC_driver.settings->remoteMode = 1;
    Poll(var);
}

/// In few pieces: how long many take does not depend on the other fields.
void queueOnce(RW_VAR *var)
{
    PLC_driver.settings->blockWords = 1 << 20;
    AddListOnceReadVar(var, 0);
}

const Function functions[] = {
    {"AddListReadVar", [](RW_VAR *var) { AddListReadVar(var); }},
    {"AddListWriteVar", [](RW_VAR *var) { AddListWriteVar(var, 0); }},
    {"AddListOnceReadVar", queueOnce},
    {"passRetValue", [](RW_VAR *var) { passRetValue(var, &PLC_driver.RetVar); }},
    {"WordVarReCreat", merge<WordVarReCreat>},
    {"BitVarReCreat", merge<BitVarReCreat>},
    {"WriteDataToLocal", WriteDataToLocal},
    {"ReadRegister1", ReadRegister1},
    {"ReadRegister2", [](RW_VAR *var) { ReadRegister2(var, var); }},
    {"ReadRegister3", [](RW_VAR *var) { ReadRegister3(var, var, var); }},
    {"ReadRegister4", [](RW_VAR *var) { ReadRegister4(var, var, var, var); }},
    {"ReadRegister5", [](RW_VAR *var) { ReadRegister5(var, var, var, var, var); }},
    {"ReadRegister6", [](RW_VAR *var) { ReadRegister6(var, var, var, var, var, var); }},
    {"ReadRegister", ReadRegister},
    {"ReadBool", ReadBool},
    {"ReadAnalog", ReadAnalog},
    {"ReadAnalog_32CV", ReadAnalog_32CV},
    {"WriteRegister", WriteRegister},
    {"WriteBool", WriteBool},
    {"WriteAnalog", WriteAnalog},
    {"WriteAnalog_32CV", WriteAnalog_32CV},
    {"Remote_ReadVar", Remote_ReadVar},
    {"Remote_WriteVar", Remote_WriteVar},
    {"cyclic_job", pollCyclic},
    {"write_job", pollWrite},
    {"once_job", pollOnce},
    {"remote_cyclic_job", remotely<pollCyclic>},
    {"remote_write_job", remotely<pollWrite>},
    {"remote_once_job", remotely<pollOnce>},
};

class ExtremeRecords : public ExtremesTest, public ::testing::WithParamInterface<Function>
{
};

TEST_P(ExtremeRecords, AreTakenInPairs)
{
    const Function &function = GetParam();
    const std::vector<Parameter> kinds[] = {parametersFor(2, 12000, false), parametersFor(5, 10000, true),
                                            parametersFor(10, 256, false)};
    for (const std::vector<Parameter> &parameters : kinds)
        forPairsInBothSchemes(parameters, [&](int stationMode, const Values &values) {
            restart(stationMode);
            RW_VAR var = recordOf(values);
            bounded(function.name + describe(parameters, values), [&] { function.call(&var); });
        });
    EXPECT_GT(calls, 0);
}

INSTANTIATE_TEST_SUITE_P(Through, ExtremeRecords, ::testing::ValuesIn(functions),
                         [](const ::testing::TestParamInfo<Function> &function) { return function.param.name; });

} // namespace
