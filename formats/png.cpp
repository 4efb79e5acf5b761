#include "formats/png.h"

#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "formats/codec_state.h"
#include "formats/indexed.h"
#include "formats/pixel_rows.h"
#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "imagelib/file_writer.h"
#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/host.h"
#include "imagelib/image.h"
#include "imagelib/load_outcome.h"
#include "imagelib/quirks.h"
#include "imagelib/registry.h"
#include "imagelib/text.h"

// libpng reports an error by a jump to the last setjmp. The functions here keep to one rule: a
// frame that a libpng call can jump over, or back into, holds no object with a destructor.
// Everything owned lives in a Reading or Writing in the exported function's frame.

namespace imx {
namespace {

constexpr const char* kReaderFault = "PNG Reader Unrecoverable Error";
constexpr const char* kWriterFault = "PNG Writer Unrecoverable Error";
constexpr const char* kSizeFault = "x or y insane";
constexpr const char* kTypeFault = "PNG image type insame";

constexpr char kAuthorKey[] = "Author";
constexpr char kDescriptionKey[] = "Description";
constexpr char kSoftwareKey[] = "Software";
constexpr const char* kBanner = "QMK IMX 1.0";
constexpr int kRevision = 1;
constexpr int kVersion = 1;

constexpr png_uint_32 kLongestSide = 0x7FFFFFFF;
constexpr std::size_t kChunkHeaderSize = 8;  // length, type
constexpr std::size_t kChecksumSize = 4;
/// A compressed text that inflates beyond this is passed over; 255 characters of it are kept.
constexpr png_alloc_size_t kLongestText = 128 * 1024;
/// Every row takes its time, however short. A picture of more rows than this is refused when the
/// file has not even a byte for each.
constexpr std::int32_t kMostEmptyRows = 1 << 24;
/// Deflate makes at most this many bytes of one.
constexpr std::uint64_t kMostInflation = 1032;

void JumpBack(png_structp png, png_const_charp) {
  png_longjmp(png, 1);
}
void Ignore(png_structp, png_const_charp) {}

/// libpng's memory, its rows and texts, counts as the library's own.
png_voidp TakeMemory(png_structp, png_alloc_size_t size) {
  if (size <= UINT32_MAX) return AllocMem(static_cast<std::uint32_t>(size), 1, "libpng");
  NoteRefusedMemory();
  return nullptr;
}

void GiveBackMemory(png_structp, png_voidp block) {
  FreeMem(block);
}

// Reading

/// A file of chunks as libpng is to see it when what others forgive is forgiven: without chunks
/// that no pixel or text needs, whatever their names and check sums, and with those that promise
/// more than the file holds cut to what it holds.
struct Forgiven {
  std::uint64_t next = 0;  ///< offset of the next chunk
  std::uint8_t prefix[2] = {};
  std::size_t prefixLeft = 0;  ///< bytes of the prefix to be given before the chunk's own
  bool isHeader = false;       ///< the chunk at hand is IHDR
  std::uint8_t colourType = 0;
  bool isCgbi = false;  ///< blue comes first, alpha is multiplied in, deflate has no header
  bool inData = false;  ///< an IDAT chunk has come
};

struct Reading {
  Reading(const char* path, bool forgiveAll) : in(path), forgiving(forgiveAll) {}
  ~Reading() { png_destroy_read_struct(&png, &info, nullptr); }
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;

