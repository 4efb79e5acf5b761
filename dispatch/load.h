/// The load dispatch: any supported file, by its first bytes and for some types its extension.
#pragma once

#include <cstdint>
#include <string>

#include "imagelib/guards.h"
#include "imagelib/quirks.h"

namespace imx {

/// How the named quirks (quirks.h) are read.
enum class ReadingWay {
  exact,    ///< the library's own way
  atNeed,   ///< its own way and, where that gives nothing, LoadChoices::quirks
  interop,  ///< LoadChoices::quirks
};

/// What a loader must be told beyond the file.
struct LoadChoices {
  std::int32_t frame = -1;    ///< of a sequence, counted from 0; -1 = none chosen
  std::int32_t rawKind = -1;  ///< layout code of a headerless file (raw.h); -1 = by its name
  std::int32_t rawWidth = 0;  ///< of a headerless file, in pixels; 0 = not known
  std::int32_t rawHeight = 0;
  std::uint64_t maxBytes = UINT64_MAX;  ///< what the load may take in all
  /// Only what the file tells in front of its pixels (header_only.h): an image without them, to be
  /// looked at and freed. Formats that tell nothing there are decoded all the same.
  bool headerOnly = false;
  ReadingWay way = ReadingWay::exact;
  std::string extension = {};     ///< stands for that of the file's name; empty: the name's own
  QuirkSet quirks = AllQuirks();  ///< read as other programs do, where `way` allows it
};

/// What a file is taken for.
struct FileKind {
  const char* label = nullptr;    ///< short format label; null when the type is not known
  const char* library = nullptr;  ///< the plug-in library that loads it, or null
};

/// What must be chosen before the file can be loaded.
enum class LoadWant {
  nothing,
  frame,      ///< one of LoadResult::frames
  rawLayout,  ///< kind and size: the file may be headerless
};

/// Why a file was not loaded, or not whole.
enum class LoadFailure {
  none,
  cannotOpen,
  empty,
  notKnown,       ///< of no known type, even with a raw layout chosen
  choiceMissing,  ///< see LoadResult::want
  noSuchFrame,    ///< the sequence has LoadResult::frames of them
  aboveLimit,     ///< it takes more than LoadChoices::maxBytes
  tooLarge,       ///< the pixels take more than any image can have
  outOfMemory,
  pluginMissing,  ///< the library is not there, or not a plug-in
  pluginFailed,
  endedEarly,  ///< the file; the image, if there is one, lacks what is missing of it
  /// The loader refused it, and may have said more through LibError; or the image, if there is one,
  /// lacks what could not be decoded.
  damaged,
};

struct LoadResult {
  ImageGuard image;
  FileKind kind;
  LoadWant want = LoadWant::nothing;
  std::int32_t frames = 0;  ///< of a sequence
  bool alphaTold = true;    ///< false where only the pixels, which were not read, tell it
  LoadFailure failure = LoadFailure::none;
  /// The failure in words that follow the file's name; empty when there is none.
  std::string reason;
  QuirkSet asked;    ///< that could have made a difference
  QuirkSet applied;  ///< that were on and made a difference
  QuirkSet shown;    ///< that were off although the file shows that it was made the other way
  /// In such words: that the file was read as other programs do although the host did not ask for
  /// it, or that it shows by itself that they read it otherwise. Empty when neither is so.
  std::string note;
};

/// Why an image of `bytes` of pixels is refused, in the words of LoadResult::reason.
std::string OversizedText(std::uint64_t bytes);

/// Why a budget of as many bytes was exceeded by something else than the pixels.
std::string AboveLimitText();

/// Loads `path` as chosen. The choices become the process-wide state that the codecs have
/// (codec_state.h, SetImageCeiling). Nothing is thrown: memory that runs out is a failure.
LoadResult Load(const char* path, const LoadChoices& choices);

/// Load with the choices that the process-wide state holds already. Null, without a message, when
/// it cannot be opened or is of no known type, when its loader fails, or when the host must choose
/// first (codec_state.h): a frame, when the file is a sequence (frameWanted); kind and size, when
/// it may be headerless (guideWanted). A kind that the file's name tells needs no choice when the
/// size chosen last fits the file.
ImageRecord* LoadImage(const char* path);

/// Tells what a load would try, without loading. A file that cannot be opened has no known type.
/// `extension` as in LoadChoices.
FileKind IdentifyFile(const char* path, const std::string& extension = {});

}  // namespace imx
