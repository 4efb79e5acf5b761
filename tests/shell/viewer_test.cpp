#include <gtest/gtest.h>

#include "formats/codec_state.h"
#include "imagelib/core/registry.h"
#include "imagelib/dispatch/load.h"
#include "imagelib/dispatch/safe_save.h"
#include "imagelib/dispatch/save.h"
#include "ops/clip_region.h"
#include "ops/operations.h"
#include "resources/resource_ids.h"
#include "shell/win32/file_dialogs.h"
#include "shell/win32/image_window.h"
#include "shell/win32/open_image.h"
#include "shell/win32/save_image.h"
#include "shell/win32/shell_state.h"
#include "tests/shell/shell_run.h"
#include "tests/support/files.h"

namespace imx::test {
namespace {

class Viewer : public ShellTest {
 protected:
  Viewer() { Output() = {}; }
  ~Viewer() override {
    Operations() = {};
    Output() = {};
    Raw() = {};
  }

  static void Command(int command) {
    SendMessageA(Shell().mainWindow, WM_COMMAND, static_cast<WPARAM>(command), 0);
    Settle();
  }

  static DisplayRecord* Slot(std::size_t i) { return Shell().windows.slots[i]; }
  static ImageRecord& Image(std::size_t i) { return *Slot(i)->image; }

  // Drags the tool over window i.
  static void Drag(std::size_t i, int left, int top, int right, int bottom) {
    HWND window = WindowOf(*Slot(i));
    SendMessageA(window, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(left, top));
    SendMessageA(window, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(right, bottom));
    SendMessageA(window, WM_LBUTTONUP, 0, MAKELPARAM(right, bottom));
    Settle();
  }

  // A file that holds the image, as the registry row and depth say.
  std::string Stored(const char* name, const ImageRecord& image, std::int32_t depth) {
    const ImageGuard copy = Copy(image);
    copy->saveType = TypeRowByExtension(PathExtension(name).data() + 1);
    copy->saveDepth = depth;
    const std::string path = temp.file(name);
    EXPECT_EQ(SaveImage(path.c_str(), copy.get()), 0);
    return path;
  }

  void OpenByDialog(const std::string& path) {
    OnDialog("Open Image", [path](HWND dialog) { AnswerWithPath(dialog, path); });
    Command(ID_OPEN_IMAGE);
  }

  void ChooseTool(int command, const char* dialogTitle, const char* factor) {
    OnDialog(dialogTitle, [factor](HWND dialog) {
      SetDlgItemTextA(dialog, IDC_FACTOR, factor);
      PressButton(dialog, IDOK);
    });
    Command(command);
  }

