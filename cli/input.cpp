#include "cli/input.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include "cli/host.h"
#include "dispatch/load.h"
#include "dispatch/plugins.h"
#include "formats/codec_state.h"
#include "formats/raw.h"
#include "imagelib/image.h"
#include "imagelib/system_files.h"
#include "imagelib/temporary_file.h"

namespace imx {
namespace {

constexpr std::uint64_t kMib = 1024 * 1024;
// Even pixels written out as decimal text are not longer than this many times their four bytes.
constexpr std::uint64_t kLongestForm = 4;

using FileHandle = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

/// Copies what is left of `stream` into the file `path`. Empty, or what went wrong.
std::string Spool(std::FILE* stream, const std::string& path, std::uint64_t most) {
  const FileHandle to(std::fopen(path.c_str(), "wb"), std::fclose);
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

/// Why no image came of an existing file that is not empty.
std::string Diagnose(const std::string& path, const std::string& errors, std::uint64_t mostMib) {
  if (const std::uint64_t refused = RefusedImageBytes(); refused > 0) {
    const std::uint64_t mib = (refused + kMib - 1) / kMib;
    const std::string size = "its pixels take " + std::to_string(mib) + " MiB, ";
    return size + (mib > mostMib ? "the limit is " + std::to_string(mostMib) + " (--max-memory)"
                                 : "more than an image can have");
  }
  if (!errors.empty()) return errors;
  const bool sizeMissing = Raw().width < 1;
  const FileKind kind = IdentifyFile(path.c_str());
  if (!kind.label && !sizeMissing) return "not an image of a known type: --raw-as KIND may help";
  if (!kind.label) return "not an image of a known type";
  if (Raw().guideWanted) return "has no header: --raw WxH must tell its size";
  if (kind.library) return PluginFailure();
  return std::string("not a readable ") + kind.label + " image";
}

/// Loads a file that can be sought in. Empty when it cannot be loaded; `fault` says why.
ImageGuard LoadFile(const std::string& path, const Request& request, FileScope& scope,
                    std::string* fault) {
  const FileHandle file(std::fopen(path.c_str(), "rb"), std::fclose);
  if (!file) {
    *fault = std::strerror(errno);
    return ImageGuard();
  }
  if (std::fgetc(file.get()) == EOF) {
    *fault = std::ferror(file.get()) ? std::strerror(errno) : "is empty";
    return ImageGuard();
  }
  SetImageCeiling(request.maxMemoryMib * kMib);
  Sequence() = {};
  Sequence().chosenFrame = request.frame;
  Raw() = {};
  Raw().kind = request.rawKind;
  Raw().width = request.rawWidth;
  Raw().height = request.rawHeight;
  if (request.rawWidth > 0) GuessRawLayout(path.c_str());
  const RefusalWatch memory;
  ImageGuard image(LoadImage(path.c_str()));
  const std::string errors = scope.TakeErrors();
  if (memory.Refused()) {
    *fault = kOutOfMemory;
    return ImageGuard();
  }
  *fault = image ? errors : Diagnose(path, errors, request.maxMemoryMib);
  return image;
}

ImageGuard LoadStream(const std::string& name, const Request& request, FileScope& scope,
                      std::string* fault) {
  const bool standard = name == "-";
  const FileHandle opened(standard ? nullptr : std::fopen(name.c_str(), "rb"), std::fclose);
  std::FILE* stream = standard ? stdin : opened.get();
  const TemporaryFile file{std::string()};
  if (!stream || !file.ok()) {
    *fault = stream ? file.reason() : std::strerror(errno);
    return ImageGuard();
  }
  // The loaders seek, which a pipe cannot.
  *fault = Spool(stream, file.path(), kLongestForm * request.maxMemoryMib * kMib);
  return fault->empty() ? LoadFile(file.path(), request, scope, fault) : ImageGuard();
}

ImageGuard LoadAny(const std::string& name, const Request& request, std::string* fault) {
  FileScope scope(name);
  const PathKind kind = name == "-" ? PathKind::stream : KindOfPath(name);
  if (kind == PathKind::stream) return LoadStream(name, request, scope, fault);
  if (kind != PathKind::directory) return LoadFile(name, request, scope, fault);
  *fault = "is a directory";
  return ImageGuard();
}

}  // namespace

ImageGuard LoadInput(const std::string& name, const Request& request) {
  std::string fault;
  ImageGuard image = WithinMemory([&] { return LoadAny(name, request, &fault); }, ImageGuard());
  if (!image && fault.empty()) fault = kOutOfMemory;
  if (!fault.empty()) ReportFailure(name, fault);
  if (!image && fault.empty()) ReportFailure(name, "could not be loaded");
  return image;
}

}  // namespace imx
