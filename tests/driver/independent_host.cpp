// A host compiled without the driver's header: it polls a controller in memory, reads values and writes some.
// Ends with 0 if everything arrived where it should.
#include "independent_records.h"
#include "support/fake_controller.h"

#include <cstdio>
#include <cstdlib>

#ifdef TARN_FGSSERIES_H
#error "this program must not see the driver's own header"
#endif

namespace
{

int failures = 0;
int callbackArguments[4];

void expect(bool met, const char *what)
{
    std::printf("%s: %s\n", met ? "ok" : "FAILED", what);
    failures += met ? 0 : 1;
}

void onOnceRead(int handle, int hostType, int hostAddr, int status)
{
    const int arguments[] = {handle, hostType, hostAddr, status};
    for (int i = 0; i < 4; ++i)
        callbackArguments[i] = arguments[i];
}

HOST_VAR hostVariable(unsigned char areaType, const char *address, int length)
{
    HOST_VAR variable;
    variable.areaType = areaType;
    variable.station = 1;
    variable.address = QString::fromLatin1(address);
    variable.length = length;
    return variable;
}

/// Runs the poll loop until nothing is queued but the cyclic list, at least once around it.
void poll(FakeController &controller, int steps)
{
    for (int i = 0; i < steps; ++i) {
        const Protocol *request = ComCommunication();
        if (!request)
            return;
        QByteArray reply = controller.answer(request->frame.left(request->frameLen));
        const RW_VAR *result = DataCom(&reply, int(reply.size()));
        expect(result == &PLC_driver.RetVar && result->result == 1, "a request is answered with result 1");
    }
}

QByteArray read(int areaType, const char *address, int length)
{
    QByteArray values;
    expect(GetRegisterData(0, areaType, QString::fromLatin1(address), 1, &values, length) == 1, "a read succeeds");
    return values;
}

int write(int areaType, const char *address, QByteArray values, int length)
{
    return SetRegisterData(QString(), areaType, QString::fromLatin1(address), 1, &values, length, 2, 77);
}

void startUp(int *settings)
{
    settings[BlockWords] = 64;
    settings[DefaultStation] = 1;
    settings[WriteMode] = 2;
    settings[HostHandle] = 4242;
    SetComInfo(settings);
    RegistCallBackFuncIntf(onOnceRead, 0);
    expect(FlashLocalRegister(settings, settings, settings) == 452, "FlashLocalRegister returns 452");
    expect(QueryFinishFlag() == 1, "QueryFinishFlag returns 1");
    expect(PLCAddressChangeIntef(10, QString::fromLatin1("250")) == 50, "address 250 of area 10 is 50");
    QList<HOST_VAR> variables;
    variables << hostVariable(5, "100", 4) << hostVariable(1, "20", 8) << hostVariable(10, "3", 3);
    expect(ReCreatReadVarList(&variables) == 0, "the cyclic list is built");
    expect(PLC_driver.ReadVarList.size() == 3, "the cyclic list has three blocks");
}

void valuesArrive(FakeController &controller)
{
    controller.at(1, 0x08, 100) = 0x1234;
    controller.at(1, 0x08, 103) = 0xABCD;
    controller.at(1, 0x01, 16) = 1;
    controller.at(1, 0x01, 23) = 1;
    controller.at(1, 0x13, 4) = 0x12345678;
    poll(controller, 1);
    expect(read(5, "100", 4) == QByteArray::fromHex("341200000000cdab"), "words arrive");
    expect(read(1, "20", 8) == QByteArray::fromHex("0100000000000001"), "bits arrive");
    expect(read(10, "4", 2) == QByteArray::fromHex("78563412"), "double words arrive");
    expect(PLC_driver.uiArea10[4] == 0x12345678 && PLC_driver.usArea5[103] == 0xABCD,
           "the image is where it should be");
}

void writesGoOut(FakeController &controller)
{
    expect(write(5, "100", QByteArray::fromHex("efbe"), 1) == 1, "a word is queued");
    expect(write(1, "20", QByteArray::fromHex("00"), 1) == 2, "a bit is queued");
    expect(write(10, "9", QByteArray::fromHex("0df0adde"), 2) == 3, "a double word is queued");
    expect(PLC_driver.WriteVarList.size() == 3 && PLC_driver.WriteVarList.at(0).hostAddr == 77,
           "the queue holds them");
    poll(controller, 3);
    expect(controller.at(1, 0x08, 100) == 0xBEEF, "the controller has the word");
    expect(controller.at(1, 0x01, 16) == 0, "the controller has the bit");
    expect(controller.at(1, 0x13, 9) == 0xDEADF00D, "the controller has the double word");
    expect(read(5, "100", 1) == QByteArray::fromHex("efbe"), "the host reads back what it wrote");
}

void onceReadsCallBack(FakeController &controller)
{
    RW_VAR variable = RW_VAR();
    variable.hostType = 3;
    variable.hostAddr = 88;
    variable.addressText = QString::fromLatin1("40");
    variable.areaType = 1;
    variable.length = 3;
    controller.at(1, 0x01, 33) = 1;
    expect(AddListOnceReadVar(&variable, 0) == 1, "a one-shot read is queued");
    poll(controller, 1);
    const int expected[] = {4242, 3, 88, 1};
    for (int i = 0; i < 4; ++i)
        expect(callbackArguments[i] == expected[i], "the callback tells of the one-shot read");
    expect(read(1, "40", 3) == QByteArray::fromHex("000100"), "the one-shot read reached the image");
}

void anotherObjectStandsApart()
{
    const Tarn_FGsSeries other;
    expect(!other.settings && !other.CallBackFunc && other.CurrentSource == 100 && other.RetVar.result == 1,
           "an object of the host's own begins as PLC_driver did");
    expect(other.ReadVarList.isEmpty() && other.usArea5[100] == 0 && other.uiArea10[4] == 0 && !other.CommFailFlag,
           "it holds nothing");
    expect(PLC_driver.ReadVarList.size() == 3 && PLC_driver.uiArea10[4] == 0x12345678,
           "PLC_driver keeps what it has");
}

} // namespace

int main()
{
    COMINFO settings = {};
    FakeController controller;
    startUp(settings);
    valuesArrive(controller);
    writesGoOut(controller);
    onceReadsCallBack(controller);
    anotherObjectStandsApart();
    poll(controller, 2);
    expect(settings[CycleDone] == 1 && PLC_driver.CurrentSource == 0, "a pass over the cyclic list was completed");
    expect(PLC_driver.ReadVarList.size() == 3 && PLC_driver.ProtocolList.isEmpty(), "nothing is left in flight");
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
