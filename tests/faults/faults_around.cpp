// What comes around a reply or instead of it, and when.
#include "fault_parts.h"

namespace faults
{

namespace
{

QByteArray acknowledgement(const Exchange &x, const char *rest)
{
    return x.request.left(1) + QByteArray::fromHex(rest);
}

} // namespace

Table noises()
{
    return {
        whole(
            "noise of one byte ahead", [](const Exchange &x) { return noise(1) + x.reply; }, V::Good, V::BadLength,
            V::BadCheck),
        whole(
            "noise ahead", [](const Exchange &x) { return noise(12) + x.reply; }, V::Good, V::BadLength,
            V::BadCheck),
        whole(
            "a break ahead", [](const Exchange &x) { return QByteArray(1, '\0') + x.reply; }, V::Good, V::BadLength,
            V::BadCheck),
        whole(
            "noise behind", [](const Exchange &x) { return x.reply + noise(12); }, V::Good, V::Good, V::Good),
        {"noise a moment behind", once,
         [](const Exchange &x, int) {
             return Delivery{{ReplyDelay, x.reply}, {ReplyDelay + 1ms, noise(12)}};
         },
         V::Good, V::Good, V::Good},
        whole(
            "noise only, as long as the reply", [](const Exchange &x) { return noise(x.size()); }, V::BadCheck,
            V::BadCheck, V::BadCheck),
        whole(
            "noise only, one byte", [](const Exchange &) { return noise(1); }, V::BadLength, V::BadLength,
            V::BadLength),
        {"babble past the limit", once,
         [](const Exchange &x, int) {
             Delivery delivery;
             for (Time at = 1ms; at < x.limit + 4 * ReplyDelay; at += 1ms)
                 delivery.push_back({at, noise(8)});
             return delivery;
         },
         V::BadLength, V::BadLength, V::BadCheck},
        whole(
            "20,000 bytes of noise", [](const Exchange &) { return noise(20000); }, V::BadLength, V::BadLength,
            V::BadCheck),
    };
}

Table otherFrames()
{
    return {
        whole(
            "another station's frame ahead", [](const Exchange &x) { return x.stranger + x.reply; }, V::Good,
            V::Good, V::Deceived),
        whole(
            "another station's frame behind", [](const Exchange &x) { return x.reply + x.stranger; }, V::Good,
            V::Good, V::Good),
        whole(
            "another station's frame only", [](const Exchange &x) { return x.stranger; }, V::Missing, V::Missing,
            V::Deceived),
        whole(
            "another answer ahead", [](const Exchange &x) { return x.otherShape + x.reply; }, V::Good, V::Good,
            V::BadCheck),
        whole(
            "another answer only", [](const Exchange &x) { return x.otherShape; }, V::Missing, V::Missing,
            V::BadLength),
        whole(
            "a damaged answer ahead", [](const Exchange &x) { return damaged(x.otherShape) + x.reply; }, V::Good,
            V::BadLength, V::BadCheck),
        {"the answer about other addresses", [](const Exchange &x) { return x.sameShape.isEmpty() ? 0 : 1; },
         arriving([](const Exchange &x, int) { return x.sameShape; }), V::Deceived, V::None, V::Deceived,
         "replies carry no address"},
        whole(
            "own echo ahead", [](const Exchange &x) { return x.request + x.reply; }, V::Good, V::Good, V::Good),
        whole(
            "own echo twice ahead", [](const Exchange &x) { return x.request + x.request + x.reply; }, V::Good,
            V::Good, V::Good),
        whole(
            "own echo only", [](const Exchange &x) { return x.request; }, V::Missing, V::Missing, V::Missing),
        {"a damaged echo ahead", [](const Exchange &x) { return x.codes.size() == 1 ? 0 : 1; },
         arriving(damagedEcho), V::Good, V::BadLength, V::BadCheck},
        // The head of an echo is the head of the reply, so the echo is taken for a reply with a bad check.
        {"a damaged echo ahead, one block", [](const Exchange &x) { return x.codes.size() == 1 ? 1 : 0; },
         arriving(damagedEcho), V::BadCheck, V::None, V::None},
        whole(
            "half an echo ahead", [](const Exchange &x) { return x.request.left(x.request.size() / 2) + x.reply; },
            V::Good, V::BadLength, V::BadCheck),
    };
}

Table times()
{
    return {
        {"silence", once, [](const Exchange &, int) { return Delivery(); }, V::Missing, V::Missing, V::Missing},
        {"late by one transaction", once,
         [](const Exchange &x, int) {
             return Delivery{{x.limit + Moment, x.reply}};
         },
         V::Missing, V::Missing, V::Missing},
        {"late by two transactions", once,
         [](const Exchange &x, int) {
             return Delivery{{2 * x.limit + Moment, x.reply}};
         },
         V::Missing, V::Missing, V::Missing},
        {"late, with the next request", once,
         [](const Exchange &x, int) {
             return Delivery{{1ms, x.reply, true}};
         },
         V::Missing, V::Missing, V::Missing,
         "it comes later than the host waits, and fits the next question of the same shape"},
        {"link lost", once, [](const Exchange &, int) { return Delivery(); }, V::LinkLost, V::LinkLost, V::None},
    };
}

Table acknowledgements()
{
    return {
        whole(
            "an acknowledgement instead", [](const Exchange &x) { return acknowledgement(x, "FF20"); }, V::Missing,
            V::None, V::BadLength),
        whole(
            "an acknowledgement ahead", [](const Exchange &x) { return acknowledgement(x, "FF20") + x.reply; },
            V::Good, V::Good, V::BadCheck),
        whole(
            "acknowledged by station 0", [](const Exchange &) { return QByteArray::fromHex("00FF20"); }, V::None,
            V::Missing, V::None),
        whole(
            "acknowledged with FF 00", [](const Exchange &x) { return acknowledgement(x, "FF00"); }, V::None,
            V::BadCheck, V::None),
        whole(
            "acknowledged with FE 20", [](const Exchange &x) { return acknowledgement(x, "FE20"); }, V::None,
            V::BadCheck, V::None),
        whole(
            "acknowledged with the request's head", [](const Exchange &x) { return x.request.left(3); }, V::None,
            V::BadCheck, V::None),
        whole(
            "acknowledged with a check", [](const Exchange &x) { return sealed(x.reply); }, V::None, V::Good,
            V::None),
        whole(
            "acknowledged without a station", [](const Exchange &) { return QByteArray::fromHex("FF20"); }, V::None,
            V::BadLength, V::None),
    };
}

} // namespace faults
