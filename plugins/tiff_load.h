/// The first picture of a TIFF file (TIFF 6.0), read through libtiff.
#pragma once

#include <tiffio.h>

#include <memory>

#include "plugins/plugin.h"

namespace imx {

struct TiffCloser {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using OpenTiff = std::unique_ptr<TIFF, TiffCloser>;

/// Null on failure. Nothing is printed; the fault of the call before is forgotten.
OpenTiff OpenTiffFile(const char* path, const char* mode);

enum class TiffReading {
  header,   ///< a record without its pixels
  picture,  ///< up to the first strip or tile that cannot be read
  salvage,  ///< what can be read behind that, too
};

/// Null when not even a part of a picture could be read. What is missing is noted as a fault.
PluginRecord* LoadTiffPicture(const char* path, const PluginHost& host, TiffReading reading);

}  // namespace imx
