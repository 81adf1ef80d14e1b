// The kinds of request of the fault matrix, and the attempts that a fault can strike.
#ifndef FGS_TESTS_REQUEST_KINDS_H
#define FGS_TESTS_REQUEST_KINDS_H

#include "faulty_line.h"
#include "host/host.h"

namespace faults
{

using namespace std::chrono_literals;
using fgs::AreaKind;
using fgs::Variable;

inline const Time Limit = 100ms;
inline const Time LateBy = 250ms;
inline const Time StepBound =
    2 * Limit + LateBy + 50ms; ///< silence, a late reply, an answer, and what is between them

struct RequestKind {
    enum How { Poll, Write, Broadcast, Once };
    const char *name;
    How how;
    std::vector<const char *> asked;  ///< polled; of a one-shot read: read once
    std::vector<const char *> others; ///< a question of the same shape
    const char *written = nullptr;
};

inline const std::vector<RequestKind> Kinds = {
    {"bits", RequestKind::Poll, {"2:64x24"}, {"2:1064x24"}},
    {"words", RequestKind::Poll, {"5:100x2"}, {"5:1100x2"}},
    {"double_words", RequestKind::Poll, {"10:4x2"}, {"10:104x2"}},
    {"group_of_1", RequestKind::Poll, {"5:100x8"}, {"5:1100x8"}},
    {"group_of_2", RequestKind::Poll, {"5:100x4", "5:200x4"}, {"5:1100x4", "5:1200x4"}},
    {"group_of_3", RequestKind::Poll, {"5:100x4", "5:200x4", "5:300x2"}, {"5:1100x4", "5:1200x4", "5:1300x2"}},
    {"group_of_4",
     RequestKind::Poll,
     {"5:100x2", "5:200x2", "5:300x2", "5:400x2"},
     {"5:1100x2", "5:1200x2", "5:1300x2", "5:1400x2"}},
    {"group_of_5",
     RequestKind::Poll,
     {"5:100x2", "5:200x2", "5:300x2", "5:400x2", "5:500x3"},
     {"5:1100x2", "5:1200x2", "5:1300x2", "5:1400x2", "5:1500x3"}},
    {"group_of_6",
     RequestKind::Poll,
     {"5:100x2", "5:200x2", "5:300x2", "5:400x2", "5:500x2", "5:600x3"},
     {"5:1100x2", "5:1200x2", "5:1300x2", "5:1400x2", "5:1500x2", "5:1600x3"}},
    {"mixed_group_of_3",
     RequestKind::Poll,
     {"2:64x24", "5:100x4", "10:7x2"},
     {"2:1064x24", "5:1100x4", "10:107x2"}},
    {"mixed_group_of_6",
     RequestKind::Poll,
     {"0:0x24", "2:64x32", "5:100x4", "9:5x2", "10:7x2", "12:0x4"},
     {"0:100x24", "2:1064x32", "5:1100x4", "9:105x2", "10:107x2", "12:4x4"}},
    {"mixed_group_per_station",
     RequestKind::Poll,
     {"2:64x24@3", "5:20000x4@3", "10:7x2@3"},
     {"2:1064x24@3", "5:21000x4@3", "10:107x2@3"}},
    {"write_of_a_bit", RequestKind::Write, {"5:100x4"}, {"5:1100x4"}, "2:70"},
    {"write_of_a_word", RequestKind::Write, {"5:100x4"}, {"5:1100x4"}, "5:150"},
    {"write_of_words", RequestKind::Write, {"5:100x4"}, {"5:1100x4"}, "5:150x6"},
    {"write_of_double_words", RequestKind::Write, {"5:100x4"}, {"5:1100x4"}, "10:60x2"},
    {"one_shot_read", RequestKind::Once, {"2:64x24"}, {"2:1064x24"}},
    {"broadcast", RequestKind::Broadcast, {"5:100x4"}, {"5:1100x4"}, "5:150@0"},
};

inline void PrintTo(const RequestKind &kind, std::ostream *out)
{
    *out << kind.name;
}

/// Which attempt the fault strikes.
enum class Try { Only, Last, First };
inline const Try Tries[] = {Try::Only, Try::Last, Try::First};
inline const char *const TryNames[] = {"only try", "last try", "first of two tries"};

inline std::vector<Variable> parsed(const std::vector<const char *> &texts)
{
    std::vector<Variable> variables;
    for (const char *text : texts)
        variables.push_back(fgs::parseVariable(QString::fromLatin1(text)));
    return variables;
}

} // namespace faults

#endif
