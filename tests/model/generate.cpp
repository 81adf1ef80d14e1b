#include "generate.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>

namespace model
{

int anyInt(Random &random)
{
    switch (random.between(0, 5)) {
    case 0:
        return random.pick({INT_MIN, INT_MIN + 1, INT_MIN + 7, INT_MAX, INT_MAX - 1, INT_MAX - 7});
    case 1:
        return random.pick({-8, -2, -1, 0, 1, 2, 7, 8, 255, 256, 65535, 65536, 65537});
    case 2:
        return random.between(INT_MIN, INT_MAX);
    default:
        return random.between(-40, 400);
    }
}

Bytes anyBytes(Random &random, int count)
{
    Bytes bytes;
    for (int i = 0; i < count; ++i)
        bytes.push_back(lowByte(random.between(0, 255)));
    return bytes;
}

Bytes anyBits(Random &random, int count)
{
    Bytes bytes;
    for (int i = 0; i < count; ++i)
        bytes.push_back(lowByte(random.chance(5) ? random.between(2, 255) : random.between(0, 1)));
    return bytes;
}

int anyAreaType(Random &random)
{
    return random.chance(4) ? random.pick({-1, 14, 15, 200, 255}) : random.between(0, 13);
}

bool isBitArea(int areaType)
{
    return (areaType >= 0 && areaType <= 4) || areaType == 11;
}

int addressIn(Random &random, int areaType)
{
    const int ends[] = {2048, 2048, 12000, 2048, 2048, 10000, 256, 256, 256, 256, 256, 1120, 8, 8};
    const int end = areaType >= 0 && areaType <= 13 ? ends[areaType] : 100;
    if (random.chance(60))
        return random.between(0, 40);
    return random.chance(40) ? random.between(0, end) : end + random.between(-25, 25);
}

Text addressText(Random &random, int areaType, int address)
{
    if (random.chance(3)) {
        const char16_t *const odd[] = {u"",     u" ",   u"x1",          u"1x",          u"18",         u"9",
                                       u"0x10", u"1 2", u"2147483647",  u"-2147483648", u"2147483648", u"--1",
                                       u"+",    u"-",   u"17777777777", u"20000000000", u"-1",         u"-7",
                                       u"1.0",  u"+-1", u"99999999999", u"-99999999999"};
        return odd[random.between(0, static_cast<int>(std::size(odd)) - 1)];
    }
    char digits[40];
    std::snprintf(digits, sizeof(digits), areaType == 0 || areaType == 1 ? "%o" : "%u",
                  static_cast<unsigned>(address < 0 ? -Wide(address) : address));
    Text text(address < 0 ? u"-" : random.chance(3) ? u"+" : u"");
    text += random.chance(5) ? u"00" : u"";
    text.append(digits, digits + std::strlen(digits));
    return (random.chance(3) ? u" \t" : u"") + text + (random.chance(3) ? u" " : u"");
}

int anyLength(Random &random)
{
    if (random.chance(92))
        return random.between(1, 20);
    return random.chance(30) ? random.between(-20, 0) : random.between(20, 400);
}

Var anyVar(Random &random)
{
    Var var;
    var.hostType = random.between(-1, 14);
    var.hostAddr = random.between(0, 4);
    var.hostField3 = random.between(0, 300);
    var.remoteModeCopy = random.between(0, 1);
    var.linkNo = random.chance(85) ? 0 : random.between(0, 2);
    var.result = random.between(0, 3);
    var.text1 = random.chance(50) ? u"first" : u"";
    var.areaType = anyAreaType(random);
    var.address = addressIn(random, var.areaType);
    if (random.chance(3))
        var.address = random.between(-20, -1);
    var.addressText = addressText(random, var.areaType, addressIn(random, var.areaType));
    var.station = random.chance(90) ? random.between(1, 3) : random.pick({0, 0, 4, 255, 256, 257, -1});
    var.length = anyLength(random);
    var.remoteStoreMark = random.chance(50) ? -1 : random.between(-2, 2);
    var.hostField14 = random.between(-1, 70000);
    const int right = std::max(isBitArea(var.areaType) ? var.length : 2 * var.length, 0);
    const int size = random.chance(80) ? right : random.between(0, right + 4);
    var.data = isBitArea(var.areaType) ? anyBits(random, size) : anyBytes(random, size);
    return var;
}

Var extremeVar(Random &random)
{
    Var var = anyVar(random);
    if (random.chance(30))
        var.areaType = anyInt(random);
    if (random.chance(50))
        var.address = anyInt(random);
    if (random.chance(30))
        var.station = anyInt(random);
    if (random.chance(50))
        var.length = anyInt(random);
    if (random.chance(20)) {
        var.hostType = anyInt(random);
        var.hostField3 = anyInt(random);
        var.linkNo = anyInt(random);
        var.remoteStoreMark = anyInt(random);
        var.hostField14 = anyInt(random);
    }
    return var;
}

std::vector<HostVar> anyHostVars(Random &random, int most)
{
    std::vector<HostVar> list;
    const int count = random.between(0, most);
    const int onlyArea = random.chance(30) ? random.between(0, 13) : -1;
    for (int i = 0; i < count; ++i) {
        HostVar var;
        var.areaType = onlyArea >= 0 && random.chance(90) ? onlyArea : anyAreaType(random) & 255;
        var.station = random.chance(90) ? random.between(1, 3) : random.pick({0, 4, 254, 255});
        var.address = addressText(random, var.areaType, addressIn(random, var.areaType));
        var.length = anyLength(random);
        list.push_back(var);
    }
    return list;
}

int anyBlockSize(Random &random)
{
    return random.chance(50) ? random.between(8, 64) : random.pick({-1, 0, 1, 2, 3, 5, 30, 32, 255, 1000});
}

static long long environmentNumber(const char *name, long long otherwise)
{
    const char *value = std::getenv(name);
    return value ? std::atoll(value) : otherwise;
}

void forEachCase(int count, const std::function<std::string(Random &)> &run)
{
    const int affordable = TARN_SANITIZED ? count / 4 : count;
    const long long first = environmentNumber("TARN_MODEL_SEED", 1);
    const long long cases = environmentNumber("TARN_MODEL_COUNT", affordable);
    int failures = 0;
    for (long long seed = first; seed < first + cases && failures < 3; ++seed) {
        Random random(static_cast<unsigned long long>(seed));
        const std::string difference = run(random);
        if (difference.empty())
            continue;
        ++failures;
        ADD_FAILURE() << "seed " << seed << ", " << difference << "\nagain: TARN_MODEL_SEED=" << seed
                      << " TARN_MODEL_COUNT=1";
    }
}

} // namespace model
