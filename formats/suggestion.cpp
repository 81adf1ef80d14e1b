#include "suggestion.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace formats
{

namespace
{

const std::size_t LongestWord = 64; ///< that is compared

/// How many letters have to be put in, left out or changed.
std::size_t distance(const std::string &a, const std::string &b)
{
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t(0));
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t changed = diagonal + (a[i] != b[j]);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

} // namespace

std::string nearestTo(const std::string &word, const std::vector<std::string> &known)
{
    std::string nearest;
    std::size_t least = std::min(word.size(), LongestWord) / 3 + 2; // a third of it may be wrong
    for (const std::string &each : known) {
        const std::size_t letters = word.size() <= LongestWord ? distance(word, each) : least;
        if (letters < std::min(least, each.size())) {
            least = letters;
            nearest = each;
        }
    }
    return nearest;
}

std::string suggestionFor(const std::string &word, const std::vector<std::string> &known)
{
    const std::string nearest = nearestTo(word, known);
    if (!nearest.empty())
        return "did you mean '" + nearest + "'?";
    std::string text = "known are ";
    for (const std::string &each : known)
        text += (&each == &known.front() ? "" : ", ") + each;
    return text;
}

} // namespace formats
