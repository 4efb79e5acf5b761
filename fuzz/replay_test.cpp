// Every target with the files that are kept for it: what fuzzers found, once a fault or the few
// that reach most of the code, and the samples that they start with.

#include <gtest/gtest.h>

#include "fuzz/targets.h"
#include "tests/formats/kept_files.h"

namespace imx::test {
namespace {

class Replay : public testing::TestWithParam<std::string> {};

TEST_P(Replay, KeptInputs) {
  const Target& target = Targets().at(GetParam());
  for (const char* kind : {"samples", "corpus"}) {
    for (const auto& [name, bytes] : KeptFiles(GetParam(), kind)) {
      SCOPED_TRACE(name);
      EXPECT_NO_THROW(RunTarget(target, bytes));
    }
  }
}

std::vector<std::string> Names() {
  std::vector<std::string> names;
  for (const auto& [name, target] : Targets()) names.push_back(name);
  return names;
}

INSTANTIATE_TEST_SUITE_P(Target, Replay, testing::ValuesIn(Names()),
                         [](const auto& row) { return row.param; });

}  // namespace
}  // namespace imx::test
