#include "dispatch/load.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "dispatch/file_tests.h"
#include "dispatch/orientation.h"
#include "dispatch/plugins.h"
#include "formats/alias.h"
#include "formats/avi.h"
#include "formats/bmp.h"
#include "formats/codec_state.h"
#include "formats/dem.h"
#include "formats/flic.h"
#include "formats/gif.h"
#include "formats/iff.h"
#include "formats/pcx.h"
#include "formats/png.h"
#include "formats/ppm.h"
#include "formats/psd.h"
#include "formats/raw.h"
#include "formats/sgi.h"
#include "formats/softimage.h"
#include "formats/targa.h"
#include "formats/wavefront.h"
#include "imagelib/file_reader.h"
#include "imagelib/header_only.h"
#include "imagelib/host.h"
#include "imagelib/image.h"
#include "imagelib/load_outcome.h"
#include "imagelib/memory_edge.h"
#include "imagelib/registry.h"
#include "imagelib/text.h"

namespace imx {
namespace {

constexpr const char* kJpegLibrary = "KZLDJPEG.DLL";
constexpr const char* kTiffLibrary = "KZldTIFF.dll";

using FileLoader = ImageRecord* (*)(std::FILE* file);

/// Gives a loader that takes over an open file the form of those that take a path.
template <FileLoader loader>
ImageRecord* LoadOpened(const char* path) {
  std::FILE* file = OpenForReading(path);
  return file ? loader(file) : nullptr;
}

ImageRecord* LoadIffFile(const char* path) {
  std::FILE* file = OpenForReading(path);
  return file ? LoadIff(file, path) : nullptr;
}

ImageRecord* LoadRawFile(const char* path) {
  return LoadRaw(path, Raw().kind, Raw().width, Raw().height);
}

ImageRecord* LoadDemFile(const char* path) {
  return LoadDem(path, std::string(PathFileName(path)).c_str());
}

ImageRecord* LoadJpeg(const char* path) {
  ImageGuard image(LoadWithPlugin(path, kJpegLibrary));
  if (!image) return nullptr;
  const int orientation = JpegOrientation(path);
  if (orientation != 1 && QuirkShown(kJpegOrientation)) {
    if (!MakeUpright(*image, orientation)) return nullptr;
  }
  return image.release();
}

ImageRecord* LoadTiff(const char* path) {
  return LoadWithPlugin(path, kTiffLibrary);
}

/// What the dispatch writes into the record's fileType. Most types get their id, some the registry
/// row of an extension; the save choices start from these values.
enum class StoredType {
  unchanged,      ///< the loader's value
  id,             ///< the type id
  row,            ///< the registry row of the type's extension
  rowOfFileName,  ///< the registry row of the file's extension, which also makes the label
};

struct LoadBranch {
  bool (*test)(const FileStart& file);
  ImageRecord* (*load)(const char* path);
  StoredType storedType;
  FileType type;
  const char* formatLabel;
  const char* library = nullptr;  ///< the plug-in library that does the loading
  bool tellsByHeader = true;      ///< it knows loads of the header alone
};

/// In the order in which the tests are asked; the first that matches decides.
constexpr LoadBranch kBranches[] = {
    {LooksLikePng, LoadPng, StoredType::row, kTypePng, "PNG"},
    {LooksLikePhotoshop, LoadPsd, StoredType::id, kTypePhotoshop, "PSD"},
    {LooksLikeSoftimage, LoadSoftimage, StoredType::id, kTypeSoftimage, "SFI"},
    {LooksLikeWavefront, LoadWavefront, StoredType::id, kTypeRla, "RLA"},
    {LooksLikeIff, LoadIffFile, StoredType::rowOfFileName, kTypeIff, "IFF"},
    {LooksLikeGif, LoadOpened<LoadGif>, StoredType::unchanged, kTypeGif, "GIF"},
    {LooksLikeJpeg, LoadJpeg, StoredType::id, kTypeJpeg, "JPEG", kJpegLibrary},
    {LooksLikeSgi, LoadSgi, StoredType::id, kTypeSgi, "SGI"},
    {LooksLikeBmp, LoadOpened<LoadBmp>, StoredType::unchanged, kTypeBmp, "BMP"},
    {LooksLikeTiff, LoadTiff, StoredType::unchanged, kTypeTiff, "TIFF", kTiffLibrary},
    {LooksLikePcx, LoadOpened<LoadPcx>, StoredType::id, kTypePcx, "PCX"},
    {LooksLikeAlias, LoadAlias, StoredType::id, kTypeAlias, "PIX"},
    {LooksLikeTarga, LoadOpened<LoadTarga>, StoredType::id, kTypeTarga, "Targa"},
    {LooksLikeRaw, LoadRawFile, StoredType::id, kTypeRawRgb, "RAW"},
    {LooksLikePpm, LoadPpm, StoredType::id, kTypePpm, "PPM"},
    {LooksLikeFlic, LoadFlic, StoredType::id, kTypeFlc, "FLC"},
    // The size of a frame is known when it is decoded.
    {LooksLikeAvi, LoadAviFrame, StoredType::id, kTypeAvi, "AVI", nullptr, false},
    {LooksLikeDem, LoadDemFile, StoredType::id, kTypeDem, "DEM"},
};

const LoadBranch* FindBranch(const FileStart& start) {
  for (const LoadBranch& branch : kBranches) {
    if (branch.test(start)) return &branch;
  }
  return nullptr;
}

/// Whether the file is as long as the raw kind and size say.
bool RawSizeFits(const FileStart& file) {
  const RawState& raw = Raw();
  if (raw.width < 1 || raw.height < 1) return false;
  const bool isTriples = raw.kind >= kRawRgb && raw.kind <= kRawBrg;
  const std::uint64_t pixels =
      std::uint64_t{static_cast<std::uint32_t>(raw.width)} * static_cast<std::uint32_t>(raw.height);
  return file.fileSize == pixels * (isTriples ? 3 : 1);
}

/// The IFF container holds several types, which only their names tell apart.
void DescribeByFileName(ImageRecord& image, std::string_view path) {
  std::string_view extension = PathExtension(path);
  if (extension.empty()) extension = ".iff";
  CopyTextCut(image.extension, extension);
  CopyTextCut(image.formatLabel, extension.substr(1));
  for (char& c : image.formatLabel) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  image.fileType = TypeRowByExtension(image.extension + 1);
}

std::int32_t RowOfType(FileType type) {
  for (std::int32_t row = 0; TypeRowOutOfRange(row) == 0; ++row) {
    if (Registry(row).type == type) return row;
  }
  return -1;
}

void Describe(ImageRecord& image, const LoadBranch& branch, const char* path) {
  if (branch.storedType == StoredType::rowOfFileName) {
    DescribeByFileName(image, path);
    return;
  }
  if (branch.storedType == StoredType::id) image.fileType = branch.type;
  if (branch.storedType == StoredType::row) image.fileType = RowOfType(branch.type);
  CopyText(image.formatLabel, branch.formatLabel);
}

FileKind KindOf(const LoadBranch* branch) {
  return branch ? FileKind{branch->formatLabel, branch->library} : FileKind{};
}

void Fail(LoadResult& result, LoadFailure failure, std::string reason) {
  result.failure = failure;
  result.reason = std::move(reason);
}

/// Whether the host must tell the layout first. A layout guessed from the name still wants a size;
/// one left from another file may not be meant. What no test knows can still be a headerless file
/// under any name.
bool WantsRawLayout(const FileStart& start, const LoadBranch* branch) {
  if (Raw().kind >= 0) return false;
  if (!branch) return true;
  if (branch->type != kTypeRawRgb) return false;
  GuessRawLayout(start.path);
  return !RawSizeFits(start);
}

constexpr std::uint64_t kMib = 1024 * 1024;

/// Why the branch's loader gave no image.
void Explain(LoadResult& result, const LoadBranch& branch) {
  if (const std::uint64_t refused = RefusedImageBytes(); refused > 0) {
    const bool aboveLimit = refused > ImageCeiling();
    return Fail(result, aboveLimit ? LoadFailure::aboveLimit : LoadFailure::tooLarge,
                OversizedText(refused));
  }
  if (Sequence().frameWanted) {
    result.want = LoadWant::frame;
    return Fail(result, LoadFailure::choiceMissing, "a frame must be chosen");
  }
  if (FileEndedEarly(false)) {
    return Fail(result, LoadFailure::endedEarly, "the file ends early");
  }
  if (branch.library) {
    return Fail(result, PluginWasFound() ? LoadFailure::pluginFailed : LoadFailure::pluginMissing,
                PluginFailure());
  }
  Fail(result, LoadFailure::damaged,
       std::string("not a readable ") + branch.formatLabel + " image");
}

/// The name that a file is tested and described by.
std::string NameWith(const char* path, const std::string& extension) {
  return extension.empty() ? path : std::string(path) + "." + extension;
}

/// Load as the process-wide state tells.
LoadResult LoadAsTold(const char* path, const std::string& extension) {
  LoadResult result;
  const std::string name = NameWith(path, extension);
  FileStart start;
  if (!ReadFileStart(path, &start)) {
    Fail(result, LoadFailure::cannotOpen, std::strerror(errno));
    return result;
  }
  start.path = name.c_str();
  const LoadBranch* branch = FindBranch(start);
  result.kind = KindOf(branch);
  if (start.size == 0) Fail(result, LoadFailure::empty, "is empty");
  if (WantsRawLayout(start, branch)) {
    if (start.size == 0) return result;
    Raw().guideWanted = true;
    result.want = LoadWant::rawLayout;
    if (branch) {
      Fail(result, LoadFailure::choiceMissing, "has no header");
    } else {
      Fail(result, LoadFailure::notKnown, "not an image of a known type");
    }
    return result;
  }
  const RefusalWatch memory;
  BeginLoadOutcome();
  const MemoryBudget budget(ImageCeiling());
  const HeaderOnlyScope header(HeaderOnly() && branch->tellsByHeader);
  result.image = ImageGuard(branch->load(path));
  // Plug-ins have no way to say that there is alpha; of those that there are, JPEG has none.
  const bool pluginAlpha = branch->library && branch->type != kTypeJpeg;
  const bool decoded = result.image && result.image->pixels;
  result.alphaTold = decoded || !(pluginAlpha || AlphaIsUntold());
  result.frames = Sequence().frameCount;
  if (memory.Refused()) {
    result.image = ImageGuard();
    if (budget.Exceeded()) {
      Fail(result, LoadFailure::aboveLimit, AboveLimitText());
    } else {
      Fail(result, LoadFailure::outOfMemory, kOutOfMemory);
    }
  } else if (result.image) {
    Describe(*result.image, *branch, name.c_str());
    if (result.failure == LoadFailure::empty) return result;
    if (HeaderOnly()) return result;
    if (FileEndedEarly(true)) {
      Fail(result, LoadFailure::endedEarly, "the file ends early; the rest is blank");
    } else if (PixelsAreDamaged()) {
      Fail(result, LoadFailure::damaged, "its data are damaged; the rest is blank");
    } else if (branch->library && !PluginFailure().empty()) {
      Fail(result, LoadFailure::damaged, PluginFailure() + "; the rest is blank");
    }
  } else if (result.failure == LoadFailure::none) {
    Explain(result, *branch);
  }
  return result;
}

/// Takes what the library says as errors while it lives, and says it at the end.
class HeldErrors {
 public:
  HeldErrors() : before_(Host().error) {
    texts_.clear();
    Hold(true);
  }
  ~HeldErrors() {
    Hold(false);
    for (const std::string& text : texts_) LibError(text.c_str());
    texts_.clear();
  }
  HeldErrors(const HeldErrors&) = delete;
  HeldErrors& operator=(const HeldErrors&) = delete;

