/// libjpeg's errors, which end the work by a jump. The functions that call libjpeg keep to one
/// rule: a frame that it can jump over, or back into, holds no object with a destructor.
#pragma once

#include <csetjmp>
#include <cstdio>

// After <cstdio>, which it needs.
#include <jpeglib.h>

namespace imx {

/// Error handling that jumps to `target` and prints nothing. Lives as long as the libjpeg object.
struct JpegErrors {
  jpeg_error_mgr manager;
  std::jmp_buf target;
};

/// Fills in the handlers and hangs them on `info`, a libjpeg object that is not created yet.
template <typename Info>
void UseJpegErrors(JpegErrors& errors, Info& info) {
  info.err = jpeg_std_error(&errors.manager);
  info.client_data = &errors;
  errors.manager.error_exit = [](j_common_ptr common) {
    std::longjmp(static_cast<JpegErrors*>(common->client_data)->target, 1);
  };
  errors.manager.output_message = [](j_common_ptr) {};
}

}  // namespace imx
