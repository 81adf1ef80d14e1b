// Random cases for the comparison, each made again from its seed.
//
// TARN_MODEL_SEED is the first seed and TARN_MODEL_COUNT the number of cases of every test; a failure names the
// seed to set.
#ifndef TARN_TESTS_GENERATE_H
#define TARN_TESTS_GENERATE_H

#include "model.h"

#include <functional>
#include <initializer_list>
#include <random>

namespace model
{

class Random
{
public:
    /// Gives a number below the span, any one for span 0.
    using Source = std::function<unsigned long long(unsigned long long span)>;

    explicit Random(unsigned long long seed)
        : draw_([engine = std::mt19937_64(seed)](unsigned long long span) mutable {
              return span == 0 ? engine() : engine() % span;
          })
    {
    }
    /// Every decision is the source's.
    explicit Random(Source source) : draw_(std::move(source)) {}

    unsigned long long number() { return draw_(0); }
    int between(int first, int last)
    {
        const unsigned long long span = static_cast<unsigned long long>(Wide(last) - first + 1);
        return static_cast<int>(first + static_cast<Wide>(draw_(span)));
    }
    bool chance(int percent) { return between(1, 100) <= percent; }
    int pick(std::initializer_list<int> choices)
    {
        return choices.begin()[between(0, static_cast<int>(choices.size()) - 1)];
    }

private:
    Source draw_;
};

/// Any 32-bit number, the ends and small ones preferred.
int anyInt(Random &random);
Bytes anyBytes(Random &random, int count);
/// Bytes of 0, 1 and seldom 2, as the host hands over bits.
Bytes anyBits(Random &random, int count);

/// 0..13, seldom another.
int anyAreaType(Random &random);
bool isBitArea(int areaType);
/// Near the beginning of the area or around its end.
int addressIn(Random &random, int areaType);
/// The number as a host writes it (octal for areas 0 and 1), with blanks or a sign at times; seldom no number.
Text addressText(Random &random, int areaType, int address);
/// 1..20, seldom 0, negative or some hundred.
int anyLength(Random &random);

/// A record with values in every field; the same few places come up again and again.
Var anyVar(Random &random);
/// numbers from the whole 32 bits where anyVar() is modest
Var extremeVar(Random &random);
std::vector<HostVar> anyHostVars(Random &random, int most);
int anyBlockSize(Random &random);

/// Runs the cases, a quarter of them with sanitizers: run() returns what differed, or nothing. Gives up after three
/// failures.
void forEachCase(int count, const std::function<std::string(Random &)> &run);

} // namespace model

#endif
