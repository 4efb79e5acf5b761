#include <benchmark/benchmark.h>

#include "bench/register.h"

int main(int argc, char** argv) {
  imx::bench::RegisterAll();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
