// The network's loop: takes what the line tells, keeps the broker told, takes commands, answers HTTP.
#ifndef FGS_GATEWAY_NETWORK_H
#define FGS_GATEWAY_NETWORK_H

#include "mailbox.h"
#include "metrics.h"
#include "mqtt_client.h"
#include "orders.h"
#include "settings.h"

#include <functional>
#include <memory>

namespace fgs
{

/// One thread, beside the line's and the one of the MQTT library. Bounded whatever the broker does: without a spool
/// only the newest value of each tag waits, with one the rest waits on the disk.
class Network
{
public:
    struct Wiring {
        Mailbox &mailbox;
        OrderDesk &orders;
        std::function<void(const std::string &)> tell; ///< a line for people
        bool readOnly = false;
        ReconnectPauses pauses = ReconnectPauses();
        /// Empty: the machine's clocks. Waits for the network take real time, whatever it shows.
        std::function<Moment()> clock = {};
    };

    /// Throws TextError if a file of TLS or the password cannot be read, or the layout cannot be made. Where HTTP
    /// cannot listen it is tried again.
    Network(const GatewaySettings &theSettings, const Wiring &theWiring);
    ~Network();

    /// Works on what there is, and waits at most until `wait` is over or `wake` is readable.
    void step(milliseconds wait, int wake);
    /// Tells the broker that it ends: farewell, then a clean disconnect, within the limit.
    void end(milliseconds limit);

    /// The difference to the settings before: the connection stays unless broker, name or layout are others, or
    /// with Sparkplug anything of tags or commands. Throws TextError as the constructor; then the old ones go on.
    /// If the tags are others, the line's loop of before has ended, and the one for them begins afterwards: what
    /// waits in mailbox and order desk is taken with the old tags.
    void apply(const GatewaySettings &settings);

    bool isBrokerUp() const;
    /// Looks at every tag and into the spool: not for every step.
    GatewayFigures figures() const;
    int httpPort() const; ///< 0: no HTTP

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};

} // namespace fgs

#endif
