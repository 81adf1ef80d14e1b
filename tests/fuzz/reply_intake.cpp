// Any bytes, and any length, as the reply to any request in flight: the driver does what its model does.
#include "stage.h"

int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    static fuzz::Exchange stage;
    fuzz::Input input(bytes, size);
    model::Random random = fuzz::decisions(input);
    stage.begin(random);
    while (!input.isUsedUp()) {
        fuzz::requireNone(stage.build(random));
        for (int replies = random.between(1, 4); replies > 0; --replies)
            fuzz::requireNone(stage.answer(random, input));
    }
    return 0;
}
