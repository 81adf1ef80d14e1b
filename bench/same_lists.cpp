// Builds cyclic lists from random variables, by the driver and by the plain baseline, and prints how many were
// compared and how many differ.
#include "driver_under_test.h"
#include "plain.h"

#include <cstdio>
#include <random>

namespace
{

std::mt19937 generator(7);

int below(int end)
{
    return int(generator() % unsigned(end));
}

/// Addresses close together or far apart, lengths of less than a block or of several.
QList<HOST_VAR> randomVariables(int most, int blockWords)
{
    const int range = 1 + below(60000), longest = below(2) ? 4 : 3 * blockWords, areas = 1 + below(14);
    QList<HOST_VAR> variables;
    for (int i = below(most + 1); i > 0; --i) {
        const int areaType = areas == 14 && below(50) == 0 ? 14 + below(242) : below(areas);
        variables.append(bench::hostVar(areaType, below(4), below(range), below(longest + 1)));
        if (below(100) == 0)
            variables.last().address = below(2) ? QStringLiteral("-5") : QStringLiteral("9x");
    }
    return variables;
}

bool same(const RW_VAR &a, const RW_VAR &b)
{
    return a.hostType == b.hostType && a.hostAddr == b.hostAddr && a.hostField3 == b.hostField3 &&
           a.remoteModeCopy == b.remoteModeCopy && a.linkNo == b.linkNo && a.result == b.result &&
           a.text1 == b.text1 && a.addressText == b.addressText && a.areaType == b.areaType &&
           a.address == b.address && a.station == b.station && a.length == b.length &&
           a.remoteStoreMark == b.remoteStoreMark && a.hostField14 == b.hostField14 && a.data == b.data;
}

bool same(const QList<RW_VAR> &a, const QList<RW_VAR> &b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const RW_VAR &x, const RW_VAR &y) { return same(x, y); });
}

bool agree(QList<HOST_VAR> variables, int blockWords, bool perStation)
{
    COMINFO &settings = bench::startDriver(blockWords, perStation);
    settings.remoteMode = below(3);
    settings.localLinkNo = below(3);
    const QList<RW_VAR> expected = plain::cyclicList(variables, settings);
    const int result = ReCreatReadVarList(&variables);
    return same(PLC_driver.ReadVarList, expected) && result == (perStation ? int(expected.size()) : 0);
}

} // namespace

int main()
{
    int compared = 0, different = 0;
    for (int round = 0; round < 2000; ++round, ++compared) {
        const int blockWords = 2 + below(100);
        different += !agree(randomVariables(round % 100 ? 200 : 2000, blockWords), blockWords, round % 2);
    }
    for (bool perStation : {false, true}) {
        different += !agree(bench::shuffledVariables(10000), 30, perStation);
        ++compared;
    }
    std::printf("%d %d\n", compared, different);
    return different != 0;
}
