#include "ops/new_image.h"

#include "imagelib/text.h"

namespace imx {

NewImage NoImage(OperationFault fault) {
  return {ImageGuard(), {fault}};
}

NewImage AllocateNew(const ImageRecord& source, std::int32_t width, std::int32_t height) {
  if (width < 1 || height < 1) return NoImage(OperationFault::noPixels);
  ImageGuard image(AllocImage(width, height, nullptr, source.path));
  if (image) return {std::move(image), {}};
  const std::uint64_t refused = RefusedImageBytes();
  if (refused == 0) return NoImage(OperationFault::noMemory);
  return {ImageGuard(), {OperationFault::tooLarge, refused}};
}

void TakeAfter(const ImageRecord& source, ImageRecord& image) {
  image.flags |= kFlagChanged | (source.flags & kFlagAlpha);
  image.fileType = source.fileType;
  CopyText(image.author, source.author);
  CopyText(image.comment, source.comment);
  CopyText(image.notice, source.notice);
}

}  // namespace imx
