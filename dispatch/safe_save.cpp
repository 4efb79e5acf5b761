#include "dispatch/safe_save.h"

#include <cerrno>
#include <cstdint>
#include <cstring>

#include "dispatch/host_alpha.h"
#include "dispatch/save.h"
#include "formats/codec_state.h"
#include "imagelib/memory_edge.h"
#include "imagelib/open_file.h"
#include "imagelib/save_outcome.h"
#include "imagelib/system_files.h"
#include "imagelib/temporary_file.h"

namespace imx {
namespace {

SaveResult SystemFailure() {
  return {false, std::strerror(errno)};
}

/// `finalPath` is where the file is meant to be in the end, for savers that write its name into it.
SaveResult SaveInto(const TemporaryFile& file, const char* finalPath, ImageRecord* image) {
  const RefusalWatch memory;
  const AlphaAsChosen alpha(*image);
  if (!alpha.ok()) return {false, kOutOfMemory};
  BeginSaveOutcome();
  Output().finalPath = finalPath;
  const std::int32_t result = SaveImage(file.path().c_str(), image);
  Output().finalPath = nullptr;
  const bool whole = result == 0 && GetSaveOutcome() == SaveOutcome::whole;
  if (whole && !memory.Refused()) return {true, {}};
  const std::string_view reason = SaveFailureReason();
  if (reason.empty() && memory.Refused()) return {false, kOutOfMemory};
  return {false, std::string(reason)};
}

SaveResult CopyToStream(const std::string& path, std::FILE* stream) {
  const OpenFile from(std::fopen(path.c_str(), "rb"));
  if (!from) return SystemFailure();
  char buffer[65536];
  while (const std::size_t got = std::fread(buffer, 1, sizeof buffer, from.get())) {
    if (std::fwrite(buffer, 1, got, stream) != got) return SystemFailure();
  }
  if (std::ferror(from.get()) || std::fflush(stream) != 0) return SystemFailure();
  return {true, {}};
}

SaveResult SaveToStream(std::FILE* stream, ImageRecord* image) {
  RemoveLeftovers(std::string());
  const TemporaryFile file{std::string()};
  if (!file.ok()) return {false, file.reason()};
  const SaveResult result = SaveInto(file, "", image);
  return result.saved ? CopyToStream(file.path(), stream) : result;
}

SaveResult SaveToDevice(const std::string& path, ImageRecord* image) {
  OpenFile to(std::fopen(path.c_str(), "wb"));
  if (!to) return SystemFailure();
  const SaveResult result = SaveToStream(to.get(), image);
  if (std::fclose(to.release()) != 0 && result.saved) return SystemFailure();
  return result;
}

SaveResult SaveToPath(const std::string& path, ImageRecord* image, const SaveCare& care) {
  std::string target, reason;
  if (!FollowLinks(path, &target, &reason)) return {false, reason};
  const PathKind kind = KindOfPath(path);
  if (kind == PathKind::directory) return {false, "is a directory"};
  if (kind == PathKind::stream) return SaveToDevice(path, image);
  if (!IsWritable(target, &reason)) return {false, reason};

  const std::string folder = FolderOf(target);
  // A link may lead to a folder that the caller knows nothing of.
  const bool careOfFolder = care.folder || target != path;
  if (careOfFolder) RemoveLeftovers(folder);
  TemporaryFile file(folder);
  if (!file.ok()) return {false, file.reason()};
  const SaveResult result = SaveInto(file, path.c_str(), image);
  if (!result.saved) return result;
  if (!file.MoveTo(target, care.durable)) return {false, file.reason()};
  if (careOfFolder && care.durable && !SyncFolder(folder, &reason)) return {false, reason};
  return result;
}

}  // namespace

SaveResult SaveImageToStream(std::FILE* stream, ImageRecord* image) {
  return WithinMemory([&] { return SaveToStream(stream, image); }, {false, kOutOfMemory});
}

SaveResult SaveImageSafely(const std::string& path, ImageRecord* image, const SaveCare& care) {
  return WithinMemory([&] { return SaveToPath(path, image, care); }, {false, kOutOfMemory});
}

}  // namespace imx
