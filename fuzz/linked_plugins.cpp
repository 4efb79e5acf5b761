// The plug-ins as a part of the program, where the fuzzer sees what they do: this stands in for the
// loading of libraries.

#include <string>

#include "dispatch/plugin_interface.h"
#include "dispatch/plugins.h"
#include "formats/codec_state.h"
#include "fuzz/targets.h"
#include "imagelib/plugin_library.h"

// Their exported functions, renamed in the build.
extern "C" {
std::remove_pointer_t<imx::PluginLoad> JpegImageLoad, JpegImageHeader, TiffImageLoad,
    TiffImageHeader, ImageSalvage;
std::remove_pointer_t<imx::PluginSave> JpegImageSave, TiffImageSave;
std::remove_pointer_t<imx::PluginFaultOf> ImageFault;
}

namespace imx {
namespace {

constexpr char kJpegLoader[] = "KZLDJPEG.DLL";
constexpr char kJpegSaver[] = "KZSVJPEG.DLL";
constexpr char kTiff[] = "KZLDTIFF.DLL";

struct LinkedLibrary {
  const char* name;
  PluginLoad load, header, salvage;
  PluginSave save;
};

LinkedLibrary libraries[] = {{kJpegLoader, JpegImageLoad, JpegImageHeader, nullptr, nullptr},
                             {kJpegSaver, nullptr, nullptr, nullptr, JpegImageSave},
                             {kTiff, TiffImageLoad, TiffImageHeader, ImageSalvage, TiffImageSave}};

}  // namespace

PluginLibrary::PluginLibrary(const char* name) {
  for (LinkedLibrary& library : libraries) {
    if (EqualNoCase(name, library.name)) handle_ = &library;
  }
}

PluginLibrary::~PluginLibrary() = default;

void* PluginLibrary::Symbol(const char* name) const {
  const auto& library = *static_cast<const LinkedLibrary*>(handle_);
  if (EqualNoCase(name, "ImageLoad")) return reinterpret_cast<void*>(library.load);
  if (EqualNoCase(name, "ImageHeader")) return reinterpret_cast<void*>(library.header);
  if (EqualNoCase(name, "ImageSalvage")) return reinterpret_cast<void*>(library.salvage);
  if (EqualNoCase(name, "ImageSave")) return reinterpret_cast<void*>(library.save);
  return EqualNoCase(name, "ImageFault") ? reinterpret_cast<void*>(ImageFault) : nullptr;
}

namespace test {
namespace {

template <const auto& library>
ImageRecord* Load(const char* path) {
  return LoadWithPlugin(path, library);
}

template <const auto& library, int option>
void Save(const ImageRecord& image, const char* path) {
  SaveWithPlugin(&image, path, library, option);
}

}  // namespace

const std::vector<Codec>& PluginCodecs() {
  static const std::vector<Codec> table = {
      {.name = "jpeg",
       .load = Load<kJpegLoader>,
       .savings = {{"full", Save<kJpegSaver, 100>, Kept::size},
                   {"half", Save<kJpegSaver, 50>, Kept::size}}},
      {.name = "tiff",
       .load = Load<kTiff>,
       .savings = {{"plain", Save<kTiff, 0>, Kept::rgb}, {"packed", Save<kTiff, 1>, Kept::rgb}}}};
  return table;
}

}  // namespace test
}  // namespace imx
