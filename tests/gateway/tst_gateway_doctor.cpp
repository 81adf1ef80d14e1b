// The gateway's checks against a real broker.
#include "gateway/gateway_doctor.h"

#include "support/mosquitto.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <sys/stat.h>

namespace
{

using fgs::CheckResult;
using fgs::Mark;

fgs::Epoch now()
{
    return QDateTime::currentMSecsSinceEpoch();
}

class GatewayDoctor : public ::testing::Test
{
protected:
    void SetUp() override { NEED_MOSQUITTO(); }

    /// The rest of the file stands in front of it.
    std::vector<CheckResult> examine(const std::string &brokerLines, const std::string &others = {},
                                     const fgs::ClockState &clock = {now(), true})
    {
        std::ofstream(file) << "link = \"tcp:127.0.0.1:" << portOf(closed)
                            << "\"\n[broker]\nhost = \"127.0.0.1\"\nport = " << broker.port() << '\n'
                            << brokerLines << others
                            << "\n[[group]]\nname = \"oven\"\ntag = [{ name = \"t\", variable = \"5:100\" }]\n";
        int argc = 1;
        char name[] = "test", *argv[] = {name, nullptr};
        const QCoreApplication application(argc, argv);
        const std::unique_ptr<fgs::DoctorSystem> system = fgs::thisSystem();
        return fgs::GatewayDoctor(QString::fromStdString(file), clock, *system, stop).run([](const char *) {});
    }

    static CheckResult find(const std::vector<CheckResult> &findings, const std::string &name)
    {
        for (const CheckResult &finding : findings)
            if (finding.check == name)
                return finding;
        ADD_FAILURE() << "no check " << name;
        return {"", Mark::NotChecked, {}, {}};
    }
    static void expectOk(const std::vector<CheckResult> &findings, const std::vector<const char *> &names)
    {
        for (const char *name : names)
            EXPECT_EQ(find(findings, name).mark, Mark::Ok)
                << name << ": " << find(findings, name).text.toStdString();
    }
    static void expectFound(const std::vector<CheckResult> &findings, const char *name, const char *text,
                            const char *remedy)
    {
        const CheckResult finding = find(findings, name);
        EXPECT_EQ(finding.mark, Mark::Found) << name;
        EXPECT_NE(finding.text.toStdString().find(text), std::string::npos) << finding.text.toStdString();
        EXPECT_NE(finding.remedy.toStdString().find(remedy), std::string::npos) << finding.remedy.toStdString();
    }

