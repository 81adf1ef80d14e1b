// A host that finds the driver at run time. Usage: loaded_host [FILE]. Exit code 0: one word went all the way.
#include "host/driver_api.h"

#include <cstdio>

namespace
{

COMINFO settings = COMINFO();

HOST_VAR word(const char *address)
{
    HOST_VAR var;
    var.areaType = 5;
    var.address = QString::fromLatin1(address);
    var.length = 2;
    return var;
}

/// Reads two words of area 5 from a controller that answers 0x1234 and 0x5678.
bool readsTwoWords(const fgs::DriverApi &driver)
{
    settings.blockWords = 30;
    settings.defaultStation = 1;
    driver.SetComInfo(&settings);
    QList<HOST_VAR> vars;
    vars.append(word("100"));
    driver.ReCreatReadVarList(&vars);
    const Protocol *const request = driver.ComCommunication();
    if (!request || request->frame != QByteArray::fromHex("01FE01080264 00AABE"))
        return false;
    QByteArray reply = QByteArray::fromHex("01FE010802123456789AD4");
    const int result = driver.DataCom(&reply, int(reply.size()))->result;
    QByteArray values;
    driver.GetRegisterData(0, 5, QString::fromLatin1("100"), 1, &values, 2);
    const bool placed = driver.CurrentRWVar->size() == 1 && (*driver.iRet_ValidStar)[0] == 5;
    return result == 1 && placed && (*driver.iRet_ValidLen)[0] == 4 && values == QByteArray::fromHex("34127856");
}

} // namespace

int main(int argc, char **argv)
{
    try {
        const fgs::LoadedDriver driver(argc > 1 ? QString::fromLocal8Bit(argv[1])
                                                : QStringLiteral("libTarnFGs.so.1"));
        if (readsTwoWords(driver.api()))
            return 0;
        std::fprintf(stderr, "the driver did not do its work\n");
    } catch (const std::runtime_error &error) {
        std::fprintf(stderr, "%s\n", error.what());
    }
    return 1;
}
