// What comes around a reply or instead of it, and when.
#include "line_fault_parts.h"

namespace fgssim
{

namespace
{

Bytes acknowledgement(const Exchange &x, Byte command, Byte acknowledge)
{
    return {Byte(x.asked), command, acknowledge};
}

} // namespace

LineFaults noises()
{
    return {
        whole("noise of one byte ahead", [](const Exchange &x) { return noise(1) + x.reply; }),
        whole("noise ahead", [](const Exchange &x) { return noise(12) + x.reply; }),
        whole("a break ahead", [](const Exchange &x) { return Bytes{0x00} + x.reply; }),
        whole("noise behind", [](const Exchange &x) { return x.reply + noise(12); }),
        {"noise a moment behind", once,
         [](const Exchange &x, int) {
             return Delivery{{ReplyDelay, x.reply}, {ReplyDelay + 1ms, noise(12)}};
         }},
        whole("noise only, as long as the reply", [](const Exchange &x) { return noise(x.size()); }),
        whole("noise only, one byte", [](const Exchange &) { return noise(1); }),
        {"babble past the limit", once,
         [](const Exchange &x, int) {
             Delivery delivery;
             for (Time at = BabblePace; at < x.limit + 4 * ReplyDelay; at += BabblePace)
                 delivery.push_back({at, noise(8)});
             return delivery;
         }},
        whole("20,000 bytes of noise", [](const Exchange &) { return noise(20000); }),
    };
}

LineFaults otherFrames()
{
    return {
        whole("another station's frame ahead", [](const Exchange &x) { return x.stranger + x.reply; }),
        whole("another station's frame behind", [](const Exchange &x) { return x.reply + x.stranger; }),
        whole("another station's frame only", [](const Exchange &x) { return x.stranger; }),
        whole("another answer ahead", [](const Exchange &x) { return x.otherShape + x.reply; }),
        whole("another answer only", [](const Exchange &x) { return x.otherShape; }),
        whole("a damaged answer ahead", [](const Exchange &x) { return damaged(x.otherShape) + x.reply; }),
        {"the answer about other addresses", [](const Exchange &x) { return x.sameShape.empty() ? 0 : 1; },
         arriving([](const Exchange &x, int) { return x.sameShape; })},
        whole("own echo ahead", [](const Exchange &x) { return x.request + x.reply; }),
        whole("own echo twice ahead", [](const Exchange &x) { return x.request + x.request + x.reply; }),
        whole("own echo only", [](const Exchange &x) { return x.request; }),
        {"a damaged echo ahead", [](const Exchange &x) { return x.codes.size() == 1 ? 0 : 1; },
         arriving(damagedEcho)},
        // The head of an echo is the head of the reply, so the echo is taken for a reply with a bad check.
        {"a damaged echo ahead, one block", [](const Exchange &x) { return x.codes.size() == 1 ? 1 : 0; },
         arriving(damagedEcho)},
        whole("half an echo ahead",
              [](const Exchange &x) { return first(x.request, int(x.request.size()) / 2) + x.reply; }),
    };
}

LineFaults times()
{
    return {
        {"silence", once, [](const Exchange &, int) { return Delivery(); }},
        {"late by one transaction", once,
         [](const Exchange &x, int) {
             return Delivery{{x.limit + Moment, x.reply}};
         }},
        {"late by two transactions", once,
         [](const Exchange &x, int) {
             return Delivery{{2 * x.limit + Moment, x.reply}};
         }},
        {"late, with the next request", once,
         [](const Exchange &x, int) {
             return Delivery{{1ms, x.reply, true}};
         }},
        {"link lost", once, [](const Exchange &, int) { return Delivery(); }, true},
    };
}

LineFaults acknowledgements()
{
    return {
        whole(
            "an acknowledgement instead",
            [](const Exchange &x) { return acknowledgement(x, WriteCommand, WriteAcknowledge); }, onceIfChecked),
        whole("an acknowledgement ahead",
              [](const Exchange &x) { return acknowledgement(x, WriteCommand, WriteAcknowledge) + x.reply; }),
        whole(
            "acknowledged by station 0",
            [](const Exchange &) {
                return Bytes{0x00, WriteCommand, WriteAcknowledge};
            },
            onceIfUnchecked),
        whole(
            "acknowledged with FF 00", [](const Exchange &x) { return acknowledgement(x, WriteCommand, 0x00); },
            onceIfUnchecked),
        whole(
            "acknowledged with FE 20",
            [](const Exchange &x) { return acknowledgement(x, ReadCommand, WriteAcknowledge); }, onceIfUnchecked),
        whole(
            "acknowledged with the request's head", [](const Exchange &x) { return first(x.request, 3); },
            onceIfUnchecked),
        whole(
            "acknowledged with a check", [](const Exchange &x) { return sealed(x.reply); }, onceIfUnchecked),
        whole(
            "acknowledged without a station",
            [](const Exchange &) {
                return Bytes{WriteCommand, WriteAcknowledge};
            },
            onceIfUnchecked),
    };
}

} // namespace fgssim
