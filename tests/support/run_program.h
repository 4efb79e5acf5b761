/// Running other programs, on POSIX systems only.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace imx::test {

struct ProgramResult {
  int status;  ///< exit status; 127 when it could not be started; 128 + n when signal n ended it
  std::string out;
  std::string err;
};

/// Runs `arguments` (the program found through PATH, then its arguments) in the folder `directory`
/// (empty: the current one) with `input` on its standard input, and waits for its end. A program
/// that takes longer than that many seconds is killed.
ProgramResult RunProgram(const std::vector<std::string>& arguments, std::string_view input = {},
                         const std::string& directory = {}, int seconds = 120);

}  // namespace imx::test
