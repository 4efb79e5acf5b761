#include "cli/input.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "cli/host.h"
#include "dispatch/host_alpha.h"
#include "dispatch/load.h"
#include "formats/raw.h"
#include "imagelib/host.h"
#include "imagelib/image.h"
#include "imagelib/open_file.h"
#include "imagelib/system_files.h"
#include "imagelib/temporary_file.h"

namespace imx {
namespace {

constexpr std::uint64_t kMib = 1024 * 1024;
// Even pixels written out as decimal text are not longer than this many times their four bytes.
constexpr std::uint64_t kLongestForm = 4;

// The types that have frames.
constexpr std::string_view kFlicLabel = "FLC", kAviLabel = "AVI";

/// Copies what is left of `stream` into the file `path`. Empty, or what went wrong.
std::string Spool(std::FILE* stream, const std::string& path, std::uint64_t most) {
  const OpenFile to(std::fopen(path.c_str(), "wb"));
  if (!to) return std::strerror(errno);
  char buffer[65536];
  std::uint64_t total = 0;
  while (const std::size_t got = std::fread(buffer, 1, sizeof buffer, stream)) {
    total += got;
    if (total > most) return "is longer than any image that is accepted";
    if (std::fwrite(buffer, 1, got, to.get()) != got) return std::strerror(errno);
  }
  if (std::ferror(stream) || std::fflush(to.get()) != 0) return std::strerror(errno);
  return {};
}

enum class Extent { all, header };

LoadChoices ChoicesOf(const std::string& path, const Request& request, Extent extent) {
  LoadChoices choices;
  choices.headerOnly = extent == Extent::header;
  choices.frame = request.frame;
  choices.rawKind = request.rawKind;
  choices.rawWidth = request.rawWidth;
  choices.rawHeight = request.rawHeight;
  choices.extension = request.from;
  // With its size told, a name that tells the layout is enough.
  if (choices.rawKind < 0 && choices.rawWidth > 0) {
    const std::string name = request.from.empty() ? path : path + "." + request.from;
    choices.rawKind = RawKindByName(name.c_str());
  }
  choices.maxBytes = request.maxMemoryMib * kMib;
  choices.way = ReadingWay::atNeed;
  if (request.interop) {
    choices.way = *request.interop ? ReadingWay::interop : ReadingWay::exact;
    choices.quirks = request.quirks;
  }
  return choices;
}

/// The option that could help.
std::string Advice(const LoadResult& result, const Request& request) {
  if (result.failure == LoadFailure::aboveLimit) return " (--max-memory)";
  if (result.want != LoadWant::rawLayout) return {};
  if (result.kind.label) return ": --raw WxH must tell its size";
  return request.rawWidth < 1 ? "" : ": --raw-as KIND may help";
}

/// Loads a file that can be sought in. Empty when it cannot be loaded; `fault` says why.
Input LoadFile(const std::string& path, const Request& request, Extent extent, FileScope& scope,
               std::string* fault) {
  LoadResult result = Load(path.c_str(), ChoicesOf(path, request, extent));
  *fault = scope.TakeErrors();
  if (!result.note.empty()) LibMessage(result.note.c_str());
  // What the loader of a damaged file said itself is more exact.
  const bool isSaid = !fault->empty() && (result.failure == LoadFailure::damaged ||
                                          result.failure == LoadFailure::pluginFailed);
  if (result.failure != LoadFailure::none && !isSaid) {
    *fault = result.reason + Advice(result, request);
  }
  NotePluginAlpha(result);
  const bool whole = result.image && (result.failure == LoadFailure::none || request.lenient);
  return {std::move(result.image), whole, result.alphaTold};
}

Input LoadStream(const std::string& name, const Request& request, Extent extent, FileScope& scope,
                 std::string* fault) {
  const bool standard = name == "-";
  const OpenFile opened(standard ? nullptr : std::fopen(name.c_str(), "rb"));
  std::FILE* stream = standard ? stdin : opened.get();
  const TemporaryFile file{std::string()};
  if (!stream || !file.ok()) {
    *fault = stream ? file.reason() : std::strerror(errno);
    return Input();
  }
  // The loaders seek, which a pipe cannot.
  *fault = Spool(stream, file.path(), kLongestForm * request.maxMemoryMib * kMib);
  return fault->empty() ? LoadFile(file.path(), request, extent, scope, fault) : Input();
}

Input LoadAny(const std::string& name, const Request& request, Extent extent, std::string* fault) {
  FileScope scope(name);
  const PathKind kind = name == "-" ? PathKind::stream : KindOfPath(name);
  if (kind == PathKind::stream) return LoadStream(name, request, extent, scope, fault);
  if (kind != PathKind::directory) return LoadFile(name, request, extent, scope, fault);
  *fault = "is a directory";
  return Input();
}

Input LoadAndReport(const std::string& name, const Request& request, Extent extent) {
  std::string fault;
  Input input = WithinMemory([&] { return LoadAny(name, request, extent, &fault); }, Input());
  if (!input && fault.empty()) fault = kOutOfMemory;
  if (!fault.empty()) ReportFailure(name, fault);
  input.fault = std::move(fault);
  return input;
}

}  // namespace

Input LoadInput(const std::string& name, const Request& request) {
  return LoadAndReport(name, request, Extent::all);
}

Input LoadHeader(const std::string& name, const Request& request) {
  return LoadAndReport(name, request, Extent::header);
}

Input PeekHeader(const std::string& name, const Request& request) {
  if (name == "-" || KindOfPath(name) != PathKind::regular) return Input();
  FileScope scope(name);
  const auto peek = [&]() -> Input {
    LoadResult result = Load(name.c_str(), ChoicesOf(name, request, Extent::header));
    scope.TakeErrors();
    return {std::move(result.image), false, result.alphaTold};
  };
  return WithinMemory(peek, Input());
}

std::int32_t CountFrames(const std::string& path, const Request& request) {
  if (KindOfPath(path) != PathKind::regular) return 0;
  FileScope scope(path);
  const auto count = [&]() -> std::int32_t {
    const FileKind kind = IdentifyFile(path.c_str(), request.from);
    if (!kind.label || (kind.label != kFlicLabel && kind.label != kAviLabel)) return 0;
    LoadChoices choices = ChoicesOf(path, request, Extent::header);
    choices.frame = -1;
    return Load(path.c_str(), choices).frames;
  };
  const std::int32_t frames = WithinMemory(count, 0);
  scope.TakeErrors();  // loading the first one tells them
  return frames;
}

}  // namespace imx