  TempDir temp;
};

TEST_F(Viewer, ToolsOnAnOpenedPicture) {
  const std::string path = Stored("photo.png", *PhotoLike(120, 80), 1);
  Run([&](HWND) {
    const ImageGuard photo = PhotoLike(120, 80);
    OpenByDialog(path);
    ASSERT_NE(Slot(0), nullptr);
    EXPECT_EQ(WindowTitle(WindowOf(*Slot(0))), "[1] - photo.png");
    EXPECT_EQ(Difference(*photo, Image(0), Channels::rgb), "");
    EXPECT_EQ(LastFullPath().substr(LastFullPath().size() - 9), "photo.png");

    Command(ID_TOOL_CLIP);
    Drag(0, 10, 20, 49, 59);
    ASSERT_NE(Slot(1), nullptr);
    ASSERT_EQ(Image(1).width, 40);
    ASSERT_EQ(Image(1).height, 40);
    EXPECT_EQ(PixelAt(Image(1), 3, 5), PixelAt(*photo, 13, 25));
    EXPECT_EQ(PixelAt(Image(1), 39, 39), PixelAt(*photo, 49, 59));

    ChooseTool(ID_TOOL_RESCALE, "Scale Region", "2");
    Drag(1, 0, 0, 200, 200);
    ASSERT_NE(Slot(2), nullptr);
    ASSERT_EQ(Image(2).width, 80);
    for (int i = 0; i < 80; ++i) {
      EXPECT_EQ(PixelAt(Image(2), i, 79 - i), PixelAt(Image(1), i / 2, (79 - i) / 2)) << i;
    }

    ChooseTool(ID_TOOL_RESAMPLE, "Resampling", "0.5");
    Drag(2, 0, 0, 79, 79);
    ASSERT_NE(Slot(3), nullptr);
    EXPECT_EQ(Image(3).width, 39) << "79 of 80 columns have a neighbour";
    EXPECT_EQ(PixelAt(Image(3), 0, 0), PixelAt(Image(2), 0, 0));

    ChooseTool(ID_TOOL_GAMMA, "Apply Gamma Correction", "2.0");
    SetPixel(Image(1), 2, 3, {128, 255, 0, 9});
    Drag(1, 1, 1, 1, 1);
    EXPECT_EQ(PixelAt(Image(1), 2, 3), (Rgba{64, 255, 0, 9}));
    EXPECT_NE(Image(1).flags & kFlagChanged, 0U);
    EXPECT_EQ(ScreenPixel(WindowOf(*Slot(1)), 2, 3), (Rgba{64, 255, 0, 255}));
  });
}

TEST_F(Viewer, FactorDialogsKeepWhatIsNoNumber) {
  Run([&](HWND) {
    ChooseTool(ID_TOOL_RESCALE, "Scale Region", "huge");
    EXPECT_EQ(Operations().scaleFactor, 1.0F);
    OnDialog("Resampling", [](HWND dialog) {
      SetDlgItemTextA(dialog, IDC_FACTOR, "3");
      PressButton(dialog, IDCANCEL);
    });
    Command(ID_TOOL_RESAMPLE);
    EXPECT_EQ(Operations().resampleScale, 1.0F);
    EXPECT_EQ(Shell().toolMode, ID_TOOL_RESAMPLE) << "the tool is chosen all the same";
  });
}

TEST_F(Viewer, MergesTheChosenSource) {
  Run([&](HWND) {
    ShowImage("target", Solid(60, 60, {10, 20, 30, 255}));
    Command(ID_TOOL_MERGE);  // one window: nothing to choose
    EXPECT_EQ(Shell().windows.current, &Image(0));
    ShowImage("source", Solid(20, 20, {200, 100, 50, 255}));
    CopyText(Image(1).name, "source");
    OnDialog("Select Image to use as Source", [](HWND dialog) { PressButton(dialog, IDCANCEL); });
    Command(ID_TOOL_MERGE);
    EXPECT_EQ(Shell().windows.current, &Image(0));
    OnDialog("Select Image to use as Source", [](HWND dialog) {
      HWND list = GetDlgItem(dialog, IDC_WINDOW_LIST);
      char line[256] = "";
      SendMessageA(list, LB_GETTEXT, 1, reinterpret_cast<LPARAM>(line));
      EXPECT_STREQ(line, "[2] source");
      SendMessageA(list, LB_SETCURSEL, 1, 0);
      PressButton(dialog, IDOK);
    });
    Command(ID_TOOL_MERGE);
    EXPECT_EQ(Shell().windows.current, &Image(1));
    Drag(0, 10, 10, 20, 20);
    EXPECT_EQ(PixelAt(Image(0), 10, 10), (Rgba{200, 100, 50, 255}));
    // The proportions of the source are kept; its square stops one pixel short.
    const ClipRegion region = CurrentClipRegion();
    EXPECT_EQ(region.Width(), region.Height());
    EXPECT_EQ(PixelAt(Image(0), region.right - 1, 15), (Rgba{200, 100, 50, 255}));
    EXPECT_EQ(PixelAt(Image(0), region.right, 15), (Rgba{10, 20, 30, 255}));
    EXPECT_EQ(ScreenPixel(WindowOf(*Slot(0)), 12, 12).r, PixelAt(Image(0), 12, 12).r);
  });
}

TEST_F(Viewer, HeaderlessFilesAreOpenedThroughTheGuide) {
  Bytes bytes;
  for (std::uint8_t i = 0; i < 3 * 4 * 2; ++i) bytes.push_back(i);
  const std::string path = temp.Write("shot.bin", bytes);
  Run([&](HWND) {
    OnDialog("RAW Image Loader Guide", [](HWND dialog) { PressButton(dialog, IDCANCEL); });
    OpenByDialog(path);
    EXPECT_EQ(Shell().windows.count, 0);

    OnDialog("RAW Image Loader Guide", [](HWND dialog) {
      EXPECT_EQ(ControlText(dialog, IDC_RAW_WIDTH), "0");
      EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, IDOK)));
      SetDlgItemTextA(dialog, IDC_RAW_WIDTH, "2");
      SetDlgItemTextA(dialog, IDC_RAW_HEIGHT, "4");
      PressButton(dialog, IDC_SWAP);
      EXPECT_EQ(ControlText(dialog, IDC_RAW_WIDTH), "4");
      EXPECT_EQ(ControlText(dialog, IDC_RAW_HEIGHT), "2");
      SelectInDropDown(dialog, IDC_RAW_KIND, 5);  // red, blue, green
      EXPECT_TRUE(IsWindowEnabled(GetDlgItem(dialog, IDOK)));
      PressButton(dialog, IDOK);
    });
    OpenByDialog(path);
    ASSERT_NE(Slot(0), nullptr);
    EXPECT_EQ(Image(0).width, 4);
    EXPECT_EQ(PixelAt(Image(0), 1, 1).r, 15);
    EXPECT_EQ(PixelAt(Image(0), 1, 1).g, 17);
    EXPECT_EQ(PixelAt(Image(0), 1, 1).b, 16);

