/// Checks and small computations on the texts that a user types.
#pragma once

#include <cstdint>
#include <string>

#include "setup/core/platform.h"

namespace imx {

/// What validatePath and validateGroupName find wrong.
enum ValidationCode : std::int32_t {
  kNameValid = 0,
  kNameTooLong = 1,
  kMisplacedColon = 2,
  kRepeatedSeparator = 3,
  kIllegalCharacter = 4,
  kPathIsRoot = 5,
};

/// Judges a directory text. Code 4 stores the character in *badChar. Dots are illegal.
std::int32_t validatePath(const Platform& platform, const char* path, char* badChar);

/// Judges a program group's name; an empty one is valid. Code 4 stores the character in *badChar.
std::int32_t validateGroupName(const char* name, char* badChar);

/// The message for a code other than kNameValid.
const char* validationMessage(std::int32_t code);

/// The root of `path`, made absolute: up to the first backslash after the drive ("C:\"), or up to
/// the end of the share of a UNC path; the whole text when there is no such backslash.
void rootOf(const Platform& platform, const char* path, PathText& root);

/// `number` in decimal with a comma between groups of three digits.
std::string formatThousands(std::uint32_t number);

}  // namespace imx
