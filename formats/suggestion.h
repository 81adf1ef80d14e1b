// What the writer of an unknown word may have meant.
#ifndef FORMATS_SUGGESTION_H
#define FORMATS_SUGGESTION_H

#include <string>
#include <vector>

namespace formats
{

/// The known word that the fewest letters tell from this one; empty if none is like it.
std::string nearestTo(const std::string &word, const std::vector<std::string> &known);
/// "did you mean 'scale'?", or "known are a, b, c" if none is like it.
std::string suggestionFor(const std::string &word, const std::vector<std::string> &known);

} // namespace formats

#endif
