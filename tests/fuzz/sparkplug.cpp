// Any bytes as a Sparkplug payload: read or refused; what was read is the same once written and read again, and a
// command of it is JSON.
#include "gateway/layout.h"
#include "gateway/sparkplug_payload.h"
#include "target.h"

#include <nlohmann/json.hpp>

using namespace fgs;
using fuzz::require;

namespace
{

void checkCodec(const std::string &bytes)
{
    try {
        const std::string written = sparkplug::encode(sparkplug::decode(bytes));
        require(sparkplug::encode(sparkplug::decode(written)) == written,
                "a payload is another one when it is written");
    } catch (const sparkplug::PayloadError &error) {
        require(*error.what() != '\0', "a payload is refused without a reason");
    }
}

GatewaySettings settings()
{
    GatewaySettings settings;
    settings.name = "n";
    settings.layout.kind = LayoutKind::Sparkplug;
    settings.layout.group = "g";
    settings.layout.primaryHost = "h";
    for (const char *name : {"a:5:1:s16", "b:5:2x2:u16", "c:2:1:bit", "d:5:4:f32", "e:5:9x2:text"}) {
        GatewayTag tag;
        tag.name = std::string(name, 1);
        tag.tag = parseTag(QString::fromLatin1(name + 2));
        settings.tags.push_back(tag);
    }
    return settings;
}

/// Of a payload within the bound: a command is JSON with what is to be written, or a text that is none.
void checkCommand(const Incoming &incoming)
{
    if (incoming.kind != Incoming::Command)
        return;
    const auto command = nlohmann::json::parse(incoming.command, nullptr, false);
    require(command.is_discarded() || command.at("set").is_object(), "a command that says nothing");
    require(command.is_discarded() || command.contains("id") == command.contains("ts"), "an id without a time");
}

void checkLayout(const std::string &bytes)
{
    const std::unique_ptr<Layout> layout = makeSparkplugLayout(settings());
    layout->will(1);
    checkCommand(layout->incoming({"spBv1.0/g/NCMD/n", bytes, false}));
    checkCommand(layout->incoming({"spBv1.0/g/DCMD/n/station-1", bytes, false}));
    const Incoming state = layout->incoming({"spBv1.0/STATE/h", bytes, false});
    require(state.isHostOnline != layout->awaitsHost(), "a host that is online and waited for");
    layout->incoming({"spBv1.0/STATE/h", R"({"online":true,"timestamp":9223372036854775807})", false});
    Picture picture;
    picture.line.isUp = true;
    picture.line.stations[1] = true;
    for (std::size_t i = 0; i < settings().tags.size(); ++i) {
        picture.samples.emplace_back();
        picture.samples.back().tag = i;
    }
    require(layout->births(picture, 2).size() == 2, "births that are missing");
    layout->history({"station-1", 1, bytes}, 3);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const std::string payload(reinterpret_cast<const char *>(bytes), size);
    checkCodec(payload);
    checkLayout(payload);
    return 0;
}
