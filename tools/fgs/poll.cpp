#include "commands.h"
#include "display.h"
#include "session.h"
#include "signals.h"
#include "terminal.h"

namespace fgs
{

namespace
{

LineForm formOf(const Options &options)
{
    return options.json ? LineForm::Json : options.csv ? LineForm::Csv : LineForm::Text;
}

/// A table needs a terminal that can be drawn on, and no frames in between.
bool canShowTable(const Options &options)
{
    return Terminal::canDraw() && formOf(options) == LineForm::Text && !options.frames && !options.once;
}

std::unique_ptr<Display> makeDisplay(const std::vector<Tag> &tags, const Session &session, Stop &stop)
{
    const Options &options = session.options;
    if (canShowTable(options))
        return makeTable(tags, session.textStyle(), *session.link, options.view, stop);
    return makeLines(tags, session.textStyle(), *session.link, formOf(options),
                     options.once ? LineTime::End : LineTime::Change, !options.quiet);
}

/// Passes everything on to a display, and answers in between how long round trips take.
class Answering : public PollObserver
{
public:
    Answering(Display &theDisplay, Time timeLimit) : display(theDisplay), timeout(timeLimit) {}

    void updated(const std::vector<Reading> &readings, const std::vector<std::size_t> &which) override
    {
        display.updated(readings, which);
    }
    void happened(const LineEvent &event) override { display.happened(event); }
    bool isDone() const override { return display.isDone(); }

    void counted(const Statistics &statistics) override
    {
        display.counted(statistics);
        if (takeQuestion() && statistics.roundTrips.count())
            printMessage(histogramText(statistics.roundTrips, timeout));
    }

private:
    Display &display;
    const Time timeout;
};

} // namespace

int pollCommand(const Options &options, Stop &stop)
{
    const std::vector<Tag> tags = readableTags(options);
    const std::vector<Variable> variables = variablesOf(tags);
    Session session(options, variables, stop);
    const std::unique_ptr<Display> display = makeDisplay(tags, session, stop);
    session.tellBy([&display](const QString &message) { display->tell(message); });
    if (options.stats)
        answerQuestions();
    Answering observer(*display, options.host.timing.timeout);
    PollLoop loop(session.host, *session.link, variables, {options.interval, options.once ? 1 : options.rounds},
                  observer);
    loop.run();
    display->end();
    return session.end(exitCodeOf(loop.lastReadings()));
}

} // namespace fgs
