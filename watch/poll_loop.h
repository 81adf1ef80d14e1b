// Reads variables round and round, and tells an observer what comes of it.
#ifndef FGS_WATCH_POLL_LOOP_H
#define FGS_WATCH_POLL_LOOP_H

#include "progress.h"
#include "reading.h"
#include "rounds.h"

namespace fgs
{

/// Called on the thread of the loop, between two requests.
class PollObserver
{
public:
    virtual ~PollObserver() = default;

    /// One request was answered or given up, the link was lost or a place left out: the readings at these indices
    /// have a new time, value or quality. Each variable comes at least once, and all of them before the first
    /// request.
    virtual void updated(const std::vector<Reading> &readings, const std::vector<std::size_t> &which) = 0;
    virtual void happened(const LineEvent &event) = 0;
    /// After every transaction.
    virtual void counted(const Statistics &) {}
    /// Time for other work: between two requests, and at least every 50 ms of a pause between two rounds. Returns
    /// whether it has used the host; then the variables are polled again, and what it has read is told.
    virtual bool betweenRequests() { return false; }
    /// Whether it wants no more.
    virtual bool isDone() const { return false; }
};

struct PollPlan {
    Time interval{0}; ///< from the start of one round to that of the next
    int rounds = 0;   ///< ends after them; 0: does not
};

/// Ends with its plan, when the observer is done, or when the link's end has come (Link::endBy()).
class PollLoop
{
public:
    /// All of them outlive it.
    PollLoop(Host &theHost, Link &theLink, const std::vector<Variable> &theVariables, const PollPlan &thePlan,
             PollObserver &theObserver);
    ~PollLoop();
    PollLoop(const PollLoop &) = delete;
    PollLoop &operator=(const PollLoop &) = delete;

    void run();

    /// Of all variables, as they stand.
    const std::vector<Reading> &lastReadings() const { return readings; }

private:
    bool isOver() const;
    void step();
    void letOthersWork();
    std::vector<std::size_t> touched(int station) const;
    bool isUntouched(std::size_t index) const;
    void update(const std::vector<std::size_t> &which);
    bool refresh(std::size_t index);
    void pauseBetweenRounds();

    Host &host;
    Link &link;
    const std::vector<Variable> &variables;
    const PollPlan plan;
    PollObserver &observer;
    std::vector<Reading> readings;
    std::vector<std::size_t> all;                      ///< indices
    std::map<int, std::vector<std::size_t>> ofStation; ///< indices
    Rounds rounds;
    bool lineHasChanged = false;
};

/// Reads until each variable is settled, the link is lost, or its end has come.
void readAll(Host &host, const Link &link, const std::vector<Variable> &variables,
             const ProgressHook &progress = ProgressHook());

} // namespace fgs

#endif
