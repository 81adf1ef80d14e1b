#include "compare.h"

#include <cstring>

namespace model
{

QString toDriver(const Text &text)
{
    // Character by character: fromUtf16() takes a first U+FEFF for a byte order mark.
    return QString(reinterpret_cast<const QChar *>(text.data()), static_cast<int>(text.size()));
}

QByteArray toDriver(const Bytes &bytes)
{
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), static_cast<int>(bytes.size()));
}

struct NamedNumber {
    const char *name;
    int Var::*expected;
    int RW_VAR::*got;
};

static const NamedNumber numbersOfVar[] = {
    {"hostType", &Var::hostType, &RW_VAR::hostType},
    {"hostAddr", &Var::hostAddr, &RW_VAR::hostAddr},
    {"hostField3", &Var::hostField3, &RW_VAR::hostField3},
    {"remoteModeCopy", &Var::remoteModeCopy, &RW_VAR::remoteModeCopy},
    {"linkNo", &Var::linkNo, &RW_VAR::linkNo},
    {"result", &Var::result, &RW_VAR::result},
    {"areaType", &Var::areaType, &RW_VAR::areaType},
    {"address", &Var::address, &RW_VAR::address},
    {"station", &Var::station, &RW_VAR::station},
    {"length", &Var::length, &RW_VAR::length},
    {"remoteStoreMark", &Var::remoteStoreMark, &RW_VAR::remoteStoreMark},
    {"hostField14", &Var::hostField14, &RW_VAR::hostField14},
};

RW_VAR toDriver(const Var &var)
{
    RW_VAR made;
    for (const NamedNumber &number : numbersOfVar)
        made.*number.got = var.*number.expected;
    made.text1 = toDriver(var.text1);
    made.addressText = toDriver(var.addressText);
    made.data = toDriver(var.data);
    return made;
}

Protocol toDriver(const Request &request)
{
    Protocol made;
    made.frame = toDriver(request.frame);
    made.frameLen = request.frameLen;
    made.replyLen = request.replyLen;
    made.dataStart = request.dataStart;
    made.dataLen = request.dataLen;
    made.var = toDriver(request.var);
    return made;
}

QList<RW_VAR> toDriver(const std::vector<Var> &list)
{
    QList<RW_VAR> made;
    for (const Var &var : list)
        made.append(toDriver(var));
    return made;
}

QList<HOST_VAR> toDriver(const std::vector<HostVar> &list)
{
    QList<HOST_VAR> made;
    for (const HostVar &var : list) {
        HOST_VAR host;
        host.areaType = static_cast<unsigned char>(var.areaType);
        host.station = static_cast<unsigned char>(var.station);
        host.address = toDriver(var.address);
        host.length = var.length;
        made.append(host);
    }
    return made;
}

std::string named(const std::string &name, const std::string &difference)
{
    if (difference.empty())
        return difference;
    return name + (difference[0] == '[' || difference[0] == ':' ? "" : ".") + difference;
}

std::string first(std::initializer_list<std::string> differences)
{
    for (const std::string &difference : differences)
        if (!difference.empty())
            return difference;
    return "";
}

static std::string expectedGot(const std::string &expected, const std::string &got)
{
    return ": expected " + expected + ", got " + got;
}

std::string text(const Bytes &bytes)
{
    const size_t shown = std::min<size_t>(bytes.size(), 64);
    const std::string head = hex(toDriver(Bytes(bytes.begin(), bytes.begin() + std::ptrdiff_t(shown))));
    return "(" + std::to_string(bytes.size()) + " bytes) " + head + (shown < bytes.size() ? " ..." : "");
}

std::string text(const Text &text)
{
    return "'" + toDriver(text).toStdString() + "'";
}

std::string text(const Var &var)
{
    return std::to_string(var.areaType) + "/" + std::to_string(var.address) + " x" + std::to_string(var.length) +
           " station " + std::to_string(var.station) + " hostType " + std::to_string(var.hostType) + " hostAddr " +
           std::to_string(var.hostAddr) + " linkNo " + std::to_string(var.linkNo) + " mark " +
           std::to_string(var.remoteStoreMark) + " text " + text(var.addressText) + " data " + text(var.data);
}

