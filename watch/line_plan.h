// What the driver will send for a set of variables, and what it costs the line: nothing is opened.
#ifndef FGS_WATCH_LINE_PLAN_H
#define FGS_WATCH_LINE_PLAN_H

#include "host/devices.h"
#include "host/host.h"
#include "progress.h"

namespace fgs
{

/// One request of the cycle, and the reply of a sound controller.
struct PlannedRequest {
    QByteArray frame;
    int replySize = 0;
    std::vector<Variable> blocks; ///< what it reads; bits by whole bytes
};

/// The requests follow each other until the first one comes again. In that time each block is read `rounds` times:
/// more than once where the driver's groups of six do not end with its list.
struct LinePlan {
    Storage storage;
    int askedBlockWords = 0;       ///< more than the storage has if bits or remote frames forbid it
    std::optional<int> remoteLink; ///< number, if it goes by remote frames
    std::vector<Variable> variables;
    std::vector<Variable> blocks;    ///< in the driver's order
    std::vector<Variable> readAlong; ///< nobody asked for; bits by whole bytes
    std::vector<PlannedRequest> requests;
    int rounds = 1;

    /// Of requests and replies, from one reading of a variable to the next.
    bool isRemote() const { return remoteLink.has_value(); }
    double bytesPerCycle() const;
    double requestsPerCycle() const { return double(requests.size()) / rounds; }
};

/// The blocks and frames of a Host that polls these variables, with a link number by remote frames, taken from one
/// on a line of its own in no time. The process must have no other host. Station 0 is not read.
LinePlan planFor(const DriverApi &driver, const std::vector<Variable> &variables,
                 int blockWords = DefaultBlockWords, std::optional<int> remoteLink = {});

/// How fast a line is.
struct LineSpeed {
    int baud = 19200;
    int bitsPerByte = 11; ///< with start, parity and stop bits

    Time byteTime() const { return Time(1s) * bitsPerByte / baud; }
};
LineSpeed speedOf(const SerialAddress &address);

/// What is assumed beside the bytes.
struct LinePauses {
    Time gap = Timing().gap; ///< that the host keeps before a request; at least four byte times
    Time answer = 0ms;       ///< of the controller, from the last byte of a request to the first of its reply

    Time beforeRequest(const LineSpeed &speed) const { return std::max(gap, 4 * speed.byteTime()); }
};

/// From one reading of a variable to the next.
Time cycleTime(const LinePlan &plan, const LineSpeed &speed, const LinePauses &pauses);

/// Every block size is tried; of equally good ones the smallest.
LinePlan bestPlanFor(const DriverApi &driver, const std::vector<Variable> &variables, const LineSpeed &speed,
                     const LinePauses &pauses, std::optional<int> remoteLink = {},
                     const ProgressHook &progress = ProgressHook());

} // namespace fgs

#endif
