#include "formats/gif_screen.h"

#include <algorithm>
#include <cstring>

#include "formats/codec_state.h"
#include "imagelib/file_reader.h"
#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/image.h"
#include "imagelib/load_outcome.h"

namespace imx {
namespace {

constexpr std::uint8_t kControlLabel = 0xF9;
constexpr std::uint8_t kControlSize = 4;
constexpr std::uint8_t kTransparentBit = 1;
constexpr std::int32_t kNoIndex = -1;
constexpr std::uint8_t kOpaque = 255;

enum class Disposal { keep = 1, clear = 2, restore = 3 };

/// A graphic control extension, which holds for the frame behind it.
struct Control {
  Disposal disposal = Disposal::keep;
  std::int32_t transparent = kNoIndex;
};

/// Reads an extension; only a control extension changes `control`.
void ReadExtension(FileReader& in, Control* control) {
  const std::uint8_t label = in.U8();
  const auto start = in.Peek(kControlSize + 1);
  if (label == kControlLabel && start.size > kControlSize && start.data[0] >= kControlSize) {
    const std::uint8_t flags = start.data[1];
    const int disposal = flags >> 2 & 7;
    // Early writers meant 3 by 4.
    control->disposal = disposal == 2                    ? Disposal::clear
                        : disposal == 3 || disposal == 4 ? Disposal::restore
                                                         : Disposal::keep;
    control->transparent = flags & kTransparentBit ? start.data[4] : kNoIndex;
  }
  SkipGifBlocks(in);
}

/// Calls onFrame(frame, control) behind each image descriptor until it gives false, the trailer or
/// the end of the file. Bytes between blocks that belong to none are passed over.
template <typename OnFrame>
void ForEachFrame(FileReader& in, OnFrame&& onFrame) {
  Control control;
  while (in.remaining() > 0) {
    switch (in.U8()) {
      case kGifImageMark:
        if (!onFrame(ReadGifFrame(in), control)) return;
        control = {};
        break;
      case kGifExtensionMark:
        ReadExtension(in, &control);
        break;
      case kGifTrailerMark:
        return;
      default:
        break;
    }
  }
}

struct ColourTable {
  PixelTable pixels{};
  std::int32_t count = 0;

  void Read(FileReader& in, std::uint8_t flags) {
    count = ReadGifColours(in, flags, &pixels);
    MakeOpaque();
  }

  /// What a file without a table shows in.
  void SetGreys() {
    count = kPaletteSize;
    for (std::size_t i = 0; i < kPaletteSize; ++i) {
      const auto grey = static_cast<std::uint8_t>(i);
      pixels.Set(i, grey, grey, grey);
    }
    MakeOpaque();
  }

 private:
  /// The alpha of all 256, since damaged data can name an index without an entry.
  void MakeOpaque() {
    for (std::uint32_t& pixel : pixels.pixel) {
      reinterpret_cast<std::uint8_t*>(&pixel)[3] = kOpaque;
    }
  }
};

/// The logical screen.
class Canvas {
 public:
  /// `background`: the pixel where nothing is, unless the frame has a transparent colour.
  Canvas(ImageRecord* image, std::uint32_t background) : image_(*image), background_(background) {}

  /// What disposal needs to know of each row. False when memory runs out.
  bool Allocate() {
    rows_ = TrackedBytes(static_cast<std::uint32_t>(image_.height), "gif rows");
    return static_cast<bool>(rows_);
  }

  /// What is beside the first frame.
  void Clear(const Control& control) {
    for (std::int32_t y = 0; y < image_.height; ++y) {
      Fill(y, 0, static_cast<std::size_t>(image_.width), Background(control));
    }
  }

  /// Begins a frame. False when memory runs out.
  bool Begin(const GifFrame& frame, const Control& control, const ColourTable& colours) {
    frame_ = frame;
    control_ = control;
    colours_ = &colours.pixels;
    if (control.disposal != Disposal::restore || before_) return true;
    before_ = TrackedArray<std::uint32_t>(image_.pixelCount, "gif screen");
    return static_cast<bool>(before_);
  }

  /// Decodes the frame's data. False on a stop.
  bool Draw(FileReader& in, LzwStrings& strings) {
    GifSink sink{Store, this, std::max(image_.height - frame_.top, 0), false};
    const bool done = DecodeGifFrame(in, strings, frame_, sink);
    whole_ = sink.whole;
    return done;
  }

