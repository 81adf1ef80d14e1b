// Sparkplug B payloads as bytes: what the layout needs of them, by the field numbers of the standard.
#ifndef FGS_GATEWAY_SPARKPLUG_PAYLOAD_H
#define FGS_GATEWAY_SPARKPLUG_PAYLOAD_H

#include "moment.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace fgs::sparkplug
{

enum class DataType : std::uint32_t {
    Int8 = 1,
    Int16,
    Int32,
    Int64,
    UInt8,
    UInt16,
    UInt32,
    UInt64,
    Float,
    Double,
    Boolean,
    String,
    DateTime,
    Text
};

/// By the field that carries it; none is null. Signed integers travel in the unsigned fields as two's complement of
/// their own width.
using Value = std::variant<std::monostate, std::uint32_t, std::uint64_t, float, double, bool, std::string>;

const std::int32_t GoodQuality = 192, StaleQuality = 500, BadQuality = 0;

struct Metric {
    std::string name;
    std::optional<Epoch> time = {};
    std::optional<DataType> type = {}; ///< as it came, which may be none of the above
    bool isHistorical = false;
    std::optional<std::int32_t> quality = {}; ///< the property Quality
    Value value = {};                         ///< null too if it came in a field that has no place here
};

struct Payload {
    std::optional<Epoch> time = {};
    std::vector<Metric> metrics = {};
    std::optional<std::uint64_t> seq = {};
};

/// Bytes that are no payload.
class PayloadError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

std::string encode(const Payload &payload);
/// Other fields are skipped. Throws PayloadError.
Payload decode(const std::string &bytes);

} // namespace fgs::sparkplug

#endif
