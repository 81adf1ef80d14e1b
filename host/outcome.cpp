#include "outcome.h"

#include <cstddef>

namespace fgs
{

namespace
{

struct Names {
    const char *name;
    const char *key;
};
const Names names[OutcomeCount] = {
    {"good", "good"},
    {"no reply", "noReply"},
    {"incomplete", "incomplete"},
    {"bytes that are no reply", "garbled"},
    {"wrong check code", "badCheck"},
    {"answer to another question", "otherReply"},
    {"answer of another station", "otherStation"},
    {"refused by the controller", "refused"},
    {"link lost", "linkLost"},
};

} // namespace

const char *nameOf(Outcome outcome)
{
    return names[static_cast<std::size_t>(outcome)].name;
}

const char *keyOf(Outcome outcome)
{
    return names[static_cast<std::size_t>(outcome)].key;
}

} // namespace fgs
