// Takes decisions and bytes out of one fuzz input, front to back. Once that is used up every decision is the first
// choice, so that every input is a whole case.
#ifndef TARN_TESTS_FUZZ_INPUT_H
#define TARN_TESTS_FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace fuzz
{

class Input
{
public:
    Input(const std::uint8_t *bytes, std::size_t size) : next(bytes), left(size) {}

    bool isUsedUp() const { return left == 0; }

    /// A number below the span, any one for span 0. Takes as few bytes as hold it, the least significant first.
    template <typename Number>
    Number below(Number span)
    {
        const std::uint64_t limit = static_cast<std::uint64_t>(span);
        std::uint64_t number = 0;
        for (int shift = 0; shift < 64 && (limit == 0 || (limit - 1) >> shift != 0); shift += 8)
            number |= std::uint64_t(byte()) << shift;
        return static_cast<Number>(limit == 0 ? number : number % limit);
    }
    int between(int first, int last)
    {
        const std::uint64_t span = std::uint64_t(std::int64_t(last) - first + 1);
        return static_cast<int>(first + static_cast<std::int64_t>(below(span)));
    }
    /// True in one of `of` cases.
    bool oneIn(int of) { return between(1, of) == of; }

    /// Fewer if the input has fewer.
    std::vector<std::uint8_t> bytes(std::size_t most)
    {
        const std::size_t count = std::min(most, left);
        std::vector<std::uint8_t> taken(next, next + count);
        next += count;
        left -= count;
        return taken;
    }
    std::string text(std::size_t most)
    {
        const std::vector<std::uint8_t> taken = bytes(most);
        return std::string(taken.begin(), taken.end());
    }
    std::string rest() { return text(left); }

private:
    std::uint8_t byte()
    {
        if (left == 0)
            return 0;
        --left;
        return *next++;
    }

    const std::uint8_t *next;
    std::size_t left;
};

} // namespace fuzz

#endif
