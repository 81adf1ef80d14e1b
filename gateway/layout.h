// How values, states and answers become messages: one contract, two layouts.
#ifndef FGS_GATEWAY_LAYOUT_H
#define FGS_GATEWAY_LAYOUT_H

#include "command.h"
#include "sample.h"
#include "settings.h"

#include <memory>
#include <string>

namespace fgs
{

struct Message {
    std::string topic;
    std::string payload;
    int qos = 1;
    bool isRetained = false;
};

/// What came from the broker.
struct Received {
    std::string topic;
    std::string payload;
    bool isRetained = false;
};

/// What one message of values says, as it is kept when it cannot be sent: of one group or station, of one time.
struct Record {
    std::string key;     ///< the group or the station
    Epoch time = 0;      ///< of the reply
    std::string content; ///< the layout's own; nobody else looks into it
};

/// All values and states as they stand, on the network's thread.
struct Picture {
    std::vector<Sample> samples; ///< one for each tag
    LineState line;
};

/// What outlasts a change of the settings.
struct SessionMemory {
    std::optional<Epoch> onlineSince; ///< none: this session is not online yet, or tells it nowhere
    std::uint8_t next = 0;            ///< the number of the next session, where they have numbers
};

/// What the layout makes of a message that came.
struct Incoming {
    enum IncomingKind { Nothing, Command, Rebirth, HostState, OldHostState };
    IncomingKind kind = Nothing;
    std::string command;       ///< of Command: JSON of the plain layout's cmd
    bool isHostOnline = false; ///< of HostState
    std::string fault = {};    ///< of Command: why it cannot be one, for people; empty: it can
};

/// The network's thread. Times are given: a layout has no clock.
class Layout
{
public:
    virtual ~Layout() = default;

    /// For the next CONNECT; each call begins a new session.
    virtual Message will(Epoch now) = 0;
    virtual SessionMemory sessions() const { return {}; }
    /// Goes on where a layout of other settings has been.
    virtual void resume(const SessionMemory & /*sessions*/) {}
    virtual std::vector<std::string> subscriptions() const = 0; ///< QoS 1
    /// Whether nothing may be sent until the broker has told that a host is there.
    virtual bool awaitsHost() const = 0;

    /// What is sent first in a session, and when a rebirth is asked for.
    virtual std::vector<Message> births(const Picture &picture, Epoch now) = 0;
    /// What changes of the line and its stations ask for, between two pictures.
    virtual std::vector<Message> changes(const Picture &before, const Picture &after, Epoch now) = 0;
    /// The samples as records, those of one time and one key together, in the order of time.
    virtual std::vector<Record> records(const std::vector<const Sample *> &samples) const = 0;
    virtual Message live(const Record &record, Epoch now) = 0;
    /// Whether values of the key can be told now; if not, its records wait, as history, until they can.
    virtual bool canTell(const std::string & /*key*/) const { return true; }
    /// Of a record that was kept. None if nothing of it can be told any more.
    virtual std::optional<Message> history(const Record &record, Epoch now) = 0;
    /// What is sent again and again without a change: asked for every minute, and once a second while tags get
    /// their first values.
    virtual std::vector<Message> periodic(const Picture &picture, Epoch now) = 0;
    /// Before an intended end.
    virtual std::vector<Message> farewell(const Picture &picture, Epoch now) = 0;

    virtual Incoming incoming(const Received &message) = 0;
    /// None if the layout has no place for answers.
    virtual std::optional<Message> answer(const CommandAnswer &answer, Epoch now) = 0;
};

std::unique_ptr<Layout> makePlainLayout(const GatewaySettings &settings);
std::unique_ptr<Layout> makeSparkplugLayout(const GatewaySettings &settings);
std::unique_ptr<Layout> makeLayout(const GatewaySettings &settings);

} // namespace fgs

#endif
