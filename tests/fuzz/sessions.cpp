// A whole session of a host as a stream of operations; after each the driver is compared with its model.
#include "model/session.h"

#include "stage.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    static fuzz::Stage<DriverTest> stage;
    fuzz::Input input(bytes, size);
    model::Random random = fuzz::decisions(input);
    stage.reset();
    Session session(stage.settings, random);
    for (int step = 0; step < Session::steps && !input.isUsedUp(); ++step)
        fuzz::requireNone(session.step());
    return 0;
}
