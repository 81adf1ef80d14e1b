#include "sparkline.h"

#include <algorithm>
#include <cstring>
#include <langinfo.h>

namespace fgs
{

const QString BlockLevels = QStringLiteral("\u2581\u2582\u2583\u2584\u2585\u2586\u2587\u2588");
const QString AsciiLevels = QStringLiteral("_.-=^");

const QString &sparkLevels()
{
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0 ? BlockLevels : AsciiLevels;
}

QString sparkline(const std::vector<float> &numbers, const QString &levels)
{
    QString line;
    if (numbers.empty())
        return line;
    const auto [low, high] = std::minmax_element(numbers.begin(), numbers.end());
    const double span = double(*high) - double(*low);
    const int highest = static_cast<int>(levels.size()) - 1;
    for (const float number : numbers) {
        const double share = span > 0 ? (double(number) - double(*low)) / span : 0.5;
        line += levels.at(static_cast<int>(share * highest));
    }
    return line;
}

} // namespace fgs
