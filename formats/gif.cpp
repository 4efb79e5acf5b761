#include "formats/gif.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "formats/gif_data.h"
#include "formats/gif_screen.h"
#include "formats/indexed.h"
#include "formats/pixel_rows.h"
#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "imagelib/file_writer.h"
#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/load_outcome.h"
#include "imagelib/quirks.h"

namespace imx {
namespace {

constexpr std::int32_t kLargestSide = 99999;
constexpr std::int32_t kWriteError = -3;
constexpr std::int32_t kIndexBits = 8;

/// The exact way's frame: its own width is the row stride, whatever the image's.
struct LaidFrame {
  ImageRecord* image;
  const PixelTable& colours;
  std::size_t width;
};

/// Pixels past the image are dropped.
void StoreLaid(void* context, std::int32_t row, std::size_t x, const std::uint8_t* indices,
               std::size_t count) {
  const LaidFrame& frame = *static_cast<const LaidFrame*>(context);
  const std::uint64_t first = static_cast<std::uint64_t>(row) * frame.width + x;
  if (first >= frame.image->pixelCount) return;
  const std::size_t room = frame.image->pixelCount - static_cast<std::size_t>(first);
  RowFromIndices(indices, frame.colours, frame.image->pixels + 4 * static_cast<std::size_t>(first),
                 std::min(count, room));
}

/// Rows of that width that have a pixel within the image.
std::int32_t RowsWithin(const ImageRecord& image, std::int32_t width) {
  if (width == 0) return 0;
  const std::int64_t rows = (std::int64_t{image.pixelCount} + width - 1) / width;
  return static_cast<std::int32_t>(std::min<std::int64_t>(rows, UINT16_MAX));
}

/// Reads an image descriptor and its data. False on a stop.
bool ReadImage(FileReader& in, LzwStrings& strings, PixelTable* colours, ImageRecord* image) {
  const GifFrame frame = ReadGifFrame(in);  // left and top are ignored
  if (frame.flags & kGifTableBit)
    KeepColours(*image, *colours, ReadGifColours(in, frame.flags, colours));
  if (HeaderOnly()) {
    SkipGifData(in);
    return true;
  }
  LaidFrame laid{image, *colours, static_cast<std::size_t>(frame.width)};
  GifSink sink{StoreLaid, &laid, RowsWithin(*image, frame.width), true};
  const bool done = DecodeGifFrame(in, strings, frame, sink);
  if (done && !sink.whole && !in.ended()) NoteDamagedPixels();
  return done;
}

/// Walks the blocks up to the trailer, a stop, or anything unknown.
void ReadBlocks(FileReader& in, LzwStrings& strings, std::uint8_t screenFlags, ImageRecord* image) {
  PixelTable colours{};
  if (screenFlags & kGifTableBit)
    KeepColours(*image, colours, ReadGifColours(in, screenFlags, &colours));
  for (;;) {
    switch (in.U8()) {
      case kGifImageMark:
        if (!ReadImage(in, strings, &colours, image)) return;
        break;
      case kGifExtensionMark:
        in.U8();  // label
        SkipGifBlocks(in);
        break;
      default:
        image->depth = (screenFlags & kGifTableBits) + 1u;
        CopyText(image->formatLabel, "GIF");
        if (in.ended()) NoteFileEndedEarly();  // without the trailer more frames may be missing
        return;
    }
  }
}

std::int32_t PutWord(const GifStream& gif, std::int32_t value) {
  if (const std::int32_t error = gif.putByte(gif.context, static_cast<std::uint8_t>(value))) {
    return error;
  }
  return gif.putByte(gif.context, static_cast<std::uint8_t>(value >> 8));
}

std::int32_t PutBytes(const GifStream& gif, const std::uint8_t* bytes, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (const std::int32_t error = gif.putByte(gif.context, bytes[i])) return error;
  }
  return 0;
}

/// The rendered rows in output order, and the file they go to.
struct GifSource {
  const IndexedImage* indexed;
  FileWriter* out;
  TrackedArray<std::int32_t> order;  // row of each output row; none when they are written in order
  std::int32_t height;
  std::int32_t row = -1;  // output row that is being read
  const std::uint8_t* at = nullptr;
  const std::uint8_t* end = nullptr;
  bool stopped = false;

  std::int32_t NextPixel() {
    if (at == end && !NextRow()) return -1;
    return *at++;
  }

  bool NextRow() {
    if (stopped || row + 1 == height) return false;
    row += 1;
    stopped = ProgressUpdateAbort(row) != 0;
    if (stopped) return false;
    at = indexed->Row(order ? order[static_cast<std::size_t>(row)] : row);
    end = at + indexed->width;
    return true;
  }
};

/// The interlaced order as a table. The label is the one its twin, the plain order, would carry.
TrackedArray<std::int32_t> InterlacedRows(std::int32_t height) {
  TrackedArray<std::int32_t> rows(static_cast<std::uint32_t>(height), "GIF Interlace src table");
  GifRowOrder order{height, true};
  for (std::int32_t& row : rows.span()) {
    row = order.row;
    order.Advance();
  }
  return rows;
}

/// Red, green and blue of the 256 entries.
void InterleavePalette(const Palette& palette, std::uint8_t (&table)[3 * kPaletteSize]) {
  for (std::size_t i = 0; i < kPaletteSize; ++i) {
    table[3 * i] = palette.red[i];
    table[3 * i + 1] = palette.green[i];
    table[3 * i + 2] = palette.blue[i];
  }
}

}  // namespace

