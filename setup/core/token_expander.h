/// Replaces directory tokens in template files while they are copied.
///
/// A token is '%', a code letter and two more bytes; all four are replaced. Other letters between
/// the '%' and the code letter are dropped.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

/// The replacements, by code letter.
struct TokenTexts {
  std::string pictures;    ///< i
  std::string data;        ///< d
  std::string help;        ///< h; empty when the help is not installed
  std::string barredData;  ///< D: data with every space as a vertical bar
};

/// The directories in the system's code page, in which the installed programs read them; those that
/// it cannot express stay as they are.
TokenTexts makeTokenTexts(const Platform& platform, const InstallSettings& settings);

/// A state machine over the bytes of one file. `texts` outlives it.
class TokenExpander {
 public:
  explicit TokenExpander(const TokenTexts& texts) : texts_(texts) {}

  /// What takes the place of the next byte; valid until the next call.
  std::string_view take(std::uint8_t byte);

 private:
  enum class State { copy, code, firstDrop, lastDrop };

  const TokenTexts& texts_;
  State state_ = State::copy;
  std::string_view replacement_;
  char copied_ = 0;
};

}  // namespace imx
