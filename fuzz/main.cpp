// The libFuzzer program. It goes by the name fuzz_TARGET.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz/targets.h"

namespace {

const imx::test::Target* target = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*count*/, char*** arguments) {
  const std::string program = **arguments;
  const std::string name = program.substr(program.rfind("fuzz_") + 5);
  const auto found = imx::test::Targets().find(name);
  if (found == imx::test::Targets().end()) {
    std::fprintf(stderr, "no target '%s'\n", name.c_str());
    std::exit(2);
  }
  target = &found->second;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  imx::test::RunTarget(*target, imx::test::Bytes(data, data + size));
  return 0;
}
