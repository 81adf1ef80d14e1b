#include "doctor.h"

namespace fgs
{

namespace
{

class ThisSystem : public DoctorSystem
{
public:
    std::unique_ptr<HeldDevice> hold(const QString &path) override { return holdDevice(path); }
    std::unique_ptr<Link> connectTo(const TcpAddress &address) override { return makeLink(address); }
    QString lookUp(const TcpAddress &address, const Stop &stop) override { return lookupError(address, stop); }
    std::vector<PortService> services(const QString &path) override { return servicesOn(path); }
    std::optional<Time> latencyTimer(const QString &path) override { return latencyTimerOf(path); }
};

} // namespace

std::unique_ptr<DoctorSystem> thisSystem()
{
    return std::make_unique<ThisSystem>();
}

} // namespace fgs