  void Hold(bool hold) { Host().error = hold ? Keep : before_; }
  void Forget() { texts_.clear(); }

 private:
  static int Keep(void* text) {
    WithinMemory([text] { return texts_.emplace_back(static_cast<const char*>(text)), true; },
                 false);
    return 0;
  }

  static inline std::vector<std::string> texts_;
  const HostFunction before_;
};

LoadResult OutOfMemory() {
  LoadResult result;
  Fail(result, LoadFailure::outOfMemory, kOutOfMemory);
  return result;
}

void CheckFrame(LoadResult& result, const LoadChoices& choices) {
  if (result.frames <= 0 || choices.frame < result.frames) return;
  result.image = ImageGuard();
  Fail(result, LoadFailure::noSuchFrame,
       "there is no frame " + std::to_string(choices.frame) + ": the last of " +
           std::to_string(result.frames) + " is " + std::to_string(result.frames - 1));
}

/// Load with exactly these quirks.
LoadResult LoadWith(const char* path, const LoadChoices& choices, const QuirkSet& quirks) {
  const QuirkScope scope(quirks);
  const HeaderOnlyScope header(choices.headerOnly);
  SetImageCeiling(choices.maxBytes);
  Sequence() = {};
  Sequence().chosenFrame = choices.frame;
  Raw() = {false, choices.rawKind, choices.rawWidth, choices.rawHeight};
  LoadResult result =
      WithinMemory([&] { return LoadAsTold(path, choices.extension); }, OutOfMemory());
  if (result.failure == LoadFailure::empty) result.image = ImageGuard();
  CheckFrame(result, choices);
  result.asked = scope.asked();
  if (!result.image) return result;
  result.applied = scope.applied();
  result.shown = scope.shown();
  if (choices.way != ReadingWay::atNeed) return result;
  if (result.applied.any()) {
    result.note =
        "read as other programs do (" + QuirkNames(result.applied) + "); --exact refuses it";
  } else if (result.shown.any()) {
    result.note = "other programs read it otherwise: --interop=" + QuirkNames(result.shown, ",");
  }
  return result;
}

/// Whether a file that the library's own way gives nothing of, or not all, may be one of another
/// way.
bool OthersMayReadIt(const LoadResult& result) {
  switch (result.failure) {
    case LoadFailure::notKnown:
    case LoadFailure::choiceMissing:
    case LoadFailure::noSuchFrame:
    case LoadFailure::pluginFailed:
    case LoadFailure::endedEarly:
    case LoadFailure::damaged:
      return true;
    default:
      return false;
  }
}

}  // namespace

std::string OversizedText(std::uint64_t bytes) {
  const std::string size =
      "its pixels take " + std::to_string((bytes + kMib - 1) / kMib) + " MiB, ";
  const std::uint64_t limit = ImageCeiling();
  if (bytes <= limit) return size + "more than an image can have";
  return size + "the limit is " + std::to_string(limit / kMib);
}

std::string AboveLimitText() {
  return "it takes more memory than the limit of " + std::to_string(ImageCeiling() / kMib) + " MiB";
}

LoadResult Load(const char* path, const LoadChoices& choices) {
  if (choices.way != ReadingWay::atNeed) {
    const bool asOthers = choices.way == ReadingWay::interop;
    return LoadWith(path, choices, asOthers ? choices.quirks : QuirkSet());
  }
  HeldErrors errors;
  LoadResult own = LoadWith(path, choices, QuirkSet());
  if (!OthersMayReadIt(own) || (own.asked & choices.quirks).none()) return own;
  errors.Hold(false);
  LoadResult others = LoadWith(path, choices, choices.quirks);
  const bool better = !own.image || others.failure == LoadFailure::none;
  const bool helped = others.image && better && others.applied.any();
  if (helped) errors.Forget();
  return helped ? std::move(others) : std::move(own);
}

ImageRecord* LoadImage(const char* path) {
  return WithinMemory([path] { return LoadAsTold(path, {}); }, OutOfMemory()).image.release();
}

FileKind IdentifyFile(const char* path, const std::string& extension) {
  FileStart start;
  if (!ReadFileStart(path, &start)) return {};
  const std::string name = NameWith(path, extension);
  start.path = name.c_str();
  return KindOf(FindBranch(start));
}

}  // namespace imx