  FileReader in;
  const bool forgiving;
  Forgiven forgiven;
  bool endedEarly = false;  ///< the file, before the picture was whole
  bool whole = false;       ///< every row has been read
  png_structp png = nullptr;
  png_infop info = nullptr;
  ImageGuard image;
  TrackedArray<png_bytep> rows;
  TextField author = {};
  TextField comment = {};
  std::uint32_t textFlags = 0;  ///< of the record
  const char* fault = nullptr;
};

/// Keeps the texts that count of those that libpng has, and releases them all.
void TakeTexts(Reading& job) {
  png_textp texts = nullptr;
  const int count = png_get_text(job.png, job.info, &texts, nullptr);
  for (int i = 0; i < count; ++i) {
    const char* text = texts[i].text ? texts[i].text : "";
    if (std::strcmp(texts[i].key, kAuthorKey) == 0) {
      CopyTextCut(job.author, text);
      job.textFlags |= kFlagHasAuthor;
    } else if (std::strcmp(texts[i].key, kDescriptionKey) == 0) {
      CopyTextCut(job.comment, text);
      job.textFlags |= kFlagHasComment;
    }
  }
  png_free_data(job.png, job.info, PNG_FREE_TEXT, -1);
}

bool IsChunk(const std::uint8_t* header, const char* type) {
  return std::memcmp(header + kChunkHeaderSize - 4, type, 4) == 0;
}

/// The chunks that are read where others are forgiven.
bool IsNeeded(const std::uint8_t* header, std::uint8_t colourType) {
  static constexpr const char* kNeeded[] = {"IHDR", "IDAT", "tEXt", "zTXt", "IEND"};
  if (IsChunk(header, "PLTE")) return colourType == PNG_COLOR_TYPE_PALETTE;
  if (IsChunk(header, "tRNS")) return (colourType & PNG_COLOR_MASK_ALPHA) == 0;
  return std::any_of(std::begin(kNeeded), std::end(kNeeded),
                     [header](const char* type) { return IsChunk(header, type); });
}

/// Goes to the next chunk that is needed and gives its header as libpng is to see it.
void ReadForgivenHeader(Reading& job, png_bytep header) {
  Forgiven& state = job.forgiven;
  FileReader& in = job.in;
  if (state.next == 0) state.next = in.position();
  std::uint32_t length = 0;
  do {
    in.Seek(state.next);
    if (!in.ReadAll(header, kChunkHeaderSize)) {
      job.endedEarly = true;
      png_error(job.png, "the file ended");
    }
    length = LoadU32(header, ByteOrder::big);
    state.next = in.position() + length + kChecksumSize;
    if (IsChunk(header, "CgBI")) state.isCgbi = true;
  } while (!IsNeeded(header, state.colourType));
  if (length > in.remaining()) {
    job.endedEarly = true;
    length = static_cast<std::uint32_t>(in.remaining());
  }
  state.isHeader = IsChunk(header, "IHDR");
  const bool isData = IsChunk(header, "IDAT");
  if (isData && !state.inData && state.isCgbi) {
    state.prefix[0] = 0x78;  // deflate with the largest window
    state.prefix[1] = 0x01;
    state.prefixLeft = sizeof state.prefix;
    length += sizeof state.prefix;
  }
  state.inData = state.inData || isData;
  StoreU32(header, length, ByteOrder::big);
}

void ReadForgiven(Reading& job, png_bytep to, std::size_t count) {
  constexpr std::size_t kHeaderLength = 13, kColourTypeAt = 9, kMethodsAt = 10, kInterlaceAt = 12;
  Forgiven& state = job.forgiven;
  switch (png_get_io_state(job.png) & PNG_IO_MASK_LOC) {
    case PNG_IO_CHUNK_HDR:
      return ReadForgivenHeader(job, to);
    case PNG_IO_CHUNK_CRC:
      std::memset(to, 0, count);
      return;
    default:
      break;
  }
  for (; count > 0 && state.prefixLeft > 0; --count) {
    *to++ = state.prefix[sizeof state.prefix - state.prefixLeft--];
  }
  if (!job.in.ReadAll(to, count)) {
    job.endedEarly = true;
    png_error(job.png, "the file ended");
  }
  if (!state.isHeader || count != kHeaderLength) return;
  state.colourType = to[kColourTypeAt];
  to[kMethodsAt] = to[kMethodsAt + 1] =
      0;  // there is one compression method and one set of filters
  to[kInterlaceAt] &= 1;
}

/// Stands for the pixels where only the header is read: what libpng reads up to.
constexpr png_byte kNoPixels[kChunkHeaderSize] = {0, 0, 0, 0, 'I', 'D', 'A', 'T'};

/// Goes on to the next chunk that holds no pixels, whose header then is in `header`. At the file's
/// end, where texts can no longer come, libpng is given the pixels that it waits for.
void PassOverPixels(FileReader& in, png_bytep header) {
  bool ended = false;
  while (!ended && IsChunk(header, "IDAT")) {
    in.Skip(std::uint64_t{LoadU32(header, ByteOrder::big)} + kChecksumSize);
    ended = !in.ReadAll(header, kChunkHeaderSize);
  }
  if (ended || IsChunk(header, "IEND")) std::memcpy(header, kNoPixels, kChunkHeaderSize);
}

/// libpng takes a chunk's memory before it reads the chunk, so a length beyond the end of the file
/// is met here.
void ReadBytes(png_structp png, png_bytep to, std::size_t count) {
  auto& job = *static_cast<Reading*>(png_get_io_ptr(png));
  FileReader& in = job.in;
  const bool chunkHeader = (png_get_io_state(png) & PNG_IO_MASK_LOC) == PNG_IO_CHUNK_HDR;
  if (job.forgiving) {
    ReadForgiven(job, to, count);
  } else if (!in.ReadAll(to, count)) {
    png_error(png, "the file ended");
  } else if (chunkHeader && count == kChunkHeaderSize) {
    if (HeaderOnly()) PassOverPixels(in, to);
    if (LoadU32(to, ByteOrder::big) > in.remaining()) {
      job.endedEarly = true;
      png_error(png, "a chunk is longer than the file");
    }
  }
  // Between chunks, so that no more than one text is held at a time.
  if (chunkHeader) TakeTexts(job);
}

void Forgive(Reading& job) {
  png_set_crc_action(job.png, PNG_CRC_QUIET_USE, PNG_CRC_QUIET_USE);
  png_set_option(job.png, PNG_IGNORE_ADLER32, PNG_OPTION_ON);
  png_set_benign_errors(job.png, 1);
}

bool BeginReading(Reading& job) {
  job.png = png_create_read_struct_2(PNG_LIBPNG_VER_STRING, nullptr, JumpBack, Ignore, nullptr,
                                     TakeMemory, GiveBackMemory);
  if (job.png) job.info = png_create_info_struct(job.png);
  return job.info != nullptr;
}

void ReadHeader(Reading& job) {
  // Colour profiles and suggested palettes are of no use here and can be large.
  static constexpr png_byte kPassedOver[] = "iCCP\0sPLT";
  png_set_keep_unknown_chunks(job.png, PNG_HANDLE_CHUNK_NEVER, kPassedOver, 2);
  png_set_user_limits(job.png, kLongestSide, kLongestSide);
  png_set_chunk_malloc_max(job.png, kLongestText);
  png_set_read_fn(job.png, &job, ReadBytes);
  if (job.forgiving) Forgive(job);
  png_read_info(job.png, job.info);
}

struct PixelPlan {
  std::uint32_t depth;  ///< of the record
  bool grey;
  bool alpha;  ///< the colour type has an alpha channel
};

/// False for an unknown colour type.
bool PlanPixels(Reading& job, PixelPlan* plan) {
  const std::uint32_t bits = png_get_bit_depth(job.png, job.info);
  switch (png_get_color_type(job.png, job.info)) {
    case PNG_COLOR_TYPE_GRAY:
      *plan = {bits, true, false};
      break;
    case PNG_COLOR_TYPE_RGB:
      *plan = {3 * bits, false, false};
      break;
    case PNG_COLOR_TYPE_PALETTE:
      *plan = {bits, false, false};
      break;
    case PNG_COLOR_TYPE_GRAY_ALPHA:
      *plan = {bits + 8, true, true};
      break;
    case PNG_COLOR_TYPE_RGB_ALPHA:
      *plan = {3 * bits + 8, false, true};
      break;
    default:
      job.fault = kTypeFault;
      return false;
  }
  return true;
}

void RequestRgba(Reading& job, const PixelPlan& plan) {
  if (png_get_bit_depth(job.png, job.info) == 16) png_set_strip_16(job.png);
  png_set_packing(job.png);
  png_set_expand(job.png);
  if (plan.grey) png_set_gray_to_rgb(job.png);
  // libpng leaves the filler out where a tRNS chunk has brought alpha.
  if (!plan.alpha) png_set_filler(job.png, 0xFF, PNG_FILLER_AFTER);
  if (job.forgiven.isCgbi) png_set_bgr(job.png);
  png_set_interlace_handling(job.png);
}

bool AllocRecord(Reading& job, std::int32_t width, std::int32_t height, std::uint32_t depth) {
  const bool pixels = !HeaderOnly();
  if (pixels) job.rows = TrackedArray<png_bytep>(static_cast<std::uint32_t>(height), "png1");
  if (pixels && !job.rows) return false;
  job.image = ImageGuard(AllocImage(width, height, "PNG", nullptr));
  if (!job.image) return false;
  ImageRecord& image = *job.image;
  image.depth = depth;
  image.fileType = kTypePng;
  CopyText(image.extension, ".png");
  CopyText(image.formatLabel, "PNG");
  for (std::int32_t y = 0; pixels && y < height; ++y) {
    job.rows[static_cast<std::size_t>(y)] = PixelRow(image, y);
  }
  return true;
}

void TakePalette(Reading& job) {
  png_colorp colours = nullptr;
  int count = 0;
  if (png_get_color_type(job.png, job.info) != PNG_COLOR_TYPE_PALETTE) return;
  if (png_get_PLTE(job.png, job.info, &colours, &count) == 0) return;
  Palette& palette = job.image->palette;
  for (int i = 0; i < count; ++i) {
    palette.red[i] = colours[i].red;
    palette.green[i] = colours[i].green;
    palette.blue[i] = colours[i].blue;
  }
  job.image->paletteCount = count;
}

void StoreTexts(Reading& job) {
  TakeTexts(job);
  CopyTextCut(job.image->author, job.author);
  CopyTextCut(job.image->comment, job.comment);
  job.image->flags |= job.textFlags;
}

/// Whether an error came behind some row, and whether behind all of them: the end of the data is
/// looked for when the last one has been read.
bool AnyRowIsRead(Reading& job) {
  constexpr int kPasses = 7;
  if (!job.image) return false;
  const png_uint_32 row = png_get_current_row_number(job.png);
  const int pass = png_get_current_pass_number(job.png);
  job.whole = job.whole || pass >= kPasses || row >= static_cast<png_uint_32>(job.image->height);
  return job.whole || row > 0 || pass > 0;
}

/// Fills job.image. False with job.fault set when there is something to tell.
bool ReadPicture(Reading& job) {
  if (setjmp(png_jmpbuf(job.png))) {
    if (job.forgiving && AnyRowIsRead(job)) return true;
    job.fault = kReaderFault;
    return false;
  }
  ReadHeader(job);
  const auto width = static_cast<std::int32_t>(png_get_image_width(job.png, job.info));
  const auto height = static_cast<std::int32_t>(png_get_image_height(job.png, job.info));
  if (width < 1 || height < 1) {
    job.fault = kSizeFault;
    return false;
  }
  PixelPlan plan;
  if (!PlanPixels(job, &plan)) return false;

  // A file too short for its size would fail in the end; it fails before the memory is taken.
  const std::uint64_t bytes =
      std::uint64_t{png_get_rowbytes(job.png, job.info)} * static_cast<std::uint32_t>(height);
  const bool tooManyRows =
      height > kMostEmptyRows && static_cast<std::uint64_t>(height) > job.in.remaining();
  if (!HeaderOnly() && (tooManyRows || bytes / kMostInflation > job.in.remaining())) {
    job.endedEarly = true;
    png_error(job.png, "the file is too short");
  }

  if (!AllocRecord(job, width, height, plan.depth)) return false;
  if (plan.alpha || png_get_valid(job.png, job.info, PNG_INFO_tRNS)) job.image->flags |= kFlagAlpha;
  TakePalette(job);
  if (HeaderOnly()) return true;
  RequestRgba(job, plan);
  png_read_update_info(job.png, job.info);
  if (png_get_rowbytes(job.png, job.info) != std::size_t{4} * static_cast<std::uint32_t>(width)) {
    png_error(job.png, "rows are not four bytes a pixel");
  }
  png_read_image(job.png, job.rows.data());
  job.whole = true;
  png_read_end(job.png, job.info);
  return true;
}

/// The picture, or as much of it as there is.
ImageRecord* Finish(Reading& job) {
  StoreTexts(job);
  if (HeaderOnly()) return job.image.release();
  if (job.forgiven.isCgbi) DivideByAlpha(job.image.get());
  if (!job.whole && job.endedEarly) NoteFileEndedEarly();
  if (!job.whole && !job.endedEarly) NoteDamagedPixels();
  return job.image.release();
}

// Writing

struct Writing {
  explicit Writing(const ImageRecord& record) : image(record) {}
  ~Writing() { png_destroy_write_struct(&png, &info); }
  Writing(const Writing&) = delete;
  Writing& operator=(const Writing&) = delete;

