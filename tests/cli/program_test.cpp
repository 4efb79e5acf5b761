#include "tests/cli/program_test.h"

#include <cstdint>

namespace imx::test {

ProgramResult ProgramTest::Imx(const std::vector<std::string>& arguments, std::string_view input) {
  std::vector<std::string> all = {IMX_BIN};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return RunProgram(all, input, temp.path());
}

std::string ProgramTest::ImxOutput(const std::vector<std::string>& arguments,
                                   std::string_view input) {
  ProgramResult result = Imx(arguments, input);
  EXPECT_EQ(result.status, 0) << testing::PrintToString(arguments);
  EXPECT_EQ(result.err, "") << testing::PrintToString(arguments);
  return std::move(result.out);
}

ProgramResult ProgramTest::Bash(const std::string& script) {
  return RunProgram({"bash", "-c", "PATH=$(dirname " IMX_BIN "):$PATH\n" + script}, {},
                    temp.path());
}

std::string ProgramTest::Tool(const std::vector<std::string>& arguments, std::string_view input) {
  ProgramResult result = RunProgram(arguments, input, temp.path());
  EXPECT_EQ(result.status, 0) << arguments[0] << ": " << result.err;
  return std::move(result.out);
}

std::string ProgramTest::Decoded(const std::string& name) {
  return Tool({"convert", name, "-depth", "8", "rgba:-"});
}

void ProgramTest::WritePng(const std::string& name, int width, int height,
                           const std::string& rgba) {
  const std::string size = std::to_string(width) + "x" + std::to_string(height);
  Tool({"convert", "-size", size, "-depth", "8", "rgba:-", "PNG32:" + name}, rgba);
}

std::string Pixmap(int width, int height) {
  std::string file = "P6\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n";
  std::uint32_t noise = 1;
  for (int i = 0; i < width * height * 3; ++i) {
    noise = noise * 1664525 + 1013904223;
    file += static_cast<char>(noise >> 24);
  }
  return file;
}

}  // namespace imx::test
