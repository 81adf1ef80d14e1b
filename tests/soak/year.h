// A panel at work, transaction by transaction in virtual time: screens change, the host writes and reads once, the
// line has faults. What must hold is checked all along; the first thing that does not throws std::runtime_error.
#ifndef TARN_TESTS_YEAR_H
#define TARN_TESTS_YEAR_H

#include "places.h"
#include "shadow.h"

namespace soak
{

const std::uint64_t TransactionsPerSecond = 10;
const std::uint64_t TransactionsPerHour = 3600 * TransactionsPerSecond;

struct Report {
    Totals totals;
    std::uint64_t hours = 0;
    std::uint64_t transactions = 0;
    std::uint64_t rebuilds = 0, writes = 0, onceReads = 0, reads = 0; ///< calls of the host
    std::uint64_t silences = 0;                                       ///< of a line that was dead for a moment
    std::array<std::uint64_t, fgssim::FaultKinds> faults{};
    int mostWrites = 0, mostOnces = 0; ///< queued at a time
    int stored = 0;                    ///< entries of per-station storage
    long long heapWarm = 0, heapEnd = 0;
};

class Year
{
public:
    Year(bool perStation, std::uint64_t seed);
    ~Year();

    /// Whole hours, at least two after the one that warms up.
    Report run(std::uint64_t transactions);

private:
    void hour();
    void tidy();
    void transact();
    void poll();
    void act();
    void showScreen(const Screen &screen);
    void write(const Place &place);
    void broadcast();
    void readOnce(const Place &place);
    void look(const Place &place);
    void writeEverywhere();
    void emptyQueues();
    void readScreens();
    void drain();
    void compare(const Place &place);
    void checkHeap();
    const Place &anyPlace() { return places[random.below(places.size())]; }
    static void onceReadEnded(int handle, int hostType, int hostAddr, int status);

    COMINFO settings = COMINFO();
    const std::vector<Screen> allScreens;
    const std::vector<Place> places;
    LossyLine line;
    fgssim::Random random;
    Shadow shadow;
    Report report;
};

} // namespace soak

#endif
