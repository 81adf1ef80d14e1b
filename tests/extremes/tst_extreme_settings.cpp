// The words of the host's settings, in pairs: before a job, and changed while its request is in flight.
#include "extremes.h"
#include "support/fake_controller.h"

namespace
{

using namespace extremes;

const std::vector<Parameter> words = {
    {"blockWords", 30, edges()}, {"defaultStation", 1, edges()}, {"retryLimit", 1, edges()},
    {"retryCount", 0, edges()},  {"stationMode", 0, edges()},    {"frameTotal", 0, edges()},
    {"frameDone", 0, edges()},   {"remoteMode", 0, edges()},     {"localLinkNo", 0, edges()},
    {"writeMode", 2, edges()},   {"cycleDone", 0, edges()},      {"hostHandle", 0, edges()},
    {"groupExtra", 0, edges()},
};
int COMINFO::*const members[] = {
    &COMINFO::blockWords,  &COMINFO::defaultStation, &COMINFO::retryLimit, &COMINFO::retryCount,
    &COMINFO::stationMode, &COMINFO::frameTotal,     &COMINFO::frameDone,  &COMINFO::remoteMode,
    &COMINFO::localLinkNo, &COMINFO::writeMode,      &COMINFO::cycleDone,  &COMINFO::hostHandle,
    &COMINFO::groupExtra,
};
int COMINFO::*const hostsOwn[] = {
    &COMINFO::blockWords, &COMINFO::defaultStation, &COMINFO::retryLimit, &COMINFO::stationMode,
    &COMINFO::remoteMode, &COMINFO::localLinkNo,    &COMINFO::writeMode,  &COMINFO::hostHandle,
};

QString text(int number)
{
    return QString::number(number);
}

class ExtremeSettings : public ExtremesTest
{
protected:
    void apply(const Values &values)
    {
        for (size_t i = 0; i < values.size(); ++i)
            settings.*members[i] = values[i];
    }

    static void build()
    {
        QList<HOST_VAR> vars;
        for (int areaType : {2, 10, 5}) {
            HOST_VAR var;
            var.areaType = static_cast<unsigned char>(areaType);
            var.station = 1;
            var.address = text(100);
            var.length = 40;
            vars.append(var);
        }
        ReCreatReadVarList(&vars);
    }

    /// Something of every kind to do.
    static void fill()
    {
        build();
        QByteArray values(80, 1), out;
        SetRegisterData(QString(), 5, text(7), 1, &values, 40, 3, 4);
        RW_VAR wish = variable(2, 0, 24);
        wish.addressText = text(16);
        AddListOnceReadVar(&wish, 0);
        GetRegisterData(0, 5, text(0), 1, &out, 4);
    }

    static QByteArray answer()
    {
        const int length = head().replyLen;
        if (length == 3)
            return bytes("01 FF 20");
        return length > 3 && length <= 100000 ? frames::sealed(QByteArray(length - 2, 1)) : QByteArray();
    }

    /// Every third request gets no reply. The change is made while each is in flight.
    template <typename Change>
    void poll(Change change)
    {
        for (int i = 0; i < 8; ++i) {
            ComCommunication();
            change();
            QByteArray reply = i % 3 == 2 ? QByteArray() : answer();
            DataCom(&reply, int(reply.size()));
        }
    }
};

TEST_F(ExtremeSettings, AreTakenInPairs)
{
    forPairs(words, [&](const Values &values) {
        restart(0);
        apply(values);
        bounded("before:" + describe(words, values), [&] {
            fill();
            poll([] {});
        });
        for (size_t i = 0; i < words.size(); ++i)
            for (int COMINFO::*own : hostsOwn)
                if (members[i] == own) {
                    EXPECT_EQ(settings.*own, values[i]) << "the driver changed " << words[i].name;
                }
    });
}

TEST_F(ExtremeSettings, MayChangeWhileARequestIsInFlight)
{
    for (int stationMode : {0, 1})
        forPairs(words, [&](const Values &values) {
            restart(stationMode);
            fill();
            bounded("in flight:" + describe(words, values), [&] { poll([&] { apply(values); }); });
        });
}

} // namespace
