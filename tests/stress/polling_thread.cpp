#include "threads.h"

#include <thread>

namespace stress
{

namespace
{

const fgssim::FaultRates Percent = {2, 1, 1, 1, 1, 1};

fgssim::Range rising(int areaType, int address, int length, std::int64_t to)
{
    const fgssim::Course course = {fgssim::Course::Shape::Ramp, 0, to, 1};
    return {{&fgssim::areas()[std::size_t(areaType)], unsigned(address), unsigned(length), std::nullopt}, course};
}

/// All values of the controller's groups are the number of the tick.
std::vector<fgssim::Range> courses()
{
    std::vector<fgssim::Range> ranges = {rising(AllBlocks.areaType, AllBlocks.address, AllBlocks.length, 0xFFFF)};
    for (const Group &group : controllerGroups())
        ranges.push_back(rising(group.areaType, group.address, group.length,
                                group.isBits()          ? 1
                                : group.isDoubleWords() ? 0x7fffffff
                                                        : 0xFFFF));
    return ranges;
}

} // namespace

PollingThread::PollingThread(const COMINFO &info, std::uint64_t seed)
    : settings(info), line({1}, courses(), fgssim::Values::Still, Percent, seed), remoteLine(Percent, seed)
{
}

void PollingThread::run()
{
    while (!stop)
        step();
    if (line.rejected && error.empty())
        error = std::to_string(line.rejected) + " requests that the controller refused";
}

void PollingThread::step()
{
    ++calls;
    const Protocol *request = ComCommunication();
    if (!request)
        return std::this_thread::yield();
    line.tick();
    soak::Reply reply = settings.remoteMode ? remoteLine.exchange(*request) : line.exchange(request->frame);
    const RW_VAR var = request->var;
    ++calls;
    ++replies;
    judge(reply, var, DataCom(&reply.bytes, int(reply.bytes.size()))->result);
}

void PollingThread::judge(const soak::Reply &reply, const RW_VAR &var, int result)
{
    int code = settings.remoteMode ? remoteCodeFor(reply.fault, var) : soak::codeFor(reply.fault, var.hostType);
    if (reply.fault) {
        ++failures;
        const bool again = ++retries <= settings.retryLimit;
        retries = again ? retries : 0;
        code = again ? 0 : code;
    }
    if (result != code && error.empty())
        error = "result " + std::to_string(result) + ", but must be " + std::to_string(code);
}

} // namespace stress
