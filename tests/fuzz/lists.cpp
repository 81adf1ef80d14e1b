// List building in both schemes, and the two queues.
#include "model/list_operations.h"

#include "stage.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    static fuzz::Stage<model::ListOperations> stage;
    fuzz::Input input(bytes, size);
    model::Random random = fuzz::decisions(input);
    stage.begin(random);
    while (!input.isUsedUp()) {
        if (random.chance(30)) {
            fuzz::requireNone(stage.queueOne(random));
            continue;
        }
        std::vector<model::HostVar> list = model::anyHostVars(random, 20);
        if (random.chance(50))
            stage.stretch(random, list);
        fuzz::requireNone(stage.recreate(list));
    }
    return 0;
}
