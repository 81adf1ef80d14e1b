// Tags as Sparkplug metrics: one for each value, NAME or, of a tag with several, NAME/0, NAME/1 and so on.
//
// There are metrics of arrays in the standard, but many hosts show only simple ones, and no host can write one
// element of an array.
#ifndef FGS_GATEWAY_SPARKPLUG_METRICS_H
#define FGS_GATEWAY_SPARKPLUG_METRICS_H

#include "sample.h"
#include "settings.h"
#include "sparkplug_payload.h"

#include "watch/json.h"

namespace fgs::sparkplug
{

/// Of each of its values: bits are Boolean, texts String, numbers with a scale Double, floats Float. Integers have
/// the types that all hosts read alike: some look for a UInt32 in another field than the standard's, and some do
/// not widen a negative Int16. So signed ones are Int32, unsigned ones UInt16, or Int64 if they are longer.
DataType typeOf(const Tag &tag);
std::vector<std::string> metricNames(const GatewayTag &tag);

/// As in a birth: with name, type, value or null, time and quality. A float that is no number is null and bad.
std::vector<Metric> metricsOf(const GatewayTag &tag, const Sample &sample);

/// What was sent to be written, as a command has it. The type that came with it wins over the tag's, because the
/// standard advises senders to leave it out. Null if there is no value.
Json writtenJson(const Metric &metric, DataType tagType);

} // namespace fgs::sparkplug

#endif
