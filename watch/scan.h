// Finds the settings of a line and the stations on it: by listening, and if nothing is heard by asking.
#ifndef FGS_WATCH_SCAN_H
#define FGS_WATCH_SCAN_H

#include "overheard.h"
#include "prober.h"

#include <functional>
#include <vector>

namespace fgs
{

/// What is tried, each in its order.
struct ScanPlan {
    std::vector<QString> links; ///< one device with different settings, or one connection
    std::vector<int> stations;  ///< of 1..MaxStation
    ProbeSettings probe;
    Time listen = 3s; ///< to each link
};

/// Not open yet. Throws TextError.
using LinkMaker = std::function<std::unique_ptr<Link>(const QString &link)>;

/// The links of a device: the likely settings first, then all others of these speeds and formats in their order.
std::vector<QString> linksOf(const QString &device, const std::vector<int> &speeds,
                             const std::vector<QString> &formats);
/// The speeds and formats that a scan tries if nobody says otherwise.
extern const std::vector<int> UsualSpeeds;
extern const std::vector<QString> UsualFormats;

/// How long a scan may take at most that finds nothing.
Time worstTime(const ScanPlan &plan, const LinkMaker &makeLink);

struct ScanResult {
    enum ResultKind {
        Heard,         ///< others talk on the line; nothing was sent
        Answered,      ///< stations gave two good answers each
        NotUnderstood, ///< something was heard, but no good frames at any settings; nothing was sent
        Nothing,       ///< neither heard nor answered
        NoLink,        ///< none can be opened, or it was lost
        Stopped
    };
    ResultKind kind = Nothing;
    QString link;              ///< of Heard and Answered: with the settings that were found
    std::vector<int> stations; ///< that answer, in ascending order
    std::vector<int> silent;   ///< of Heard: that others ask in vain
    bool echoes = false;       ///< the line gives back what is sent
    int bytesHeard = 0;
    QString error; ///< why the last link that could not be opened could not, or the line was lost
};

class ScanObserver
{
public:
    virtual ~ScanObserver() = default;
    /// Both are told before it is done; `left` is the longest that the scan may still take.
    virtual void listening(const QString &link, Time left) = 0;
    virtual void asking(const QString &link, int station, Time left) = 0;
};

/// Sends nothing unless the line is silent, and then nothing but reads of one word. One thread.
class Scan
{
public:
    /// The stop and the observer outlive the scan. The plan has a link and a station.
    Scan(const ScanPlan &thePlan, LinkMaker theMaker, const Stop &theStop, ScanObserver &theObserver);

    ScanResult run();

private:
    bool listen();
    void listenAt(Link &link, Overheard &heard) const;
    void ask();
    bool askAt(const QString &text, bool firstOnly);
    void settle(const QString &text, int station);
    static bool isThere(Prober &prober, const Link &link, int station);
    static bool answers(Prober &prober, const Link &link, int station);
    std::unique_ptr<Link> open(const QString &text);

    const ScanPlan plan;
    const LinkMaker makeLink;
    const Stop &stop;
    ScanObserver &observer;
    ScanResult result;
    std::optional<bool> echoes;
    Time left{0};
    bool hasOpened = false;
};

} // namespace fgs

#endif
