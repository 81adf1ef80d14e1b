#include "oddities.h"

#include <algorithm>
#include <set>

namespace fgs
{

namespace
{

const std::size_t MostNamed = 4;

/// "5:0x100@1, 5:200@1 and 3 more"
QString listed(const std::vector<Variable> &variables)
{
    QStringList texts;
    for (std::size_t i = 0; i < std::min(variables.size(), MostNamed); ++i)
        texts << textOf(variables[i]);
    const QString text = texts.join(QStringLiteral(", "));
    return variables.size() <= MostNamed
               ? text
               : QStringLiteral("%1 and %2 more").arg(text).arg(variables.size() - MostNamed);
}

template <typename Condition>
std::vector<Variable> those(const std::vector<Variable> &variables, Condition isMeant)
{
    std::vector<Variable> some;
    std::copy_if(variables.begin(), variables.end(), std::back_inserter(some), isMeant);
    return some;
}

/// The text with these variables in the place of %1; empty if there are none.
QString meaningOf(const char *text, const std::vector<Variable> &variables)
{
    return variables.empty() ? QString() : QString::fromUtf8(text).arg(listed(variables));
}

AreaKind kindOf(const Variable &variable)
{
    return areaOf(variable.area)->kind;
}

bool hasKind(const LinePlan &plan, AreaKind kind)
{
    return std::any_of(plan.variables.begin(), plan.variables.end(),
                       [kind](const Variable &variable) { return kindOf(variable) == kind; });
}

int stationCount(const LinePlan &plan)
{
    std::set<int> stations;
    for (const Variable &variable : plan.variables)
        stations.insert(variable.station);
    return static_cast<int>(stations.size());
}

bool isLong(const LinePlan &plan, const Variable &variable)
{
    return spanOf(variable).size() > mostElements(*areaOf(variable.area), plan.storage.blockWords);
}

/// Whether it lies between two variables of one block.
bool isGap(const LinePlan &plan, const Variable &place)
{
    const Span gap = spanOf(place);
    return std::any_of(plan.blocks.begin(), plan.blocks.end(), [&gap](const Variable &block) {
        const Span span = spanOf(block);
        return span.isSamePlace(gap) && span.first < gap.first && gap.end < span.end;
    });
}

/// Whether neighbours are read with it because it is so short.
bool isWidened(const LinePlan &plan, const Variable &variable)
{
    const Span wanted = spanOf(variable);
    return isTooShort(wanted) &&
           std::any_of(plan.readAlong.begin(), plan.readAlong.end(),
                       [&](const Variable &place) { return spanOf(place).touches(wanted) && !isGap(plan, place); });
}

// ---- one function for each oddity: what it means, or nothing

QString groupsOfOneStation(const LinePlan &plan)
{
    const int stations = stationCount(plan);
    return stations < 2
               ? QString()
               : QStringLiteral("a request reads of one station only: %1 stations take at least %1 requests")
                     .arg(stations);
}

QString echoesOfShortReads(const LinePlan &plan)
{
    return meaningOf("%1: a reply so short could be an echo of its request, so neighbours are read with it",
                     those(plan.variables, [&](const Variable &each) { return isWidened(plan, each); }));
}

QString groupsBeyondTheEnd(const LinePlan &plan)
{
    return plan.rounds == 1
               ? QString()
               : QStringLiteral(
                     "a request takes up to six blocks, and begins again where the list ends: the requests "
                     "repeat after %1 cycles, %2 requests in all")
                     .arg(plan.rounds)
                     .arg(plan.requests.size());
}

QString longVariables(const LinePlan &plan)
{
    if (plan.storage.perStation)
        return QString();
    return meaningOf(
        "%1: longer than a block, of which the driver would lose the middle; fgs cuts it, so its parts may "
        "be of different moments",
        those(plan.variables, [&](const Variable &each) { return isLong(plan, each); }));
}

QString bitsJoinedAsWords(const LinePlan &plan)
{
    return plan.storage.perStation && hasKind(plan, AreaKind::Bit)
               ? QStringLiteral(
                     "bits and words are joined by the rule of the last variable: fgs puts a word last that "
                     "reads nothing, so that no word goes unread")
               : QString();
}

QString bytesTakenForBits(const LinePlan &plan)
{
    return plan.storage.perStation && hasKind(plan, AreaKind::Bit)
               ? QStringLiteral("joined per station, blocks of bits would be eight times too short: fgs joins them")
               : QString();
}

QString gapsReadAlong(const LinePlan &plan)
{
    return meaningOf(
        "%1: between variables of one block, and read along; if the controller has no such address, fgs "
        "finds out and leaves it out",
        those(plan.readAlong, [&](const Variable &each) { return isGap(plan, each); }));
}

QString oneStationInTheFixedImage(const LinePlan &plan)
{
    return stationCount(plan) < 2
               ? QString()
               : QStringLiteral("the fixed image is of one station: the values are kept per station");
}

QString longDoubleWords(const LinePlan &plan)
{
    if (!plan.storage.perStation)
        return QString();
    return meaningOf(
        "%1: double words beyond half a block would be lost at the seams; fgs cuts them, so the parts may be "
        "of different moments",
        those(plan.variables,
              [&](const Variable &each) { return kindOf(each) == AreaKind::DoubleWord && isLong(plan, each); }));
}

QString doubleWordsOneShort(const LinePlan &plan)
{
    return meaningOf(
        "%1: the driver asks for one double word less than is listed; fgs lists one more, and the frames "
        "hold the count that is wanted",
        those(plan.variables, [](const Variable &each) { return kindOf(each) == AreaKind::DoubleWord; }));
}

QString shortBlocksOfBits(const LinePlan &plan)
{
    return plan.storage.blockWords == plan.askedBlockWords
               ? QString()
               : QStringLiteral(
                     "a block of bits counts them in one byte: with bits in the list no block is longer than "
                     "%1 words, instead of %2")
                     .arg(plan.storage.blockWords)
                     .arg(plan.askedBlockWords);
}

QString wholeBytes(const LinePlan &plan)
{
    return meaningOf("%1: bits are read and stored by whole bytes", those(plan.variables, [](const Variable &each) {
                         return kindOf(each) == AreaKind::Bit && (each.address % 8 != 0 || each.count % 8 != 0);
                     }));
}

QString oneBlockARequest(const LinePlan &plan)
{
    return plan.blocks.size() < 2
               ? QString()
               : QStringLiteral(
                     "a remote request reads one block: a cycle takes %1 requests, and the blocks may be of "
                     "different moments")
                     .arg(plan.blocks.size());
}

QString pairsOfBytes(const LinePlan &plan)
{
    return meaningOf("%1: area 11 is read by pairs of bytes",
                     those(plan.variables, [](const Variable &each) { return each.area == 11; }));
}

QString shortRemoteBlocks(const LinePlan &plan)
{
    return plan.storage.blockWords == plan.askedBlockWords
               ? QString()
               : QStringLiteral(
                     "a remote frame tells its length in one byte: so that all writes fit, no block is longer "
                     "than %1 words, instead of %2")
                     .arg(plan.storage.blockWords)
                     .arg(plan.askedBlockWords);
}

enum Path { Local = 1, Remote = 2, Both = Local | Remote };

struct KnownOddity {
    int number;
    Path path;
    QString (*meaning)(const LinePlan &plan);

    bool isOf(const LinePlan &plan) const { return path & (plan.isRemote() ? Remote : Local); }
};

const KnownOddity knownOddities[] = {
    {113, Local, groupsOfOneStation}, {114, Remote, oneBlockARequest},   {121, Local, echoesOfShortReads},
    {131, Local, groupsBeyondTheEnd}, {201, Local, longVariables},       {204, Local, bitsJoinedAsWords},
    {205, Local, bytesTakenForBits},  {206, Local, gapsReadAlong},       {208, Both, oneStationInTheFixedImage},
    {213, Local, longDoubleWords},    {401, Local, doubleWordsOneShort}, {406, Local, shortBlocksOfBits},
    {443, Both, wholeBytes},          {502, Remote, pairsOfBytes},       {506, Remote, shortRemoteBlocks},
};

} // namespace

std::vector<Oddity> odditiesOf(const LinePlan &plan)
{
    std::vector<Oddity> oddities;
    for (const KnownOddity &known : knownOddities)
        if (const QString meaning = known.isOf(plan) ? known.meaning(plan) : QString(); !meaning.isEmpty())
            oddities.push_back({known.number, meaning});
    return oddities;
}

} // namespace fgs
