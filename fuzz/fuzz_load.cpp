// libFuzzer target of one loader; IMX_FUZZ_CODEC names its row in the table of codecs. Beyond what
// the sanitizers find, a report of the tracked allocator ends the run.

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "imagelib/guards.h"
#include "tests/formats/codec_table.h"

namespace {

constexpr std::uint64_t kImageCeiling = 1 << 20;
constexpr std::uint64_t kMemoryCeiling = 64 << 20;

int EndOnMemoryFault(void* argument) {
  if (imx::GetMemoryCounters().faults == 0) return 0;
  std::fprintf(stderr, "%s\n", static_cast<const char*>(argument));
  std::abort();
}

/// A file in memory that can be opened by its path.
class MemoryFile {
 public:
  MemoryFile() : descriptor_(memfd_create("fuzz", 0)) {
    if (descriptor_ < 0) std::abort();
    path_ = "/proc/self/fd/" + std::to_string(descriptor_);
  }

  const char* Fill(const imx::test::Bytes& bytes) {
    if (ftruncate(descriptor_, 0) != 0 ||
        pwrite(descriptor_, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
      std::abort();
    }
    return path_.c_str();
  }

 private:
  int descriptor_;
  std::string path_;
};

const imx::test::Codec& Prepare() {
  imx::Host().error = EndOnMemoryFault;
  imx::SetImageCeiling(kImageCeiling);
  imx::SetMemoryCeiling(kMemoryCeiling);
  const imx::test::Codec* codec = imx::test::FindCodec(IMX_FUZZ_CODEC);
  if (!codec) std::abort();
  return *codec;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const imx::test::Codec& codec = Prepare();
  static MemoryFile file;
  imx::test::Bytes bytes(data, data + size);
  if (codec.repair) codec.repair(bytes);
  {
    const imx::ImageGuard image(codec.load(file.Fill(bytes)));
    if (image && imx::LiveBlockSize(image->pixels) != std::uint64_t{4} * image->pixelCount) {
      std::abort();
    }
  }
  imx::LibraryShutdown();
  return 0;
}
