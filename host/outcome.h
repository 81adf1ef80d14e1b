// What became of one request.
#ifndef FGS_HOST_OUTCOME_H
#define FGS_HOST_OUTCOME_H

namespace fgs
{

enum class Outcome {
    Good,
    NoReply,      ///< nothing came that could be the reply
    Incomplete,   ///< the reply began and broke off
    Garbled,      ///< bytes came that are no reply
    BadCheck,     ///< a reply whose check code is wrong
    OtherReply,   ///< a good answer, but to another question
    OtherStation, ///< nothing came but a good frame of another station
    Refused,      ///< the controller answered that it does not do it
    LinkLost      ///< the link went away; the request is sent again on the next one
};
const int OutcomeCount = 9;

/// Whether the station has given no sign of life.
inline bool isSilence(Outcome outcome)
{
    return outcome == Outcome::NoReply || outcome == Outcome::OtherStation;
}

/// "no reply", for people.
const char *nameOf(Outcome outcome);
/// "noReply", for programs.
const char *keyOf(Outcome outcome);

} // namespace fgs

#endif
