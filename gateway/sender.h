// What goes to the broker, and in which order.
#ifndef FGS_GATEWAY_SENDER_H
#define FGS_GATEWAY_SENDER_H

#include "command.h"
#include "mqtt_client.h"
#include "report.h"
#include "spool.h"

#include <deque>
#include <set>

namespace fgs
{

/// Births first, then answers, changes of the line, what is periodic, live values, history. Bounded: without a
/// spool only what one takeDue() gave waits here; with one, live records up to 1 MiB, those beyond it are history.
/// The network's thread.
class Sender
{
public:
    struct Parts {
        MqttClient &client;
        Layout &layout;
        Reporter &reporter;
        CommandDesk &desk;
        Spool *spool; ///< null: none
        int historyPerSecond = 20;
    };

    explicit Sender(const Parts &theParts) : parts(theParts) {}

    /// The subscriptions stand: births are due.
    void begin();
    /// The connection is lost: nothing that is in flight counts as acknowledged.
    void stop();
    void acknowledged(int message);
    /// All is to be told anew, at most once a second, and nothing else before it.
    void wantBirths() { birthsWanted = true; }

    /// With a spool, what is due goes there. Called for each reading, so that none is replaced by the next.
    void keepDue(milliseconds steady);
    /// Sends what there is and what has room.
    void send(const LineState &line, const Moment &moment);
    /// All that is due goes to the spool, and nothing but the last words is sent any more.
    void beginFarewell(const LineState &line, const Moment &moment);
    /// False: there is no room for them yet.
    bool sendFarewell();
    /// From the first births to the loss of the connection.
    bool isTold() const { return isBorn; }
    /// Until send() is due without news; max(): it is not.
    milliseconds patience(milliseconds steady) const;
    quint64 sentMessages() const { return sentCount; }
    quint64 acknowledgedMessages() const { return acknowledgedCount; }

private:
    struct Live {
        Record record;
        Spool::Number number; ///< 0: there is no spool
    };
    /// What a message in flight is.
    struct Flight {
        Spool::Number number = 0; ///< 0: no record of the spool
        bool isAnswer = false;
    };

    bool isOpen() const;
    bool isHeld(milliseconds steady) const;
    bool sendNext(const LineState &line, const Moment &moment);
    bool sendUrgent();
    bool sendAnswer(const Moment &moment);
    bool sendLive(const Moment &moment);
    bool sendHistory(const Moment &moment);
    bool publish(const Message &message, const Flight &flight);
    std::optional<Spool::Kept> nextKept();

    void makeBirths(const LineState &line, const Moment &moment);
    void makeChanges(const LineState &line, const Moment &moment);
    void makePeriodic(const LineState &line, const Moment &moment);
    void noteAllTold(milliseconds steady);
    milliseconds periodicDue() const;
    Picture picture(const LineState &line) const { return {parts.reporter.newest(), line}; }

    void takeDue(milliseconds steady);
    void keep(const Record &record);
    void letGo(const Live &oldest);
    void readHistoryAgain();
    void allowHistory(milliseconds steady);

    const Parts parts;
    bool isGreeted = false, birthsWanted = false, isBorn = false;
    milliseconds bornAt{0};
    LineState told;
    milliseconds toldAll{0};  ///< when births or what is periodic were made
    std::size_t toldTags = 0; ///< that had values then
    std::deque<Message> urgent;
    bool isAnswerInFlight = false;

    std::deque<Live> live;
    std::size_t liveBytes = 0;

    std::set<Spool::Number> pending; ///< live, or in flight
    std::deque<Spool::Kept> ahead;   ///< history that was read
    Spool::Number historyAfter = 0;  ///< the last one that was read
    double historyAllowed = 0;       ///< messages
    milliseconds allowedUntil{0};

    std::map<int, Flight> flights; ///< by message
    quint64 sentCount = 0, acknowledgedCount = 0;
};

} // namespace fgs

#endif
