#include "virtual_link.h"

#include <cstring>

namespace soak
{

namespace
{

using namespace std::chrono_literals;

const fgs::Time Answer = 5ms;
const fgs::Time LateAnswer = 1500ms;

} // namespace

bool VirtualLink::send(const char *bytes, int size)
{
    ++sent;
    const Reply reply = line.exchange(QByteArray(bytes, size));
    arrive(Answer, reply.bytes);
    arrive(LateAnswer, reply.late);
    return true;
}

void VirtualLink::arrive(fgs::Time after, const QByteArray &bytes)
{
    if (!bytes.isEmpty())
        arrivals.emplace(clock + after, bytes);
}

int VirtualLink::receive(char *bytes, int most, fgs::Time deadline)
{
    if (arrivals.empty() || arrivals.begin()->first > std::max(deadline, clock)) {
        clock = std::max(clock, deadline);
        return 0;
    }
    const auto first = arrivals.extract(arrivals.begin());
    clock = std::max(clock, first.key());
    const int size = std::min(most, int(first.mapped().size()));
    std::memcpy(bytes, first.mapped().constData(), std::size_t(size));
    if (size < first.mapped().size())
        arrivals.emplace_hint(arrivals.begin(), first.key(), first.mapped().mid(size));
    return size;
}

} // namespace soak
