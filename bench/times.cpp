// The times of the operations, by Google Benchmark; see --help.
#include "operations.h"

#include <benchmark/benchmark.h>
#include <QtCore/QCoreApplication>

int main(int argc, char **argv)
{
    int nameOnly = 1;
    QCoreApplication app(nameOnly, argv);
    for (const bench::Operation &operation : bench::operations()) {
        // Small against what callgrind takes, so that slow operations do not run for long.
        const long batch = operation.repetitions / 100 + 1;
        benchmark::RegisterBenchmark(operation.name, [operation, batch](benchmark::State &state) {
            const bench::Run run = operation.prepare();
            while (state.KeepRunningBatch(batch))
                run(batch);
        })->UseRealTime();
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
