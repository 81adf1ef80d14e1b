// fgs and fgs-sim as processes.
#ifndef FGS_TESTS_PROGRAMS_H
#define FGS_TESTS_PROGRAMS_H

#include "support/process.h"

#include <csignal>
#include <QtCore/QJsonObject>
#include <QtCore/QStringList>
#include <vector>

/// What a finished program left.
struct Result {
    int code;
    QString out;
    QString messages;

    QStringList lines() const { return out.split(QLatin1Char('\n'), Qt::SkipEmptyParts); }
    /// The lines as JSON objects; the summary is among them.
    std::vector<QJsonObject> objects() const;
    QJsonObject summary() const;
};

/// The words of a command line, L standing for the link. What asks a controller waits as long as it takes, unless
/// the line has a --timeout: no default judges a busy machine.
QStringList wordsOf(const QString &line, const QString &link);

class Program
{
public:
    Program(const QString &name, const QStringList &arguments);
    /// fgs with these arguments, L standing for the link.
    Program(const char *line, const QString &link)
        : Program(QStringLiteral("fgs"), wordsOf(QString::fromLatin1(line), link))
    {
    }

    /// The next line, without its end; empty once there is none.
    QString line() { return QString::fromStdString(process.outputLine()); }
    QString message() { return QString::fromStdString(process.logLine()); }
    /// Ctrl-C, or another signal.
    void interrupt(int number = SIGINT);
    Result wait();

private:
    Process process;
};

Result runFgs(const QStringList &arguments);
inline Result runFgs(const char *line, const QString &link)
{
    return runFgs(wordsOf(QString::fromLatin1(line), link));
}

/// A simulated controller, on a pseudo-terminal unless the arguments say otherwise.
class Simulator
{
public:
    explicit Simulator(const QStringList &arguments = {});

    /// What fgs takes for it.
    QString link() const { return address; }
    /// Ends it. Returns its number of good requests, those for stations that it does not have included.
    int endAndCountRequests();

private:
    Program program;
    QString address;
};

/// What `fgs-sim --values pattern` holds.
quint32 patternValue(int station, int area, int address);

/// Fails unless the counts in a summary add up.
void expectCountsAddUp(const QJsonObject &summary);

#endif
