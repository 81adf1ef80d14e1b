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

/// Of each of its values: bits are Boolean, texts String, numbers with a scale Double, others have their own.
DataType typeOf(const Tag &tag);
std::vector<std::string> metricNames(const GatewayTag &tag);

/// As in a birth: with name, type, value or null, time and quality. A float that is no number is null and bad.
std::vector<Metric> metricsOf(const GatewayTag &tag, const Sample &sample);

/// What was sent to be written, as a command has it. The type that came with it wins over the tag's, because the
/// standard advises senders to leave it out. Null if there is no value.
Json writtenJson(const Metric &metric, DataType tagType);

} // namespace fgs::sparkplug

#endif
