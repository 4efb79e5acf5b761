// A gdk-pixbuf module that loads what gdk-pixbuf itself does not, from the bytes that it is fed.
#define GDK_PIXBUF_ENABLE_BACKEND
#include <gdk-pixbuf/gdk-pixbuf.h>
#include <gmodule.h>

#include <algorithm>
#include <cstdint>
#include <memory>

#include "imx/imx.h"

namespace {

// With what loading it takes beside, such a file stays within reason for a file manager.
constexpr guint kMaxFileBytes = 256u << 20;
constexpr std::uint64_t kMaxImageBytes = std::uint64_t{512} << 20;
/// Of a damaged file that has less for its pixels hardly anything could be shown.
constexpr guint kMaxPixelsOfByte = 256;

struct Freer {
  void operator()(imx_image* image) const { imx_image_free(image); }
  void operator()(GdkPixbuf* pixbuf) const { g_object_unref(pixbuf); }
  void operator()(GByteArray* bytes) const { g_byte_array_unref(bytes); }
};
using Image = std::unique_ptr<imx_image, Freer>;
using Pixbuf = std::unique_ptr<GdkPixbuf, Freer>;

/// A load under way.
struct Context {
  GdkPixbufModuleSizeFunc sizeKnown;
  GdkPixbufModulePreparedFunc prepared;
  GdkPixbufModuleUpdatedFunc updated;
  gpointer user;
  std::unique_ptr<GByteArray, Freer> bytes;
};

GdkPixbufError ErrorOf(imx_status status) {
  switch (status) {
    case IMX_ABOVE_LIMIT:
    case IMX_TOO_LARGE:
    case IMX_NO_MEMORY:
      return GDK_PIXBUF_ERROR_INSUFFICIENT_MEMORY;
    case IMX_NOT_KNOWN:
      return GDK_PIXBUF_ERROR_UNKNOWN_TYPE;
    case IMX_ENDED_EARLY:
    case IMX_DAMAGED:
      return GDK_PIXBUF_ERROR_CORRUPT_IMAGE;
    default:
      return GDK_PIXBUF_ERROR_FAILED;
  }
}

void SetError(GError** error, GdkPixbufError code, const char* text) {
  gchar* const valid = g_utf8_make_valid(text, -1);
  g_set_error_literal(error, GDK_PIXBUF_ERROR, code, valid);
  g_free(valid);
}

/// Whether a damaged file can hold a part of its picture that is worth the work on all of it.
bool IsWorthShowing(const imx_image* image, const GByteArray& bytes) {
  const auto pixels = gint64{imx_image_width(image)} * imx_image_height(image);
  return pixels <= gint64{kMaxPixelsOfByte} * bytes.len;
}

/// The file's picture; a damaged one may have both a picture and an error.
Image Decoded(const GByteArray& bytes, GError** error) {
  imx_load_options options;
  imx_load_options_init(&options);
  options.reading = IMX_READ_AT_NEED;
  options.max_bytes = kMaxImageBytes;
  imx_report report = {};
  report.struct_size = sizeof report;
  imx_status status = IMX_NOT_KNOWN;
  imx_image* image = nullptr;
  // Nobody tells the name of the file: first what needs none, and last what any text could be.
  for (const char* extension : {"", "flc", "pcx", "pix", "dem"}) {
    options.extension = extension;
    status = imx_load_memory(bytes.data, bytes.len, &options, &image, &report);
    if (status != IMX_NOT_KNOWN) break;
  }
  Image decoded(image);
  if (status == IMX_OK) return decoded;
  SetError(error, ErrorOf(status), report.text);
  if (decoded && !IsWorthShowing(image, bytes)) decoded.reset();
  return decoded;
}

Pixbuf PixbufOf(imx_image* image, GError** error) {
  const int width = imx_image_width(image), height = imx_image_height(image);
  const bool alpha = imx_image_has_alpha(image) != 0;
  Pixbuf pixbuf(gdk_pixbuf_new(GDK_COLORSPACE_RGB, alpha, 8, width, height));
  if (!pixbuf) {
    SetError(error, GDK_PIXBUF_ERROR_INSUFFICIENT_MEMORY, "not enough memory for the picture");
    return pixbuf;
  }
  const int channels = alpha ? 4 : 3;
  const std::uint8_t* from = imx_image_pixels(image);
  for (int y = 0; y < height; ++y) {
    guchar* to =
        gdk_pixbuf_get_pixels(pixbuf.get()) +
        gsize{static_cast<guint>(y)} * static_cast<guint>(gdk_pixbuf_get_rowstride(pixbuf.get()));
    for (int x = 0; x < width; ++x, from += 4, to += channels) std::copy_n(from, channels, to);
  }
  return pixbuf;
}

/// Gives the picture the size that the program wants. False with `error` set when it cannot be.
bool Fit(const Context& context, imx_image* image, GError** error) {
  int width = imx_image_width(image), height = imx_image_height(image);
  if (context.sizeKnown) context.sizeKnown(&width, &height, context.user);
  if (width == 0 || height == 0) {
    SetError(error, GDK_PIXBUF_ERROR_FAILED, "the program wants no picture");
    return false;
  }
  imx_report report = {};
  report.struct_size = sizeof report;
  const bool isSized = width > 0 && height > 0;
  const imx_status status = isSized ? imx_resize(image, width, height, &report) : IMX_OK;
  if (status != IMX_OK) SetError(error, ErrorOf(status), report.text);
  return status == IMX_OK;
}

gpointer BeginLoad(GdkPixbufModuleSizeFunc sizeKnown, GdkPixbufModulePreparedFunc prepared,
                   GdkPixbufModuleUpdatedFunc updated, gpointer user, GError** /*error*/) {
  return new Context{sizeKnown, prepared, updated, user,
                     std::unique_ptr<GByteArray, Freer>(g_byte_array_new())};
}

gboolean LoadIncrement(gpointer given, const guchar* bytes, guint size, GError** error) {
  const auto* context = static_cast<Context*>(given);
  if (size > kMaxFileBytes - context->bytes->len) {
    SetError(error, GDK_PIXBUF_ERROR_INSUFFICIENT_MEMORY, "files above 256 MB are not loaded");
    return FALSE;
  }
  g_byte_array_append(context->bytes.get(), bytes, size);
  return TRUE;
}

gboolean StopLoad(gpointer given, GError** error) {
  const std::unique_ptr<Context> context(static_cast<Context*>(given));
  GError* fault = nullptr;
  const Image image = Decoded(*context->bytes, &fault);
  GError** const resizing = fault ? nullptr : &fault;
  if (image && Fit(*context, image.get(), resizing)) {
    if (const Pixbuf pixbuf = PixbufOf(image.get(), resizing)) {
      if (context->prepared) context->prepared(pixbuf.get(), nullptr, context->user);
      if (context->updated) {
        context->updated(pixbuf.get(), 0, 0, gdk_pixbuf_get_width(pixbuf.get()),
                         gdk_pixbuf_get_height(pixbuf.get()), context->user);
      }
    }
  }
  if (!fault) return TRUE;
  g_propagate_error(error, fault);
  return FALSE;
}

}  // namespace

