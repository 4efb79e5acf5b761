// What files cost that promise or repeat much with little data: seconds of CPU and megabytes at the
// peak. With a folder as its argument the files are left there.

#include <cstdio>
#include <filesystem>
#include <string>

#include "tests/formats/hostile_inputs.h"
#include "tests/support/files.h"

int main(int argc, char** argv) {
  using namespace imx::test;
  TempDir temp;
  for (const HostileInput& input : HostileInputs()) {
    const std::string path =
        argc > 1 ? std::string(argv[1]) + "/" + input.name : temp.file(input.name);
    const Bytes bytes = input.make();
    WriteFile(path, bytes);
    const Cost cost = CostOf(input, path);
    std::printf("%-32s %9zu bytes %6.2f s %7.0f MB%s\n", input.name, bytes.size(), cost.seconds,
                cost.megabytes, cost.ended ? "" : "  did not end");
    std::fflush(stdout);
    if (argc == 1) std::filesystem::remove(path);
  }
}
