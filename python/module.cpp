// The Python module imx._imx: the C interface with numpy arrays for pixels.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>

#include "imx/imx.h"

namespace py = pybind11;
using namespace py::literals;  // NOLINT(google-build-using-namespace)

namespace {

// The library's lock is only waited for without Python's: a call that has the library may be
// waiting for Python's, to tell how far it is.
struct Freer {
  void operator()(imx_image* image) const {
    const py::gil_scoped_release released;
    imx_image_free(image);
  }
  void operator()(void* bytes) const { imx_bytes_free(bytes); }
};
using Image = std::unique_ptr<imx_image, Freer>;
using Bytes = std::unique_ptr<void, Freer>;
using Pixels = py::array_t<std::uint8_t, py::array::c_style | py::array::forcecast>;

/// Asks Python whether a call is to go on: its signal handlers, and the caller's function.
struct Listener {
  py::object function;
  std::exception_ptr raised = nullptr;

  static int Tell(void* user, const char* title, std::int32_t position, std::int32_t total) {
    const py::gil_scoped_acquire held;
    auto* listener = static_cast<Listener*>(user);
    try {
      if (PyErr_CheckSignals() != 0) throw py::error_already_set();
      if (listener->function.is_none()) return 0;
      return py::bool_(listener->function(title, position, total)) ? 1 : 0;
    } catch (...) {
      listener->raised = std::current_exception();
      return 1;
    }
  }
};

/// Texts are bytes of whatever encoding; as Latin-1 each of them comes back.
std::string Encoded(const py::handle& text) {
  return py::bytes(text.attr("encode")("latin-1"));
}

py::str Decoded(const char* text) {
  return py::reinterpret_borrow<py::bytes>(py::bytes(text)).attr("decode")("latin-1");
}

imx_report NewReport() {
  imx_report report = {};
  report.struct_size = sizeof report;
  return report;
}

/// Raises what a failed call asks for.
void Check(const imx_report& report) {
  if (report.status == IMX_OK) return;
  const py::object kind = py::module_::import("imx").attr("Error");
  PyErr_SetObject(kind.ptr(), kind(Decoded(report.text), report.status).ptr());
  throw py::error_already_set();
}

/// Does `call` without Python's lock, and raises what its listener did.
template <typename Call>
void Unlocked(Listener* listener, Call&& call) {
  {
    const py::gil_scoped_release released;
    call();
  }
  if (listener && listener->raised) std::rethrow_exception(listener->raised);
}

/// The fields of `options` that the caller's dictionary names; the texts live in it.
template <typename Options>
void Choose(const py::dict& chosen, const char* name, std::int32_t Options::*field,
            Options* options) {
  if (chosen.contains(name)) options->*field = chosen[name].cast<std::int32_t>();
}

template <typename Options>
void Choose(const py::dict& chosen, const char* name, const char* Options::*field,
            Options* options) {
  if (!chosen.contains(name)) return;
  options->*field =
      PyUnicode_AsUTF8(chosen[name].ptr());  // the text of the dictionary's own object
  if (!(options->*field)) throw py::error_already_set();
}

imx_load_options LoadOptions(const py::dict& chosen, Listener* listener) {
  imx_load_options options;
  imx_load_options_init(&options);
  using Options = imx_load_options;
  Choose(chosen, "reading", &Options::reading, &options);
  Choose(chosen, "frame", &Options::frame, &options);
  Choose(chosen, "raw_layout", &Options::raw_layout, &options);
  Choose(chosen, "raw_width", &Options::raw_width, &options);
  Choose(chosen, "raw_height", &Options::raw_height, &options);
  Choose(chosen, "extension", &Options::extension, &options);
  Choose(chosen, "quirks", &Options::quirks, &options);
  if (chosen.contains("max_bytes")) options.max_bytes = chosen["max_bytes"].cast<std::uint64_t>();
  options.progress = Listener::Tell;
  options.progress_user = listener;
  return options;
}

imx_save_options SaveOptions(const py::dict& chosen, Listener* listener) {
  imx_save_options options;
  imx_save_options_init(&options);
  using Options = imx_save_options;
  Choose(chosen, "type", &Options::type, &options);
  Choose(chosen, "quirks", &Options::quirks, &options);
  Choose(chosen, "depth", &Options::depth, &options);
  Choose(chosen, "compress", &Options::compress, &options);
  Choose(chosen, "interlace", &Options::interlace, &options);
  Choose(chosen, "quality", &Options::quality, &options);
  Choose(chosen, "palette_source", &Options::palette_source, &options);
  Choose(chosen, "palette_bits", &Options::palette_bits, &options);
  Choose(chosen, "ordered", &Options::ordered, &options);
  Choose(chosen, "strength", &Options::strength, &options);
  Choose(chosen, "durable", &Options::durable, &options);
  options.progress = Listener::Tell;
  options.progress_user = listener;
  return options;
}

Pixels PixelsOf(imx_image* image) {
  const py::ssize_t width = imx_image_width(image), height = imx_image_height(image);
  Pixels pixels({height, width, py::ssize_t{4}});
  std::copy_n(imx_image_pixels(image), 4 * width * height, pixels.mutable_data());
  return pixels;
}

/// The fields of the Python class Image.
py::dict Described(imx_image* image, const imx_report& report) {
  std::uint8_t rgb[768];
  const py::ssize_t colours = imx_image_palette(image, rgb);
  Pixels palette({colours, py::ssize_t{3}});
  std::copy_n(rgb, 3 * colours, palette.mutable_data());
  return py::dict("pixels"_a = PixelsOf(image), "alpha"_a = imx_image_has_alpha(image) != 0,
                  "depth"_a = imx_image_depth(image), "frames"_a = imx_image_frames(image),
                  "format"_a = Decoded(imx_image_text(image, IMX_TEXT_FORMAT)),
                  "author"_a = Decoded(imx_image_text(image, IMX_TEXT_AUTHOR)),
                  "comment"_a = Decoded(imx_image_text(image, IMX_TEXT_COMMENT)),
                  "notice"_a = Decoded(imx_image_text(image, IMX_TEXT_NOTICE)),
                  "palette"_a = palette, "fault"_a = Decoded(report.text),
                  "note"_a = Decoded(report.note));
}

/// The fields of the Python class Info; `source` as in Load.
py::dict Probe(const py::bytes& source, bool isMemory, const py::dict& chosen) {
  Listener listener{py::none()};
  const imx_load_options options = LoadOptions(chosen, &listener);
  const std::string_view data = source;
  imx_report report = NewReport();
  imx_info info{};
  info.struct_size = sizeof info;
  Unlocked(&listener, [&] {
    if (isMemory) {
      imx_probe_memory(data.data(), data.size(), &options, &info, &report);
    } else {
      imx_probe_file(data.data(), &options, &info, &report);
    }
  });
  Check(report);
  py::object alpha = py::none();
  if (info.has_alpha >= 0) alpha = py::bool_(info.has_alpha != 0);
  return py::dict("width"_a = info.width, "height"_a = info.height, "depth"_a = info.depth,
                  "alpha"_a = alpha, "frames"_a = info.frames, "format"_a = Decoded(info.format));
}

/// A file (`source` is its path), or with `isMemory` the bytes of one.
py::dict Load(const py::bytes& source, bool isMemory, bool lenient, const py::dict& chosen,
              const py::object& progress) {
  Listener listener{progress};
  const imx_load_options options = LoadOptions(chosen, &listener);
  const std::string_view data = source;
  imx_report report = NewReport();
  imx_image* made = nullptr;
  Unlocked(&listener, [&] {
    if (isMemory) {
      imx_load_memory(data.data(), data.size(), &options, &made, &report);
    } else {
      imx_load_file(data.data(), &options, &made, &report);
    }
  });
  const Image image(made);
  if (!image || !lenient) Check(report);
  return Described(image.get(), report);
}

Image FromPixels(const Pixels& pixels, bool alpha) {
  if (pixels.ndim() != 3 || pixels.shape(2) != 4 || pixels.shape(0) > INT32_MAX ||
      pixels.shape(1) > INT32_MAX) {
    throw py::value_error("pixels are height x width x 4 bytes");
  }
  const auto width = static_cast<std::int32_t>(pixels.shape(1));
  const auto height = static_cast<std::int32_t>(pixels.shape(0));
  imx_report report = NewReport();
  imx_image* made = nullptr;
  Unlocked(nullptr, [&, rgba = pixels.data()] {
    imx_image_new(width, height, rgba, alpha ? 1 : 0, &made, &report);
  });
  Image image(made);
  Check(report);
  return image;
}

/// The image of a Python Image.
Image FromPython(const py::object& picture) {
  Image image = FromPixels(picture.attr("pixels").cast<Pixels>(), py::bool_(picture.attr("alpha")));
  const std::string texts[] = {Encoded(picture.attr("author")), Encoded(picture.attr("comment")),
                               Encoded(picture.attr("notice"))};
  constexpr imx_text kTexts[] = {IMX_TEXT_AUTHOR, IMX_TEXT_COMMENT, IMX_TEXT_NOTICE};
  const auto palette = picture.attr("palette").cast<Pixels>();
  const std::int32_t colours = palette.ndim() == 2 && palette.shape(1) == 3
                                   ? static_cast<std::int32_t>(palette.shape(0))
                                   : 0;
  for (std::size_t i = 0; i < 3; ++i) {
    imx_report report = NewReport();
    Unlocked(nullptr,
             [&] { imx_image_set_text(image.get(), kTexts[i], texts[i].c_str(), &report); });
    Check(report);
  }
  imx_report report = NewReport();
  if (colours > 0) {
    Unlocked(nullptr, [&, rgb = palette.data()] {
      imx_image_set_palette(image.get(), rgb, colours, &report);
    });
  }
  Check(report);
  return image;
}

/// To the file `path`, or without one into bytes; gives those and the note.
py::tuple Save(const py::object& picture, const py::object& path, const py::dict& chosen,
               const py::object& progress) {
  const Image image = FromPython(picture);
  Listener listener{progress};
  const imx_save_options options = SaveOptions(chosen, &listener);
  const std::string file = path.is_none() ? std::string() : std::string(py::bytes(path));
  imx_report report = NewReport();
  void* bytes = nullptr;
  std::size_t size = 0;
  const auto save = [&] {
    if (file.empty()) {
      imx_save_memory(image.get(), &options, &bytes, &size, &report);
    } else {
      imx_save_file(image.get(), file.c_str(), &options, &report);
    }
  };
  Unlocked(&listener, save);
  const Bytes owned(bytes);
  Check(report);
  return py::make_tuple(py::bytes(static_cast<const char*>(bytes), size), Decoded(report.note));
}

/// The pixels with another size: exactly it, or fitted into it.
Pixels Resized(const Pixels& pixels, bool alpha, std::int32_t width, std::int32_t height,
               bool fit) {
  const Image image = FromPixels(pixels, alpha);
  imx_report report = NewReport();
  Unlocked(nullptr, [&] {
    const auto resize = fit ? imx_fit : imx_resize;
    resize(image.get(), width, height, &report);
  });
  Check(report);
  return PixelsOf(image.get());
}

py::list Formats() {
  py::list formats;
  for (std::int32_t i = 0; i < imx_format_count(); ++i) {
    imx_format format{};
    format.struct_size = sizeof format;
    imx_format_at(i, &format);
    py::list depths;
    for (std::int32_t d = 0; d < format.depth_count; ++d) depths.append(format.depths[d]);
    formats.append(py::dict("extension"_a = format.extension, "label"_a = format.label,
                            "can_load"_a = format.can_load != 0,
                            "can_save"_a = format.can_save != 0, "depths"_a = py::tuple(depths)));
  }
  return formats;
}

}  // namespace

PYBIND11_MODULE(_imx, module) {
  module.doc() = "What the package imx is made of.";
  module.attr("version") = imx_version();
  module.def("load", &Load);
  module.def("probe", &Probe);
  module.def("save", &Save);
  module.def("resized", &Resized);
  module.def("formats", &Formats);
}
