// The conversions and the save routines on raw buffers: those of the driver, which end where their area ends, and
// a caller's own.
#include "compare.h"
#include "generate.h"

#include <climits>

using namespace model;

// Three buffers of one side.
struct Buffers {
    unsigned char *uc;
    unsigned short *us;
    unsigned *ui;
};

struct ModelBuffers {
    std::vector<unsigned char> *uc;
    std::vector<unsigned short> *us;
    std::vector<unsigned> *ui;
};

class BuffersAgainstModel : public DriverTest
{
protected:
    // The driver's buffers, or own ones; in those nothing is aimed outside.
    void begin(Random &random)
    {
        reset();
        expected = Model();
        fillImages(expected, static_cast<unsigned>(random.number()));
        own = random.chance(30);
        ownBits = anyBytes(random, 1000);
        ownWords.clear();
        ownDoubleWords.clear();
        for (int i = 0; i < 1000; ++i) {
            ownWords.push_back(static_cast<unsigned short>(random.number()));
            ownDoubleWords.push_back(static_cast<unsigned>(random.number()));
        }
        modelBits = ownBits;
        modelWords = ownWords;
        modelDoubleWords = ownDoubleWords;
    }

    Buffers buffers()
    {
        Tarn_FGsSeries &d = PLC_driver;
        if (own)
            return {ownBits.data(), ownWords.data(), ownDoubleWords.data()};
        return {d.ucArea11, d.usArea7, d.uiArea10};
    }
    ModelBuffers modelBuffers()
    {
        if (own)
            return {&modelBits, &modelWords, &modelDoubleWords};
        return {&expected.image.bits[11], &expected.image.words[7], &expected.image.doubleWords};
    }

    std::string differenceOfBuffers()
    {
        if (ownBits != modelBits || ownWords != modelWords || ownDoubleWords != modelDoubleWords)
            return "the own buffer differs";
        return differenceOfState(expected, settings);
    }

    std::string conversion(Random &random)
    {
        int start = random.chance(70) ? random.between(-40, 300) : random.between(-40, 1200);
        int count = random.chance(95) ? random.between(-1, 60) : random.pick({INT_MIN, 20000, INT_MAX});
        if (own) {
            start = random.between(0, 800);
            count = random.between(-1, 150);
        }
        Bytes data =
            random.chance(50) ? anyBits(random, random.between(0, 120)) : anyBytes(random, random.between(0, 120));
        QByteArray got = toDriver(data);
        const int routine = random.between(0, 7);
        convert(routine, start, count, data, got);
        const std::string found = first({named("bytes", difference(data, got)), differenceOfBuffers()});
        return found.empty() ? found
                             : "conversion " + std::to_string(routine) + " start " + std::to_string(start) +
                                   " count " + std::to_string(count) + (own ? " own" : "") + ": " + found;
    }

    void convert(int routine, int start, int count, Bytes &data, QByteArray &got)
    {
        const Buffers b = buffers();
        const ModelBuffers m = modelBuffers();
        switch (routine) {
        case 0:
            return GetBitFromUC(data, *m.uc, start, count), GetBitFromUC(got, b.uc, start, count);
        case 1:
            return GetBitFromUS(data, *m.us, start, count), GetBitFromUS(got, b.us, start, count);
        case 2:
            return GetWordFromUS(data, *m.us, start, count), GetWordFromUS(got, b.us, start, count);
        case 3:
            return GetWordFromUI(data, *m.ui, start, count), GetWordFromUI(got, b.ui, start, count);
        case 4:
            return SetBitToUC(start, *m.uc, data, count), SetBitToUC(start, b.uc, &got, count);
        case 5:
            return SetBitToUS(start, *m.us, data, count), SetBitToUS(start, b.us, &got, count);
        case 6:
            return SetWordToUS(start, *m.us, data, count), SetWordToUS(start, b.us, &got, count);
        default:
            return SetWordToUI(start, *m.ui, data, count), SetWordToUI(start, b.ui, &got, count);
        }
    }

    // One variable of a reply, whatever its area type says, by the local routine or its remote twin.
    std::string saving(Random &random)
    {
        Var var = anyVar(random);
        var.address = own ? random.between(0, 700) : random.pick({var.address, random.between(-60, 1200)});
        const int start = random.chance(90) ? random.between(0, 20) : random.pick({0, 100, INT_MAX});
        const int len = random.chance(90) ? random.between(0, 60) : random.pick({INT_MIN, -1, 200, INT_MAX});
        const Bytes reply = anyBytes(random, random.between(0, 90));
        const int routine = random.between(0, 5);
        inFlight(random, var, start, len);
        save(routine, var, start, len, reply);
        const std::string found = differenceOfBuffers();
        return found.empty()
                   ? found
                   : "saving " + std::to_string(routine) + " " + text(reply) + " start " + std::to_string(start) +
                         " len " + std::to_string(len) + (own ? " own " : " ") + text(var) + ": " + found;
    }

    void inFlight(Random &random, const Var &var, int start, int len)
    {
        const int i = random.between(0, 5);
        iTimes = expected.iTimes = i;
        expected.CurrentRWVar.assign(static_cast<size_t>(i), Var());
        expected.CurrentRWVar.push_back(var);
        CurrentRWVar = toDriver(expected.CurrentRWVar);
        iRet_ValidStar[i] = expected.iRet_ValidStar[static_cast<size_t>(i)] = start;
        iRet_ValidLen[i] = expected.iRet_ValidLen[static_cast<size_t>(i)] = len;
        Request head;
        head.var = var;
        head.dataStart = start;
        head.dataLen = len;
        expected.ProtocolList = {head};
        PLC_driver.ProtocolList.clear();
        PLC_driver.ProtocolList.append(toDriver(head));
    }

    void save(int routine, const Var &var, int start, int len, const Bytes &reply)
    {
        QByteArray got = toDriver(reply);
        const Buffers b = buffers();
        const ModelBuffers m = modelBuffers();
        if (routine % 3 == 0) {
            SaveBitToUC(*m.uc, reply, var.address, start, len);
            routine < 3 ? SaveBitToUC(&got, b.uc) : SaveBitToUCRemote(&got, b.uc);
        } else if (routine % 3 == 1) {
            SaveWordToUS(*m.us, reply, var.address, start, len);
            routine < 3 ? SaveWordToUS(&got, b.us) : SaveWordToUSRemote(&got, b.us);
        } else {
            SaveWordToUI(*m.ui, reply, var.address, start, len);
            routine < 3 ? SaveWordToUI(&got, b.ui) : SaveWordToUIRemote(&got, b.ui);
        }
        SpecialRegisterSave(&got, b.us);
    }

    Model expected;
    bool own = false;
    Bytes ownBits, modelBits;
    std::vector<unsigned short> ownWords, modelWords;
    std::vector<unsigned> ownDoubleWords, modelDoubleWords;
};

TEST_F(BuffersAgainstModel, Conversions)
{
    forEachCase(1500, [this](Random &random) {
        begin(random);
        return repeatedly(20, [&] { return conversion(random); });
    });
}

TEST_F(BuffersAgainstModel, Saving)
{
    forEachCase(1500, [this](Random &random) {
        begin(random);
        return repeatedly(20, [&] { return saving(random); });
    });
}
