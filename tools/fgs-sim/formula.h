// Values that a formula gives at times, like "20 + 5 * sin(2 * pi * t / 60) + noise(0.3)". README.md describes
// them.
#ifndef FGS_SIM_FORMULA_H
#define FGS_SIM_FORMULA_H

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

namespace fgssim
{

/// What is wrong with a formula.
class BadFormula : public std::runtime_error
{
public:
    BadFormula(const std::string &what, std::size_t where, std::string whatToDo)
        : std::runtime_error(what), at(where), remedy(std::move(whatToDo))
    {
    }

    const std::size_t at; ///< characters of the formula in front of it
    const std::string remedy;
};

class Formula
{
public:
    /// What is random in it depends on the seed, and for each call on the number. Throws BadFormula.
    Formula(const std::string &text, std::uint64_t seed);
    ~Formula();
    Formula(Formula &&other) noexcept;

    /// After so many seconds; no number where there is none, like sqrt(-1).
    double valueAt(double seconds, std::uint64_t number) const;

private:
    struct Parser;
    std::unique_ptr<Parser> parser;
};

} // namespace fgssim

#endif
