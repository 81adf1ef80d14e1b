#include "orders.h"

#include <algorithm>
#include <utility>

namespace fgs
{

namespace
{

bool isWithin(const Variable &part, const Variable &whole)
{
    return part.address >= whole.address && part.address + part.count <= whole.address + whole.count;
}

/// Whether the order writes all that the assignment does, and maybe more of the tag.
bool writesAll(const Order &order, std::size_t tag, const Assignment &assignment)
{
    for (std::size_t i = 0; i < order.tags.size(); ++i)
        if (order.tags[i] == tag && isWithin(assignment.tag.variable, order.assignments[i].tag.variable))
            return true;
    return false;
}

} // namespace

void OrderDesk::put(Order order)
{
    const std::lock_guard lock(mutex);
    for (Standing &before : waits)
        supersede(before, order);
    endSuperseded();
    std::vector<bool> none(order.assignments.size(), false);
    waits.push_back({std::move(order), std::move(none)});
}

bool OrderDesk::withdraw(quint64 number)
{
    const std::lock_guard lock(mutex);
    const auto found = std::find_if(waits.begin(), waits.end(),
                                    [number](const Standing &standing) { return standing.order.number == number; });
    if (found == waits.end())
        return false;
    OrderEnd end;
    end.number = number;
    tell(found->whole(std::move(end)));
    waits.erase(found);
    return true;
}

std::vector<OrderEnd> OrderDesk::takeEnds()
{
    const std::lock_guard lock(mutex);
    endsBell.hush();
    return std::exchange(ends, {});
}

std::size_t OrderDesk::waiting() const
{
    const std::lock_guard lock(mutex);
    return waits.size();
}

std::optional<Order> OrderDesk::take()
{
    const std::lock_guard lock(mutex);
    if (waits.empty())
        return std::nullopt;
    Standing &oldest = waits.front();
    Order order = oldest.left();
    underWay[order.number] = std::move(oldest);
    waits.pop_front();
    return order;
}

void OrderDesk::finish(OrderEnd end)
{
    const std::lock_guard lock(mutex);
    if (const auto standing = underWay.extract(end.number))
        end = standing.mapped().whole(std::move(end));
    tell(std::move(end));
}

bool OrderDesk::hasOrders() const
{
    const std::lock_guard lock(mutex);
    return !waits.empty();
}

void OrderDesk::supersede(Standing &before, const Order &order)
{
    for (std::size_t i = 0; i < before.order.tags.size(); ++i)
        before.isSuperseded[i] =
            before.isSuperseded[i] || writesAll(order, before.order.tags[i], before.order.assignments[i]);
}

void OrderDesk::endSuperseded()
{
    const auto over = std::stable_partition(waits.begin(), waits.end(),
                                            [](const Standing &standing) { return standing.hasSomethingLeft(); });
    std::for_each(over, waits.end(), [this](const Standing &standing) {
        OrderEnd end;
        end.number = standing.order.number;
        tell(standing.whole(std::move(end)));
    });
    waits.erase(over, waits.end());
}

void OrderDesk::tell(OrderEnd end)
{
    ends.push_back(std::move(end));
    endsBell.ring();
}

bool OrderDesk::Standing::hasSomethingLeft() const
{
    return std::find(isSuperseded.begin(), isSuperseded.end(), false) != isSuperseded.end();
}

Order OrderDesk::Standing::left() const
{
    Order rest;
    rest.number = order.number;
    for (std::size_t i = 0; i < order.assignments.size(); ++i)
        if (!isSuperseded[i]) {
            rest.tags.push_back(order.tags[i]);
            rest.assignments.push_back(order.assignments[i]);
        }
    return rest;
}

OrderEnd OrderDesk::Standing::whole(OrderEnd end) const
{
    const std::vector<WriteReport> ofLeft = std::exchange(end.reports, {});
    const std::vector<Epoch> times = std::exchange(end.heldTimes, {});
    std::size_t next = 0;
    for (std::size_t i = 0; i < order.assignments.size(); ++i) {
        const bool isReported = !isSuperseded[i] && next < ofLeft.size();
        end.reports.push_back(isReported ? ofLeft[next] : notSent(order.assignments[i]));
        end.heldTimes.push_back(isReported && next < times.size() ? times[next] : 0);
        next += isReported;
    }
    end.superseded = isSuperseded;
    return end;
}

WriteReport notSent(const Assignment &assignment)
{
    WriteReport report;
    report.assignment = assignment;
    report.held.variable = assignment.tag.variable;
    return report;
}

} // namespace fgs
