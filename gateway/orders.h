// What the network's thread asks the line's to write, and what became of it.
#ifndef FGS_GATEWAY_ORDERS_H
#define FGS_GATEWAY_ORDERS_H

#include "mailbox.h"
#include "watch/writing.h"

namespace fgs
{

struct Order {
    quint64 number = 0;
    std::vector<std::size_t> tags;       ///< indices, one for each assignment
    std::vector<Assignment> assignments; ///< checked; at least one
};

struct OrderEnd {
    quint64 number = 0;
    bool superseded = false; ///< nothing was sent: newer orders have taken the places of all its assignments
    /// One for each assignment. Those superseded are NotSent, with `supersededTags` naming them.
    std::vector<WriteReport> reports;
    std::vector<std::size_t> supersededTags;
};

/// Bounded by its user. Both threads.
class OrderDesk
{
public:
    // The network's thread.
    /// An assignment to a tag takes the place of those to the same tag that wait; one that is being written goes
    /// on.
    void put(Order order);
    std::vector<OrderEnd> takeEnds();
    std::size_t waiting() const;
    int endsDescriptor() const { return endsBell.descriptor(); } ///< readable when an order has ended

    // The line's thread.
    std::optional<Order> take(); ///< the oldest with something left to write
    void finish(OrderEnd end);
    bool hasOrders() const;

private:
    mutable std::mutex mutex;
    Bell endsBell;
    std::deque<Order> orders;
    std::deque<OrderEnd> ends;
    std::map<quint64, std::vector<std::size_t>> superseded; ///< tags of orders under way, by number
};

} // namespace fgs

#endif
