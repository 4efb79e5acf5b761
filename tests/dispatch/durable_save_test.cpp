// What of a save is on the disk, and when: this program's own fsync and rename stand in for the
// system's.

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "dispatch/safe_save.h"
#include "imagelib/registry.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace {

std::vector<std::string> calls;
bool diskFails = false;

}  // namespace

extern "C" int fsync(int file) {
  struct stat status = {};
  fstat(file, &status);
  calls.push_back(S_ISDIR(status.st_mode) ? "folder on disk"
                  : status.st_size > 0    ? "file on disk"
                                          : "nothing on disk");
  errno = EIO;
  return diskFails ? -1 : 0;
}

extern "C" int rename(const char* from, const char* to) noexcept {
  calls.push_back("in place");
  return static_cast<int>(syscall(SYS_renameat, AT_FDCWD, from, AT_FDCWD, to));
}

namespace imx::test {
namespace {

using testing::ElementsAre;

class DurableSaveTest : public LibraryTest {
 protected:
  DurableSaveTest() {
    image->saveType = TypeRowByExtension("ppm");
    image->saveDepth = 0;
    calls.clear();
    diskFails = false;
  }

  void TearDown() override {
    image = ImageGuard();
    LibraryTest::TearDown();
  }

  ImageGuard image = Drawing(5, 4);
  const std::string path = temp.Write("a.ppm", "the old file");
};

TEST_F(DurableSaveTest, TheNewFileIsOnTheDiskBeforeItTakesThePlaceOfTheOld) {
  EXPECT_TRUE(SaveImageSafely(path, image.get()).saved);
  EXPECT_THAT(calls, ElementsAre("file on disk", "in place", "folder on disk"));
  calls.clear();
  EXPECT_TRUE(SaveImageSafely(path, image.get(), {true, false}).saved);
  EXPECT_THAT(calls, ElementsAre("file on disk", "in place"));
  calls.clear();
  EXPECT_TRUE(SaveImageSafely(path, image.get(), {false, true}).saved);
  EXPECT_THAT(calls, ElementsAre("in place"));
}

TEST_F(DurableSaveTest, ADiskThatDoesNotTakeTheNewFileLeavesTheOld) {
  diskFails = true;
  const SaveResult result = SaveImageSafely(path, image.get());
  EXPECT_FALSE(result.saved);
  EXPECT_EQ(result.reason, "Input/output error");
  EXPECT_EQ(ReadTextFile(path), "the old file");
  EXPECT_THAT(temp.Names(), ElementsAre("a.ppm"));
}

}  // namespace
}  // namespace imx::test
