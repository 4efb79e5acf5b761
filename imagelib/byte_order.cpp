#include "imagelib/byte_order.h"

namespace imx {
namespace {

ByteOrder fileByteOrder = ByteOrder::little;

}  // namespace

void SetFileByteOrder(ByteOrder order) {
  fileByteOrder = order;
}
ByteOrder FileByteOrder() {
  return fileByteOrder;
}

}  // namespace imx