std::string difference(int expected, int got)
{
    return expected == got ? "" : expectedGot(std::to_string(expected), std::to_string(got));
}

std::string difference(const Bytes &expected, const QByteArray &got)
{
    if (expected.size() == static_cast<size_t>(got.size()) &&
        std::equal(expected.begin(), expected.end(), got.constData(),
                   [](unsigned char a, char b) { return a == static_cast<unsigned char>(b); }))
        return "";
    return expectedGot(text(expected), text(Bytes(got.begin(), got.end())));
}

static std::string difference(const Text &expected, const QString &got)
{
    if (expected.size() == static_cast<size_t>(got.size()) &&
        std::memcmp(expected.data(), got.constData(), expected.size() * sizeof(char16_t)) == 0)
        return "";
    return expectedGot(text(expected), text(got.toStdU16String()));
}

std::string difference(const Var &expected, const RW_VAR &got)
{
    for (const NamedNumber &number : numbersOfVar)
        if (expected.*number.expected != got.*number.got)
            return named(number.name, difference(expected.*number.expected, got.*number.got));
    const std::string found = first({named("text1", difference(expected.text1, got.text1)),
                                     named("addressText", difference(expected.addressText, got.addressText))});
    return found.empty() ? named("data", difference(expected.data, got.data)) : found;
}

std::string difference(const Request &expected, const Protocol &got)
{
    const struct {
        const char *name;
        int expected, got;
    } numbers[] = {
        {"frameLen", expected.frameLen, got.frameLen},
        {"replyLen", expected.replyLen, got.replyLen},
        {"dataStart", expected.dataStart, got.dataStart},
        {"dataLen", expected.dataLen, got.dataLen},
        {"spare[0]", 0, got.spare[0]},
        {"spare[1]", 0, got.spare[1]},
        {"spare[2]", 0, got.spare[2]},
    };
    std::string found = named("frame", difference(expected.frame, got.frame));
    for (const auto &number : numbers)
        if (found.empty())
            found = named(number.name, difference(number.expected, number.got));
    return found.empty() ? named("var", difference(expected.var, got.var)) : found;
}

static std::string difference(const Stored &expected, const EXTENDVAR &got)
{
    const std::string found = first({named("station", difference(expected.station, got.station)),
                                     named("areaType", difference(expected.areaType, got.areaType)),
                                     named("address", difference(expected.address, got.address))});
    return found.empty() ? named("value", difference(expected.value, got.value)) : found;
}

template <typename Expected, typename Got>
static std::string differenceOfLists(const std::vector<Expected> &expected, const QList<Got> &got)
{
    const int both = std::min(static_cast<int>(expected.size()), static_cast<int>(got.size()));
    for (int i = 0; i < both; ++i) {
        const std::string found = difference(expected[static_cast<size_t>(i)], got.at(i));
        if (!found.empty())
            return named("[" + std::to_string(i) + "]", found);
    }
    return named("size", difference(static_cast<int>(expected.size()), static_cast<int>(got.size())));
}

std::string difference(const std::vector<Var> &expected, const QList<RW_VAR> &got)
{
    return differenceOfLists(expected, got);
}

std::string difference(const std::vector<Stored> &expected, const QList<EXTENDVAR> &got)
{
    return differenceOfLists(expected, got);
}

/// Visits the driver's buffer and the model's items of each area.
template <typename AnyImage, typename Visit>
static void forEachArea(AnyImage &image, Visit visit)
{
    for (const AreaBuffer &area : areaBuffers()) {
        if (area.itemSize == 1)
            visit(area, image.bits.at(area.areaType));
        else if (area.itemSize == 2)
            visit(area, image.words.at(area.areaType));
        else
            visit(area, image.doubleWords);
    }
}

