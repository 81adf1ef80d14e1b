// The smallest, the largest and the mean of what a variable's values have been, and the newest of them.
#ifndef FGS_WATCH_VALUE_STATISTICS_H
#define FGS_WATCH_VALUE_STATISTICS_H

#include "reading.h"
#include "tag.h"

namespace fgs
{

/// Of each value of one tag, counted once for each time that the whole variable has arrived, however often it is
/// looked at. Old values do not count, nor does what is no finite number; a text has no statistics.
class ValueStatistics
{
public:
    static const int NewestKept = 16;

    struct Value {
        quint64 count = 0; ///< 0: there is nothing else
        double smallest = 0, largest = 0, mean = 0;
    };

    /// Takes the reading if all of it arrived since the last one that counted. `now` is when it is handed over.
    void add(const Tag &tag, Format format, const Reading &reading, Time now);

    /// By the place of the value in the variable.
    Value of(std::size_t index) const { return index < values.size() ? values[index].sums : Value(); }
    /// The last of it, the newest last.
    std::vector<float> newestOf(std::size_t index) const;

private:
    struct Kept {
        Value sums;
        float newest[NewestKept]; ///< a ring: the next goes to `sums.count % NewestKept`
    };
    static void add(Kept &kept, double number);

    std::vector<Kept> values;
    Time countedAt = Never;
};

} // namespace fgs

#endif
