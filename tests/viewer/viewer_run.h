/// One run of the real viewer, steered through its menus, keys, mouse and dialogs.
#pragma once

#include <string>
#include <vector>

#include "imagelib/image.h"
#include "tests/support/driven_run.h"
#include "tests/support/files.h"
#include "tools/drive/user_input.h"

namespace imx::test {

/// A program that the build leaves beside the viewer.
std::string ProgramOfBuild(const char* name);

/// A file of the image, of the type that its name tells and the depth at this place of the list.
std::string StorePicture(TempDir& temp, const char* name, const ImageRecord& image,
                         std::int32_t depth);

inline constexpr int kNoOption = 0;

class ViewerRun : public DrivenRun {
 public:
  /// Starts the viewer with these files on its command line and waits for its window.
  explicit ViewerRun(const std::vector<std::string>& files = {});

  HWND window() const { return window_; }

  /// Opens the menu with the first of two underlined letters and chooses the item with the second.
  void Choose(const char* letters);
  /// Opens a menu by its letter, expects ticks on just these of its items, and closes it.
  void ExpectTicks(char letter, const std::vector<bool>& expected);

  /// Answers a file dialog with this title by typing a path.
  void TypePath(const std::string& title, const std::string& path);
  /// Answers a dialog with one field.
  void TypeFactor(const std::string& title, const char* shown, const char* typed);
  /// Picks the image with this number from a list of the open ones.
  void PickImage(const std::string& title, int number);
  /// Answers the frame dialog of a sequence, whose last frame has this number: the fifth one.
  void PickFifthFrame(const char* last);

  /// Saves the image under a type and depth (the first words of their entries) as `path`, with one
  /// of the options switched over.
  void Save(const char* type, const char* depth, int option, const std::string& path);

  /// The window of the image with this number, whose name begins so.
  HWND Image(int number, const std::string& name);
  /// Drags from one corner of a rectangle to the other in an image's window.
  void Drag(HWND image, POINT from, POINT to);
  /// Types Ctrl and the letter of a command that opens a dialog.
  void TypeControlKey(char letter);
  /// Closes an image's window.
  void Close(HWND image);
  /// Waits until an image's window is closed.
  void ExpectGone(HWND image);

  /// Expects the screen to show the image's colours in the window, which it brings to the front.
  void ExpectShown(HWND image, const ImageRecord& wanted);

 private:
  HWND Menu(char letter);
  void ExpectClosed(HWND menu);

  HWND window_ = nullptr;
};

}  // namespace imx::test
