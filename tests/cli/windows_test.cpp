// imx.exe: what other systems' shells do for programs, wildcards and names in any script; and each
// of its commands once.

#include <gmock/gmock.h>

#include <cstdlib>
#include <cwchar>
#include <future>
#include <map>
#include <string>

#include "imagelib/windows_api.h"
#include "tests/support/files.h"

// After windows_api.h, which it needs.
#include <tlhelp32.h>

namespace imx::test {
namespace {

/// The exit status of imx.exe, which is in the folder above the tests'; what it prints goes to the
/// file "out.txt", what it says with it.
int RunImx(const wchar_t* arguments) {
  wchar_t program[MAX_PATH] = L"";
  GetModuleFileNameW(nullptr, program, MAX_PATH);
  const std::wstring tests(program, std::wcsrchr(program, L'\\'));
  const std::wstring command = L"\"\"" + tests + L"\\..\\imx.exe\" " + arguments;
  GetDesktopWindow();  // Wine's desktop keeps open what its first program has
  return _wsystem((command + L" > out.txt 2> err.txt\"").c_str());
}

std::string Printed() {
  return ReadTextFile("out.txt") + ReadTextFile("err.txt");
}

void WritePixmap(const wchar_t* name, int side = 1) {
  std::FILE* file = _wfopen(name, L"wb");
  ASSERT_NE(file, nullptr);
  std::fprintf(file, "P3 %d %d 255", side, side);
  for (int i = 0; i < side * side; ++i) std::fputs(" 10 13 26\n", file);
  std::fclose(file);
}

bool Exists(const wchar_t* name) {
  return GetFileAttributesW(name) != INVALID_FILE_ATTRIBUTES;
}

/// Ends an imx.exe that another one started, if there is one.
bool EndAWorker() {
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  std::map<DWORD, DWORD> parents;
  PROCESSENTRY32W entry = {};
  entry.dwSize = sizeof entry;
  for (BOOL more = Process32FirstW(snapshot, &entry); more; more = Process32NextW(snapshot, &entry))
    if (std::wcscmp(entry.szExeFile, L"imx.exe") == 0)
      parents[entry.th32ProcessID] = entry.th32ParentProcessID;
  CloseHandle(snapshot);
  for (const auto& [id, parent] : parents) {
    if (!parents.contains(parent)) continue;
    const HANDLE process = OpenProcess(PROCESS_TERMINATE, FALSE, id);
    const bool ended = TerminateProcess(process, 9);
    CloseHandle(process);
    return ended;
  }
  return false;
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

TEST(WindowsCommandsTest, EachDoesItsWork) {
  CreateDirectoryW(L"in", nullptr);
  CreateDirectoryW(L"in\\deep", nullptr);
  for (const wchar_t* name : {L"in\\a.ppm", L"in\\b.ppm", L"in\\c.ppm", L"in\\deep\\d.ppm"})
    WritePixmap(name);
  WritePixmap(L"large.ppm", 40);
  WriteFile("m.flc", ReadFile(IMX_SOURCE_DIR "/fuzz/samples/flic/flc"));
  WriteFile("cut.ppm", Part(ReadFile("large.ppm"), 0, 900));
  WriteFile("list", LittleEndian().Text("in\\a.ppm\r\nlarge.ppm\r\n").bytes());
  const struct {
    const wchar_t* arguments;
    int status;
    const char* printed;
  } rows[] = {
      {L"convert -r -o s --type png --shard 0/2 --report r in", 0, "2 done, 0 skipped, 0 failed"},
      {L"convert -r -o s --type png --shard 1/2 in", 0, "2 done, 0 skipped, 0 failed"},
      {L"convert -r -o s --type png --update in", 0, "0 done, 4 skipped, 0 failed"},
      {L"convert -r -o s --type png -n --dry-run in", 0, "0 to do, 4 to skip"},
      {L"info s\\deep\\d.png", 0, "size     1 x 1"},
      {L"convert -v --all-frames -o s --type png m.flc", 0, "-> s/m-0001.png"},
      {L"convert --files-from list -o s --type gif", 0, "2 done, 0 skipped, 0 failed"},
      {L"convert -o in --type ppm in\\A.PPM", 2, "is the input in\\"},
      {L"convert -o s --type png in\\a.ppm in\\A.tga", 2, "same output"},
      {L"convert large.ppm o.png --resize 20x10! --region 0,0,9,9 --clip --resample 2 --flip "
       L"--flop "
       L"--flatten 0000FF --region 0,0,9,19 --clip --rotate 90",
       0, ""},
      {L"info o.png", 0, "size     18 x 10"},
      {L"pixels --from ppm - < in\\a.ppm", 0, "\n\r\x1A"},
      {L"info --check cut.ppm", 1, "whole    no"},
      {L"convert --lenient cut.ppm o.gif", 0, "cut.ppm: the file ends early; the rest is blank"},
      {L"compare in\\a.ppm s\\a.png", 0, "0 of 1 pixels differ"},
      {L"convert in\\a.ppm dark.ppm --gamma 0.5", 0, ""},
      {L"compare --diff d.png in\\a.ppm dark.ppm", 1, "1 of 1 pixels differ"},
      {L"compare d.png large.ppm", 1, "the sizes differ"},
      {L"compare d.png none.ppm", 2, "No such file"},
      {L"gallery -r -o page in m.flc cut.ppm", 1, "5 done, 0 skipped, 1 failed"},
      {L"help gallery", 0, "usage: imx gallery"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(RunImx(row.arguments), row.status);
    EXPECT_THAT(Printed(), testing::HasSubstr(row.printed)) << row.arguments;
  }
  EXPECT_THAT(ReadTextFile("r"), testing::HasSubstr("\"status\":\"done\""));
}

TEST(WindowsCommandsTest, AWorkerThatDiesCostsItsFileAlone) {
  WritePixmap(L"large.ppm", 1000);
  WritePixmap(L"small.ppm");
  auto run = std::async(std::launch::async, [] {
    return RunImx(L"convert -j1 -o made --type gif large.ppm small.ppm");
  });
  while (!EndAWorker() && run.wait_for(std::chrono::milliseconds(5)) != std::future_status::ready) {
  }
  EXPECT_EQ(run.get(), 1);
  EXPECT_THAT(Printed(), testing::HasSubstr("large.ppm: its conversion ended unexpectedly\r\n"
                                            "imx: 1 done, 0 skipped, 1 failed"));
  EXPECT_TRUE(Exists(L"made\\small.gif"));
  EXPECT_FALSE(Exists(L"made\\large.gif"));
}

}  // namespace
}  // namespace imx::test
