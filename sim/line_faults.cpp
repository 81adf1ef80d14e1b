#include "line_fault_parts.h"

namespace fgssim
{

namespace
{

using Field = std::vector<int> Exchange::*;

// ---- places

template <Field field>
int eachBit(const Exchange &x)
{
    return 8 * int((x.*field).size());
}
int eachDataBit(const Exchange &x)
{
    return 8 * int(x.data.size());
}
int eachDataByte(const Exchange &x)
{
    return int(x.data.size());
}
int eachBurst(const Exchange &x)
{
    return std::max(0, x.size() - 2 - x.headEnd() - 2);
}
int eachCheckBit(const Exchange &x)
{
    return x.hasCheck ? 8 : 0;
}
int eachByte(const Exchange &x)
{
    return x.size();
}
int eachSplit(const Exchange &x)
{
    return x.size() - 1;
}
int eachCut(const Exchange &x)
{
    return x.size() - 2;
}
int eachHeadByte(const Exchange &x)
{
    return x.headEnd() - 1;
}
int eachLastDataByte(const Exchange &x)
{
    return x.hasCheck ? x.size() - 2 - x.headEnd() : 0;
}

// ---- faults of bits

template <Field field>
LineFault bitOf(const char *name)
{
    return {name, eachBit<field>, arriving([](const Exchange &x, int p) {
                return flipped(x.reply, (x.*field)[std::size_t(p / 8)], p % 8);
            })};
}

template <Field field>
LineFault forged(const char *name)
{
    return {name, [](const Exchange &x) { return x.hasCheck ? eachBit<field>(x) : 0; },
            arriving([](const Exchange &x, int p) {
                return renewed(flipped(x.reply, (x.*field)[std::size_t(p / 8)], p % 8));
            })};
}

LineFaults headAndCheck()
{
    return {
        bitOf<&Exchange::station>("bit of the station byte"),
        bitOf<&Exchange::command>("bit of the command byte"),
        bitOf<&Exchange::number>("bit of the number of blocks"),
        bitOf<&Exchange::codes>("bit of an area code"),
        bitOf<&Exchange::counts>("bit of a count"),
        forged<&Exchange::station>("other station, check right"),
        forged<&Exchange::command>("other command, check right"),
        forged<&Exchange::number>("other number of blocks, check right"),
        forged<&Exchange::codes>("other area code, check right"),
        forged<&Exchange::counts>("other count, check right"),
        {"bit of the check, low byte", eachCheckBit,
         arriving([](const Exchange &x, int p) { return flipped(x.reply, x.size() - 2, p); })},
        {"bit of the check, high byte", eachCheckBit,
         arriving([](const Exchange &x, int p) { return flipped(x.reply, x.size() - 1, p); })},
        {"check bytes swapped", onceIfChecked,
         arriving([](const Exchange &x, int) { return swapped(x.reply, x.size() - 2); })},
    };
}

LineFaults dataBytes()
{
    const auto at = [](const Exchange &x, int p) { return x.data[std::size_t(p)]; };
    return {
        {"data bit", eachDataBit,
         arriving([at](const Exchange &x, int p) { return flipped(x.reply, at(x, p / 8), p % 8); })},
        {"data bit, check right", eachDataByte,
         arriving([at](const Exchange &x, int p) { return renewed(flipped(x.reply, at(x, p), p % 8)); })},
        {"burst that the check misses", eachBurst,
         arriving([](const Exchange &x, int p) { return withBurst(x.reply, x.headEnd() + p); })},
        whole("every byte 00", [](const Exchange &x) { return Bytes(x.reply.size(), 0x00); }),
        whole("every byte FF", [](const Exchange &x) { return Bytes(x.reply.size(), 0xFF); }),
        whole("top bits lost", [](const Exchange &x) { return withoutTopBits(x.reply); }),
        whole("bytes in reverse", [](const Exchange &x) { return reversed(x.reply); }),
    };
}

LineFaults lengths()
{
    return {
        whole("one byte short", [](const Exchange &x) { return first(x.reply, x.size() - 1); }),
        {"cut at every byte", eachCut, arriving([](const Exchange &x, int p) { return first(x.reply, p + 1); })},
        {"any one byte lost", eachByte, arriving([](const Exchange &x, int p) { return without(x.reply, p); })},
        {"without its check", onceIfChecked,
         arriving([](const Exchange &x, int) { return first(x.reply, x.size() - 2); })},
        whole("one byte long", [](const Exchange &x) { return x.reply + Bytes{0x5A}; }),
        {"one byte more in the head", eachHeadByte,
         arriving([](const Exchange &x, int p) { return inserted(x.reply, p + 1); })},
        {"one byte more in the data", eachLastDataByte,
         arriving([](const Exchange &x, int p) { return inserted(x.reply, x.headEnd() + p); })},
        whole("doubled", [](const Exchange &x) { return x.reply + x.reply; }),
        {"doubled, a moment later", once,
         [](const Exchange &x, int) {
             return Delivery{{ReplyDelay, x.reply}, {ReplyDelay + 1ms, x.reply}};
         }},
        {"doubled, with the next request", once,
         [](const Exchange &x, int) {
             return Delivery{{ReplyDelay, x.reply}, {1ms, x.reply, true}};
         }},
    };
}

LineFaults pieces()
{
    return {
        {"in two pieces", eachSplit,
         [](const Exchange &x, int p) {
             return Delivery{{ReplyDelay, first(x.reply, p + 1)}, {ReplyDelay + Moment, from(x.reply, p + 1)}};
         }},
        {"byte by byte", once,
         [](const Exchange &x, int) {
             Delivery delivery;
             for (int i = 0; i < x.size(); ++i)
                 delivery.push_back({ReplyDelay + i * 500us, {x.reply[std::size_t(i)]}});
             return delivery;
         }},
        {"its end after the limit", eachSplit,
         [](const Exchange &x, int p) {
             return Delivery{{ReplyDelay, first(x.reply, p + 1)}, {x.limit + Moment, from(x.reply, p + 1)}};
         }},
    };
}

} // namespace

const std::vector<LineFault> &lineFaults()
{
    static const std::vector<LineFault> faults = [] {
        LineFaults all = {whole("none", [](const Exchange &x) { return x.reply; })};
        for (const LineFaults &some : {headAndCheck(), dataBytes(), lengths(), pieces(), noises(), otherFrames(),
                                       times(), acknowledgements()})
            all.insert(all.end(), some.begin(), some.end());
        return all;
    }();
    return faults;
}

const LineFault *lineFault(const std::string &name)
{
    const std::vector<LineFault> &all = lineFaults();
    const auto found = std::find_if(all.begin(), all.end(), [&](const LineFault &row) { return row.name == name; });
    return found == all.end() ? nullptr : &*found;
}

} // namespace fgssim
