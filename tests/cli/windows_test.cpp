// What imx.exe does that other systems' shells do for programs: wildcards, and names in any script.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cwchar>
#include <string>

#include "imagelib/windows_api.h"
#include "tests/support/files.h"

namespace imx::test {
namespace {

/// The exit status of imx.exe, which is in the folder above the tests'; what it prints goes to the
/// file "out.txt".
int RunImx(const wchar_t* arguments) {
  wchar_t program[MAX_PATH] = L"";
  GetModuleFileNameW(nullptr, program, MAX_PATH);
  const std::wstring tests(program, std::wcsrchr(program, L'\\'));
  const std::wstring command = L"\"\"" + tests + L"\\..\\imx.exe\" " + arguments;
  return _wsystem((command + L" > out.txt\"").c_str());
}

std::string Printed() {
  return ReadTextFile("out.txt");
}

void WritePixmap(const wchar_t* name) {
  std::FILE* file = _wfopen(name, L"wb");
  ASSERT_NE(file, nullptr);
  std::fputs("P3 1 1 255 1 2 3\n", file);
  std::fclose(file);
}

bool Exists(const wchar_t* name) {
  return GetFileAttributesW(name) != INVALID_FILE_ATTRIBUTES;
}

TEST(WindowsNamesTest, WildcardsAndEveryScriptWork) {
  WritePixmap(L"\u00e9.ppm");
  WritePixmap(L"\u65e5\u672c.ppm");
  CreateDirectoryW(L"saved", nullptr);
  EXPECT_EQ(RunImx(L"convert -o saved --type trm --comment \u65e5 *.ppm"), 0) << Printed();
  EXPECT_TRUE(Exists(L"saved\\\u00e9.trm"));
  EXPECT_EQ(RunImx(L"info --json saved\\\u65e5\u672c.trm"), 0) << Printed();
  EXPECT_NE(Printed().find("\"file\":\"saved\\\\\xE6\x97\xA5\xE6\x9C\xAC.trm\""),
            std::string::npos);
  EXPECT_NE(Printed().find("\"comment\":\"\xE6\x97\xA5\""), std::string::npos) << Printed();
  EXPECT_EQ(RunImx(L"convert -r -o made --type gif -j 2 -v saved --update"), 0) << Printed();
  EXPECT_NE(Printed().find("\xE6\x97\xA5\xE6\x9C\xAC.trm -> made/\xE6\x97\xA5"), std::string::npos)
      << Printed();
  EXPECT_TRUE(Exists(L"made\\\u00e9.gif"));
  EXPECT_EQ(RunImx(L"gallery -q -o page *.ppm"), 0) << Printed();
  EXPECT_NE(ReadTextFile("page/index.html").find("</small>\xE6\x97\xA5\xE6\x9C\xAC.ppm<"),
            std::string::npos);
  EXPECT_EQ(RunImx(L"info none-*.ppm"), 1);
  EXPECT_EQ(RunImx(L"convert saved\\\u00e9.trm \\imx-test.png"), 0) << Printed();
  EXPECT_TRUE(DeleteFileW(L"\\imx-test.png"));
}

}  // namespace
}  // namespace imx::test
