// Looks for what keeps a gateway from working: file, clock, broker, spool, HTTP, and the line.
#ifndef FGS_GATEWAY_GATEWAY_DOCTOR_H
#define FGS_GATEWAY_GATEWAY_DOCTOR_H

#include "settings.h"
#include "watch/doctor.h"

namespace fgs
{

/// How the computer's clock stands.
struct ClockState {
    Epoch now = 0;
    bool isSynchronised = false;
};
ClockState thisClock();

class BrokerProbe;

/// One thread.
class GatewayDoctor
{
public:
    /// `system` and `stop` outlive it.
    GatewayDoctor(QString theFile, const ClockState &theClock, DoctorSystem &theSystem, const Stop &theStop);
    ~GatewayDoctor();

    /// The observer is told the name of each check before it is made. If the file cannot be used, the rest is not
    /// checked; after a stop neither.
    std::vector<CheckResult> run(const Doctor::Observer &observer);

private:
    struct Check;
    static const Check Checks[];
    struct Result {
        Mark mark;
        QString text;
        QString remedy = QString();
    };
    Result read();
    Result time();
    Result certificates();
    Result hostNames();
    Result connections();
    Result login();
    Result publish();
    Result will();
    Result spool();
    Result http();
    Result look(const Check &check);
    void examineLine(const Doctor::Observer &observer, std::vector<CheckResult> &findings);

    bool isPasswordHidden() const;
    QString whoseSpool() const;
    QString besideItself() const;
    BrokerSettings brokerAs(const char *suffix) const;
    std::string testTopic() const;
    Result unheard(const char *what) const;
    bool isSparkplug() const { return settings->layout.kind == LayoutKind::Sparkplug; }
    Result notConnected() const;

    const QString file;
    const ClockState clock;
    DoctorSystem &system;
    const Stop &stop;
    std::optional<GatewaySettings> settings; ///< none: the file cannot be used
    std::vector<BrokerAddress> reachable;
    BrokerSettings watcherSettings, actorSettings; ///< with client ids of their own
    std::unique_ptr<BrokerProbe> watcher, actor;   ///< null: not connected
    bool isHeard = false;                          ///< the watcher gets what is published
};

} // namespace fgs

#endif
