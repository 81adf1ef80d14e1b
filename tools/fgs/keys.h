// Keys that a terminal sends.
#ifndef FGS_TOOL_KEYS_H
#define FGS_TOOL_KEYS_H

#include <string>
#include <vector>

namespace fgs
{

enum class Key { Up, Down, PageUp, PageDown, Home, End, Each, Range, Trend, Quit };

/// The keys in what was read from the terminal, and takes them from it; the beginning of a longer sequence stays.
/// Others are passed over.
std::vector<Key> takeKeys(std::string &input);

} // namespace fgs

#endif
