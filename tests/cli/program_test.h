/// The fixture of tests that run imx in a fresh folder.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/files.h"
#include "tests/support/run_program.h"

namespace imx::test {

class ProgramTest : public testing::Test {
 protected:
  /// Runs imx in the test's folder.
  ProgramResult Imx(const std::vector<std::string>& arguments, std::string_view input = {});

  /// Runs imx, which must end well and say nothing; what it wrote to standard output.
  std::string ImxOutput(const std::vector<std::string>& arguments, std::string_view input = {});

  /// Runs a bash script in the test's folder; imx is on the PATH.
  ProgramResult Bash(const std::string& script);

  /// Runs a tool that must end well; its standard output.
  std::string Tool(const std::vector<std::string>& arguments, std::string_view input = {});

  /// Whether both files are there and hold the same bytes. Keeps pictures out of the tests' output.
  bool SameFiles(const std::string& a, const std::string& b) {
    return FileExists(temp.file(a)) && Contents(a) == Contents(b);
  }

  std::string Contents(const std::string& name) { return ReadTextFile(temp.file(name)); }

  /// The file's pixels as ImageMagick decodes them, R, G, B, A bytes.
  std::string Decoded(const std::string& name);

  /// Writes R, G, B, A bytes as a PNG with alpha through ImageMagick.
  void WritePng(const std::string& name, int width, int height, const std::string& rgba);

  TempDir temp;
};

/// A binary pixmap of width x height of noise, which nothing compresses.
std::string Pixmap(int width, int height);

}  // namespace imx::test
