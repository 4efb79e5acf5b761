/// Benchmarks that are registered by a function, for bench/main.cpp.
#pragma once

namespace imx::bench {

/// Registers what the program measures.
void RegisterAll();

}  // namespace imx::bench
