#include "imagelib/host.h"

namespace imx {
namespace {

HostCallbacks callbacks = {};
HostServices services = {};
ProgressRequest beginRequest = {};
ProgressRequest updateRequest = {};

int Call(HostFunction function, void* argument) {
  return function ? function(argument) : 0;
}

// The slots take a plain pointer; the texts behind it are only read.
void* TextArgument(const char* text) {
  return const_cast<char*>(text);
}

void Begin(HostFunction function, const char* title, std::int32_t total, std::int32_t extra) {
  beginRequest = {reinterpret_cast<std::intptr_t>(title), total, extra};
  Call(function, &beginRequest);
}

int Update(HostFunction function, std::int32_t position) {
  updateRequest.first = position;
  return Call(function, &updateRequest);
}

}  // namespace

HostCallbacks& Host() {
  return callbacks;
}
HostServices& Services() {
  return services;
}

void LibMessage(const char* text) {
  Call(callbacks.message, TextArgument(text));
}
void LibError(const char* text) {
  Call(callbacks.error, TextArgument(text));
}

void LibNote(const char* text) {
  if (services.note) {
    services.note(text);
  } else {
    LibError(text);
  }
}

void ProgressBegin(const char* title, std::int32_t total, std::int32_t extra) {
  Begin(callbacks.progressBegin, title, total, extra);
}

void ProgressBeginAbortable(const char* title, std::int32_t total, std::int32_t extra) {
  Begin(callbacks.progressBeginAbortable, title, total, extra);
}

void ProgressUpdate(std::int32_t position) {
  Update(callbacks.progressUpdate, position);
}

int ProgressUpdateAbort(std::int32_t position) {
  return Update(callbacks.progressUpdateAbort, position);
}

void ProgressStep() {
  Call(callbacks.progressStep, nullptr);
}
int ProgressStepAbort() {
  return Call(callbacks.progressStepAbort, nullptr);
}
void ProgressEnd() {
  Call(callbacks.progressEnd, nullptr);
}

}  // namespace imx
