/// Numbers as the dialogs' edit fields show and read them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace imx {

inline constexpr std::size_t kFactorCharacters = 20;     ///< read of a factor's field
inline constexpr std::size_t kDimensionCharacters = 10;  ///< read of a dimension's field

/// "1.500000".
std::string FactorText(float factor);

/// Reads a factor from the start of `text`, of which the first kFactorCharacters count. What is no
/// number leaves `factor` as it is. Nothing bounds it.
void ReadFactor(const std::string& text, float& factor);

/// Reads a decimal number from the start of `text`, of which the first kDimensionCharacters count.
/// What is no number leaves `dimension` as it is; what 32 bits cannot hold becomes the nearest
/// number that they can.
void ReadDimension(const std::string& text, std::int32_t& dimension);

}  // namespace imx
