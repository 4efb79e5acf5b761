#include "formats/byterun.h"

#include <algorithm>
#include <cstring>

#include "imagelib/file_reader.h"

namespace imx {
namespace {

constexpr std::size_t kMostRun = 128;
constexpr unsigned kNothing = 128;     // control byte -128
constexpr std::size_t kWindow = 8192;  // bytes looked at in one go; more than the longest run

struct Window {
  const std::uint8_t* at;
  const std::uint8_t* end;

  std::size_t size() const { return static_cast<std::size_t>(end - at); }
};

/// Decodes runs into row[*done..size) until the row is full or the next run may not be whole in the
/// window. With `last` the window holds the end of the data, and what is missing of a run is left
/// out.
void DecodeRuns(Window& in, bool last, std::uint8_t* row, std::size_t* done, std::size_t size) {
  while (*done < size && in.at < in.end && (last || in.size() > kMostRun)) {
    const unsigned control = *in.at++;
    const std::size_t room = size - *done;
    if (control < kNothing) {
      const std::size_t count = std::min<std::size_t>(control + 1, in.size());
      std::memcpy(row + *done, in.at, std::min(count, room));
      in.at += count;
      *done += std::min(count, room);
    } else if (control > kNothing && in.at < in.end) {
      const std::size_t count = std::min<std::size_t>(257 - control, room);
      std::memset(row + *done, *in.at++, count);
      *done += count;
    }
  }
}

/// Equal bytes from row[0] on, at most kMostRun.
std::size_t RunLength(const std::uint8_t* row, std::size_t size) {
  const std::size_t most = std::min(size, kMostRun);
  std::size_t length = 1;
  while (length < most && row[length] == row[0]) ++length;
  return length;
}

/// Bytes from row[0] on that no three equal ones are among, at most kMostRun.
std::size_t LiteralLength(const std::uint8_t* row, std::size_t size) {
  const std::size_t most = std::min(size, kMostRun);
  std::size_t length = 0;
  while (length < most &&
         !(length + 2 < size && row[length] == row[length + 1] && row[length] == row[length + 2])) {
    ++length;
  }
  return length;
}

}  // namespace

bool ReadByteRun(FileReader& in, std::uint64_t* left, std::uint8_t* row, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(kWindow, *left));
    const FileReader::View view = in.Peek(wanted);
    if (view.size == 0) break;
    const bool last = view.size == *left || view.size < wanted;
    Window window = {view.data, view.data + view.size};
    DecodeRuns(window, last, row, &done, size);
    const std::size_t used = view.size - window.size();
    in.Skip(used);
    *left -= used;
  }
  std::memset(row + done, 0, size - done);
  return done == size;
}

std::size_t PackByteRun(const std::uint8_t* row, std::size_t size, std::uint8_t* out) {
  const std::uint8_t* const start = out;
  for (std::size_t i = 0; i < size;) {
    // Where a stretch begins, two equal bytes are a run as well: it costs nothing.
    const std::size_t run = RunLength(row + i, size - i);
    if (run >= 2) {
      *out++ = static_cast<std::uint8_t>(257 - run);
      *out++ = row[i];
      i += run;
      continue;
    }
    const std::size_t count = LiteralLength(row + i, size - i);
    *out++ = static_cast<std::uint8_t>(count - 1);
    std::memcpy(out, row + i, count);
    out += count;
    i += count;
  }
  return static_cast<std::size_t>(out - start);
}

}  // namespace imx
