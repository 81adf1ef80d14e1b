#include "line_thread.h"

#include <QtCore/QEventLoop>

namespace fgs
{

LineThread::LineThread(std::shared_ptr<const GatewaySettings> theSettings, const Wiring &theWiring)
    : settings(std::move(theSettings)), wiring(theWiring), thread([this] { run(); })
{
}

LineThread::~LineThread()
{
    stop.request();
    thread.join();
}

/// A serial port has notifiers, which want an event dispatcher in their thread: the event loop makes one, and never
/// runs.
void LineThread::run()
{
    const QEventLoop loop;
    try {
        poll();
    } catch (const std::exception &error) {
        wiring.failed(error.what());
    }
}

void LineThread::poll()
{
    const std::unique_ptr<Link> link = makeLink(settings->link);
    link->endBy(&stop);
    const WallClock clock(*link);
    TraceHook trace;
    if (wiring.trace)
        trace = [this, &clock](const TraceEntry &entry) { record(entry, clock); };
    LineLoop(*settings, *link, clock, {wiring.mailbox, wiring.orders, wiring.alive, trace, wiring.readOnly}).run();
}

void LineThread::record(const TraceEntry &entry, const WallClock &clock) const
{
    wiring.trace->record(entry, clock);
    if (const QString news = wiring.trace->news(); !news.isEmpty())
        wiring.tell(news.toStdString());
}

} // namespace fgs