    // The size stays for the next file, the kind does not.
    OnDialog("RAW Image Loader Guide", [](HWND dialog) {
      EXPECT_EQ(ControlText(dialog, IDC_RAW_WIDTH), "4");
      EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, IDOK)));
      PressButton(dialog, IDCANCEL);
    });
    OpenByDialog(path);
  });
}

// A sequence of `frames` frames of 2 x 1 pixels, each in one grey: frame i in 60 * i.
Bytes GreySequence(int frames) {
  ByteBuilder flc = LittleEndian();
  flc.U32(0).U16(0xAF12).U16(static_cast<std::uint32_t>(frames)).U16(2).U16(1).U16(8);
  flc.Repeat(0, 128 - flc.size());
  for (int i = 0; i < frames; ++i) {
    const std::size_t frame = flc.size();
    flc.U32(0).U16(0xF1FA).U16(2).Repeat(0, 8);
    // Palette: one packet, nothing passed over, one colour.
    const std::uint32_t grey = static_cast<std::uint32_t>(60 * i);
    flc.U32(14).U16(4).U16(1).U8(0).U8(1).U8(grey).U8(grey).U8(grey).U8(0);
    flc.U32(8).U16(16).Repeat(0, 2);  // pixels as they are
    flc.PatchU32(frame, static_cast<std::uint32_t>(flc.size() - frame));
  }
  flc.PatchU32(0, static_cast<std::uint32_t>(flc.size()));
  return flc.bytes();
}

TEST_F(Viewer, SequencesAreOpenedFrameByFrame) {
  const std::string path = temp.Write("clip.flc", GreySequence(4));
  Run([&](HWND) {
    OnDialog("Extract Image from Sequence", [](HWND dialog) { PressButton(dialog, IDCANCEL); });
    OpenByDialog(path);
    EXPECT_EQ(Shell().windows.count, 0);
    OnDialog("Extract Image from Sequence", [](HWND dialog) {
      const auto bar = reinterpret_cast<LPARAM>(GetDlgItem(dialog, IDC_FRAME));
      EXPECT_EQ(ControlText(dialog, IDC_FRAME_TEXT), "0");
      EXPECT_EQ(ControlText(dialog, IDC_LAST_FRAME_TEXT), "3");
      SendMessageA(dialog, WM_HSCROLL, SB_PAGERIGHT, bar);
      EXPECT_EQ(ControlText(dialog, IDC_FRAME_TEXT), "3");
      SendMessageA(dialog, WM_HSCROLL, SB_LINELEFT, bar);
      EXPECT_EQ(ControlText(dialog, IDC_FRAME_TEXT), "2");
      SendMessageA(dialog, WM_HSCROLL, MAKEWPARAM(SB_THUMBTRACK, 1), bar);
      EXPECT_EQ(ControlText(dialog, IDC_FRAME_TEXT), "1");
      PressButton(dialog, IDOK);
    });
    OpenByDialog(path);
    ASSERT_NE(Slot(0), nullptr);
    EXPECT_EQ(WindowTitle(WindowOf(*Slot(0))), "[1] - clip.flc {fr #1}");
    EXPECT_EQ(PixelAt(Image(0), 0, 0), (Rgba{60, 60, 60, PixelAt(Image(0), 0, 0).a}));
  });
}

