#include "fault_parts.h"

namespace faults
{

namespace
{

using Field = std::vector<int> Exchange::*;

// ---- places

int onceIfChecked(const Exchange &x)
{
    return x.hasCheck ? 1 : 0;
}
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
Fault bitOf(const char *name, V read, V acknowledge, V remote)
{
    return {
        name,
        eachBit<field>,
        arriving([](const Exchange &x, int p) { return flipped(x.reply, (x.*field)[std::size_t(p / 8)], p % 8); }),
        read,
        acknowledge,
        remote};
}

template <Field field>
Fault forged(const char *name, V read, V remote)
{
    return {name,
            [](const Exchange &x) { return x.hasCheck ? eachBit<field>(x) : 0; },
            arriving([](const Exchange &x, int p) {
                return renewed(flipped(x.reply, (x.*field)[std::size_t(p / 8)], p % 8));
            }),
            read,
            V::None,
            remote};
}

Table headAndCheck()
{
    return {
        bitOf<&Exchange::station>("bit of the station byte", V::BadCheck, V::Missing, V::BadCheck),
        bitOf<&Exchange::command>("bit of the command byte", V::BadCheck, V::BadCheck, V::BadCheck),
        bitOf<&Exchange::number>("bit of the number of blocks", V::BadCheck, V::BadCheck, V::BadCheck),
        bitOf<&Exchange::codes>("bit of an area code", V::BadCheck, V::None, V::None),
        bitOf<&Exchange::counts>("bit of a count", V::BadCheck, V::None, V::None),
        forged<&Exchange::station>("other station, check right", V::Missing, V::Good),
        forged<&Exchange::command>("other command, check right", V::Missing, V::Good),
        forged<&Exchange::number>("other number of blocks, check right", V::Missing, V::Good),
        forged<&Exchange::codes>("other area code, check right", V::Missing, V::None),
        forged<&Exchange::counts>("other count, check right", V::Missing, V::None),
        {"bit of the check, low byte", eachCheckBit,
         arriving([](const Exchange &x, int p) { return flipped(x.reply, x.size() - 2, p); }), V::BadCheck, V::None,
         V::BadCheck},
        {"bit of the check, high byte", eachCheckBit,
         arriving([](const Exchange &x, int p) { return flipped(x.reply, x.size() - 1, p); }), V::BadCheck, V::None,
         V::BadCheck},
        {"check bytes swapped", onceIfChecked,
         arriving([](const Exchange &x, int) { return swapped(x.reply, x.size() - 2); }), V::BadCheck, V::None,
         V::BadCheck},
    };
}

Table dataBytes()
{
    const auto at = [](const Exchange &x, int p) { return x.data[std::size_t(p)]; };
    return {
        {"data bit", eachDataBit,
         arriving([at](const Exchange &x, int p) { return flipped(x.reply, at(x, p / 8), p % 8); }), V::BadCheck,
         V::None, V::BadCheck},
        {"data bit, check right", eachDataByte,
         arriving([at](const Exchange &x, int p) { return renewed(flipped(x.reply, at(x, p), p % 8)); }),
         V::Deceived, V::None, V::Deceived, "the check is right and no field of the head is wrong"},
        {"burst that the check misses", eachBurst,
         arriving([](const Exchange &x, int p) { return withBurst(x.reply, x.headEnd() + p); }), V::Deceived,
         V::None, V::Deceived, "the generator polynomial itself, or a multiple, is invisible to the check"},
        whole(
            "every byte 00", [](const Exchange &x) { return QByteArray(x.size(), '\0'); }, V::BadCheck, V::BadCheck,
            V::BadCheck),
        whole(
            "every byte FF", [](const Exchange &x) { return QByteArray(x.size(), '\xFF'); }, V::BadCheck,
            V::BadCheck, V::BadCheck),
        whole(
            "top bits lost", [](const Exchange &x) { return withoutTopBits(x.reply); }, V::BadCheck, V::BadCheck,
            V::BadCheck),
        whole(
            "bytes in reverse", [](const Exchange &x) { return reversed(x.reply); }, V::BadCheck, V::BadCheck,
            V::BadCheck),
    };
}

Table lengths()
{
    return {
        whole(
            "one byte short", [](const Exchange &x) { return x.reply.left(x.size() - 1); }, V::BadLength,
            V::BadLength, V::BadLength),
        {"cut at every byte", eachCut, arriving([](const Exchange &x, int p) { return x.reply.left(p + 1); }),
         V::BadLength, V::BadLength, V::BadLength},
        {"any one byte lost", eachByte,
         arriving([](const Exchange &x, int p) { return QByteArray(x.reply).remove(p, 1); }), V::BadLength,
         V::BadLength, V::BadLength},
        {"without its check", onceIfChecked,
         arriving([](const Exchange &x, int) { return x.reply.left(x.size() - 2); }), V::BadLength, V::None,
         V::BadLength},
        whole(
            "one byte long", [](const Exchange &x) { return x.reply + '\x5A'; }, V::Good, V::Good, V::Good),
        {"one byte more in the head", eachHeadByte,
         arriving([](const Exchange &x, int p) { return inserted(x.reply, p + 1); }), V::BadLength, V::BadLength,
         V::BadCheck},
        {"one byte more in the data", eachLastDataByte,
         arriving([](const Exchange &x, int p) { return inserted(x.reply, x.headEnd() + p); }), V::BadCheck,
         V::None, V::BadCheck},
        whole(
            "doubled", [](const Exchange &x) { return x.reply + x.reply; }, V::Good, V::Good, V::Good),
        {"doubled, a moment later", once,
         [](const Exchange &x, int) {
             return Delivery{{ReplyDelay, x.reply}, {ReplyDelay + 1ms, x.reply}};
         },
         V::Good, V::Good, V::Good},
        {"doubled, with the next request", once,
         [](const Exchange &x, int) {
             return Delivery{{ReplyDelay, x.reply}, {1ms, x.reply, true}};
         },
         V::Good, V::Good, V::Good,
         "replies carry no address and no number, so a copy fits the next question of the same shape"},
    };
}

Table pieces()
{
    return {
        {"in two pieces", eachSplit,
         [](const Exchange &x, int p) {
             return Delivery{{ReplyDelay, x.reply.left(p + 1)}, {ReplyDelay + Moment, x.reply.mid(p + 1)}};
         },
         V::Good, V::Good, V::Good},
        {"byte by byte", once,
         [](const Exchange &x, int) {
             Delivery delivery;
             for (int i = 0; i < x.size(); ++i)
                 delivery.push_back({ReplyDelay + i * 500us, x.reply.mid(i, 1)});
             return delivery;
         },
         V::Good, V::Good, V::Good},
        {"its end after the limit", eachSplit,
         [](const Exchange &x, int p) {
             return Delivery{{ReplyDelay, x.reply.left(p + 1)}, {x.limit + Moment, x.reply.mid(p + 1)}};
         },
         V::BadLength, V::BadLength, V::BadLength},
    };
}

} // namespace

int Exchange::headEnd() const
{
    int end = 0;
    for (const std::vector<int> *field : {&station, &command, &number, &codes, &counts})
        for (int at : *field)
            end = std::max(end, at + 1);
    return end;
}

const std::vector<Fault> &allFaults()
{
    static const std::vector<Fault> faults = [] {
        Table all = {whole(
            "none", [](const Exchange &x) { return x.reply; }, V::Good, V::Good, V::Good)};
        for (const Table &table : {headAndCheck(), dataBytes(), lengths(), pieces(), noises(), otherFrames(),
                                   times(), acknowledgements()})
            all.insert(all.end(), table.begin(), table.end());
        return all;
    }();
    return faults;
}

} // namespace faults
