// The real viewer, driven as by a user: what its windows show and what it saves, pixel by pixel.

#include <gtest/gtest.h>

#include <cstdint>
#include <tuple>

#include "dispatch/load.h"
#include "dispatch/save.h"
#include "formats/codec_state.h"
#include "imagelib/copy_image.h"
#include "imagelib/registry.h"
#include "imagelib/text.h"
#include "ops/operations.h"
#include "resources/resource_ids.h"
#include "tests/formats/station_builder.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"
#include "tests/viewer/viewer_run.h"

namespace imx::test {
namespace {

class ViewerTest : public LibraryTest {
 protected:
  void TearDown() override {
    Output() = {};
    Sequence() = {};
    photo = ImageGuard();
    LibraryTest::TearDown();
  }

  /// A file of the image, of the type that its name tells and the depth at this place of the list.
  std::string Stored(const char* name, const ImageRecord& image, std::int32_t depth) {
    return StorePicture(temp, name, image, depth);
  }

  ImageGuard Loaded(const std::string& path) {
    ImageGuard image(LoadImage(path.c_str()));
    if (image) return image;
    ADD_FAILURE() << path << " cannot be loaded";
    return Solid(1, 1, {});
  }

  ImageGuard photo = PhotoLike(120, 80);
  const std::string photoPath = Stored("photo.png", *photo, 1);
};

/// The image over a checkerboard of 4 x 4 cells.
ImageGuard OverCheckerboard(const ImageRecord& image) {
  ImageGuard shown = CopyImage(image);
  for (int y = 0; y < image.height; ++y) {
    for (int x = 0; x < image.width; ++x) {
      const Rgba pixel = PixelAt(image, x, y);
      const float a = static_cast<float>(pixel.a) * 0.003921569f;
      const float cell = ((x ^ y) & 4) == 0 ? 128.0f : 0.0f;
      const auto over = [&](std::uint8_t value) {
        return static_cast<std::uint8_t>(static_cast<float>(value) * a + cell * (1.0f - a));
      };
      SetPixel(*shown, x, y, {over(pixel.r), over(pixel.g), over(pixel.b), 255});
    }
  }
  return shown;
}

void Resize(HWND window, int width, int height) {
  SetWindowPos(window, nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

TEST_F(ViewerTest, ShowsOpenedFiles) {
  const ImageGuard veil = AlphaGradient(256, 40);
  ViewerRun run({photoPath});
  EXPECT_EQ(WindowText(run.window()), "Quillmark Viewer");
  run.ExpectShown(run.Image(1, "photo.png"), *photo);

  run.TypeControlKey('o');
  run.TypePath("Open Image", Stored("veil.png", *veil, 0));
  const HWND second = run.Image(2, "veil.png");
  run.ExpectShown(second, *OverCheckerboard(*veil));
  run.ExpectTicks('v', {true, false});
  run.Choose("va");
  run.ExpectShown(second, *veil);
  run.ExpectTicks('v', {false, false});
  // What was out of sight while it was drawn comes into sight.
  Resize(second, 150, 50);
  run.Choose("va");
  Resize(second, 300, 100);
  run.ExpectShown(second, *OverCheckerboard(*veil));
  run.Choose("ha");
  run.ExpectAndClose(
      "About Quillmark Viewer",
      "Opens:\nFlick (*.flc), AVI (*.avi), Photoshop (*.psd), Flick (*.fli), DEM (*.dem)");
  run.Choose("fx");
  run.ExpectEnd();
}

TEST_F(ViewerTest, ReadsAsOtherProgramsDo) {
  const std::string pgm = temp.Write("grey.pgm", std::string_view("P5 2 1 255 \x20\x90"));
  const std::string pix = Stored("photo.pix", *photo, 0);
  Bytes gif = ReadFile(Stored("photo.gif", *photo, 0));
  gif.at(12) = 49;  // pixels that are not square
  const ImageGuard swapped = CopyImage(*photo);
  for (std::uint32_t i = 0; i < swapped->pixelCount; ++i) {
    std::swap(swapped->pixels[4 * i], swapped->pixels[4 * i + 2]);
  }
  ViewerRun run({pgm, temp.Write("squat.gif", gif)});
  run.Image(1, "grey.pgm (as other programs read it: pnm-family)");
  run.Image(2, "squat.gif (other programs read it otherwise: gif-screen)");
  run.ExpectTicks('v', {true, false});
  const struct {
    const char* title;
    const ImageRecord& wanted;
    bool ticked;
  } readings[] = {{"photo.pix (as other programs read it: alias-blue-first)", *swapped, true},
                  {"photo.pix", *photo, false}};
  int number = 2;
  for (const auto& reading : readings) {
    run.Choose("vo");
    run.ExpectTicks('v', {true, reading.ticked});
    run.Choose("fo");
    run.TypePath("Open Image", pix);
    const HWND image = run.Image(++number, reading.title);
    run.ExpectShown(image, reading.wanted);
    EXPECT_EQ(WindowText(image), "[" + std::to_string(number) + "] - " + reading.title);
  }
  run.Choose("fx");
  run.ExpectEnd();
}

TEST_F(ViewerTest, ToolsMakeImagesOfARegion) {
  ViewerRun run({photoPath});
  const HWND first = run.Image(1, "photo.png");
  run.ExpectTicks('t', {false, false, false, false, false, false});
  const struct {
    const char *letters, *dialog, *factor;
    POINT from, to;
    ImageGuard wanted;
  } tools[] = {
      {"tr", "Scale Region", "2", {10, 20}, {49, 59}, Rescaled(*photo, {10, 20, 49, 59}, 2).image},
      {"ts",
       "Resampling",
       "0.75",
       {5, 6},
       {119, 70},
       Resampled(*photo, {5, 6, 119, 70}, 0.75f).image},
      {"tc", nullptr, nullptr, {49, 59}, {10, 20}, Clipped(*photo, {10, 20, 49, 59}).image}};
  int number = 1;
  for (const auto& tool : tools) {
    run.Choose(tool.letters);
    if (tool.dialog) run.TypeFactor(tool.dialog, "1.000000", tool.factor);
    run.Drag(first, tool.from, tool.to);
    run.ExpectShown(run.Image(++number, "NEW_"), *tool.wanted);
  }
  run.ExpectTicks('t', {false, true, false, false, false, false});
  EXPECT_EQ(WindowText(run.window()), "Quillmark Viewer - Clip Region");
}

TEST_F(ViewerTest, ToolsChangeTheImage) {
  const ImageGuard veil = AlphaGradient(256, 40);
  ViewerRun run({photoPath, Stored("veil.png", *veil, 0)});
  const HWND first = run.Image(1, "photo.png");
  run.ExpectShown(first, *photo);
  run.Choose("tg");
  run.TypeFactor("Apply Gamma Correction", "1.000000", "2.0");
  run.Drag(first, {3, 3}, {3, 3});
  CorrectGamma(*photo, 2);
  run.ExpectShown(first, *photo);

  // The proportions of the source, 120 : 80 here, are kept.
  run.Choose("tm");
  run.PickImage("Select Image to use as Source", 2);
  run.Drag(first, {20, 10}, {60, 40});
  MergeInto(*photo, {20, 10, 69, 17}, *veil);
  run.ExpectShown(first, *photo);
  run.ExpectTicks('t', {false, false, false, false, false, true});
}

TEST_F(ViewerTest, SavesAsItsTypesAndThoseOfPlugIns) {
  CopyText(photo->comment, "at noon");
  Stored("photo.png", *photo, 1);
  ViewerRun run({photoPath, photoPath});
  run.ExpectShown(run.Image(2, "photo.png"), *photo);
  run.TypeControlKey('s');
  run.PickImage("Select File to Save", 2);
  run.Save("GIF", "8-bit", IDC_INTERLACE, temp.file("photo.gif"));
  run.ExpectAndClose("Info",
                     temp.file("photo.gif") + ":\nthe comment is lost: this type keeps none");
  for (const auto& [type, name] : {std::pair{"TIFF", "photo.tif"}, {"JPEG", "photo.jpg"}}) {
    run.Choose("fs");
    run.PickImage("Select File to Save", 1);
    run.Save(type, "24-bit", kNoOption, temp.file(name));
  }
  run.Choose("fx");
  run.ExpectEnd();
  Output().interlace = 1;
  EXPECT_TRUE(ReadFile(temp.file("photo.gif")) == ReadFile(Stored("wanted.gif", *photo, 0)));
  for (const std::string type : {"tif", "jpg"}) {
    const std::string wanted = temp.file("wanted." + type);
    DrivenRun imx(ProgramOfBuild("imx.exe"), "", {"convert", photoPath, wanted});
    imx.ExpectEnd();
    EXPECT_FALSE(ReadFile(wanted).empty());
    EXPECT_TRUE(ReadFile(temp.file("photo." + type)) == ReadFile(wanted)) << type;
  }
}

TEST_F(ViewerTest, SavesChangesWhereItSavedBefore) {
  ViewerRun run({photoPath});
  const HWND first = run.Image(1, "photo.png");
  run.ExpectShown(first, *photo);
  run.Choose("fs");
  // The ending comes from the type.
  run.Save("Targa", "24-bit", IDC_COMPRESSION, temp.file("photo"));
  for (const auto& [shown, typed, factor] :
       {std::tuple{"1.000000", "2.0", 2.0f}, {"2.000000", "0.5", 0.5f}}) {
    run.Choose("tg");
    run.TypeFactor("Apply Gamma Correction", shown, typed);
    run.Drag(first, {7, 7}, {7, 7});
    CorrectGamma(*photo, factor);
    run.ExpectShown(first, *photo);
  }
  run.Choose("tc");
  run.Drag(first, {0, 0}, {9, 9});
  run.Image(2, "NEW_");
  run.Choose("fu");
  run.PickImage("Select File to Save", 1);
  run.Choose("fu");  // only one is left, which has no type yet
  run.ExpectAndClose("Failure", "The image could not be saved as\n" + temp.file("photo.tga") +
                                    ":\nno file type has been chosen for it yet.");
  run.Choose("fx");
  run.ExpectEnd();
  EXPECT_GT(ReadFile(temp.file("photo.tga")).size(), 120U * 80U * 3U) << "not compressed";
  const ImageGuard targa = Loaded(temp.file("photo.tga"));
  EXPECT_EQ(targa->depth, 24u);
  EXPECT_EQ(Difference(*photo, *targa, Channels::rgb), "");
}

constexpr int kFrameWidth = 60, kFrameHeight = 30;

/// One frame of the FLC below.
ImageGuard Frame(int number) {
  ImageGuard image = Solid(kFrameWidth, kFrameHeight, {0, 0, 0, 255});
  for (int y = 0; y < kFrameHeight; ++y) {
    for (int x = 0; x < kFrameWidth; ++x) {
      SetPixel(*image, x, y, {static_cast<std::uint8_t>(x + 30 * number), 0, 0, 255});
    }
  }
  return image;
}

Bytes Flic(int frames) {
  ByteBuilder colours = LittleEndian();
  colours.List({1, 0, 0, 0});
  for (int i = 0; i < 256; ++i) colours.List({i, 0, 0});
  std::vector<Bytes> all;
  for (int i = 0; i < frames; ++i) {
    ByteBuilder indices = LittleEndian();
    const ImageGuard frame = Frame(i);
    for (std::uint32_t at = 0; at < frame->pixelCount; ++at) indices.U8(frame->pixels[4 * at]);
    all.push_back(FlicFrame({FlicChunk(4, colours.bytes()), FlicChunk(16, indices.bytes())}));
  }
  return FlicFile(kFlc, kFrameWidth, kFrameHeight, all);
}

TEST_F(ViewerTest, AsksForWhatFilesDoNotTell) {
  Bytes triples;
  for (int i = 0; i < 3 * 4 * 2; ++i) triples.push_back(static_cast<std::uint8_t>(i));
  const std::string raw = temp.Write("shot.bin", triples);
  const std::string gone = temp.file("gone.png");
  const std::string cut = temp.Write("cut.ppm", std::string_view("P6 2 2 255 abcd"));
  const std::string clip = temp.Write("clip.flc", Flic(6));
  const std::string film = IMX_SOURCE_DIR "/tests/formats/fixtures/cinepak.avi";
  ViewerRun run({clip, film});
  run.PickFifthFrame("5");
  const HWND first = run.Image(1, "clip.flc {fr #4}");
  run.PickFifthFrame("4");
  const HWND second = run.Image(2, "cinepak.avi {fr #4}");
  run.ExpectShown(first, *Frame(4));
  Sequence().chosenFrame = 4;
  const ImageGuard filmed = Loaded(film);
  EXPECT_NEAR(PixelAt(*filmed, 5, 5).r, 4 * 40, 9);
  run.ExpectShown(second, *filmed);

  EXPECT_TRUE(DropFiles(run.program(), run.window(), {raw, gone, cut, raw}));
  if (run.Expect("RAW Image Loader Guide")) {
    SetControlText(run.dialog(), IDC_RAW_WIDTH, "2");
    SetControlText(run.dialog(), IDC_RAW_HEIGHT, "4");
    EXPECT_FALSE(IsControlEnabled(run.dialog(), IDOK));
    EXPECT_TRUE(SelectInDropDown(run.dialog(), IDC_RAW_KIND, "RBG Triples"));
  }
  run.PressButton(IDC_SWAP);
  run.PressButton(IDOK);
  run.ExpectAndClose("Failure", "No image could be loaded from\n" + gone);
  run.ExpectAndClose("Failure", cut + "\nIt is not whole: the file ends early; the rest is blank.");
  // The size stays for the next file, the kind does not.
  if (run.Expect("RAW Image Loader Guide")) {
    EXPECT_EQ(ControlTextOf(run.dialog(), IDC_RAW_WIDTH), "4");
    EXPECT_FALSE(IsControlEnabled(run.dialog(), IDOK));
  }
  run.PressButton(IDCANCEL);
  const HWND shot = run.Image(3, "shot.bin");
  run.Close(run.Image(4, "cut.ppm"));
  const ImageGuard wanted = Solid(4, 2, {0, 0, 0, 255});
  for (int i = 0; i < 8; ++i) {
    const auto value = [i](int channel) { return static_cast<std::uint8_t>(3 * i + channel); };
    SetPixel(*wanted, i % 4, i / 4, {value(0), value(2), value(1), 255});
  }
  run.ExpectShown(shot, *wanted);

  // Both can be told anew, also for a file that would be taken for something by its name.
  run.Choose("fr");
  if (run.Expect("RAW Image Loader Guide")) {
    EXPECT_EQ(ControlTextOf(run.dialog(), IDC_RAW_WIDTH), "4");
    SetControlText(run.dialog(), IDC_RAW_WIDTH, "12");
    EXPECT_TRUE(SelectInDropDown(run.dialog(), IDC_RAW_KIND, "Greyscale"));
  }
  run.PressButton(IDOK);
  run.TypePath("Open Image", temp.Write("shot.red", triples));
  const HWND grey = run.Image(5, "shot.red");
  const ImageGuard greyWanted = Solid(12, 2, {0, 0, 0, 255});
  for (std::uint8_t i = 0; i < 24; ++i) SetPixel(*greyWanted, i % 12, i / 12, {i, i, i, 255});
  run.ExpectShown(grey, *greyWanted);
  run.Close(grey);

  run.Choose("tu");
  run.Drag(shot, {1, 1}, {1, 1});
  EXPECT_TRUE(Becomes([&] { return !IsWindowEnabled(shot); })) << "no second box over the first";
  run.ExpectAndClose("SA Program Message", "This image has 8 colors. 100.00% utilization.");

  // The first image was the current one; when it is closed the second is, 4 : 3 as it is.
  run.Close(first);
  run.Choose("tm");
  run.Expect("Select Image to use as Source");
  EXPECT_FALSE(IsWindowEnabled(shot));
  run.PressButton(IDCANCEL);
  run.Drag(shot, {0, 0}, {3, 0});
  MergeInto(*wanted, {0, 0, 2, 1}, *filmed);
  run.ExpectShown(shot, *wanted);

  // A window that is to close waits for the dialog that lists it.
  run.Choose("fs");
  run.Expect("Select File to Save");
  PostMessageA(shot, WM_CLOSE, 0, 0);
  run.ExpectShown(shot, *wanted);
  run.PressButton(IDCANCEL);
  run.Expect("Save Changes");
  run.PressButton(IDCANCEL);
  run.ExpectShown(shot, *wanted);
  PostMessageA(shot, WM_CLOSE, 0, 0);
  run.ExpectAndClose("Save Changes", "Save changes to shot.bin?", IDNO);
  run.ExpectGone(shot);
  run.Close(second);
  run.Choose("fs");
  run.ExpectAndClose("Info", "No files to save!");
  run.Choose("fu");
  run.ExpectAndClose("Info", "No files are unsaved!");
  PostMessageA(run.window(), WM_SYSCOMMAND, SC_CLOSE, 0);
  run.ExpectEnd();
}

TEST_F(ViewerTest, AHundredWindows) {
  const ImageGuard image = PhotoLike(20, 10);
  const std::vector<std::string> files(101, Stored("one.tga", *image, 1));
  ViewerRun run(files);
  for (const int number : {50, 100}) run.Image(number, "one.tga");  // each in its own time
  run.ExpectAndClose("Failure", "Could not open window, no image loaded!");
  run.Close(run.Image(70, "one.tga"));
  run.Close(run.Image(30, "one.tga"));
  run.Choose("fo");
  run.TypePath("Open Image", files[0]);
  run.ExpectShown(run.Image(101, "one.tga"), *image);
  run.Choose("fs");
  if (run.Expect("Select File to Save")) {
    EXPECT_TRUE(SelectInListBox(run.dialog(), IDC_WINDOW_LIST, "[101] "));
    EXPECT_EQ(SendDlgItemMessageA(run.dialog(), IDC_WINDOW_LIST, LB_GETCURSEL, 0, 0), 29)
        << "the first free slot";
  }
  run.PressButton(IDCANCEL);
  run.Choose("fx");
  run.ExpectEnd();
}

TEST_F(ViewerTest, DoesWhatTheCommandLineDoes) {
  const std::string out = temp.file("out.png");
  DrivenRun imx(ProgramOfBuild("imx.exe"), "",
                {"convert", photoPath, "--region", "10,10,100,60", "--clip", "--rescale", "2",
                 "--gamma", "1.5", out});
  imx.ExpectEnd();
  const ImageGuard wanted = Loaded(out);

  ViewerRun run({photoPath});
  const HWND first = run.Image(1, "photo.png");
  run.ExpectShown(first, *photo);  // from there on it takes commands
  run.Choose("tc");
  run.Drag(first, {10, 10}, {100, 60});
  const HWND clip = run.Image(2, "NEW_");
  run.Choose("tr");
  run.TypeFactor("Scale Region", "1.000000", "2");
  run.Drag(clip, {0, 0}, {90, 50});
  const HWND large = run.Image(3, "NEW_");
  run.Choose("tg");
  run.TypeFactor("Apply Gamma Correction", "1.000000", "1.5");
  run.Drag(large, {5, 5}, {5, 5});
  run.ExpectShown(large, *wanted);
  run.Choose("fs");
  run.PickImage("Select File to Save", 3);
  run.Save("PNG", "24-bit", kNoOption, temp.file("viewer.png"));
  // Only the clipped one is left to ask about.
  PostMessageA(run.window(), WM_SYSCOMMAND, SC_CLOSE, 0);
  run.Expect("Save Changes");
  run.PressButton(IDYES);
  run.Save("PNG", "24-bit", kNoOption, temp.file("clip.png"));
  run.ExpectEnd();
  const ImageGuard clipped = Clipped(*photo, {10, 10, 100, 60}).image;
  EXPECT_EQ(Difference(*clipped, *Loaded(temp.file("clip.png"))), "");
  EXPECT_EQ(Difference(*wanted, *Loaded(temp.file("viewer.png"))), "");
}

}  // namespace
}  // namespace imx::test