  const ImageRecord& image;
  int colourType = PNG_COLOR_TYPE_RGB;
  IndexedImage indexed;  // of the palette form
  int interlace = PNG_INTERLACE_NONE;
  char software[32] = {};
  png_text texts[3] = {};
  int textCount = 0;
  TrackedArray<png_bytep> rows;
  FileWriter* out = nullptr;
  png_structp png = nullptr;
  png_infop info = nullptr;
};

void WriteBytes(png_structp png, png_bytep from, std::size_t count) {
  if (!static_cast<FileWriter*>(png_get_io_ptr(png))->Write(from, count)) {
    png_error(png, "the file cannot be written");
  }
}
void FlushNothing(png_structp) {}

bool BeginWriting(Writing& job) {
  job.png = png_create_write_struct_2(PNG_LIBPNG_VER_STRING, nullptr, JumpBack, Ignore, nullptr,
                                      TakeMemory, GiveBackMemory);
  if (job.png) job.info = png_create_info_struct(job.png);
  return job.info != nullptr;
}

// libpng takes texts and rows that are not const; it only reads those that it writes.
void AddText(Writing& job, const char* key, const char* text) {
  if (text[0] == 0) return;
  png_text& entry = job.texts[job.textCount++];
  entry.compression = PNG_TEXT_COMPRESSION_NONE;
  entry.key = const_cast<char*>(key);
  entry.text = const_cast<char*>(text);
}

void BuildTexts(Writing& job) {
  std::snprintf(job.software, sizeof job.software, "%s r%dv%d", kBanner, kRevision, kVersion);
  AddText(job, kSoftwareKey, job.software);
  AddText(job, kAuthorKey, job.image.author);
  AddText(job, kDescriptionKey, job.image.comment);
}

bool ChooseColours(Writing& job) {
  switch (Output().depthBits) {
    case 24:
      job.colourType = PNG_COLOR_TYPE_RGB;
      return true;
    case 32:
      job.colourType = PNG_COLOR_TYPE_RGB_ALPHA;
      return true;
    default:
      job.colourType = PNG_COLOR_TYPE_PALETTE;
      return RenderIndexed(job.image, RenderCode::colour8, &job.indexed);
  }
}

bool BuildRows(Writing& job) {
  const std::int32_t height = job.image.height;
  job.rows = TrackedArray<png_bytep>(static_cast<std::uint32_t>(height), "png2");
  if (!job.rows) return false;
  const bool indexed = job.colourType == PNG_COLOR_TYPE_PALETTE;
  for (std::int32_t y = 0; y < height; ++y) {
    job.rows[static_cast<std::size_t>(y)] =
        indexed ? const_cast<png_bytep>(job.indexed.Row(y)) : PixelRow(job.image, y);
  }
  return true;
}

void WritePalette(Writing& job) {
  png_color colours[kPaletteSize];
  const Palette& palette = job.indexed.palette;
  for (int i = 0; i < kPaletteSize; ++i) {
    colours[i] = {palette.red[i], palette.green[i], palette.blue[i]};
  }
  png_set_PLTE(job.png, job.info, colours, kPaletteSize);
}

/// False when libpng or the file failed.
bool WritePicture(Writing& job) {
  if (setjmp(png_jmpbuf(job.png))) return false;
  png_set_user_limits(job.png, kLongestSide, kLongestSide);
  png_set_write_fn(job.png, job.out, WriteBytes, FlushNothing);
  png_set_IHDR(job.png, job.info, static_cast<png_uint_32>(job.image.width),
               static_cast<png_uint_32>(job.image.height), 8, job.colourType, job.interlace,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (job.colourType == PNG_COLOR_TYPE_PALETTE) WritePalette(job);
  if (!Quirk(kPngNoMetrePixels)) {
    png_set_pHYs(job.png, job.info, 1, 1, PNG_RESOLUTION_METER);
  }
  png_set_text(job.png, job.info, job.texts, job.textCount);
  png_write_info(job.png, job.info);
  // The record's fourth byte is dropped on the way.
  if (job.colourType == PNG_COLOR_TYPE_RGB) png_set_filler(job.png, 0xFF, PNG_FILLER_AFTER);
  png_write_image(job.png, job.rows.data());
  png_write_end(job.png, nullptr);
  return true;
}

}  // namespace

bool IsPng(const std::uint8_t* header, std::uint32_t size) {
  constexpr std::uint32_t kSignatureSize = 8;
  return size >= kSignatureSize && png_sig_cmp(header, 0, kSignatureSize) == 0;
}

ImageRecord* LoadPng(const char* path) {
  Reading job(path, false);
  if (!job.in.ok() || !BeginReading(job)) return nullptr;
  if (ReadPicture(job)) return Finish(job);
  if (job.fault == kReaderFault && Quirk(kPngDamage)) {
    Reading again(path, true);
    if (again.in.ok() && BeginReading(again) && ReadPicture(again)) return Finish(again);
  }
  if (job.endedEarly) NoteFileEndedEarly();
  if (job.fault) LibNote(job.fault);
  return nullptr;
}

std::int32_t SavePng(const ImageRecord* image, const char* path, std::int32_t interlace) {
  Writing job(*image);
  if (interlace != 0) job.interlace = PNG_INTERLACE_ADAM7;
  BuildTexts(job);
  if (!ChooseColours(job) || !BuildRows(job)) return 1;
  FileWriter out(path);
  if (!out.ok() || !BeginWriting(job)) return 1;
  job.out = &out;
  if (WritePicture(job) && out.Finish()) return 0;
  LibNote(kWriterFault);
  return 1;
}

}  // namespace imx
