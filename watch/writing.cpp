#include "writing.h"

#include "poll_loop.h"

namespace fgs
{

namespace
{

const char *const resultKeys[] = {"verified",        "different", "written", "refused",
                                  "notAcknowledged", "unknown",   "notSent"};

/// Writes and reads back on one link, whose loss ends the writing.
class Writing
{
public:
    Writing(Host &theHost, Link &theLink, std::size_t assignments, const ProgressHook &hook)
        : host(theHost), link(theLink), all(assignments), progress(hook)
    {
    }

    /// Fills the result in. Returns whether the next one may be sent.
    bool send(WriteReport &report)
    {
        const Variable &variable = report.assignment.tag.variable;
        const int lostBefore = host.writesLost();
        bool sent = false;
        Step last;
        if (!host.write(variable, report.assignment.values))
            return false;
        const int queued = host.writesQueued();
        while (host.writesQueued() && !link.isEnded() && link.isOpen()) {
            last = host.step();
            sent = sent || last.sent;
            tellProgress(1 - double(host.writesQueued()) / queued);
        }
        ++done;
        if (host.writesQueued()) {
            host.dropWrites();
            report.result = sent ? WriteResult::Unknown : WriteResult::NotSent;
            return false;
        }
        report.result = variable.station == 0              ? WriteResult::Unknown
                        : host.writesLost() == lostBefore  ? WriteResult::Written
                        : last.outcome == Outcome::Refused ? WriteResult::Refused
                                                           : WriteResult::NotAcknowledged;
        if (report.result == WriteResult::NotAcknowledged)
            report.reason = {Reason::Failed, last.outcome, last.received, last.expected};
        return host.writesLost() == lostBefore;
    }

    void readBack(std::vector<WriteReport> &reports, Time patience)
    {
        std::vector<Variable> sent;
        for (const WriteReport &report : reports)
            if (report.result != WriteResult::NotSent && report.assignment.tag.variable.station != 0)
                sent.push_back(report.assignment.tag.variable);
        const Time asked = link.now();
        if (!sent.empty() && isBackWithin(patience))
            readAll(host, link, sent, progress);
        for (WriteReport &report : reports)
            judge(report, asked);
    }

private:
    bool isBackWithin(Time patience)
    {
        host.poll({});
        for (const Time limit = link.now() + patience; !link.isOpen() && !link.isEnded() && link.now() < limit;)
            host.step();
        return link.isOpen() && !link.isEnded();
    }

    /// What was read before counts for nothing: the driver's image shows a write at once.
    void judge(WriteReport &report, Time asked) const
    {
        report.held = readingOf(host, link, report.assignment.tag.variable);
        if (report.held.time <= asked) {
            report.held.quality = Quality::Unknown;
            report.held.values.clear();
        }
        if (report.result != WriteResult::Written || report.held.quality == Quality::Unknown)
            return;
        report.result = report.holdsAssigned() ? WriteResult::Verified : WriteResult::Different;
    }

    /// `ofThis`: the share of the assignment that is under way.
    void tellProgress(double ofThis) const
    {
        if (progress)
            progress("writing", [this, ofThis] { return (double(done) + ofThis) / double(all); });
    }

    Host &host;
    Link &link;
    const std::size_t all; ///< assignments
    std::size_t done = 0;
    const ProgressHook progress;
};

bool isReadBack(const WriteReport &report)
{
    return report.held.quality != Quality::Unknown;
}

QString heldText(const WriteReport &report)
{
    return report.holdsAssigned() ? QStringLiteral("the controller holds the new values")
                                  : QStringLiteral("the controller holds other values");
}

/// The reason, unless the end came before.
QString notReadBack(const WriteReport &report, const ReasonText &tell)
{
    const Reason::ReasonKind kind = report.held.reason.kind;
    const bool isCutOff = kind == Reason::NotAskedYet || kind == Reason::UnderWay;
    return QStringLiteral("not read back: ") +
           (isCutOff ? QStringLiteral("interrupted") : tell(report.held.reason));
}

QString notAcknowledgedText(const WriteReport &report, const ReasonText &tell)
{
    return QStringLiteral("not acknowledged (%1)").arg(tell(report.reason)) +
           (isReadBack(report) ? QStringLiteral("; ") + heldText(report)
                               : QStringLiteral(", and ") + notReadBack(report, tell));
}

} // namespace

std::vector<WriteReport> writeAll(Host &host, Link &link, const std::vector<Assignment> &assignments, Time patience,
                                  const ProgressHook &progress)
{
    std::vector<WriteReport> reports;
    Writing writing(host, link, assignments.size(), progress);
    bool goesOn = true;
    for (const Assignment &assignment : assignments) {
        WriteReport report;
        report.assignment = assignment;
        report.held.variable = assignment.tag.variable;
        if (goesOn && !link.isEnded())
            goesOn = writing.send(report);
        reports.push_back(report);
    }
    writing.readBack(reports, patience);
    return reports;
}

QString textOf(const WriteReport &report, const ReasonText &tell)
{
    switch (report.result) {
    case WriteResult::Verified:
        return QStringLiteral("written and verified");
    case WriteResult::Different:
        return QStringLiteral("written, but ") + heldText(report);
    case WriteResult::Written:
        return QStringLiteral("written, but ") + notReadBack(report, tell);
    case WriteResult::Refused:
        return QStringLiteral("refused by the controller");
    case WriteResult::NotAcknowledged:
        return notAcknowledgedText(report, tell);
    case WriteResult::Unknown:
        return QStringLiteral("sent, result not known") +
               (isReadBack(report) ? QStringLiteral("; ") + heldText(report) : QString());
    case WriteResult::NotSent:
        break;
    }
    return QStringLiteral("not sent");
}

const char *keyOf(WriteResult result)
{
    return resultKeys[static_cast<std::size_t>(result)];
}

} // namespace fgs
