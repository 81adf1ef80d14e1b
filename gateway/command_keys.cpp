#include "command_answer.h"

namespace fgs
{

namespace
{

const char *const failureKeys[] = {"none",          "retained",        "tooLarge",   "notJson",    "noId",
                                   "tooOld",        "readOnly",        "unknownTag", "notAllowed", "wrongType",
                                   "outOfRange",    "offStep",         "tooMany",    "linkDown",   "stationDown",
                                   "deviceRefused", "notAcknowledged", "notRead",    "different",  "notSent"};
static_assert(sizeof failureKeys / sizeof *failureKeys == CommandFailureCount, "a key for each");

const char *const resultKeys[] = {"verified", "failed", "expired", "superseded", "refused", "accepted", "rebirth"};

} // namespace

const char *keyOf(CommandFailure failure)
{
    return failureKeys[static_cast<std::size_t>(failure)];
}

const char *keyOf(CommandResult result)
{
    return resultKeys[static_cast<std::size_t>(result)];
}

} // namespace fgs
