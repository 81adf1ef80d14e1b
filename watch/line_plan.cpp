#include "line_plan.h"

#include "host/remote_frame.h"

#include <algorithm>
#include <set>
#include <tuple>

namespace fgs
{

namespace
{

QByteArray sealed(QByteArray reply)
{
    const int check = checkCode({reply.constData(), int(reply.size())});
    reply.append(static_cast<char>(check & 0xFF));
    reply.append(static_cast<char>(check >> 8));
    return reply;
}

/// Of zeros, as a sound controller would answer a read.
QByteArray answerTo(FrameView request)
{
    if (isRemoteRequest(request))
        return sealed(QByteArray(remoteRequestOf(request).replySize() - CrcSize, '\0'));
    QByteArray reply(request.bytes, EntriesAt);
    for (int i = 0; i < request.at(CountAt); ++i) {
        const FrameView entry = request.from(EntriesAt + i * RequestEntrySize);
        const Area &area = *areaOfCode(entry.at(0));
        reply.append(entry.bytes, ReplyHeaderSize);
        reply.append(QByteArray(dataSize(area, entry.at(1)), '\0'));
    }
    return sealed(reply);
}

/// A line on which everything is answered at once, and nothing takes time but waiting.
class PromptLink : public Link
{
public:
    bool open() override { return true; }
    bool isOpen() const override { return true; }
    QString error() const override { return QString(); }
    bool send(const char *bytes, int size) override
    {
        request = QByteArray(bytes, size);
        reply = answerTo({bytes, size});
        return true;
    }
    int receive(char *bytes, int most, Time deadline) override
    {
        const int count = std::min(most, int(reply.size()));
        if (count == 0)
            clock = std::max(clock, deadline);
        std::copy(reply.begin(), reply.begin() + count, bytes);
        reply.remove(0, count);
        return count;
    }
    Time now() const override { return clock; }
    void pauseUntil(Time time) override { clock = std::max(clock, time); }

    QByteArray request; ///< the last one

private:
    QByteArray reply;
    Time clock{1s};
};

std::vector<Variable> blocksOf(FrameView request)
{
    if (isRemoteRequest(request))
        return {variableOf(spanOf(remoteRequestOf(request)))};
    std::vector<Variable> blocks;
    for (int i = 0; i < request.at(CountAt); ++i) {
        const FrameView entry = request.from(EntriesAt + i * RequestEntrySize);
        blocks.push_back({areaOfCode(entry.at(0))->number, entry.le16(2), entry.at(1), request.at(StationAt)});
    }
    return blocks;
}

PlannedRequest requestOf(const QByteArray &frame)
{
    const FrameView view = {frame.constData(), int(frame.size())};
    return {frame, int(answerTo(view).size()), blocksOf(view)};
}

/// Until the first one comes again: the driver's list has gone round once or more often, and stands as in the
/// beginning.
std::vector<PlannedRequest> requestsOf(Host &host, const PromptLink &link)
{
    std::vector<PlannedRequest> requests;
    while (host.step().kind == Step::Exchanged) {
        if (!requests.empty() && requests.front().frame == link.request)
            break;
        requests.push_back(requestOf(link.request));
    }
    return requests;
}

Spans spansOf(const std::vector<Variable> &variables)
{
    Spans spans;
    for (const Variable &variable : variables)
        if (variable.station != 0)
            spans.push_back(spanOf(variable));
    return spans;
}

std::vector<Variable> variablesOf(const Spans &spans)
{
    std::vector<Variable> variables;
    for (const Span &span : spans)
        variables.push_back(variableOf(span));
    return variables;
}

/// Each once, in the order of the requests; returns how often the first one is read.
int collectBlocks(const std::vector<PlannedRequest> &requests, std::vector<Variable> &blocks)
{
    std::set<std::tuple<int, int, int, int>> known;
    int times = 0;
    for (const PlannedRequest &request : requests)
        for (const Variable &block : request.blocks) {
            if (known.insert({block.station, block.area, block.address, block.count}).second)
                blocks.push_back(block);
            times += spanOf(block) == spanOf(blocks.front());
        }
    return std::max(1, times);
}

/// The plan without what is read along.
LinePlan framesFor(const DriverApi &driver, const std::vector<Variable> &variables, int blockWords,
                   std::optional<int> remoteLink)
{
    PromptLink link;
    HostOptions options;
    options.blockWords = blockWords;
    options.remoteLink = remoteLink;
    Host host(driver, link, variables, options);
    host.poll(variables);
    LinePlan plan;
    plan.storage = storageFor(variables, options);
    plan.remoteLink = remoteLink;
    plan.askedBlockWords = blockWords;
    plan.variables = variables;
    plan.requests = requestsOf(host, link);
    plan.rounds = collectBlocks(plan.requests, plan.blocks);
    return plan;
}

std::vector<Variable> readAlongIn(const LinePlan &plan)
{
    return variablesOf(united(without(spansOf(plan.blocks), spansOf(plan.variables))));
}

} // namespace

double LinePlan::bytesPerCycle() const
{
    double bytes = 0;
    for (const PlannedRequest &request : requests)
        bytes += double(request.frame.size()) + request.replySize;
    return bytes / rounds;
}

LinePlan planFor(const DriverApi &driver, const std::vector<Variable> &variables, int blockWords,
                 std::optional<int> remoteLink)
{
    LinePlan plan = framesFor(driver, variables, blockWords, remoteLink);
    plan.readAlong = readAlongIn(plan);
    return plan;
}

LineSpeed speedOf(const SerialAddress &address)
{
    return {address.baud, 1 + address.dataBits + (address.parity == 'N' ? 0 : 1) + address.stopBits};
}

Time cycleTime(const LinePlan &plan, const LineSpeed &speed, const LinePauses &pauses)
{
    const Time pause = pauses.beforeRequest(speed) + pauses.answer;
    const double whole =
        plan.bytesPerCycle() * double(speed.byteTime().count()) + plan.requestsPerCycle() * double(pause.count());
    return Time(static_cast<Time::rep>(whole));
}

LinePlan bestPlanFor(const DriverApi &driver, const std::vector<Variable> &variables, const LineSpeed &speed,
                     const LinePauses &pauses, std::optional<int> remoteLink, const ProgressHook &progress)
{
    HostOptions widest;
    widest.blockWords = MaxBlockWords;
    widest.remoteLink = remoteLink;
    const int most = storageFor(variables, widest).blockWords;
    LinePlan best = framesFor(driver, variables, MinBlockWords, remoteLink);
    for (int blockWords = MinBlockWords + 1; blockWords <= most; ++blockWords) {
        if (progress)
            progress("planning", [=] { return double(blockWords - MinBlockWords) / (most - MinBlockWords + 1); });
        LinePlan plan = framesFor(driver, variables, blockWords, remoteLink);
        if (cycleTime(plan, speed, pauses) < cycleTime(best, speed, pauses))
            best = std::move(plan);
    }
    best.readAlong = readAlongIn(best);
    return best;
}

} // namespace fgs
