#include "sparkplug_devices.h"

#include "host/text_error.h"

namespace fgs::sparkplug
{

namespace
{

QString textOf(const std::string &name)
{
    return QString::fromStdString(name);
}

/// Many hosts do not tell such names apart.
void refuseSameNames(const std::vector<GatewayTag> &tags)
{
    std::map<QString, QString> names = {{QStringLiteral("bdseq"), QStringLiteral("bdSeq")}};
    for (const GatewayTag &tag : tags) {
        const auto [other, isNew] = names.emplace(textOf(tag.name).toLower(), textOf(tag.name));
        if (!isNew)
            throw TextError(
                QStringLiteral("tag '%1': in Sparkplug it would be the same metric as '%2'; give one of "
                               "them another name, case alone does not tell them apart")
                    .arg(textOf(tag.name), other->second));
    }
}

void addTag(Device &device, const GatewayTag &tag, std::size_t index)
{
    device.tags.push_back(index);
    std::size_t value = 0;
    for (const std::string &name : metricNames(tag))
        device.metrics[name] = {index, value++, typeOf(tag.tag)};
}

} // namespace

std::string deviceName(int station)
{
    return "station-" + std::to_string(station);
}

std::vector<Device> devicesOf(const std::vector<GatewayTag> &tags)
{
    refuseSameNames(tags);
    std::map<int, Device> devices;
    for (std::size_t i = 0; i < tags.size(); ++i) {
        const int station = tags[i].tag.variable.station;
        Device &device = devices[station];
        device.station = station;
        device.name = deviceName(station);
        addTag(device, tags[i], i);
    }
    std::vector<Device> list;
    list.reserve(devices.size());
    for (auto &[station, device] : devices)
        list.push_back(std::move(device));
    return list;
}

} // namespace fgs::sparkplug