  /// Whether the frame's data gave all of its pixels.
  bool IsWhole() const { return whole_; }

  static void Store(void* context, std::int32_t row, std::size_t x, const std::uint8_t* indices,
                    std::size_t count) {
    static_cast<Canvas*>(context)->Store(row, x, indices, count);
  }

  /// Takes the frame away as it asks.
  void Dispose() {
    if (control_.disposal == Disposal::keep || Left() >= Right()) return;
    const std::int32_t bottom = std::min(frame_.top + frame_.height, image_.height);
    for (std::int32_t y = frame_.top; y < bottom; ++y) {
      std::uint8_t& state = rows_[static_cast<std::size_t>(y)];
      if (control_.disposal == Disposal::clear && state & kUsed) {
        Fill(y, Left(), Right(), Background(control_));
      }
      if (state & kKept) {
        std::memcpy(PixelRow(image_, y) + 4 * Left(), Before(y), 4 * (Right() - Left()));
      }
      state &= static_cast<std::uint8_t>(~kKept);
    }
  }

  bool HasAlpha() const {
    for (std::int32_t y = 0; y < image_.height; ++y) {
      const std::uint8_t* const row = PixelRow(image_, y);
      for (std::int32_t x = 0; x < image_.width; ++x) {
        if (row[4 * x + 3] != kOpaque) return true;
      }
    }
    return false;
  }

 private:
  // Of a row: pixels were drawn in it; what the frame covers of it is kept in before_.
  static constexpr std::uint8_t kUsed = 1, kKept = 2;

  std::size_t Left() const { return static_cast<std::size_t>(frame_.left); }
  std::size_t Right() const {
    return static_cast<std::size_t>(std::min(frame_.left + frame_.width, image_.width));
  }
  std::uint32_t Background(const Control& control) const {
    return control.transparent == kNoIndex ? background_ : 0;
  }
  void Fill(std::int32_t y, std::size_t left, std::size_t right, std::uint32_t pixel) {
    std::uint8_t* const row = PixelRow(image_, y);
    for (std::size_t x = left; x < right; ++x) std::memcpy(row + 4 * x, &pixel, sizeof pixel);
  }
  std::uint32_t* Before(std::int32_t y) {
    return &before_[static_cast<std::size_t>(y) * static_cast<std::size_t>(image_.width) + Left()];
  }

  void Store(std::int32_t row, std::size_t x, const std::uint8_t* indices, std::size_t count) {
    const std::int32_t y = frame_.top + row;
    x += Left();
    if (y >= image_.height || x >= Right()) return;
    std::uint8_t& state = rows_[static_cast<std::size_t>(y)];
    if (control_.disposal == Disposal::restore && !(state & kKept)) {
      std::memcpy(Before(y), PixelRow(image_, y) + 4 * Left(), 4 * (Right() - Left()));
      state |= kKept;
    }
    state |= kUsed;
    std::uint8_t* to = PixelRow(image_, y) + 4 * x;
    count = std::min(count, Right() - x);
    if (control_.transparent == kNoIndex) return RowFromIndices(indices, *colours_, to, count);
    for (std::size_t i = 0; i < count; ++i, to += 4) {
      if (indices[i] != control_.transparent) std::memcpy(to, &colours_->pixel[indices[i]], 4);
    }
  }

