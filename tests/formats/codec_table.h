/// Every codec of the library in one table. The hostile-input tests and the fuzz targets run over
/// it; a codec joins by adding a row in codec_table.cpp.
#pragma once

#include <string_view>
#include <vector>

#include "imagelib/image.h"
#include "tests/support/bytes.h"

namespace imx::test {

/// What comes back when a saved picture is loaded again.
enum class Kept {
  rgba,     ///< everything
  flagged,  ///< the colours, and alpha when the record's alpha flag is set
  rgb,      ///< the colours
  size,     ///< width and height: colours are reduced
};

/// One way in which a codec saves.
struct Saving {
  const char* name;
  void (*save)(const ImageRecord& image, const char* path);
  Kept kept;
};

struct Codec {
  const char* name;  ///< also of its fuzz target and of its folders in fuzz/
  ImageRecord* (*load)(const char* path);
  std::vector<Saving> savings = {};
  bool isFile = true;  ///< else what others have taken out of a file
  /// Makes checksums right again after bytes were changed at random; may be null.
  void (*repair)(Bytes& file) = nullptr;
};

const std::vector<Codec>& Codecs();

/// The row of that name; null when there is none.
const Codec* FindCodec(std::string_view name);

}  // namespace imx::test