extern "C" {

// The names that gdk-pixbuf looks for. NOLINTBEGIN(readability-identifier-naming)
G_MODULE_EXPORT void fill_vtable(GdkPixbufModule* module);
G_MODULE_EXPORT void fill_info(GdkPixbufFormat* info);
// NOLINTEND(readability-identifier-naming)

void fill_vtable(GdkPixbufModule* module) {
  module->begin_load = BeginLoad;
  module->load_increment = LoadIncrement;
  module->stop_load = StopLoad;
}

void fill_info(GdkPixbufFormat* info) {
  static gchar form[] = "FORM    TRIM", formMask[] = "    xxxx    ";
  static gchar bitmap[] = "FORM    ILBM", chunky[] = "FORM    PBM ";
  static gchar softimage[] = "\x53\x80\xf6\x34", photoshop[] = "8BPS", sgi[] = "\x01\xda";
  static GdkPixbufModulePattern signature[] = {{form, formMask, 100},    {bitmap, formMask, 100},
                                               {chunky, formMask, 100},  {softimage, nullptr, 100},
                                               {photoshop, nullptr, 90}, {sgi, nullptr, 60},
                                               {nullptr, nullptr, 0}};
  static gchar mimes[][28] = {"image/x-quillmark-trim",
                              "image/x-ilbm",
                              "image/x-softimage-pic",
                              "image/x-wavefront-rla",
                              "image/x-alias-pix",
                              "image/x-usgs-dem",
                              "image/vnd.zbrush.pcx",
                              "image/x-pcx",
                              "image/vnd.adobe.photoshop",
                              "image/x-psd",
                              "image/x-rgb",
                              "image/x-sgi",
                              "video/x-flic"};
  static gchar* mimeTypes[std::size(mimes) + 1] = {};
  for (std::size_t i = 0; i < std::size(mimes); ++i) mimeTypes[i] = mimes[i];
  static gchar endings[][5] = {"trm", "iff", "lbm", "ilbm", "fs",  "pic", "rla", "pix",
                               "dem", "pcx", "psd", "rgb",  "sgi", "fli", "flc"};
  static gchar* extensions[std::size(endings) + 1] = {};
  for (std::size_t i = 0; i < std::size(endings); ++i) extensions[i] = endings[i];
  static gchar name[] = "imx", description[] = "Quillmark IMX", license[] = "MIT";
  info->name = name;
  info->signature = signature;
  info->description = description;
  info->mime_types = mimeTypes;
  info->extensions = extensions;
  info->flags = GDK_PIXBUF_FORMAT_THREADSAFE;
  info->license = license;
}

}  // extern "C"