ImageRecord* LoadGif(std::FILE* file) {
  FileReader in(file);
  SetFileByteOrder(ByteOrder::little);
  if (in.U8() != 'G') return nullptr;
  in.Skip(5);
  const GifScreen screen = ReadGifScreen(in);
  LzwStrings strings;
  if (!strings.Allocate()) return nullptr;
  const std::uint64_t blocks = in.position();
  const GifOutline outline = OutlineGif(in, screen);
  in.Seek(blocks);
  if (outline.needsScreen && QuirkShown(kGifScreen)) {
    return LoadGifFrame(in, strings, screen, outline);
  }
  const auto outside = [](std::int32_t side) { return side < 1 || side > kLargestSide; };
  if (outside(screen.width) || outside(screen.height)) return nullptr;
  ProgressScope progress("Reading GIF image", screen.height, 5);
  ImageGuard image(AllocImage(screen.width, screen.height, "igif", nullptr));
  if (!image) return nullptr;
  // Damaged data are read on the screen, which may have alpha.
  if (outline.needsScreen) NoteAlphaUntold();
  // A file that states an aspect gives a blank image.
  if (screen.aspect == 0) ReadBlocks(in, strings, screen.flags, image.get());
  return image.release();
}

std::int32_t WriteGifScreen(const GifStream& gif) {
  static constexpr std::uint8_t kSignature[6] = {'G', 'I', 'F', '8', '7', 'a'};
  if (const std::int32_t error = PutBytes(gif, kSignature, sizeof kSignature)) return error;
  if (const std::int32_t error = PutWord(gif, gif.width)) return error;
  if (const std::int32_t error = PutWord(gif, gif.height)) return error;
  const std::int32_t flags = kGifTableBit | (gif.colourResolution - 1) << 4 | (gif.bits - 1);
  const std::uint8_t rest[3] = {static_cast<std::uint8_t>(flags), 0, 0};  // background, aspect
  return PutBytes(gif, rest, sizeof rest);
}

std::int32_t WriteGifColourTable(const GifStream& gif) {
  return PutBytes(gif, gif.colourTable, std::size_t{3} << gif.bits);
}

std::int32_t WriteGifImageDescriptor(const GifStream& gif) {
  const std::uint8_t mark[5] = {kGifImageMark};  // left and top are 0
  if (const std::int32_t error = PutBytes(gif, mark, sizeof mark)) return error;
  if (const std::int32_t error = PutWord(gif, gif.width)) return error;
  if (const std::int32_t error = PutWord(gif, gif.height)) return error;
  return gif.putByte(gif.context, gif.interlace ? kGifInterlaceBit : std::uint8_t{0});
}

std::int32_t WriteGifFile(const GifStream& gif) {
  if (const std::int32_t error = WriteGifScreen(gif)) return error;
  if (const std::int32_t error = WriteGifColourTable(gif)) return error;
  if (const std::int32_t error = WriteGifImageDescriptor(gif)) return error;
  if (const std::int32_t error = LzwEncode(gif.bits, gif.nextPixel, gif.putByte, gif.context)) {
    return error;
  }
  return gif.putByte(gif.context, kGifTrailerMark);
}

std::int32_t SaveGif(const ImageRecord* image, const char* path, std::int32_t interlace) {
  if (image->width > UINT16_MAX || image->height > UINT16_MAX) {
    LibError("A GIF file holds at most 65535 x 65535 pixels");
    return 1;
  }
  TrackedArray<std::int32_t> order;
  if (interlace) order = InterlacedRows(image->height);
  if (interlace && !order) return 1;
  IndexedImage indexed;
  if (!RenderIndexed(*image, RenderCode::colour8, &indexed)) return 1;
  std::uint8_t table[3 * kPaletteSize];
  InterleavePalette(indexed.palette, table);
  FileWriter out(path);
  if (!out.ok()) return 1;
  GifSource source{&indexed, &out, std::move(order), image->height};
  ProgressScope progress("Saving GIF", image->height, 5, StopButton::none);
  GifStream gif{};
  gif.putByte = [](void* context, std::uint8_t byte) -> std::int32_t {
    return static_cast<GifSource*>(context)->out->U8(byte) ? 0 : kWriteError;
  };
  gif.nextPixel = [](void* context) { return static_cast<GifSource*>(context)->NextPixel(); };
  gif.context = &source;
  gif.width = image->width;
  gif.height = image->height;
  gif.colourResolution = gif.bits = kIndexBits;
  gif.interlace = interlace;
  gif.colourTable = table;
  if (WriteGifFile(gif) != 0) return 1;
  // A stopped save ends in a well-formed file, but not in a whole image.
  if (source.stopped) return 0;
  return out.Finish() ? 0 : 1;
}

}  // namespace imx