    Mosquitto broker;
    const TemporaryFolder folder;
    const std::string file = folder.path / "press7.toml";
    const int closed = boundToLoopback(0); ///< where the line would be
    fgs::Stop stop;
};

TEST_F(GatewayDoctor, FindsNothingAtAHealthyBroker)
{
    broker.start();
    const auto findings = examine(
        "", "[spool]\nfile = \"" + (folder.path / "x.spool").string() +
                "\"\nmegabytes = 1\n[http]\nlisten = \"127.0.0.1:" + std::to_string(portOf(closed)) + "\"\n");
    expectOk(findings, {"file", "clock", "broker name", "broker", "login", "publish", "will", "spool"});
    EXPECT_EQ(find(findings, "certificates").mark, Mark::NotChecked);
    EXPECT_EQ(find(findings, "connection").mark, Mark::Found) << "the line's";
}

TEST_F(GatewayDoctor, TellsAFileThatCannotBeUsedAndGoesOnWithoutIt)
{
    const auto findings = examine("hots = 1\n");
    expectFound(findings, "file", "hots", "--check");
    expectOk(findings, {"clock"});
    for (const char *name : {"broker", "login", "publish", "will", "spool", "HTTP"})
        EXPECT_EQ(find(findings, name).mark, Mark::NotChecked) << name;
}

TEST_F(GatewayDoctor, FindsAClockThatIsNotKept)
{
    broker.start();
    expectFound(examine("", "", {now(), false}), "clock", "synchronised", "timedatectl");
    expectFound(examine("", "", {86400000, true}), "clock", "never been set", "timedatectl");
}

TEST_F(GatewayDoctor, FindsABrokerThatIsNotThere)
{
    const auto findings = examine("");
    expectFound(findings, "broker", std::to_string(broker.port()).c_str(), "[broker]");
    for (const char *name : {"login", "publish", "will"})
        EXPECT_EQ(find(findings, name).mark, Mark::NotChecked) << name;
}

TEST_F(GatewayDoctor, FindsARefusedLogin)
{
    broker.addUser("press7", "right");
    broker.configuration = "allow_anonymous false\npassword_file " + broker.file("passwords") + "\n";
    broker.start();
    std::ofstream(broker.file("wrong")) << "wrong\n";
    std::ofstream(broker.file("right")) << "right\n";
    ::chmod(broker.file("wrong").c_str(), 0600);
    ::chmod(broker.file("right").c_str(), 0600);
    const std::string user = "user = \"press7\"\npassword_file = \"";
    const auto findings = examine(user + broker.file("wrong") + "\"\n");
    expectFound(findings, "login", "does not let", "password_file");
    EXPECT_EQ(find(findings, "will").mark, Mark::NotChecked);
    expectOk(examine(user + broker.file("right") + "\"\n"), {"login", "publish", "will"});
}

/// Nothing is wrong with a password that only the running service has.
TEST_F(GatewayDoctor, DoesNotCondemnACredentialThatIsNotThereByHand)
{
    broker.start();
    const auto findings = examine("user = \"press7\"\npassword_credential = \"mqtt\"\n");
    expectOk(findings, {"file", "broker"});
    for (const char *name : {"login", "publish", "will"})
        EXPECT_EQ(find(findings, name).mark, Mark::NotChecked) << name;
    EXPECT_NE(find(findings, "login").text.indexOf(QStringLiteral("fgs-gateway@press7.service/mqtt")), -1);
}

TEST_F(GatewayDoctor, NamesTheFileOfAPasswordThatCannotBeRead)
{
    broker.start();
    expectFound(examine("user = \"press7\"\npassword_file = \"/nowhere/password\"\n"), "login",
                "cannot read password_file /nowhere/password: No such file", "password_credential");
}

/// By hand the default is a file here, and not the one of the service.
TEST_F(GatewayDoctor, TellsWhereTheServiceHasItsSpool)
{
    broker.start();
    EXPECT_NE(find(examine("", "[spool]\nmegabytes = 1\n"), "spool")
                  .text.indexOf(QStringLiteral("the service has /var/lib/fgs-gateway/press7")),
              -1);
    EXPECT_EQ(
        find(examine("", "[spool]\nmegabytes = 1\nfile = \"" + (folder.path / "x").string() + "\"\n"), "spool")
            .text.indexOf(QStringLiteral("/var/lib")),
        -1);
}

TEST_F(GatewayDoctor, FindsATopicThatMayNotBeWritten)
{
    std::ofstream(broker.file("acl")) << "topic read fgs/#\n";
    broker.configuration += "acl_file " + broker.file("acl") + "\n";
    broker.start();
    const auto findings = examine("");
    expectFound(findings, "publish", "fgs/press7/doctor", "access list");
    EXPECT_EQ(find(findings, "will").mark, Mark::NotChecked);
}

/// To see what arrives it has to read it; writing alone is granted by many an access list.
TEST_F(GatewayDoctor, NamesAllThatTheAccessListHasToAllow)
{
    std::ofstream(broker.file("acl")) << "topic write fgs/press7/#\n";
    broker.configuration += "acl_file " + broker.file("acl") + "\n";
    broker.start();
    expectFound(examine(""), "publish", "does not arrive", "write fgs/press7/# and read fgs/press7/doctor");
    std::ofstream(broker.file("acl"), std::ios::app) << "topic read fgs/press7/doctor\n";
    broker.kill();
    broker.start();
    expectOk(examine(""), {"publish", "will"});
}

TEST_F(GatewayDoctor, LooksAtCertificates)
{
    broker.makeCertificate("authority", "server");
    broker.makeCertificate("authority", "client");
    broker.makeCertificate("authority", "other");
    broker.configuration += "cafile " + broker.file("authority.crt") + "\ncertfile " + broker.file("server.crt") +
                            "\nkeyfile " + broker.file("server.key") + "\n";
    broker.start();
    const auto tls = [this](const char *ca, const char *certificate, const char *key) {
        return "[broker.tls]\nca = \"" + broker.file(ca) + "\"\ncertificate = \"" + broker.file(certificate) +
               "\"\nkey = \"" + broker.file(key) + "\"\n";
    };
    expectOk(examine("", tls("authority.crt", "client.crt", "client.key")), {"certificates", "login", "will"});
    expectFound(examine("", tls("authority.crt", "client.crt", "other.key")), "certificates", "is not the key of",
                "together");
    expectFound(examine("", tls("client.crt", "client.crt", "client.key")), "certificates", "of an authority",
                "ca");
    expectFound(examine("", tls("client.key", "client.crt", "client.key")), "certificates", "holds no certificate",
                "BEGIN CERTIFICATE");
    const fgs::Epoch month = 31LL * 86400000;
    const std::string good = tls("authority.crt", "client.crt", "client.key");
    expectFound(examine("", good, {now() + month, true}), "certificates", "has run out", "new one");
    expectFound(examine("", good, {now() - month, true}), "certificates", "is valid from", "clock");
}

/// In the words that the gateway itself has in its log.
TEST_F(GatewayDoctor, TellsWhyThereIsNoTls)
{
    broker.makeCertificate("authority", "server");
    broker.start();
    const auto findings = examine("", "[broker.tls]\nca = \"" + broker.file("authority.crt") + "\"\n");
    EXPECT_TRUE(find(findings, "login").text.endsWith(QStringLiteral(": unexpected eof while reading")))
        << find(findings, "login").text.toStdString();
    expectFound(findings, "login", "no TLS with", "check port (is it the one without TLS?)");
}

/// As that of Debian, where some of the many authorities always have run out.
TEST_F(GatewayDoctor, TakesABundleOfWhichSomeHaveRunOut)
{
    broker.makeAuthority("short", 1);
    broker.makeAuthority("long", 30);
    std::ofstream bundle(broker.file("bundle.crt"));
    for (const char *each : {"short.crt", "long.crt"})
        bundle << std::ifstream(broker.file(each)).rdbuf();
    bundle.close();
    const std::string tls = "[broker.tls]\nca = \"" + broker.file("bundle.crt") + "\"\n";
    const fgs::Epoch day = 86400000;
    const CheckResult found = find(examine("", tls, {now() + 3 * day, true}), "certificates");
    EXPECT_EQ(found.mark, Mark::Ok) << found.text.toStdString();
    const QDate first = QDateTime::fromMSecsSinceEpoch(now() + 3 * day).toUTC().date();
    const QString until = found.text.section(QLatin1Char(' '), -1);
    EXPECT_GT(QDate::fromString(until, QStringLiteral("yyyy-MM-dd")), first) << "of the valid one";
    expectFound(examine("", tls, {now() + 31 * day, true}), "certificates", "has run out", "new one");
}

TEST_F(GatewayDoctor, FindsWhatIsInTheWayOfSpoolAndHttp)
{
    broker.start();
    const int listener = listenOnLoopback(0, 1);
    const auto findings = examine("", "[spool]\nfile = \"/proc/nowhere/x.spool\"\n[http]\nlisten = \"127.0.0.1:" +
                                          std::to_string(portOf(listener)) + "\"\n");
    expectFound(findings, "spool", "cannot be written", "[spool]");
    expectFound(findings, "HTTP", "in use", "systemctl stop fgs-gateway@press7); otherwise choose another port");
    ::close(listener);
    expectFound(examine("", "[spool]\nmegabytes = 1000000\nfile = \"" + (folder.path / "x").string() + "\"\n"),
                "spool", "may be needed", "make room");
}

TEST_F(GatewayDoctor, ChecksNothingAfterAStop)
{
    stop.request();
    for (const CheckResult &finding : examine(""))
        EXPECT_EQ(finding.mark, Mark::NotChecked) << finding.check;
}

} // namespace
