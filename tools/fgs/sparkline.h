// Numbers as a line of letters, each as high as its number.
#ifndef FGS_TOOL_SPARKLINE_H
#define FGS_TOOL_SPARKLINE_H

#include <QtCore/QString>
#include <vector>

namespace fgs
{

/// From low to high, and what every terminal has.
extern const QString BlockLevels, AsciiLevels;

/// The levels that the terminal's character set has.
const QString &sparkLevels();
/// A letter for each number, the smallest of them as the lowest level and the largest as the highest; in the middle
/// if they are all the same.
QString sparkline(const std::vector<float> &numbers, const QString &levels);

} // namespace fgs

#endif