  ImageRecord& image_;
  const std::uint32_t background_;
  TrackedBytes rows_;
  TrackedArray<std::uint32_t> before_;  // the pixels under the frame, in the rows that it drew
  GifFrame frame_;
  Control control_;
  const PixelTable* colours_ = nullptr;
  bool whole_ = false;
};

/// Draws the frames up to the one chosen. False when memory runs out.
bool DrawFrames(FileReader& in, LzwStrings& strings, const GifScreen& screen, std::int32_t chosen,
                ImageRecord* image) {
  ColourTable global, local;
  global.SetGreys();
  const bool shared = (screen.flags & kGifTableBit) != 0;
  if (shared) global.Read(in, screen.flags);
  Canvas canvas(image, shared ? global.pixels.pixel[screen.background] : 0);
  bool made = canvas.Allocate();
  std::int32_t number = 0;
  if (made) {
    ForEachFrame(in, [&](const GifFrame& frame, const Control& control) {
      const bool own = (frame.flags & kGifTableBit) != 0;
      if (own) local.Read(in, frame.flags);
      const ColourTable& colours = own ? local : global;
      if (number == 0) canvas.Clear(control);
      made = canvas.Begin(frame, control, colours);
      if (!made || !canvas.Draw(in, strings)) return false;
      if (number == chosen) {
        KeepColours(*image, colours.pixels, colours.count);
        if (!canvas.IsWhole()) in.ended() ? NoteFileEndedEarly() : NoteDamagedPixels();
        return false;
      }
      canvas.Dispose();
      ++number;
      return true;
    });
  }
  if (made && canvas.HasAlpha()) image->flags |= kFlagAlpha;
  return made;
}

/// Gives the record the colours of the frame chosen.
void TellColours(FileReader& in, const GifScreen& screen, std::int32_t chosen, ImageRecord& image) {
  ColourTable colours;
  colours.SetGreys();
  if (screen.flags & kGifTableBit) colours.Read(in, screen.flags);
  std::int32_t number = 0;
  ForEachFrame(in, [&](const GifFrame& frame, const Control&) {
    ColourTable local = colours;
    if (frame.flags & kGifTableBit) local.Read(in, frame.flags);
    SkipGifData(in);
    if (number++ < chosen) return true;
    KeepColours(image, local.pixels, local.count);
    return false;
  });
}

}  // namespace

GifScreen ReadGifScreen(FileReader& in) {
  GifScreen screen;
  screen.width = in.U16();
  screen.height = in.U16();
  screen.flags = in.U8();
  screen.background = in.U8();
  screen.aspect = in.U8();
  return screen;
}

GifOutline OutlineGif(FileReader& in, const GifScreen& screen) {
  GifOutline outline;
  outline.needsScreen = screen.aspect != 0;
  if (screen.flags & kGifTableBit) in.Skip(std::uint64_t{6} << (screen.flags & kGifTableBits));
  ForEachFrame(in, [&](const GifFrame& frame, const Control& control) {
    if (outline.frames++ == 0) outline.first = frame;
    outline.needsScreen = outline.needsScreen || outline.frames > 1 || frame.left != 0 ||
                          frame.top != 0 || frame.width != screen.width ||
                          frame.height != screen.height || control.transparent != kNoIndex;
    if (frame.flags & kGifTableBit) in.Skip(std::uint64_t{6} << (frame.flags & kGifTableBits));
    SkipGifData(in);
    return true;
  });
  return outline;
}

ImageRecord* LoadGifFrame(FileReader& in, LzwStrings& strings, const GifScreen& screen,
                          const GifOutline& outline) {
  const std::int32_t chosen = std::max(Sequence().chosenFrame, 0);
  if (outline.frames > 1) {
    Sequence().frameCount = outline.frames;
    if (chosen >= outline.frames) return nullptr;
  }
  // A screen without pixels is taken to be as large as the first frame.
  const bool stated = screen.width > 0 && screen.height > 0;
  const std::int32_t width = stated ? screen.width : outline.first.left + outline.first.width;
  const std::int32_t height = stated ? screen.height : outline.first.top + outline.first.height;
  ProgressScope progress("Reading GIF image", height, 5);
  ImageGuard image(AllocImage(width, height, "igif", nullptr));
  if (!image) return nullptr;
  image->depth = (screen.flags & kGifTableBits) + 1u;
  CopyText(image->formatLabel, "GIF");
  const bool several = outline.frames > 1;
  if (several) image->frame = chosen + 1;
  if (HeaderOnly()) {
    TellColours(in, screen, several ? chosen : 0, *image);
    NoteAlphaUntold();
    return image.release();
  }
  const bool drawn = DrawFrames(in, strings, screen, several ? chosen : 0, image.get());
  return drawn ? image.release() : nullptr;
}

void KeepColours(ImageRecord& image, const PixelTable& colours, std::int32_t count) {
  image.paletteCount = count;
  for (std::int32_t i = 0; i < count; ++i) {
    std::uint8_t rgba[4];
    std::memcpy(rgba, &colours.pixel[i], sizeof rgba);
    image.palette.red[i] = rgba[0];
    image.palette.green[i] = rgba[1];
    image.palette.blue[i] = rgba[2];
  }
}

}  // namespace imx