TEST_F(Viewer, SavesByTheChosenTypeAndDepth) {
  const std::string gif = temp.file("out.gif");
  const std::string targa = temp.file("out.tga");
  Run([&](HWND) {
    HWND window = ShowImage("photo.png", PhotoLike(64, 48));
    OnDialog("Output Render Choices", [](HWND dialog) {
      EXPECT_EQ(SendDlgItemMessageA(dialog, IDC_FILE_TYPE, CB_GETCOUNT, 0, 0), 20);
      EXPECT_EQ(ControlText(dialog, IDC_FILE_TYPE), "GIF (*.gif)");
      EXPECT_EQ(ControlText(dialog, IDC_DEPTH), "8-bit (256 values) - [reduction]");
      EXPECT_EQ(ControlText(dialog, IDC_QUALITY_TEXT), "[Disabled]");
      EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, IDC_COMPRESSION)));
      SendDlgItemMessageA(dialog, IDC_INTERLACE, BM_CLICK, 0, 0);
      PressButton(dialog, IDOK);
    });
    OnDialog("Save As GIF (*.gif) Image in 8-bit (256 values) - [reduction] mode",
             [&](HWND dialog) { AnswerWithPath(dialog, gif); });
    Image(0).flags |= kFlagChanged;
    Command(ID_SAVE_IMAGE);
    EXPECT_EQ(Output().interlace, 1);
    EXPECT_FALSE(IsUnsaved(Image(0)));
    EXPECT_TRUE(IsWindowEnabled(window));

    OnDialog("Output Render Choices", [](HWND dialog) {
      SelectInDropDown(dialog, IDC_FILE_TYPE, 0);
      EXPECT_EQ(ControlText(dialog, IDC_DEPTH), "32-bit (16m colors + Alpha)");
      SelectInDropDown(dialog, IDC_DEPTH, 1);
      SendDlgItemMessageA(dialog, IDC_COMPRESSION, BM_CLICK, 0, 0);
      PressButton(dialog, IDOK);
    });
    // The ending comes from the type.
    OnDialog("Save As Targa (*.tga) Image in 24-bit (16m colors) mode",
             [&](HWND dialog) { AnswerWithPath(dialog, targa.substr(0, targa.size() - 4)); });
    Command(ID_SAVE_IMAGE);
    EXPECT_EQ(Output().compression, 0);
  });
  const ImageGuard photo = PhotoLike(64, 48);
  const std::string wanted = Stored("wanted.gif", *photo, 0);  // interlaced, as chosen above
  EXPECT_FALSE(ReadFile(wanted).empty());
  EXPECT_EQ(ReadFile(gif), ReadFile(wanted));
  const Bytes saved = ReadFile(targa);
  ASSERT_GT(saved.size(), 18U + 64U * 48U * 3U);
  EXPECT_EQ(saved[2], 2) << "not compressed";
  EXPECT_EQ(saved[16], 24);
  const ImageGuard again(LoadImage(targa.c_str()));
  ASSERT_TRUE(again);
  EXPECT_EQ(Difference(*photo, *again, Channels::rgb), "");
}

