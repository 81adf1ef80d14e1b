// What the network's thread asks the line's to write, and what became of it.
#ifndef FGS_GATEWAY_ORDERS_H
#define FGS_GATEWAY_ORDERS_H

#include "mailbox.h"
#include "watch/writing.h"

#include <map>
#include <optional>

namespace fgs
{

struct Order {
    quint64 number = 0;
    std::vector<std::size_t> tags;       ///< indices, one for each assignment, which may be to a part of the tag
    std::vector<Assignment> assignments; ///< checked; at least one
};

struct OrderEnd {
    quint64 number = 0;
    bool isLinkLost = false;          ///< nothing was sent, because the link was not open
    std::vector<WriteReport> reports; ///< one for each assignment
    std::vector<Epoch> heldTimes;     ///< the same: of the replies that brought what was read back; 0: nothing was
    std::vector<bool> superseded;     ///< the same: newer orders have taken their places, and they are NotSent
};

/// Of an assignment that nobody tries.
WriteReport notSent(const Assignment &assignment);

/// Bounded by its user. Both threads.
class OrderDesk
{
public:
    // The network's thread.
    /// An assignment to a tag, or to a part of it, takes the place of those that wait and are to nothing else; one
    /// that is being written goes on.
    void put(Order order);
    /// Takes a waiting order back: it ends as not sent, apart from what was superseded before. False if it is under
    /// way or has ended.
    bool withdraw(quint64 number);
    std::vector<OrderEnd> takeEnds();
    std::size_t waiting() const;                                 ///< those under way not counted
    int endsDescriptor() const { return endsBell.descriptor(); } ///< readable when an order has ended

    // The line's thread.
    std::optional<Order> take(); ///< the oldest, without what was superseded; it is under way until finish()
    void finish(OrderEnd end);   ///< with the reports of what take() gave, in its order
    bool hasOrders() const;

private:
    struct Standing {
        Order order;
        std::vector<bool> isSuperseded; ///< for each assignment

        bool hasSomethingLeft() const;
        Order left() const;
        /// With a report for each assignment, from those of what was left.
        OrderEnd whole(OrderEnd end) const;
    };
    static void supersede(Standing &before, const Order &order);
    void endSuperseded();
    void tell(OrderEnd end);

    mutable std::mutex mutex;
    Bell endsBell;
    std::deque<Standing> waits; ///< each has something left to write
    std::map<quint64, Standing> underWay;
    std::vector<OrderEnd> ends;
};

} // namespace fgs

#endif
