#include "expectations.h"

namespace faults
{

using V = Verdict;

const std::vector<Expectation> &expectations()
{
    static const std::vector<Expectation> table = {
        {"none", V::Good, V::Good, V::Good},
        {"bit of the station byte", V::BadCheck, V::Missing, V::BadCheck},
        {"bit of the command byte", V::BadCheck, V::BadCheck, V::BadCheck},
        {"bit of the number of blocks", V::BadCheck, V::BadCheck, V::BadCheck},
        {"bit of an area code", V::BadCheck, V::None, V::None},
        {"bit of a count", V::BadCheck, V::None, V::None},
        {"other station, check right", V::Missing, V::None, V::Good},
        {"other command, check right", V::Missing, V::None, V::Good},
        {"other number of blocks, check right", V::Missing, V::None, V::Good},
        {"other area code, check right", V::Missing, V::None, V::None},
        {"other count, check right", V::Missing, V::None, V::None},
        {"bit of the check, low byte", V::BadCheck, V::None, V::BadCheck},
        {"bit of the check, high byte", V::BadCheck, V::None, V::BadCheck},
        {"check bytes swapped", V::BadCheck, V::None, V::BadCheck},
        {"data bit", V::BadCheck, V::None, V::BadCheck},
        {"data bit, check right", V::Deceived, V::None, V::Deceived,
         "the check is right and no field of the head is wrong"},
        {"burst that the check misses", V::Deceived, V::None, V::Deceived,
         "the generator polynomial itself, or a multiple, is invisible to the check"},
        {"every byte 00", V::BadCheck, V::BadCheck, V::BadCheck},
        {"every byte FF", V::BadCheck, V::BadCheck, V::BadCheck},
        {"top bits lost", V::BadCheck, V::BadCheck, V::BadCheck},
        {"bytes in reverse", V::BadCheck, V::BadCheck, V::BadCheck},
        {"one byte short", V::BadLength, V::BadLength, V::BadLength},
        {"cut at every byte", V::BadLength, V::BadLength, V::BadLength},
        {"any one byte lost", V::BadLength, V::BadLength, V::BadLength},
        {"without its check", V::BadLength, V::None, V::BadLength},
        {"one byte long", V::Good, V::Good, V::Good},
        {"one byte more in the head", V::BadLength, V::BadLength, V::BadCheck},
        {"one byte more in the data", V::BadCheck, V::None, V::BadCheck},
        {"doubled", V::Good, V::Good, V::Good},
        {"doubled, a moment later", V::Good, V::Good, V::Good},
        {"doubled, with the next request", V::Good, V::Good, V::Good,
         "replies carry no address and no number, so a copy fits the next question of the same shape"},
        {"in two pieces", V::Good, V::Good, V::Good},
        {"byte by byte", V::Good, V::Good, V::Good},
        {"its end after the limit", V::BadLength, V::BadLength, V::BadLength},
        {"noise of one byte ahead", V::Good, V::BadLength, V::BadCheck},
        {"noise ahead", V::Good, V::BadLength, V::BadCheck},
        {"a break ahead", V::Good, V::BadLength, V::BadCheck},
        {"noise behind", V::Good, V::Good, V::Good},
        {"noise a moment behind", V::Good, V::Good, V::Good},
        {"noise only, as long as the reply", V::BadCheck, V::BadCheck, V::BadCheck},
        {"noise only, one byte", V::BadLength, V::BadLength, V::BadLength},
        {"babble past the limit", V::BadLength, V::BadLength, V::BadCheck},
        {"20,000 bytes of noise", V::BadLength, V::BadLength, V::BadCheck},
        {"another station's frame ahead", V::Good, V::Good, V::Deceived},
        {"another station's frame behind", V::Good, V::Good, V::Good},
        {"another station's frame only", V::Missing, V::Missing, V::Deceived},
        {"another answer ahead", V::Good, V::Good, V::BadCheck},
        {"another answer only", V::Missing, V::Missing, V::BadLength},
        {"a damaged answer ahead", V::Good, V::BadLength, V::BadCheck},
        {"the answer about other addresses", V::Deceived, V::None, V::Deceived, "replies carry no address"},
        {"own echo ahead", V::Good, V::Good, V::Good},
        {"own echo twice ahead", V::Good, V::Good, V::Good},
        {"own echo only", V::Missing, V::Missing, V::Missing},
        {"a damaged echo ahead", V::Good, V::BadLength, V::BadCheck},
        // The head of an echo is the head of the reply, so the echo is taken for a reply with a bad check.
        {"a damaged echo ahead, one block", V::BadCheck, V::None, V::None},
        {"half an echo ahead", V::Good, V::BadLength, V::BadCheck},
        {"silence", V::Missing, V::Missing, V::Missing},
        {"late by one transaction", V::Missing, V::Missing, V::Missing},
        {"late by two transactions", V::Missing, V::Missing, V::Missing},
        {"late, with the next request", V::Missing, V::Missing, V::Missing,
         "it comes later than the host waits, and fits the next question of the same shape"},
        {"link lost", V::LinkLost, V::LinkLost, V::None},
        {"an acknowledgement instead", V::Missing, V::None, V::BadLength},
        {"an acknowledgement ahead", V::Good, V::Good, V::BadCheck},
        {"acknowledged by station 0", V::None, V::Missing, V::None},
        {"acknowledged with FF 00", V::None, V::BadCheck, V::None},
        {"acknowledged with FE 20", V::None, V::BadCheck, V::None},
        {"acknowledged with the request's head", V::None, V::BadCheck, V::None},
        {"acknowledged with a check", V::None, V::Good, V::None},
        {"acknowledged without a station", V::None, V::BadLength, V::None},
    };
    return table;
}

const Expectation &expectationOf(const fgssim::LineFault &fault)
{
    const std::vector<Expectation> &all = expectations();
    return *std::find_if(all.begin(), all.end(), [&](const Expectation &row) { return row.fault == fault.name; });
}

} // namespace faults