TEST_F(Viewer, OneOfSeveralIsPickedToSave) {
  const std::string path = temp.file("picked.tga");
  Run([&](HWND) {
    ShowImage("a", Solid(5, 5, {1, 2, 3, 255}));
    ShowImage("b", Solid(6, 6, {1, 2, 3, 255}));
    OnDialog("Select File to Save", [](HWND dialog) { PressButton(dialog, IDCANCEL); });
    Command(ID_SAVE_IMAGE);
    OnDialog("Select File to Save", [](HWND dialog) {
      EXPECT_EQ(SendDlgItemMessageA(dialog, IDC_WINDOW_LIST, LB_GETCURSEL, 0, 0), 0);
      SendDlgItemMessageA(dialog, IDC_WINDOW_LIST, LB_SETCURSEL, 1, 0);
      // A close that comes now waits: the list names this window.
      SendMessageA(WindowOf(*Slot(1)), WM_CLOSE, 0, 0);
      EXPECT_FALSE(IsWindowEnabled(WindowOf(*Slot(1))));
      PressButton(dialog, IDOK);
    });
    OnDialog("Output Render Choices", [](HWND dialog) { PressButton(dialog, IDCANCEL); });
    SendMessageA(Shell().mainWindow, WM_COMMAND, ID_SAVE_IMAGE, 0);
    Settle();
    EXPECT_EQ(Shell().windows.count, 1) << "closed now";
  });
  EXPECT_FALSE(FileExists(path));
}

TEST_F(Viewer, QuickSavesGoToThePathLastConfirmed) {
  const std::string opened = Stored("first.tga", *Solid(4, 4, {9, 9, 9, 255}), 1);
  const std::string other = Stored("other.tga", *Solid(4, 4, {8, 8, 8, 255}), 1);
  Run([&](HWND) {
    OpenByDialog(opened);
    OpenImageFile(other, "other.tga");
    Settle();
    ASSERT_NE(Slot(1), nullptr);
    ImageRecord& changed = Image(1);
    SetPixel(changed, 0, 0, {1, 2, 3, 255});
    changed.flags |= kFlagChanged;
    changed.saveType = TypeRowByExtension("tga");
    changed.saveDepth = 1;
    Command(ID_SAVE_UNSAVED);
    EXPECT_FALSE(IsUnsaved(changed));
  });
  const ImageGuard saved(LoadImage(opened.c_str()));
  ASSERT_TRUE(saved);
  EXPECT_EQ(PixelAt(*saved, 0, 0).b, 3);
  const ImageGuard untouched(LoadImage(other.c_str()));
  ASSERT_TRUE(untouched);
  EXPECT_EQ(PixelAt(*untouched, 0, 0).b, 8);
}

TEST_F(Viewer, FailedSavesAreToldAndKeepTheOldFile) {
  const std::string path = temp.Write("kept.tga", "the old file");
  const std::string nowhere = temp.file("no such folder/x.tga");
  Run([&](HWND) {
    ShowImage("a", Solid(5, 5, {1, 2, 3, 255}));
    Image(0).flags |= kFlagChanged;
    Command(ID_SAVE_UNSAVED);  // no type chosen, no path confirmed
    EXPECT_FALSE(IsUnsaved(Image(0)));
    Image(0).saveType = TypeRowByExtension("tga");
    Image(0).saveDepth = 1;
    SaveCurrentChoice(nowhere, Image(0));
    Image(0).saveType = TypeRowByExtension("psd");
    SaveCurrentChoice(path, Image(0));
  });
  const std::vector<AnsweredBox> boxes = TakeBoxes();
  ASSERT_EQ(boxes.size(), 3U);
  EXPECT_EQ(boxes[0].text,
            "The image could not be saved:\nno file type has been chosen for it yet.");
  EXPECT_EQ(boxes[1].title, "Failure");
  EXPECT_EQ(boxes[1].text.find("The image could not be saved as\n" + nowhere + ":\n"), 0U);
  EXPECT_EQ(boxes[2].title, "Failure");
  EXPECT_EQ(ReadTextFile(path), "the old file");
}

TEST_F(Viewer, FilesNamedOutsideTheDialogAreReportedWhenTheyGiveNoImage) {
  Run([&](HWND) {
    OpenNamedFile(temp.file("missing.png"));
    OpenNamedFile(temp.Write("two.ppm", "P3 2 1 255  9 8 7  6 5 4\n"));
    Settle();
    ASSERT_NE(Slot(0), nullptr);
    EXPECT_STREQ(Image(0).name, "two.ppm");
    EXPECT_EQ(LastFullPath(), "") << "only dialogs count";
  });
  const std::vector<AnsweredBox> boxes = TakeBoxes();
  ASSERT_EQ(boxes.size(), 1U);
  EXPECT_NE(boxes[0].text.find("missing.png"), std::string::npos);
}

}  // namespace
}  // namespace imx::test
