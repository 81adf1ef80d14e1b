// The three clients that are compared. Each asks a question with the same time limit and number of attempts.
#ifndef BENCH_FAULTS_CLIENTS_H
#define BENCH_FAULTS_CLIENTS_H

#include "struck_line.h"

namespace bench
{

const fgssim::Time Limit = std::chrono::milliseconds(100);  ///< for an answer
const fgssim::Time Bound = std::chrono::milliseconds(1500); ///< a transaction that takes longer hangs

class Client
{
public:
    virtual ~Client() = default;
    /// Whether the answer came, and its values. The questions come by turns, 0 first.
    virtual bool ask(int question, Values &values) = 0;
    /// Whether what the client shows without a good answer is right: nothing, or values that were good before.
    virtual bool showsNothingWrong(int) { return true; }
};

struct Contender {
    const char *name;
    std::string version;
    std::unique_ptr<PolledController> (*controller)();
    std::unique_ptr<Client> (*client)(StruckLine &line, int attempts);
    int attempts;
};

Contender driverContender(int attempts);
Contender libmodbusContender(int attempts);
Contender qtContender(int attempts);

} // namespace bench

#endif
