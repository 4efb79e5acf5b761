#include <algorithm>

#include "api/call.h"
#include "imagelib/registry.h"

namespace imx::api {
namespace {

imx_format Described(std::int32_t row) {
  imx_format format = {};
  format.extension = TypeExtension(row);
  format.label = TypeLabel(row);
  format.can_load = TypeCanLoad(row);
  format.can_save = TypeCanSave(row);
  format.has_compression = TypeHasCompression(row);
  format.has_interlace = TypeHasInterlace(row);
  format.has_quality = TypeHasQuality(row);
  format.depth_count = std::min<std::int32_t>(DepthChoiceCount(row), std::size(format.depths));
  for (std::int32_t i = 0; i < format.depth_count; ++i) {
    format.depths[i] = DepthBits(DepthChoiceBit(row, i));
  }
  const TextLimits limits = TypeTextLimits(row);
  format.author_bytes = static_cast<std::int32_t>(limits.author);
  format.comment_bytes = static_cast<std::int32_t>(limits.comment);
  format.notice_bytes = static_cast<std::int32_t>(limits.notice);
  return format;
}

}  // namespace
}  // namespace imx::api

int32_t imx_format_count(void) {
  int32_t count = 0;
  while (imx::TypeRowOutOfRange(count) == 0) ++count;
  return count;
}

imx_status imx_format_at(int32_t index, imx_format* format) {
  if (!format || imx::TypeRowOutOfRange(index) != 0) return IMX_BAD_ARGUMENT;
  imx::api::GiveStructure(imx::api::Described(index), format);
  return IMX_OK;
}
