#include "setup/core/file_compare.h"

#include "setup/core/file_stream.h"

namespace imx {
namespace {

enum class Match { same, different, unreadable };

// Whether the file goes on with exactly these bytes.
Match matchPiece(const Platform& platform, void* file, std::string_view piece) {
  char buffer[4096];
  while (!piece.empty()) {
    std::size_t count = 0;
    const std::size_t wanted = std::min(piece.size(), sizeof buffer);
    if (!platform.readBytes(platform.context, file, buffer, wanted, &count)) {
      return Match::unreadable;
    }
    if (count == 0 || piece.substr(0, count) != std::string_view(buffer, count)) {
      return Match::different;
    }
    piece.remove_prefix(count);
  }
  return Match::same;
}

Match matchEnd(const Platform& platform, void* file) {
  char more = 0;
  std::size_t count = 0;
  if (!platform.readBytes(platform.context, file, &more, 1, &count)) return Match::unreadable;
  return count == 0 ? Match::same : Match::different;
}

}  // namespace

std::string compareInstalled(const Platform& platform, const InstallSettings& settings,
                             const char* source, const char* installed, bool expands) {
  FileEntry entry;
  if (!lookUp(platform, installed, &entry)) return "Missing: ";
  // A medium that was installed over itself.
  if (platform.isSameFile(platform.context, source, installed)) return {};
  void* const file = platform.openForReading(platform.context, installed);
  if (!file) return "Unreadable (" + platform.failureReason(platform.context) + "): ";
  Match match = Match::same;
  const Streamed streamed =
      streamFile(platform, settings, source, expands, [&](std::string_view piece) {
        match = matchPiece(platform, file, piece);
        return match == Match::same;
      });
  const bool mediumFailed = match == Match::same && streamed != Streamed::whole;
  if (match == Match::same && !mediumFailed) match = matchEnd(platform, file);
  std::string fault;
  if (mediumFailed) {
    fault = "Unreadable on the medium (" + platform.failureReason(platform.context) + "): ";
  } else if (match == Match::unreadable) {
    fault = "Unreadable (" + platform.failureReason(platform.context) + "): ";
  } else if (match == Match::different) {
    fault = "Different: ";
  }
  platform.closeFile(platform.context, file);
  return fault;
}

}  // namespace imx
