#include "gateway_doctor.h"

#include "broker_probe.h"
#include "certificates.h"
#include "host/text_error.h"

#include <cerrno>
#include <cstring>
#include <netdb.h>
#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QStringList>
#include <set>
#include <sys/socket.h>
#include <sys/statvfs.h>
#include <sys/timex.h>
#include <unistd.h>

namespace fgs
{

namespace
{

const Epoch Plausible = 1704067200000; ///< 2024-01-01: before it, a clock has never been set

/// "name: why; what to do" as text and remedy.
std::pair<QString, QString> split(const QString &message)
{
    const int at = static_cast<int>(message.indexOf(QLatin1String("; ")));
    return at < 0 ? std::make_pair(message, QString()) : std::make_pair(message.left(at), message.mid(at + 2));
}

TcpAddress tcpOf(const BrokerAddress &address)
{
    return {QString::fromStdString(address.host), address.port};
}

/// One that the controllers have, if the file names a word.
Variable wordIn(const std::vector<Variable> &variables, const Variable &otherwise)
{
    for (const Variable &variable : variables)
        if (areaOf(variable.area)->kind == AreaKind::Word)
            return {variable.area, variable.address, 1, variable.station};
    return otherwise;
}

QString nameText(const BrokerAddress &address)
{
    return QString::fromStdString(nameOf(address));
}

QString systemText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

/// 0, or the errno that tells why nobody can listen there.
int listenError(const HttpSettings &http)
{
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICHOST;
    addrinfo *found = nullptr;
    if (::getaddrinfo(http.address.c_str(), std::to_string(http.port).c_str(), &hints, &found) != 0)
        return EADDRNOTAVAIL;
    const int one = 1;
    const int socket = ::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    const bool isFree = ::bind(socket, found->ai_addr, found->ai_addrlen) == 0 && ::listen(socket, 1) == 0;
    const int error = isFree ? 0 : errno;
    ::close(socket);
    ::freeaddrinfo(found);
    return error;
}

std::int64_t roomIn(const QString &folder)
{
    struct statvfs disk = {};
    if (::statvfs(folder.toLocal8Bit().constData(), &disk) != 0)
        return 0;
    return static_cast<std::int64_t>(disk.f_bavail) * static_cast<std::int64_t>(disk.f_frsize);
}

QString dateText(Epoch time)
{
    return QDateTime::fromMSecsSinceEpoch(time).toUTC().toString(QStringLiteral("yyyy-MM-dd"));
}

QString megabytes(std::int64_t bytes)
{
    return QStringLiteral("%1 MB").arg(bytes >> 20);
}

} // namespace

ClockState thisClock()
{
    timex state = {};
    const int result = ::adjtimex(&state);
    return {QDateTime::currentMSecsSinceEpoch(), result != TIME_ERROR && (state.status & STA_UNSYNC) == 0};
}

struct GatewayDoctor::Check {
    const char *name;
    Result (GatewayDoctor::*look)();
    bool needsFile = true;
};

const GatewayDoctor::Check GatewayDoctor::Checks[] = {{"file", &GatewayDoctor::read, false},
                                                      {"clock", &GatewayDoctor::time, false},
                                                      {"certificates", &GatewayDoctor::certificates},
                                                      {"broker name", &GatewayDoctor::hostNames},
                                                      {"broker", &GatewayDoctor::connections},
                                                      {"login", &GatewayDoctor::login},
                                                      {"publish", &GatewayDoctor::publish},
                                                      {"will", &GatewayDoctor::will},
                                                      {"spool", &GatewayDoctor::spool},
                                                      {"HTTP", &GatewayDoctor::http}};

GatewayDoctor::GatewayDoctor(QString theFile, const ClockState &theClock, DoctorSystem &theSystem,
                             const Stop &theStop)
    : file(std::move(theFile)), clock(theClock), system(theSystem), stop(theStop)
{
}

GatewayDoctor::~GatewayDoctor() = default;

std::vector<CheckResult> GatewayDoctor::run(const Doctor::Observer &observer)
{
    std::vector<CheckResult> findings;
    for (const Check &check : Checks) {
        observer(check.name);
        const Result result = look(check);
        findings.push_back({check.name, result.mark, result.text, result.remedy});
    }
    watcher.reset();
    actor.reset();
    if (settings)
        examineLine(observer, findings);
    return findings;
}

GatewayDoctor::Result GatewayDoctor::look(const Check &check)
{
    if (!settings && check.needsFile)
        return {Mark::NotChecked, QStringLiteral("the file cannot be used")};
    const Result result = stop.isRequested() ? Result{} : (this->*check.look)();
    return stop.isRequested() ? Result{Mark::NotChecked, QStringLiteral("interrupted")} : result;
}

void GatewayDoctor::examineLine(const Doctor::Observer &observer, std::vector<CheckResult> &findings)
{
    DoctorPlan plan;
    plan.link = settings->link;
    plan.probe.place = wordIn(settings->variables(), plan.probe.place);
    plan.probe.patience = settings->host.timing.timeout;
    std::set<int> stations;
    for (const Variable &variable : settings->variables())
        stations.insert(variable.station);
    plan.stations.assign(stations.begin(), stations.end());
    plan.timeoutSetting = QStringLiteral("timeout_ms");
    for (CheckResult &finding : Doctor(plan, system, stop).run(observer)) {
        if (std::string(finding.check) == "in use" && finding.mark == Mark::Found)
            finding.remedy = besideItself() + finding.remedy;
        findings.push_back(std::move(finding));
    }
}

/// What a running gateway of the same file has in use is no fault.
QString GatewayDoctor::besideItself() const
{
    return QStringLiteral("if that is this gateway, end it before --doctor (sudo systemctl stop fgs-gateway@%1); "
                          "otherwise ")
        .arg(QFileInfo(file).completeBaseName());
}

GatewayDoctor::Result GatewayDoctor::read()
{
    try {
        settings.emplace(readGatewaySettings(file));
    } catch (const TextError &error) {
        return {Mark::Found, QString::fromUtf8(error.what()),
                QStringLiteral("mend it; fgs-gateway --check %1 tells when it is right").arg(file)};
    }
    return {Mark::Ok, QStringLiteral("tags: %1, groups: %2, gateway '%3'")
                          .arg(settings->tags.size())
                          .arg(settings->groups.size())
                          .arg(QString::fromStdString(settings->name))};
}

GatewayDoctor::Result GatewayDoctor::time() // NOLINT(readability-make-member-function-const): one of a table
{
    const QString now =
        QDateTime::fromMSecsSinceEpoch(clock.now).toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss 'UTC'"));
    const QString remedy =
        QStringLiteral("sudo timedatectl set-ntp true, or chrony; times of values and the age of commands "
                       "depend on the clock");
    if (clock.now < Plausible)
        return {Mark::Found, now + QStringLiteral(": the clock has never been set"), remedy};
    if (!clock.isSynchronised)
        return {Mark::Found, now + QStringLiteral(", but nothing keeps the clock synchronised"), remedy};
    return {Mark::Ok, now + QStringLiteral(", synchronised")};
}

GatewayDoctor::Result GatewayDoctor::certificates()
{
    if (!settings->broker.tls)
        return {Mark::NotChecked, QStringLiteral("the file has no [broker.tls]")};
    const std::vector<CertificateFault> faults = faultsOf(*settings->broker.tls, clock.now);
    if (faults.empty())
        return {Mark::Ok, QStringLiteral("the files here are readable, and valid until ") +
                              dateText(validUntil(*settings->broker.tls, clock.now))};
    QStringList texts, remedies;
    for (const CertificateFault &fault : faults) {
        texts << fault.text;
        remedies << fault.remedy;
    }
    remedies.removeDuplicates();
    return {Mark::Found, texts.join(QStringLiteral("; ")), remedies.join(QStringLiteral("; "))};
}

GatewayDoctor::Result GatewayDoctor::hostNames()
{
    for (const BrokerAddress &address : settings->broker.addresses)
        if (const QString error = system.lookUp(tcpOf(address), stop); !error.isEmpty()) {
            const auto [text, remedy] = split(error);
            return {Mark::Found, text, remedy.isEmpty() ? QStringLiteral("check host in [broker]") : remedy};
        }
    return {Mark::Ok, QStringLiteral("every host of [broker] has an address")};
}

GatewayDoctor::Result GatewayDoctor::connections()
{
    QStringList faults;
    for (const BrokerAddress &address : settings->broker.addresses) {
        const std::unique_ptr<Link> link = system.connectTo(tcpOf(address));
        link->endBy(&stop);
        if (link->open())
            reachable.push_back(address);
        else
            faults << nameText(address) + QStringLiteral(": ") + split(link->error()).first;
    }
    if (faults.isEmpty())
        return {Mark::Ok, QStringLiteral("%1 takes connections").arg(nameText(reachable.front()))};
    return {Mark::Found, faults.join(QStringLiteral("; ")),
            QStringLiteral("check that the broker runs and listens there, host and port in [broker], and firewalls "
                           "between")};
}

/// By hand there is no credential unless the service runs, and then root alone may read it.
bool GatewayDoctor::isPasswordHidden() const
{
    return !settings->broker.credential.empty() && ::access(settings->broker.passwordFile.c_str(), R_OK) != 0;
}

/// A client id of its own does not throw a running gateway out.
BrokerSettings GatewayDoctor::brokerAs(const char *suffix) const
{
    BrokerSettings broker = settings->broker;
    broker.clientId += suffix;
    return broker;
}

/// Below what the gateway may publish; in Sparkplug's own topics it would disturb.
std::string GatewayDoctor::testTopic() const
{
    return (isSparkplug() ? "fgs" : settings->layout.base) + '/' + settings->name + "/doctor";
}

GatewayDoctor::Result GatewayDoctor::notConnected() const
{
    if (reachable.empty())
        return {Mark::NotChecked, QStringLiteral("no broker takes connections")};
    return {Mark::NotChecked, isPasswordHidden() ? QStringLiteral("without the password nobody can log in")
                                                 : QStringLiteral("the broker does not let the gateway in")};
}

GatewayDoctor::Result GatewayDoctor::login()
{
    if (reachable.empty())
        return notConnected();
    if (isPasswordHidden())
        return {
            Mark::NotChecked,
            QStringLiteral("the password is a credential, which the running service has, and root then: %1 (%2)")
                .arg(QString::fromStdString(settings->broker.passwordFile), systemText(errno))};
    watcherSettings = brokerAs("-doctor");
    actorSettings = brokerAs("-doctor-will");
    try {
        watcher = std::make_unique<BrokerProbe>(watcherSettings, reachable.front(), stop);
        actor = std::make_unique<BrokerProbe>(actorSettings, reachable.front(), stop);
    } catch (const TextError &error) {
        const auto [text, remedy] = split(QString::fromUtf8(error.what()));
        return {Mark::Found, text, remedy};
    }
    const Message lastWill{testTopic(), "will", 1, false};
    for (std::unique_ptr<BrokerProbe> *each : {&watcher, &actor})
        if (!(*each)->connect(each == &actor ? lastWill : Message{})) {
            const auto [text, remedy] = split(QString::fromStdString((*each)->error()));
            watcher.reset();
            actor.reset();
            return {Mark::Found, text, remedy.isEmpty() ? QStringLiteral("look into the broker's log") : remedy};
        }
    return {Mark::Ok,
            settings->broker.user.empty()
                ? QStringLiteral("accepted, without a user")
                : QStringLiteral("user '%1' is accepted").arg(QString::fromStdString(settings->broker.user))};
}

/// Of something that did not come back.
GatewayDoctor::Result GatewayDoctor::unheard(const char *what) const
{
    const QString topic = QString::fromStdString(testTopic());
    if (isSparkplug())
        return {Mark::NotChecked, QStringLiteral("the broker does not let this user try it on %1").arg(topic)};
    return {Mark::Found, QStringLiteral("%1 on %2 does not arrive").arg(QLatin1String(what), topic),
            QStringLiteral("let the user write %1/# and read %2 in the broker's access list")
                .arg(topic.section(QLatin1Char('/'), 0, -2), topic)};
}

GatewayDoctor::Result GatewayDoctor::publish()
{
    if (!watcher)
        return notConnected();
    if (!watcher->subscribe(testTopic()))
        return {Mark::NotChecked, QStringLiteral("the broker does not let this user read %1, to see what arrives")
                                      .arg(QString::fromStdString(testTopic()))};
    isHeard = actor->publish({testTopic(), "test", 1, false}) && watcher->receives("test");
    return isHeard ? Result{Mark::Ok,
                            QStringLiteral("a message on %1 arrives").arg(QString::fromStdString(testTopic()))}
                   : unheard("a message");
}

GatewayDoctor::Result GatewayDoctor::will()
{
    if (!watcher)
        return notConnected();
    if (!isHeard)
        return {Mark::NotChecked, QStringLiteral("what is published cannot be seen")};
    actor->cut();
    return watcher->receives("will")
               ? Result{Mark::Ok, QStringLiteral("the broker publishes it when a connection breaks off")}
               : unheard("the will of a connection that broke off");
}

/// By hand the default is another folder than the service's.
QString GatewayDoctor::whoseSpool() const
{
    const QString place = QString::fromStdString(settings->spool->file);
    return place.contains(QLatin1Char('/'))
               ? QString()
               : QStringLiteral("; the service has /var/lib/fgs-gateway/%1 in its place")
                     .arg(QFileInfo(file).completeBaseName());
}

GatewayDoctor::Result GatewayDoctor::spool()
{
    if (!settings->spool)
        return {Mark::NotChecked, QStringLiteral("the file has no [spool]")};
    const QFileInfo info(QString::fromStdString(settings->spool->file));
    const QString folder = info.absolutePath();
    const QString place = info.exists() ? info.absoluteFilePath() : folder;
    if (::access(folder.toLocal8Bit().constData(), W_OK | X_OK) != 0 ||
        ::access(place.toLocal8Bit().constData(), R_OK | W_OK) != 0)
        return {Mark::Found, QStringLiteral("'%1' cannot be written: %2").arg(place, systemText(errno)),
                QStringLiteral("make the folder, give it to the user of the gateway, or mend file in [spool]")};
    const std::int64_t needed = settings->spool->mostBytes - info.size(), room = roomIn(folder);
    const QString text = QStringLiteral("%1 are free in '%2'").arg(megabytes(room), folder) + whoseSpool();
    if (room < needed)
        return {Mark::Found, text + QStringLiteral(", and %1 may be needed").arg(megabytes(needed)),
                QStringLiteral("make room, or a smaller megabytes in [spool]")};
    return {Mark::Ok, text};
}

GatewayDoctor::Result GatewayDoctor::http()
{
    if (!settings->http)
        return {Mark::NotChecked, QStringLiteral("the file has no [http]")};
    const QString place =
        QStringLiteral("%1:%2").arg(QString::fromStdString(settings->http->address)).arg(settings->http->port);
    const int error = listenError(*settings->http);
    if (error == EADDRINUSE)
        return {Mark::Found, place + QStringLiteral(" is in use"),
                besideItself() + QStringLiteral("choose another port as listen in [http]")};
    if (error != 0)
        return {Mark::Found, QStringLiteral("nobody can listen on %1: %2").arg(place, systemText(error)),
                QStringLiteral("mend listen in [http]: an address of this computer and a free port")};
    return {Mark::Ok, place + QStringLiteral(" is free")};
}

} // namespace fgs
