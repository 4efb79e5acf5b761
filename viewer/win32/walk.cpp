#include "viewer/win32/walk.h"

#include <utility>

#include "imagelib/registry.h"
#include "imagelib/text.h"
#include "shell/model/display_texts.h"
#include "shell/model/save_texts.h"
#include "shell/win32/busy.h"
#include "shell/win32/close_images.h"
#include "shell/win32/shell_state.h"
#include "viewer/model/sequence_speed.h"
#include "viewer/win32/folder_files.h"
#include "viewer/win32/quiet_load.h"
#include "viewer/win32/view_paint.h"

namespace imx {
namespace {

constexpr UINT_PTR kPlayTimer = 1;
// A file that takes long shows its progress.
constexpr std::uint64_t kLargeFile = std::uint64_t{8} << 20;

std::vector<std::string> NamesOf(const std::string& folder) {
  std::vector<std::string> names;
  for (FolderFile& file : FilesOf(folder)) names.push_back(std::move(file.name));
  return names;
}

bool IsLarge(const std::string& path) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &data)) return false;
  return (std::uint64_t{data.nFileSizeHigh} << 32 | data.nFileSizeLow) > kLargeFile;
}

LoadChoices ChoicesFor(const std::string& path, std::int32_t frame) {
  LoadChoices choices;
  choices.way = Shell().readingWay;
  choices.frame = frame;
  const char* const label = IdentifyFile(path.c_str()).label;
  // The library's own way lays all frames of a GIF over each other.
  if (frame >= 0 && label && std::string(label) == "GIF" && choices.way != ReadingWay::interop) {
    choices.way = ReadingWay::interop;
    choices.quirks.reset();
    choices.quirks.set(kGifScreen);
  }
  return choices;
}

LoadResult LoadFor(const std::string& path, std::int32_t frame) {
  HCURSOR before = SetCursor(LoadCursorA(nullptr, IDC_WAIT));
  LoadResult result = LoadQuietly(path, ChoicesFor(path, frame), IsLarge(path));
  SetCursor(before);
  return result;
}

void Show(ImageView& view, LoadResult result, const std::string& path) {
  ImageGuard image = std::move(result.image);
  CopyTextCut(image->name, LoadedImageName(std::string(PathFileName(path)), image->frame));
  CopyTextCut(image->path, path);
  view.note = Shell().readingWay == ReadingWay::exact ? std::string()
                                                      : ReadingNote(result.applied, result.shown);
  view.frames = result.frames;
  view.record->edited = 0;
  view.history = {};
  view.notice.clear();
  if (result.failure != LoadFailure::none) view.notice = "not whole: " + result.reason;
  ExchangeImage(view, std::move(image)).reset();
}

// False when it is no picture that can be shown without a question.
bool TryToShow(ImageView& view, const std::string& path, std::string& skipped) {
  if (!IdentifyFile(path.c_str()).label) return false;
  LoadResult result = LoadFor(path, -1);
  if (result.want == LoadWant::rawLayout) return false;
  if (result.want == LoadWant::frame) result = LoadFor(path, 0);
  if (!result.image) {
    skipped = "passed over " + std::string(PathFileName(path)) + ": " + result.reason;
    return false;
  }
  Show(view, std::move(result), path);
  return true;
}

bool ShowFrame(ImageView& view, std::int32_t frame) {
  const std::string path = view.image().path;
  LoadResult result = LoadFor(path, frame);
  if (!result.image) {
    view.notice = result.reason;
    ShowStatus(view);
    return false;
  }
  Show(view, std::move(result), path);
  return true;
}

std::int32_t CurrentFrame(const ImageView& view) {
  return view.image().frame > 0 ? view.image().frame - 1 : 0;
}

}  // namespace

void WalkFolder(ImageView& view, FolderStep step) {
  const std::string path = view.image().path;
  const std::string folder = FolderOfPath(path);
  if (path.empty() || !MayClose(*view.record)) return;
  StopPlaying(view);
  std::string skipped;
  for (const std::string& name :
       StepCandidates(NamesOf(folder), std::string(PathFileName(path)), step)) {
    if (TryToShow(view, folder + name, skipped)) break;
  }
  if (skipped.empty()) return;
  view.notice = skipped;
  ShowStatus(view);
}

bool IsSequence(ImageView& view) {
  if (view.frames == 0) {
    const std::string path = view.image().path;
    if (FrameTimes(path).empty()) return false;
    const LoadResult counted = LoadFor(path, -1);
    view.frames = counted.frames > 0 ? counted.frames : LoadFor(path, 0).frames;
  }
  return view.frames > 1;
}

void StepFrame(ImageView& view, std::int32_t by) {
  if (!IsSequence(view) || !MayClose(*view.record)) return;
  StopPlaying(view);
  ShowFrame(view, ((CurrentFrame(view) + by) % view.frames + view.frames) % view.frames);
}

void TogglePlaying(ImageView& view) {
  if (view.playing) return StopPlaying(view);
  if (!IsSequence(view) || !MayClose(*view.record)) return;
  Playing playing = {FrameTimes(view.image().path), CurrentFrame(view), GetTickCount()};
  const std::int32_t time = FrameTime(playing.times, playing.start);
  view.playing = std::move(playing);
  SetTimer(view.window, kPlayTimer, static_cast<UINT>(time), nullptr);
}

void StopPlaying(ImageView& view) {
  if (!view.playing) return;
  KillTimer(view.window, kPlayTimer);
  view.playing.reset();
}

void PlayOn(ImageView& view) {
  if (!view.playing || IsBusy()) return;
  const Playing& playing = *view.playing;
  const DWORD elapsed = GetTickCount() - playing.since;
  const std::int32_t frame = FrameAt(playing.times, view.frames, playing.start, elapsed);
  const UINT time = static_cast<UINT>(FrameTime(playing.times, frame));
  if (frame != CurrentFrame(view) && !ShowFrame(view, frame)) return StopPlaying(view);
  UpdateWindow(view.window);
  SetTimer(view.window, kPlayTimer, time, nullptr);
}

}  // namespace imx
