// Replies on the remote path: those to remote requests, and those to a request whose positions may be anything; the
// whole storage, and the routines for one kind of area by themselves.
#include "stage.h"

namespace
{

class Remote : public fuzz::Exchange
{
public:
    /// One of the routines that store into a buffer, of the smallest area of its kind.
    std::string storeAlone(model::Random &random)
    {
        model::Request head;
        head.var = model::anyVar(random);
        head.dataStart = random.between(0, 5);
        head.dataLen = random.between(0, 40);
        expected.ProtocolList = {head};
        PLC_driver.ProtocolList.clear();
        PLC_driver.ProtocolList.append(model::toDriver(head));
        const model::Bytes reply = model::anyBytes(random, random.between(0, 45));
        QByteArray got = model::toDriver(reply);
        const int routine = random.between(0, 2);
        if (routine == 0) {
            model::SaveBitToUC(expected.image.bits[11], reply, head.var.address, head.dataStart, head.dataLen);
            SaveBitToUCRemote(&got, PLC_driver.ucArea11);
        } else if (routine == 1) {
            model::SaveWordToUS(expected.image.words[7], reply, head.var.address, head.dataStart, head.dataLen);
            SaveWordToUSRemote(&got, PLC_driver.usArea7);
        } else {
            model::SaveWordToUI(expected.image.doubleWords, reply, head.var.address, head.dataStart, head.dataLen);
            SaveWordToUIRemote(&got, PLC_driver.uiArea10);
        }
        return model::differenceOfState(expected, settings);
    }
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    static Remote stage;
    fuzz::Input input(bytes, size);
    model::Random random = fuzz::decisions(input);
    stage.begin(random);
    stage.set(model::localLinkNo, 77); // nobody's, so every link is a remote one
    while (!input.isUsedUp()) {
        if (random.chance(20)) {
            fuzz::requireNone(stage.remoteReply(random));
            continue;
        }
        if (random.chance(20)) {
            fuzz::requireNone(stage.storeAlone(random));
            continue;
        }
        fuzz::requireNone(stage.remote(random));
        for (int replies = random.between(1, 3); replies > 0; --replies)
            fuzz::requireNone(stage.answer(random, input));
    }
    return 0;
}
