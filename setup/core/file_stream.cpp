#include "setup/core/file_stream.h"

#include <vector>

#include "setup/core/token_expander.h"

namespace imx {
namespace {

constexpr std::size_t kPieceSize = 1 << 16;

bool giveExpanded(TokenExpander& expander, std::string_view piece, std::string& expanded,
                  const Sink& sink) {
  for (const char byte : piece) {
    expanded += expander.take(static_cast<std::uint8_t>(byte));
    if (expanded.size() < kPieceSize) continue;
    if (!sink(expanded)) return false;
    expanded.clear();
  }
  const bool taken = expanded.empty() || sink(expanded);
  expanded.clear();
  return taken;
}

bool givePieces(const Platform& platform, void* file, const Sink& sink) {
  std::vector<char> buffer(kPieceSize);
  std::size_t count = 0;
  while (platform.readBytes(platform.context, file, buffer.data(), buffer.size(), &count)) {
    if (count == 0) return true;
    if (!sink({buffer.data(), count})) return false;
  }
  return false;
}

}  // namespace

Streamed streamFile(const Platform& platform, const InstallSettings& settings, const char* path,
                    bool expands, const Sink& sink) {
  void* const file = platform.openForReading(platform.context, path);
  if (!file) return Streamed::notOpened;
  bool whole = false;
  if (expands) {
    const TokenTexts texts = makeTokenTexts(platform, settings);
    TokenExpander expander(texts);
    std::string expanded;
    whole = givePieces(platform, file, [&](std::string_view piece) {
      return giveExpanded(expander, piece, expanded, sink);
    });
  } else {
    whole = givePieces(platform, file, sink);
  }
  if (!platform.closeFile(platform.context, file)) whole = false;
  return whole ? Streamed::whole : Streamed::broken;
}

std::string readText(const Platform& platform, const InstallSettings& settings, const char* path,
                     std::size_t limit, std::string& text) {
  bool fits = true;
  const Streamed streamed =
      streamFile(platform, settings, path, false, [&](std::string_view piece) {
        fits = piece.size() <= limit - text.size();
        if (fits) text += piece;
        return fits;
      });
  if (!fits) return "it has more than " + std::to_string(limit) + " bytes";
  return streamed == Streamed::whole ? "" : platform.failureReason(platform.context);
}

}  // namespace imx
