// What a header promises costs nothing until there is data: measured from outside, as the memory
// and the processor time of a child process that loads the file.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "imagelib/core/guards.h"
#include "tests/formats/codec_table.h"
#include "tests/support/library_test.h"

namespace imx::test {
namespace {

class ResidentMemoryTest : public LibraryTest {};

struct Cost {
  bool ended;
  long kilobytes;
  double seconds;
};

/// Loads in a child process, which a hang does not outlive.
Cost CostOfLoading(const Codec& codec, const std::string& path) {
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
  const auto seconds = [](const timeval& t) {
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) * 1e-6;
  };
  return {WIFEXITED(status) && WEXITSTATUS(status) == 0, usage.ru_maxrss,
          seconds(usage.ru_utime) + seconds(usage.ru_stime)};
}

TEST_F(ResidentMemoryTest, PromisesStayPromises) {
  constexpr long kMostKilobytes = 256 * 1024;
  constexpr double kMostSeconds = 1;
  for (const Codec& codec : Codecs()) {
    for (const SampleFile& promise : codec.promises) {
      SCOPED_TRACE(testing::Message() << codec.name << " " << promise.name);
      const Cost cost = CostOfLoading(codec, temp.Write("promise", promise.bytes));
      EXPECT_TRUE(cost.ended);
      EXPECT_LT(cost.kilobytes, kMostKilobytes);
      EXPECT_LT(cost.seconds, kMostSeconds);
    }
  }
}

}  // namespace
}  // namespace imx::test
