// What a header promises costs nothing until there is data: measured from outside, as the memory
// of a child process that loads the file.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "imagelib/guards.h"
#include "tests/formats/codec_table.h"
#include "tests/formats/kept_files.h"
#include "tests/support/library_test.h"

namespace imx::test {
namespace {

class ResidentMemoryTest : public LibraryTest {};

/// Kilobytes of a child process that loads the file, or -1 when it hangs or crashes.
long CostOfLoading(const Codec& codec, const std::string& path) {
  constexpr unsigned kHang = 20;
  const pid_t child = fork();
  if (child == 0) {
    alarm(kHang);
    const ImageGuard image(codec.load(path.c_str()));
    _exit(0);
  }
  int status = -1;
  rusage usage = {};
  wait4(child, &status, 0, &usage);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? usage.ru_maxrss : -1;
}

TEST_F(ResidentMemoryTest, OversizedHeadersCostNothing) {
  constexpr long kMostKilobytes = 256 * 1024;
  for (const Codec& codec : Codecs()) {
    for (const auto& [name, bytes] : KeptFiles(codec.name, "oversized_headers")) {
      SCOPED_TRACE(testing::Message() << codec.name << " " << name);
      const long cost = CostOfLoading(codec, temp.Write("promise", bytes));
      EXPECT_GT(cost, 0);
      EXPECT_LT(cost, kMostKilobytes);
    }
  }
}

}  // namespace
}  // namespace imx::test
