#include "layout.h"

namespace fgs
{

std::unique_ptr<Layout> makeLayout(const GatewaySettings &settings)
{
    return settings.layout.kind == LayoutKind::Sparkplug ? makeSparkplugLayout(settings)
                                                         : makePlainLayout(settings);
}

} // namespace fgs
