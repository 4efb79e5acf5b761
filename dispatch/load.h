/// The load dispatch: any supported file, by its first bytes and for some types its extension.
#pragma once

namespace imx {

struct ImageRecord;

/// Loads `path`. Null, without a message, when it cannot be opened or is of no known type, when
/// its loader fails, or when the host must choose first (codec_state.h): a frame, when the file is
/// a sequence (frameWanted); kind and size, when it may be headerless (guideWanted). A kind that
/// the file's name tells needs no choice when the size chosen last fits the file.
ImageRecord* LoadImage(const char* path);

/// What LoadImage takes a file for.
struct FileKind {
  const char* label;    ///< short format label; null when the type is not known
  const char* library;  ///< the plug-in library that loads it, or null
};

/// Tells what a load would try, without loading. A file that cannot be opened has no known type.
FileKind IdentifyFile(const char* path);

}  // namespace imx