std::string differenceOfImage(const Image &expected)
{
    std::string found;
    forEachArea(expected, [&found](const AreaBuffer &area, const auto &items) {
        if (!found.empty() || std::memcmp(items.data(), area.start, items.size() * sizeof(items[0])) == 0)
            return;
        size_t i = 0;
        while (items[i] == area.at(int(i)))
            ++i;
        found = "area " + std::to_string(area.areaType) + "[" + std::to_string(i) + "]" +
                expectedGot(std::to_string(items[i]), std::to_string(area.at(int(i))));
    });
    return found;
}

static std::string differenceOfNumbers(const Model &expected)
{
    const Tarn_FGsSeries &driver = PLC_driver;
    const struct {
        const char *name;
        int expected, got;
    } numbers[] = {
        {"CurrentSource", expected.CurrentSource, driver.CurrentSource},
        {"WriteTimes", expected.WriteTimes, driver.WriteTimes},
        {"OnceReadTimes", expected.OnceReadTimes, driver.OnceReadTimes},
        {"CycleReadCount", expected.CycleReadCount, driver.CycleReadCount},
        {"CommFailFlag", expected.CommFailFlag, driver.CommFailFlag},
        {"iTimes", expected.iTimes, iTimes},
        {"SpareVarList.size", 0, static_cast<int>(driver.SpareVarList.size())},
        {"ProtocolList.size", static_cast<int>(expected.ProtocolList.size()),
         static_cast<int>(driver.ProtocolList.size())},
    };
    for (const auto &number : numbers)
        if (number.expected != number.got)
            return number.name + difference(number.expected, number.got);
    for (size_t i = 0; i < 6; ++i) {
        const std::string index = "[" + std::to_string(i) + "]";
        if (expected.iRet_ValidStar[i] != iRet_ValidStar[i])
            return "iRet_ValidStar" + index + difference(expected.iRet_ValidStar[i], iRet_ValidStar[i]);
        if (expected.iRet_ValidLen[i] != iRet_ValidLen[i])
            return "iRet_ValidLen" + index + difference(expected.iRet_ValidLen[i], iRet_ValidLen[i]);
    }
    return "";
}

static std::string differenceOfSettings(const Model &expected, const COMINFO &settings)
{
    int words[20];
    std::memcpy(words, &settings, sizeof(words));
    for (size_t i = 0; i < 20; ++i)
        if (words[i] != expected.settings[i])
            return "COMINFO word " + std::to_string(i) + difference(expected.settings[i], words[i]);
    return "";
}

std::string differenceOfState(const Model &expected, const COMINFO &settings)
{
    const Tarn_FGsSeries &driver = PLC_driver;
    const std::string found =
        first({differenceOfNumbers(expected), differenceOfSettings(expected, settings),
               named("ReadVarList", difference(expected.ReadVarList, driver.ReadVarList)),
               named("WriteVarList", difference(expected.WriteVarList, driver.WriteVarList)),
               named("OnceReadVarList", difference(expected.OnceReadVarList, driver.OnceReadVarList)),
               named("CurrentRWVar", difference(expected.CurrentRWVar, CurrentRWVar)),
               named("ProtocolList", differenceOfLists(expected.ProtocolList, driver.ProtocolList)),
               named("RetVar", difference(expected.RetVar, driver.RetVar)),
               named("ExtendVarList", difference(expected.ExtendVarList, driver.ExtendVarList))});
    return found.empty() ? differenceOfImage(expected.image) : found;
}

void setWord(Model &model, COMINFO &settings, int word, int value)
{
    model.settings[static_cast<size_t>(word)] = value;
    std::memcpy(reinterpret_cast<char *>(&settings) + 4 * word, &value, sizeof(value));
}

void fillImages(Model &model, unsigned seed)
{
    forEachArea(model.image, [&seed](const AreaBuffer &area, auto &items) {
        for (size_t i = 0; i < items.size(); ++i) {
            seed = seed * 1664525 + 1013904223;
            items[i] = static_cast<std::remove_reference_t<decltype(items[i])>>(seed >> 8);
            area.put(int(i), items[i]);
        }
    });
}

} // namespace model
