// What Wireshark makes of a trace, with the dissector of this tree.
#ifndef TARN_TESTS_WIRESHARK_H
#define TARN_TESTS_WIRESHARK_H

#include "support/shell.h"

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// The values of each field in a packet, in their order.
using Fields = std::map<std::string, std::vector<std::string>>;

#define NEEDS_TSHARK()                                                                                             \
    if (!isInstalled("tshark"))                                                                                    \
    GTEST_SKIP() << "tshark is missing: apt-get install tshark"

/// Packet by packet. An installed dissector is left aside, and two passes show what comes later too.
inline std::vector<Fields> dissected(const std::string &file, const std::vector<std::string> &fields)
{
    std::string command = "WIRESHARK_PLUGIN_DIR=/nonexistent tshark -2 -X lua_script:" TARN_SOURCE_DIR
                          "/share/wireshark/fgs.lua -r '" +
                          file + "' -T json -e _ws.lua.error";
    for (const std::string &field : fields)
        command += " -e " + field;
    std::vector<Fields> packets;
    for (const auto &packet : nlohmann::json::parse(outputOf(command + " 2>/dev/null"))) {
        const auto &source = packet.at("_source");
        packets.push_back(source.contains("layers") ? source.at("layers").get<Fields>() : Fields());
        EXPECT_EQ(packets.back().count("_ws.lua.error"), 0U) << "packet " << packets.size();
    }
    return packets;
}

#endif
