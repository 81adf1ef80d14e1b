// The lists that commands which look for stations take, and what they say while they look.
#ifndef FGS_TOOL_SEARCH_TEXT_H
#define FGS_TOOL_SEARCH_TEXT_H

#include "options.h"
#include "watch/prober.h"

namespace fgs
{

/// All of them throw TextError.
ProbeSettings probeOf(const SearchOptions &search);
std::vector<int> stationsIn(const std::string &list); ///< "1-32,40", in this order
std::vector<int> speedsIn(const std::string &list);   ///< "9600,19200"
std::vector<QString> formatsIn(const std::string &list);

/// "1 min 5 s"
QString durationText(Time time);
/// "1 2 7"
QString numbersText(const std::vector<int> &numbers);

/// One line on stderr that is written over, if that is a terminal; gone with the object.
class ProgressLine
{
public:
    explicit ProgressLine(bool isWanted);
    ~ProgressLine();
    ProgressLine(const ProgressLine &) = delete;
    ProgressLine &operator=(const ProgressLine &) = delete;

    void show(const QString &text) const;

private:
    const bool isShown;
};

} // namespace fgs

#endif
