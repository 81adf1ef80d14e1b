#include "doctor.h"

#include <algorithm>
#include <map>
#include <QtCore/QStringList>

namespace fgs
{

namespace
{

const int MostTries = 3; ///< until a station gives a good answer
const Time ShortLatency = 2ms;

/// What a message says is wrong, and what it says to do.
struct Parts {
    QString fault, remedy;
};

Parts partsOf(const QString &message)
{
    for (const char *separator : {"; ", ": "}) {
        const int at = static_cast<int>(message.indexOf(QLatin1String(separator)));
        if (at >= 0)
            return {message.left(at), message.mid(at + 2)};
    }
    return {message, QString()};
}

QString milliseconds(Time time)
{
    return QString::number(std::chrono::duration<double, std::milli>(time).count(), 'f', 1) + QLatin1String(" ms");
}

QString secondsText(Time time)
{
    return QString::number(std::chrono::duration<double>(time).count()) + QLatin1String(" s");
}

QString listText(const std::vector<int> &numbers)
{
    QStringList texts;
    for (const int number : numbers)
        texts << QString::number(number);
    return (numbers.size() == 1 ? QStringLiteral("station ") : QStringLiteral("stations ")) +
           texts.join(QStringLiteral(", "));
}

QString formatText(const SerialAddress &settings)
{
    return QStringLiteral("%1,%2%3%4")
        .arg(settings.baud)
        .arg(settings.dataBits)
        .arg(QLatin1Char(settings.parity))
        .arg(settings.stopBits);
}

bool isSame(const SerialAddress &a, const SerialAddress &b)
{
    return a.baud == b.baud && a.dataBits == b.dataBits && a.parity == b.parity && a.stopBits == b.stopBits;
}

/// What a service does to the port, and how to be rid of it.
struct ServiceText {
    const char *fault;
    const char *remedy;
};

ServiceText textOf(PortService::ServiceKind kind)
{
    static const ServiceText texts[] = {
        {"%1 runs, and tries modem commands on new ports",
         "sudo systemctl disable --now ModemManager, or have udev set "
         "ID_MM_DEVICE_IGNORE=1 for the adapter"},
        {"%1 waits for log-ins there", "sudo systemctl disable --now serial-getty@%2"},
        {"the kernel writes its messages there", "take console=%2 off the kernel's command line"}};
    return texts[kind];
}

LineErrors operator-(const LineErrors &a, const LineErrors &b)
{
    return {a.parity - b.parity, a.framing - b.framing, a.overrun - b.overrun, a.breaks - b.breaks};
}

} // namespace

struct Doctor::Check {
    CheckText text;
    bool forSerial, forTcp;
    Result (Doctor::*look)();
};

const Doctor::Check Doctor::Checks[] = {
    {{"device", "there is a serial device at the path"}, true, false, &Doctor::device},
    {{"permission", "this user may use it, or which group to join"}, true, false, &Doctor::permission},
    {{"in use", "no other program has it open"}, true, false, &Doctor::use},
    {{"services", "no ModemManager, log-in prompt or kernel console is on the port"},
     true,
     false,
     &Doctor::services},
    {{"host name", "the name has an address"}, false, true, &Doctor::hostName},
    {{"connection", "the port takes connections"}, false, true, &Doctor::connection},
    {{"settings", "the device takes speed and format as asked"}, true, false, &Doctor::settings},
    {{"latency", "a USB adapter does not hold bytes back"}, true, false, &Doctor::latency},
    {{"RS-485", "the kernel's RS-485 mode, if it drives the line, does not hear itself"},
     true,
     false,
     &Doctor::rs485},
    {{"silence", "nothing comes unasked: no noise, no other host"}, true, true, &Doctor::silence},
    {{"echo", "the line does not give back what is sent"}, true, true, &Doctor::echo},
    {{"stations", "the stations answer"}, true, true, &Doctor::answers},
    {{"round trips", "all answers come, in less than half the time limit"}, true, true, &Doctor::roundTrips},
    {{"line errors", "no parity and framing errors, and no lost bytes, in all that"},
     true,
     false,
     &Doctor::lineErrors},
};

std::vector<CheckText> checksOf(bool isSerial)
{
    std::vector<CheckText> texts;
    for (const Doctor::Check &check : Doctor::Checks)
        if (isSerial ? check.forSerial : check.forTcp)
            texts.push_back(check.text);
    return texts;
}

Doctor::Doctor(const DoctorPlan &thePlan, DoctorSystem &theSystem, const Stop &theStop)
    : plan(thePlan), system(theSystem), stop(theStop), address(parseLink(thePlan.link))
{
}

std::vector<CheckResult> Doctor::run(const Observer &observer)
{
    const bool isSerial = std::holds_alternative<SerialAddress>(address);
    std::vector<CheckResult> findings;
    for (const Check &check : Checks) {
        if (!(isSerial ? check.forSerial : check.forTcp))
            continue;
        observer(check.text.name);
        Result result = stop.isRequested() ? Result{} : (this->*check.look)();
        if (stop.isRequested())
            result = {Mark::NotChecked, QStringLiteral("interrupted")};
        findings.push_back({check.text.name, result.mark, result.text, result.remedy});
    }
    return findings;
}

Doctor::Result Doctor::device()
{
    try {
        held = system.hold(serial().device);
    } catch (const DeviceTrouble &refusal) {
        trouble.emplace(refusal);
    }
    const bool isFault =
        trouble && (trouble->kind == DeviceTrouble::Missing || trouble->kind == DeviceTrouble::Unusable);
    if (!isFault)
        return {Mark::Ok, serial().device + QLatin1String(" exists")};
    const Parts parts = partsOf(QString::fromUtf8(trouble->what()));
    return {Mark::Found, parts.fault, parts.remedy};
}

/// Why something that needs the device is not checked.
Doctor::Result Doctor::notHeld() const
{
    static const char *const reasons[] = {"there is no device", "you have no permission", "the device is in use",
                                          "the device cannot be used"};
    return {Mark::NotChecked,
            trouble ? QLatin1String(reasons[trouble->kind]) : QStringLiteral("the device cannot be opened")};
}

Doctor::Result Doctor::permission()
{
    if (trouble && trouble->kind == DeviceTrouble::Missing)
        return notHeld();
    if (!trouble || trouble->kind != DeviceTrouble::Closed)
        return {Mark::Ok, QStringLiteral("this user may use it")};
    const Parts parts = partsOf(QString::fromUtf8(trouble->what()));
    return {Mark::Found, parts.fault, parts.remedy};
}

Doctor::Result Doctor::use()
{
    if (!trouble)
        return {Mark::Ok, QStringLiteral("no other program has it open")};
    if (trouble->kind != DeviceTrouble::InUse)
        return notHeld();
    const Parts parts = partsOf(QString::fromUtf8(trouble->what()));
    return {Mark::Found, parts.fault, parts.remedy};
}

Doctor::Result Doctor::services()
{
    if (trouble && trouble->kind == DeviceTrouble::Missing)
        return notHeld();
    const std::vector<PortService> found = system.services(serial().device);
    if (found.empty())
        return {Mark::Ok, QStringLiteral("no ModemManager, log-in prompt or console on it")};
    const QString name = serial().device.section(QLatin1Char('/'), -1);
    QStringList faults, remedies;
    for (const PortService &service : found) {
        const ServiceText text = textOf(service.kind);
        faults << QString::fromLatin1(text.fault).replace(QLatin1String("%1"), service.program);
        remedies << QString::fromLatin1(text.remedy).replace(QLatin1String("%2"), name);
    }
    return {Mark::Found, faults.join(QLatin1String("; ")), remedies.join(QLatin1String("; "))};
}

Doctor::Result Doctor::hostName()
{
    const auto &tcp = std::get<TcpAddress>(address);
    const Parts parts = partsOf(system.lookUp(tcp, stop));
    if (!parts.fault.isEmpty())
        return {Mark::Found, parts.fault, parts.remedy};
    link = system.connectTo(tcp);
    return {Mark::Ok, tcp.host + QLatin1String(" has an address")};
}

/// Opens the link; ok without a text if that went well.
Doctor::Result Doctor::open()
{
    link->endBy(&stop);
    if (link->open())
        return {Mark::Ok, QString()};
    const Parts parts = partsOf(link->error());
    return {Mark::Found, parts.fault, parts.remedy};
}

Doctor::Result Doctor::connection()
{
    if (!link)
        return {Mark::NotChecked, QStringLiteral("the host has no address")};
    Result result = open();
    if (result.mark == Mark::Ok)
        result.text = QStringLiteral("port %1 takes connections").arg(std::get<TcpAddress>(address).port);
    return result;
}

Doctor::Result Doctor::settings()
{
    if (!held)
        return notHeld();
    link = held->linkWith(serial());
    Result opened = open();
    if (opened.mark != Mark::Ok)
        return opened;
    errorsBefore = held->errors();
    const SerialAddress actual = held->settings();
    if (held->isPseudoTerminal() && actual.baud == serial().baud)
        return {Mark::Ok, QStringLiteral("%1 baud; a pseudo-terminal has no other settings").arg(actual.baud)};
    if (actual.baud == 0)
        return {Mark::NotChecked, QStringLiteral("the system does not name the speed in force")};
    if (isSame(actual, serial()))
        return {Mark::Ok, formatText(actual) + QLatin1String(", as asked")};
    return {Mark::Found,
            QStringLiteral("%1 is in force instead of %2").arg(formatText(actual), formatText(serial())),
            QStringLiteral("the adapter cannot do %1; use another one, or settings that it can do")
                .arg(formatText(serial()))};
}

/// In force while the link is open, which asks for the shortest.
Doctor::Result Doctor::latency()
{
    if (!held)
        return notHeld();
    const std::optional<Time> timer = system.latencyTimer(serial().device);
    if (!timer)
        return {Mark::NotChecked, QStringLiteral("the device has no latency timer")};
    const QString text = QStringLiteral("the adapter collects bytes for %1 ms").arg(*timer / 1ms);
    if (*timer <= ShortLatency)
        return {Mark::Ok, text};
    return {Mark::Found, text,
            QStringLiteral("echo 1 | sudo tee /sys/class/tty/%1/device/latency_timer")
                .arg(serial().device.section(QLatin1Char('/'), -1))};
}

Doctor::Result Doctor::rs485()
{
    if (!held)
        return notHeld();
    const std::optional<Rs485Mode> mode = held->rs485Mode();
    if (!mode)
        return {Mark::NotChecked, QStringLiteral("the device's driver has no RS-485 mode")};
    if (!mode->isOn)
        return {Mark::Ok, QStringLiteral("off: the adapter itself has to switch between sending and receiving")};
    if (!mode->hearsItself)
        return {Mark::Ok, QStringLiteral("on")};
    return {Mark::Found, QStringLiteral("on, with the receiver on while it sends: the line hears itself"),
            QStringLiteral("switch SER_RS485_RX_DURING_TX off (rs485-rx-during-tx in the device tree)")};
}

Doctor::Result Doctor::silence()
{
    if (!canAsk())
        return notAsked();
    Overheard heard;
    char bytes[1024];
    const Time end = link->now() + plan.listen;
    for (int size = 0; size >= 0 && link->now() < end && !link->isEnded() && !heard.isRepeated();) {
        size = link->receive(bytes, static_cast<int>(sizeof bytes), end);
        heard.take(bytes, std::max(0, size));
    }
    isPolledByOthers = heard.frames() > 1;
    const QString amount =
        QStringLiteral("%1 bytes in %2").arg(QString::number(heard.bytes()), secondsText(plan.listen));
    if (isPolledByOthers)
        return {Mark::Found,
                QStringLiteral("another host is polling this line: %1 good frames").arg(heard.frames()),
                QStringLiteral("end it: two hosts on a line disturb each other")};
    if (heard.bytes() > 0)
        return {Mark::Found, amount + QLatin1String(" that nobody asked for, and no good frames among them"),
                QStringLiteral("check termination, bias resistors and shield; what somebody sends at another speed "
                               "looks so too: %1")
                    .arg(scanHint())};
    return {Mark::Ok, QStringLiteral("no byte in %1").arg(secondsText(plan.listen))};
}

/// Why something that needs questions is not checked.
Doctor::Result Doctor::notAsked() const
{
    if (isPolledByOthers)
        return {Mark::NotChecked, QStringLiteral("another host is polling, which questions would disturb")};
    if (!link && std::holds_alternative<SerialAddress>(address))
        return notHeld();
    return {Mark::NotChecked, QStringLiteral("the link is not open")};
}

QString Doctor::scanHint() const
{
    return std::holds_alternative<SerialAddress>(address)
               ? QStringLiteral("fgs scan %1 finds speed, format and stations").arg(serial().device)
               : QStringLiteral("fgs scan %1 finds the stations; check the settings of the serial server")
                     .arg(plan.link);
}

Answer Doctor::ask(int station)
{
    return Prober(*link, plan.probe, echoes).ask(station);
}

Doctor::Result Doctor::echo()
{
    if (!canAsk())
        return notAsked();
    const Answer answer = ask(plan.stations.front());
    if (!echoes)
        return {Mark::NotChecked, answer.kind == Answer::Ended ? QStringLiteral("the link was lost")
                                                               : QStringLiteral("too much else is on the line")};
    if (!*echoes)
        return {Mark::Ok, QStringLiteral("the line gives back nothing of what is sent")};
    return {Mark::Found, QStringLiteral("the line gives back what is sent"),
            QStringLiteral("switch off the adapter's echo (its receiver is on while it sends); fgs passes it over, "
                           "other hosts may not")};
}

/// The first good answer of some tries, or the last of others.
Answer Doctor::askPatiently(int station)
{
    Answer answer;
    for (int tries = 0; tries < MostTries && answer.kind != Answer::Good && canAsk(); ++tries)
        answer = ask(station);
    return answer;
}

Doctor::Result Doctor::answers()
{
    if (!canAsk())
        return notAsked();
    std::map<Answer::AnswerKind, std::vector<int>> stations;
    for (const int station : plan.stations)
        stations[askPatiently(station).kind].push_back(station);
    answering = stations[Answer::Good];
    if (!canAsk())
        return {Mark::Found, QStringLiteral("the link was lost: ") + link->error(),
                QStringLiteral("check the plug and the adapter")};
    QStringList faults;
    if (stations.count(Answer::Garbled) != 0)
        faults << QStringLiteral("garbled answers from ") + listText(stations[Answer::Garbled]);
    if (stations.count(Answer::Silence) != 0)
        faults << QStringLiteral("no answer from ") + listText(stations[Answer::Silence]);
    if (faults.isEmpty())
        return {Mark::Ok, QStringLiteral("good answers from ") + listText(answering)};
    const QString remedy =
        stations.count(Answer::Garbled) != 0
            ? QStringLiteral("most likely speed or format is wrong: ")
            : QStringLiteral("check that it is on, its number, and the wires (A and B exchanged?); ");
    return {Mark::Found, faults.join(QStringLiteral(", ")), remedy + scanHint()};
}

Doctor::Result Doctor::roundTrips()
{
    if (!canAsk())
        return notAsked();
    if (answering.empty())
        return {Mark::NotChecked, QStringLiteral("no station answers")};
    Time longest(0);
    int lost = 0;
    for (int i = 0; i < plan.rounds && canAsk(); ++i) {
        const Answer answer = ask(answering.front());
        lost += answer.kind != Answer::Good;
        longest = std::max(longest, answer.kind == Answer::Good ? answer.took : Time(0));
    }
    const QString text = QStringLiteral("%1 of %2 questions answered, in at most %3; the limit is %4")
                             .arg(QString::number(plan.rounds - lost), QString::number(plan.rounds),
                                  milliseconds(longest), milliseconds(plan.probe.patience));
    if (lost > 0)
        return {Mark::Found, text,
                QStringLiteral("check plugs, termination and shield; a longer %1 shows if answers are late")
                    .arg(plan.timeoutSetting)};
    if (longest > plan.probe.patience / 2)
        return {Mark::Found, text,
                QStringLiteral("set %1 to %2 at least").arg(plan.timeoutSetting).arg(2 * longest / 1ms + 1)};
    return {Mark::Ok, text};
}

Doctor::Result Doctor::lineErrors()
{
    if (!held || !link)
        return notHeld();
    const std::optional<LineErrors> now = held->errors();
    if (!now || !errorsBefore)
        return {Mark::NotChecked, QStringLiteral("the device does not count them")};
    const LineErrors since = *now - *errorsBefore;
    const QString text = QStringLiteral("%1 parity errors, %2 framing errors, %3 lost bytes, %4 breaks")
                             .arg(since.parity)
                             .arg(since.framing)
                             .arg(since.overrun)
                             .arg(since.breaks);
    if (since.parity + since.framing + since.breaks > 0)
        return {Mark::Found, text,
                QStringLiteral("speed or format is wrong, or the line is disturbed: ") + scanHint()};
    if (since.overrun > 0)
        return {Mark::Found, text,
                QStringLiteral("the computer is too slow for this speed, or the adapter is bad; "
                               "choose a lower speed or another adapter")};
    return {Mark::Ok, text};
}

} // namespace fgs
