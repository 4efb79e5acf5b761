/// What every call of the C interface goes through: the lock, the host, the report.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "imagelib/guards.h"
#include "imx/imx.h"
#include "ops/operations.h"

struct imx_image {
  imx::ImageGuard record;  ///< never empty
  std::int32_t frames = 0;
};

namespace imx::api {

/// What a call comes to, in the words of its report.
struct Outcome {
  imx_status status = IMX_OK;
  std::string text = {};
  std::int32_t frames = 0;
};

/// Whom a call tells how far it is.
struct Listener {
  imx_progress progress = nullptr;
  void* user = nullptr;
};

inline Outcome BadArgument(const char* what) {
  return {IMX_BAD_ARGUMENT, what};
}

/// Does `work` alone in the process with the library's host set up for it, and fills the report.
/// Nothing is thrown, whatever `work` throws.
imx_status RunCall(imx_report* report, const Listener& listener, Outcome (*work)(void* context),
                   void* context) noexcept;

/// The same for what gives an Outcome and captures.
template <typename Work>
imx_status Run(imx_report* report, const Listener& listener, Work&& work) noexcept {
  return RunCall(
      report, listener, [](void* context) { return (*static_cast<Work*>(context))(); }, &work);
}

/// The same for a call with options, whose progress goes to their function. Unless it `isUsable`
/// nothing is done: `otherwise` says what of it can be wrong, and `taken` is not looked at.
template <typename Options, typename Work>
imx_status RunUsable(bool isUsable, const Options& taken, const char* otherwise, imx_report* report,
                     Work&& work) noexcept {
  return Run(report, isUsable ? Listener{taken.progress, taken.progress_user} : Listener{},
             [&] { return isUsable ? work() : BadArgument(otherwise); });
}

/// Whether the call's listener asked to stop.
bool IsStopped();

/// The first errors that the library reported in this call, with semicolons between.
std::string Errors();

/// Puts a text behind what the report's note has.
void AddNote(const std::string& text);

/// The caller's structure, as far as this library and the caller know it, over the defaults that
/// `init` sets. False when the size in it cannot be.
template <typename Options>
bool TakeOptions(const Options* given, void (*init)(Options*), Options* taken) {
  init(taken);
  if (!given) return true;
  const std::size_t size = given->struct_size;
  if (size <= sizeof size) return false;
  std::memcpy(taken, given, size < sizeof *taken ? size : sizeof *taken);
  return true;
}

/// Gives the caller's structure what `filled` has, as far as the caller knows it.
template <typename Structure>
void GiveStructure(Structure filled, Structure* given) {
  const std::size_t size = given->struct_size;
  filled.struct_size = size;
  std::memcpy(given, &filled, size < sizeof filled ? size : sizeof filled);
}

/// Makes what AllocImage gave the caller's, its rows in order; or tells why it gave nothing.
Outcome GiveImage(ImageGuard record, std::int32_t frames, imx_image** image);

/// An operation's failure.
Outcome FailedOperation(const OperationError& error);

}  // namespace imx::api
