#include "dispatch/save.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "dispatch/plugins.h"
#include "formats/alias.h"
#include "formats/bmp.h"
#include "formats/codec_state.h"
#include "formats/framestore.h"
#include "formats/gif.h"
#include "formats/iff.h"
#include "formats/pcx.h"
#include "formats/png.h"
#include "formats/ppm.h"
#include "formats/raw.h"
#include "formats/sgi.h"
#include "formats/softimage.h"
#include "formats/targa.h"
#include "formats/wavefront.h"
#include "imagelib/host.h"
#include "imagelib/image.h"
#include "imagelib/memory_edge.h"
#include "imagelib/registry.h"

namespace imx {
namespace {

constexpr const char* kJpegLibrary = "KZSVJPEG.DLL";
constexpr const char* kTiffLibrary = "KZLDTIFF.DLL";  // the loader's library is spelled otherwise

constexpr std::int32_t kIlbmMode = 0;
constexpr std::int32_t kTrimMode = 1;

using Saver = void (*)(const ImageRecord* image, const char* path, const OutputOptions& options);

void SaveAsBmp(const ImageRecord* image, const char* path, const OutputOptions& options) {
  SaveBmp(image, path, options.depthBits);
}

void SaveAsIlbm(const ImageRecord* image, const char* path, const OutputOptions& options) {
  SaveIff(image, path, kIlbmMode, options.compression);
}

void SaveAsTrim(const ImageRecord* image, const char* path, const OutputOptions&) {
  SaveIff(image, path, kTrimMode, 1);
}

void SaveAsJpeg(const ImageRecord* image, const char* path, const OutputOptions& options) {
  SaveWithPlugin(image, path, kJpegLibrary, options.quality);
}

void SaveAsTiff(const ImageRecord* image, const char* path, const OutputOptions& options) {
  SaveWithPlugin(image, path, kTiffLibrary, options.compression);
}

void SaveAsPcx(const ImageRecord* image, const char* path, const OutputOptions& options) {
  SavePcx(image, path, options.depthBits);
}

void SaveAsTarga(const ImageRecord* image, const char* path, const OutputOptions& options) {
  SaveTarga(image, path, options.depthBits, options.compression);
}

void SaveAsFramestore(const ImageRecord* image, const char* path, const OutputOptions& options) {
  SaveFramestore(image, path, options.compression);
}

void SaveAsGif(const ImageRecord* image, const char* path, const OutputOptions& options) {
  SaveGif(image, path, options.interlace);
}

void SaveAsPng(const ImageRecord* image, const char* path, const OutputOptions& options) {
  SavePng(image, path, options.interlace);  // which takes the depth from the options itself
}

void SaveAsSoftimage(const ImageRecord* image, const char* path, const OutputOptions&) {
  SaveSoftimage(path, image);
}

void SaveAsWavefront(const ImageRecord* image, const char* path, const OutputOptions&) {
  SaveWavefront(path, image);
}

void SaveAsAlias(const ImageRecord* image, const char* path, const OutputOptions&) {
  SaveAlias(path, image);
}

template <RawKind kind>
void SaveAsRaw(const ImageRecord* image, const char* path, const OutputOptions&) {
  SaveRaw(image, path, kind);
}

void SaveAsPpm(const ImageRecord* image, const char* path, const OutputOptions& options) {
  SavePpm(image, path, options.compression);
}

void SaveAsSgi(const ImageRecord* image, const char* path, const OutputOptions& options) {
  SaveSgi(image, path, options.depthBits, options.compression);
}

struct SaveBranch {
  FileType type;
  Saver save;
};

constexpr SaveBranch kBranches[] = {
    {kTypeBmp, SaveAsBmp},
    {kTypeIff, SaveAsIlbm},
    {kTypeJpeg, SaveAsJpeg},
    {kTypePcx, SaveAsPcx},
    {kTypeTarga, SaveAsTarga},
    {kTypeTiff, SaveAsTiff},
    {kTypeTrim, SaveAsTrim},
    {kTypeFramestore, SaveAsFramestore},
    {kTypeGif, SaveAsGif},
    {kTypePng, SaveAsPng},
    {kTypeSoftimage, SaveAsSoftimage},
    {kTypeRla, SaveAsWavefront},
    {kTypeAlias, SaveAsAlias},
    {kTypeRawRgb, SaveAsRaw<kRawRgb>},
    {kTypeRawRed, SaveAsRaw<kRawRed>},
    {kTypeRawGreen, SaveAsRaw<kRawGreen>},
    {kTypeRawBlue, SaveAsRaw<kRawBlue>},
    {kTypeRawGrey, SaveAsRaw<kRawGrey>},
    {kTypePpm, SaveAsPpm},
    {kTypeSgi, SaveAsSgi},
};

/// Types whose message names them; the others are named by their number.
struct TypeName {
  FileType type;
  const char* name;
};
constexpr TypeName kNamedTypes[] = {{kTypeFlc, "Autodesk FLC"}, {kTypeFli, "Autodesk FLI"}};

void ReportUnavailable(std::int32_t type) {
  char text[96];
  std::snprintf(text, sizeof text, "This type (%d) is unavailable as a saver at this time", type);
  for (const TypeName& named : kNamedTypes) {
    if (named.type == type) {
      std::snprintf(text, sizeof text, "This type (%s) is unavailable as a saver at this time",
                    named.name);
    }
  }
  LibError(text);
}

}  // namespace

std::int32_t SaveImage(const char* path, ImageRecord* image) {
  const std::int32_t row = image->saveType;
  const std::int32_t depthBit = DepthChoiceBit(row, image->saveDepth);
  // A type without any depth has no choice that could be invalid: it is told below to have no
  // saver.
  const bool choosable = TypeRowOutOfRange(row) != 0 || DepthChoiceCount(row) > 0;
  if (depthBit < 0 && choosable) return 1;

  const std::int32_t type = Registry(row).type;
  const auto branch = std::find_if(std::begin(kBranches), std::end(kBranches),
                                   [type](const SaveBranch& b) { return b.type == type; });
  if (branch == std::end(kBranches)) {
    ReportUnavailable(type);
    return 1;
  }
  Output().depthBits = DepthBits(depthBit);
  return WithinMemory(
      [&] {
        branch->save(image, path, Output());
        return 0;
      },
      1);
}

}  // namespace imx
