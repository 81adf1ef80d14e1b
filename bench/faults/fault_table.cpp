// Strikes the replies of a line with every fault and prints what the driver, libmodbus and Qt's Modbus client make
// of it.
#include "clients.h"
#include "faults/expectations.h"
#include "sim/crc.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <QtCore/QCoreApplication>
#include <QtCore/QLoggingCategory>
#include <stdexcept>

using namespace bench;

namespace
{

const int GoodAfterwards = 4; ///< transactions without a fault after each one with

struct Score {
    int strikes = 0, wrong = 0, lost = 0, hangs = 0;
    int avoidable = 0; ///< of the wrong values, those of faults that can be told
    int given = 0;     ///< struck transactions that had no answer after all attempts
    double seconds = 0;

    void add(const Score &other)
    {
        strikes += other.strikes;
        wrong += other.wrong;
        avoidable += other.avoidable;
        lost += other.lost;
        hangs += other.hangs;
        given += other.given;
        seconds += other.seconds;
    }
};

/// The first request that a client sends.
QByteArray firstRequest(const PolledController &controller)
{
    const char *const text = controller.requestSize() == 8
                                 ? "010300000018"
                                 : "01FE06 08046400 0804C800 08042C01 08049001 0804F401 08045802";
    const QByteArray bytes = QByteArray::fromHex(text);
    fgssim::Bytes frame(bytes.begin(), bytes.end());
    fgssim::appendCrc(frame);
    return QByteArray(reinterpret_cast<const char *>(frame.data()), int(frame.size()));
}

/// How often a fault strikes: at one place twice, otherwise at the first, middle and last of its places.
int strikesOf(const fgssim::LineFault &fault, PolledController &controller)
{
    const int places = fault.cutsLink ? 0 : fault.places(controller.answer(firstRequest(controller)).exchange);
    return places == 0 ? 0 : places == 1 ? 2 : 3;
}

void ask(Client &client, StruckLine &line, int question, bool struck, Score &score)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    Values values;
    const bool answered = client.ask(question, values);
    const Clock::duration took = Clock::now() - start;
    score.seconds += std::chrono::duration<double>(took).count();
    score.hangs += took > Bound;
    if (answered)
        score.wrong += !line.wasSent(question, values);
    else
        ++(struck ? score.given : score.lost);
    score.wrong += !answered && !client.showsNothingWrong(question);
}

/// On a line of its own, so that no fault has to do with the one before.
Score strike(const Contender &contender, const fgssim::LineFault &fault, int number, int strikes)
{
    StruckLine line(contender.controller(), Limit);
    const std::unique_ptr<Client> client = contender.client(line, contender.attempts);
    Score warm, score;
    for (int question : {0, 1})
        ask(*client, line, question, false, warm);
    if (warm.lost || warm.wrong || warm.hangs)
        throw std::runtime_error(std::string(contender.name) + " does not work without a fault");
    line.arm(fault, number, strikes);
    ask(*client, line, 0, true, score);
    for (int i = 0; i < GoodAfterwards; ++i)
        ask(*client, line, (i + 1) % Questions, false, score);
    score.strikes = 1;
    return score;
}

Score strikeAll(const Contender &contender, const fgssim::LineFault &fault)
{
    Score score;
    const int strikes = strikesOf(fault, *contender.controller());
    for (int i = 0; i < strikes; ++i)
        score.add(strike(contender, fault, i, strikes));
    score.avoidable = faults::expectationOf(fault).undetectable ? 0 : score.wrong;
    return score;
}

void printCell(const Score &score)
{
    if (score.strikes == 0)
        std::printf(" |");
    else if (score.wrong + score.lost + score.hangs == 0)
        std::printf(" 0 |");
    else
        std::printf(" **%d / %d / %d** |", score.wrong, score.lost, score.hangs);
}

void printTotals(const char *name, const std::vector<Score> &totals, int Score::*field)
{
    std::printf("| **%s** |", name);
    for (const Score &total : totals)
        std::printf(" %d |", total.*field);
    std::printf("\n");
}

void printRow(const fgssim::LineFault &fault, const std::vector<Score> &scores)
{
    std::printf("| %s%s |", fault.name.c_str(), faults::expectationOf(fault).undetectable ? " \\*" : "");
    for (const Score &score : scores)
        printCell(score);
    std::printf("\n");
    std::fflush(stdout);
}

void printTotals(const std::vector<Score> &totals)
{
    printTotals("wrong values delivered", totals, &Score::wrong);
    printTotals("of these without a star", totals, &Score::avoidable);
    printTotals("good transactions lost", totals, &Score::lost);
    printTotals("hangs", totals, &Score::hangs);
    printTotals("struck transactions given up", totals, &Score::given);
    printTotals("of struck transactions", totals, &Score::strikes);
    std::printf("| **time of all transactions** |");
    for (const Score &total : totals)
        std::printf(" %.1f s |", total.seconds);
    std::printf("\n");
}

void run(const std::vector<Contender> &contenders, bool rows)
{
    std::vector<Score> totals(contenders.size());
    std::printf("| Fault |");
    for (const Contender &contender : contenders)
        std::printf(" %s %s |", contender.name, contender.version.c_str());
    std::printf("\n|---|---:|---:|---:|\n");
    for (const fgssim::LineFault &fault : fgssim::lineFaults()) {
        std::vector<Score> scores;
        for (std::size_t i = 0; i < contenders.size(); ++i) {
            scores.push_back(strikeAll(contenders[i], fault));
            totals[i].add(scores.back());
        }
        if (rows && scores[0].strikes)
            printRow(fault, scores);
    }
    printTotals(totals);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("qt.modbus*=false"));
    try {
        const int attempts = argc > 1 ? std::atoi(argv[1]) : 0;
        const bool totalsOnly = argc == 3 && std::strcmp(argv[2], "--totals") == 0;
        if (attempts < 1 || argc > 3 || (argc == 3 && !totalsOnly))
            throw std::runtime_error("usage: fault_table ATTEMPTS [--totals]");
        run({driverContender(attempts), libmodbusContender(attempts), qtContender(attempts)}, !totalsOnly);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "fault_table: %s\n", error.what());
        return 1;
    }
    return 0;
}
