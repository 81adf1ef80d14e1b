#include "formula.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <muParser.h>

namespace fgssim
{

namespace
{

const std::size_t LongestFormula = 1000; // characters
const double Pi = 3.14159265358979323846;
const char *const Example = "write for instance 20 + 5 * sin(2 * pi * t / 60)";
const char *const Names = "there are t, pi, sin, cos, tan, sqrt, abs, min, max, floor, round, noise, random, step, "
                          "square, saw and triangle";

// ---- functions; those of time take a number of periods

double remainder(double left, double right)
{
    return left - right * std::floor(left / right);
}
double phase(double periods)
{
    return periods - std::floor(periods);
}
double step(double since)
{
    return since >= 0 ? 1 : 0;
}
double square(double periods)
{
    return phase(periods) < 0.5 ? 1 : 0;
}
double triangle(double periods)
{
    return 1 - std::abs(2 * phase(periods) - 1);
}
double roundedDown(double value)
{
    return std::floor(value);
}
double rounded(double value)
{
    return std::round(value);
}

/// Numbers from 0 to below 1, each of which is a function of where it stands.
struct Chance {
    std::uint64_t seed, number = 0, calls = 0;

    double next()
    {
        std::uint64_t mixed = seed;
        for (std::uint64_t part : {number, calls++}) {
            mixed = (mixed ^ part) + 0x9E3779B97F4A7C15u;
            mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9u;
            mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EBu;
            mixed ^= mixed >> 31;
        }
        return double(mixed >> 11) / double(std::uint64_t(1) << 53);
    }
};

double randomNumber(void *chance)
{
    return static_cast<Chance *>(chance)->next();
}
double noise(void *chance, double most)
{
    return most * (2 * static_cast<Chance *>(chance)->next() - 1);
}

// ---- what is wrong

/// Without control characters, and without blanks and marks at its end.
std::string printable(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](unsigned char each) { return std::iscntrl(each); }, ' ');
    text.resize(text.find_last_not_of(" .!") + 1);
    return text;
}

/// 'unexpected parenthesis ")"'; the position, which the library counts in the formula, is told otherwise.
std::string messageOf(const mu::Parser::exception_type &error)
{
    std::string text = error.GetMsg();
    for (const char *const position : {" found at position ", " at expression position ", " at position "})
        text.resize(std::min(text.size(), text.find(position)));
    if (!text.empty())
        text[0] = char(std::tolower(static_cast<unsigned char>(text[0])));
    return printable(text);
}

BadFormula faultOf(const mu::Parser::exception_type &error)
{
    const auto at = std::size_t(std::max(error.GetPos(), 0));
    if (error.GetCode() == mu::ecUNASSIGNABLE_TOKEN)
        return {"formulas do not know '" + printable(error.GetToken()) + "'", at, Names};
    return {messageOf(error), at, Example};
}

} // namespace

struct Formula::Parser {
    Parser(const std::string &text, std::uint64_t seed) : chance{seed}
    {
        const bool isVolatile = false;
        parser.DefineVar("t", &time);
        parser.DefineConst("pi", Pi);
        parser.DefineOprt("%", remainder, mu::prMUL_DIV);
        parser.DefineFun("floor", roundedDown);
        parser.DefineFun("round", rounded);
        parser.DefineFun("step", step);
        parser.DefineFun("square", square);
        parser.DefineFun("saw", phase);
        parser.DefineFun("triangle", triangle);
        parser.DefineFunUserData("random", randomNumber, &chance, isVolatile);
        parser.DefineFunUserData("noise", noise, &chance, isVolatile);
        parser.SetExpr(text);
    }

    double value(double seconds, std::uint64_t number)
    {
        time = seconds;
        chance.number = number;
        chance.calls = 0;
        return parser.Eval();
    }

    double time = 0;
    Chance chance;
    mu::Parser parser;
};

Formula::Formula(const std::string &text, std::uint64_t seed)
{
    if (text.size() > LongestFormula)
        throw BadFormula("the formula is longer than 1000 characters", 0, "shorten it");
    try {
        parser = std::make_unique<Parser>(text, seed);
        parser->value(0, 0);
        if (parser->parser.GetNumResults() != 1)
            throw BadFormula("a formula has one value; this one has several, with commas between them", 0, Example);
    } catch (const mu::Parser::exception_type &error) {
        throw faultOf(error);
    }
}

Formula::~Formula() = default;
Formula::Formula(Formula &&other) noexcept = default;

double Formula::valueAt(double seconds, std::uint64_t number) const
{
    return parser->value(seconds, number);
}

} // namespace fgssim
