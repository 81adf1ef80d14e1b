#include "value_statistics.h"

#include <algorithm>
#include <cmath>

namespace fgs
{

void ValueStatistics::add(const Tag &tag, Format format, const Reading &reading, Time now)
{
    if (reading.quality != Quality::Good || reading.time <= countedAt)
        return;
    const std::vector<double> numbers = numbersOf(tag, format, reading.values);
    values.resize(numbers.size());
    for (std::size_t i = 0; i < numbers.size(); ++i)
        if (std::isfinite(numbers[i]))
            add(values[i], numbers[i]);
    countedAt = now;
}

void ValueStatistics::add(Kept &kept, double number)
{
    Value &sums = kept.sums;
    kept.newest[sums.count % NewestKept] = static_cast<float>(number);
    sums.smallest = sums.count ? std::min(sums.smallest, number) : number;
    sums.largest = sums.count ? std::max(sums.largest, number) : number;
    ++sums.count;
    sums.mean += (number - sums.mean) / static_cast<double>(sums.count);
}

std::vector<float> ValueStatistics::newestOf(std::size_t index) const
{
    const quint64 count = of(index).count;
    std::vector<float> newest;
    for (quint64 i = count > NewestKept ? count - NewestKept : 0; i < count; ++i)
        newest.push_back(values[index].newest[i % NewestKept]);
    return newest;
}

} // namespace fgs
