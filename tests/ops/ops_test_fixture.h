/// The fixture of tests that call the operations.
#pragma once

#include "ops/clip_region.h"
#include "ops/operations.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {

/// Every test starts and ends with the settings' start values. The host takes each new image.
class OpsTest : public LibraryTest {
 protected:
  OpsTest() {
    Operations() = {};
    Services().showImage = TakeImage;
  }
  void TearDown() override {
    Operations() = {};
    LibraryTest::TearDown();
  }

  static bool TakeImage(const char*, ImageRecord* image) {
    shown_ = ImageGuard(image);
    return true;
  }

  /// Runs the operation on the region; the image that it made, if any.
  static ImageGuard Made(void (*operation)(ImageRecord*), ImageRecord& image, ClipRegion region) {
    CurrentClipRegion() = region;
    operation(&image);
    return ImageGuard(shown_.release());
  }

 private:
  static inline ImageGuard shown_{nullptr};
};

}  // namespace imx::test
