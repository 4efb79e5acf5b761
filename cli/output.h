/// Files as the commands save them.
#pragma once

#include <cstdint>
#include <string>

#include "cli/options.h"
#include "imagelib/image.h"

namespace imx {

/// The registry row to save `output` ("-": standard output) as, or -1; `fault` then says what is
/// wrong with the command line.
std::int32_t OutputRow(const Request& request, const std::string& output, std::string* fault);

/// Sets what saving and rendering are to do for a file of `row`, as the request asks.
void SetOutputOptions(const Request& request, std::int32_t row, ImageRecord& image);

/// Saves to a file or, for "-", to standard output. False on failure, which has been reported.
bool SaveOutput(const std::string& output, const Request& request, ImageRecord& image);

}  // namespace imx
