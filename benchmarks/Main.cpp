// Runs the benchmarks of a program on the first of the processors that it may use.
#include "Measure.h"

#include <benchmark/benchmark.h>

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    bench::PinThisThread(0);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
