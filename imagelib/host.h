/// What the library wants of its host: texts shown, progress displayed, a stop request noticed.
#pragma once

#include <cstdint>

namespace imx {

struct ImageRecord;

/// Argument of the progress slots. Begin calls carry the title text in `first`, update calls the
/// position. Three 32-bit words in the 32-bit build.
struct ProgressRequest {
  std::intptr_t first;
  std::int32_t total;  ///< number of steps
  std::int32_t extra;  ///< passed along
};

/// One host function. The argument is a text (slots 0 and 1), a ProgressRequest (2, 3, 6, 8) or
/// ignored; the abort slots return nonzero when the user asked to stop.
using HostFunction = int (*)(void* argument);

/// The nine host functions, in slot order. A null slot is passed over and answers 0.
struct HostCallbacks {
  HostFunction message;
  HostFunction error;
  HostFunction progressBegin;
  HostFunction progressUpdate;
  HostFunction progressEnd;
  HostFunction progressStep;
  HostFunction progressBeginAbortable;
  HostFunction progressStepAbort;
  HostFunction progressUpdateAbort;
};

/// What else a host may offer. Null members are passed over.
struct HostServices {
  /// Shows an image that an operation made. Returns true when the host took ownership.
  bool (*showImage)(const char* name, ImageRecord* image);
  /// A text under the title "Note!".
  void (*note)(const char* text);
  void* mainWindow;  ///< handed to plug-ins
  void* instance;    ///< handed to plug-ins
};

/// The table that the wrappers below call; the host fills it at start.
HostCallbacks& Host();
HostServices& Services();

void LibMessage(const char* text);
void LibError(const char* text);
/// Sends `text` to the host's note; without one, as an error message.
void LibNote(const char* text);

void ProgressBegin(const char* title, std::int32_t total, std::int32_t extra);
void ProgressBeginAbortable(const char* title, std::int32_t total, std::int32_t extra);
void ProgressUpdate(std::int32_t position);
/// Nonzero when the user asked to stop.
int ProgressUpdateAbort(std::int32_t position);
void ProgressStep();
/// Nonzero when the user asked to stop.
int ProgressStepAbort();
void ProgressEnd();

}  // namespace imx
