// Looks for what keeps a line from working: named checks, each with its remedy.
#ifndef FGS_WATCH_DOCTOR_H
#define FGS_WATCH_DOCTOR_H

#include "host/device_trouble.h"
#include "host/held_device.h"
#include "host/port_services.h"
#include "overheard.h"
#include "prober.h"

#include <functional>
#include <vector>

namespace fgs
{

struct DoctorPlan {
    QString link;
    std::vector<int> stations; ///< that are to answer
    ProbeSettings probe;       ///< its patience is the time limit that round trips are compared with
    Time listen = 1s;          ///< to the silent line
    int rounds = 10;           ///< questions for the round trips
    QString timeoutSetting = QStringLiteral("--timeout"); ///< what the user calls the time limit
};

enum class Mark {
    Ok,
    Found, ///< something to mend
    NotChecked
};

struct CheckResult {
    const char *check; ///< its name
    Mark mark;
    QString text;   ///< what is so, or why it was not checked
    QString remedy; ///< of Found
};

/// What the checks ask of the computer.
class DoctorSystem
{
public:
    virtual ~DoctorSystem() = default;
    /// As holdDevice().
    virtual std::unique_ptr<HeldDevice> hold(const QString &path) = 0;
    virtual std::unique_ptr<Link> connectTo(const TcpAddress &address) = 0;
    /// As lookupError().
    virtual QString lookUp(const TcpAddress &address, const Stop &stop) = 0;
    virtual std::vector<PortService> services(const QString &path) = 0;
    virtual std::optional<Time> latencyTimer(const QString &path) = 0;
};

/// The computer that this runs on.
std::unique_ptr<DoctorSystem> thisSystem();

/// A check as a list shows it.
struct CheckText {
    const char *name;
    const char *about;
};
/// Of a kind of link, in the order in which they are made.
std::vector<CheckText> checksOf(bool isSerial);

/// One thread.
class Doctor
{
public:
    /// Told the name of each check before it is made.
    using Observer = std::function<void(const char *check)>;

    /// Throws TextError if the link is none. System and stop outlive the doctor.
    Doctor(const DoctorPlan &thePlan, DoctorSystem &theSystem, const Stop &theStop);

    /// After a stop the rest is not checked.
    std::vector<CheckResult> run(const Observer &observer);

private:
    struct Check;
    static const Check Checks[];
    friend std::vector<CheckText> checksOf(bool isSerial);

    struct Result {
        Mark mark;
        QString text;
        QString remedy = QString();
    };
    Result device();
    Result permission();
    Result use();
    Result services();
    Result settings();
    Result latency();
    Result rs485();
    Result hostName();
    Result connection();
    Result silence();
    Result echo();
    Result answers();
    Result roundTrips();
    Result lineErrors();

    const SerialAddress &serial() const { return std::get<SerialAddress>(address); }
    QString scanHint() const;
    Result open();
    Result notHeld() const;
    bool canAsk() const { return link && link->isOpen() && !isPolledByOthers; }
    Result notAsked() const;
    Answer ask(int station);
    Answer askPatiently(int station);

    const DoctorPlan plan;
    DoctorSystem &system;
    const Stop &stop;
    const std::variant<SerialAddress, TcpAddress> address;
    std::unique_ptr<HeldDevice> held;
    std::optional<DeviceTrouble> trouble; ///< why it is not held
    std::unique_ptr<Link> link;           ///< null: not made, as the device cannot be held
    std::optional<LineErrors> errorsBefore;
    std::optional<bool> echoes;
    bool isPolledByOthers = false;
    std::vector<int> answering;
};

} // namespace fgs

#endif
