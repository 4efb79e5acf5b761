/// libjpeg's errors, which end the work by a jump. The functions that call libjpeg keep to one
/// rule: a frame that it can jump over, or back into, holds no object with a destructor.
#pragma once

#include <csetjmp>
#include <cstdio>

// After <cstdio>, which they need.
#include <jerror.h>
#include <jpeglib.h>

#include "plugins/plugin.h"

namespace imx {

/// Error handling that jumps to `target` and prints nothing. Lives as long as the libjpeg object.
struct JpegErrors {
  jpeg_error_mgr manager;
  std::jmp_buf target;
  bool fileEnded;
  bool oddScan;  ///< a scan began that does not go on from where the ones before ended
};

/// Fills in the handlers and hangs them on `info`, a libjpeg object that is not created yet.
template <typename Info>
void UseJpegErrors(JpegErrors& errors, Info& info) {
  info.err = jpeg_std_error(&errors.manager);
  info.client_data = &errors;
  errors.manager.error_exit = [](j_common_ptr common) {
    std::longjmp(static_cast<JpegErrors*>(common->client_data)->target, 1);
  };
  errors.manager.emit_message = [](j_common_ptr common, int) {
    auto& own = *static_cast<JpegErrors*>(common->client_data);
    own.fileEnded = own.fileEnded || own.manager.msg_code == JWRN_JPEG_EOF;
    own.oddScan = own.oddScan || own.manager.msg_code == JWRN_BOGUS_PROGRESSION;
  };
}

/// Notes the error that ended the work.
template <typename Info>
void NoteJpegFault(const JpegErrors& errors, Info& info) {
  if (errors.manager.msg_code == JERR_OUT_OF_MEMORY) return NoteFault(kPluginNoMemory);
  if (errors.fileEnded || errors.manager.msg_code == JERR_INPUT_EMPTY) {
    return NoteFault(kPluginFileEnded);
  }
  char text[JMSG_LENGTH_MAX];
  errors.manager.format_message(reinterpret_cast<j_common_ptr>(&info), text);
  NoteFault(kPluginOtherFault, text);
}

}  // namespace imx
