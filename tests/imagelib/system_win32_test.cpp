// What only Windows has: names without case, and a program's header that says how it may be loaded.

#include <gtest/gtest.h>

#include "imagelib/system_files.h"
#include "imagelib/windows_api.h"
#include "tests/support/files.h"

namespace imx::test {
namespace {

TEST(WindowsFilesTest, NamesDifferingInCaseAreOneFile) {
  TempDir temp;
  const std::string there = temp.Write("Picture.bmp", "x");
  EXPECT_EQ(FileIdentity(there), FileIdentity(temp.file("PICTURE.BMP")));
  EXPECT_EQ(FileIdentity(temp.file("new.bmp")), FileIdentity(temp.file("NEW.bmp")));
  EXPECT_NE(FileIdentity(temp.file("new.bmp")), FileIdentity(there));
}

TEST(WindowsProgramTest, IsLoadedAnywhereIn4GiBWithoutCodeInItsData) {
  const auto* program = reinterpret_cast<const std::uint8_t*>(GetModuleHandleA(nullptr));
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(program);
  const auto* header = reinterpret_cast<const IMAGE_NT_HEADERS*>(program + dos->e_lfanew);
  EXPECT_TRUE(header->FileHeader.Characteristics & IMAGE_FILE_LARGE_ADDRESS_AWARE);
  EXPECT_FALSE(header->FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED);
  EXPECT_TRUE(header->OptionalHeader.DllCharacteristics & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE);
  EXPECT_TRUE(header->OptionalHeader.DllCharacteristics & IMAGE_DLLCHARACTERISTICS_NX_COMPAT);
}

}  // namespace
}  // namespace imx::test
