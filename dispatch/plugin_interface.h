/// What plug-in libraries and the library exchange. A plug-in exports "ImageLoad" or "IMAGELOAD"
/// (a PluginLoad), "ImageSave" or "IMAGESAVE" (a PluginSave), or both; and with them, if it can
/// tell, "ImageFault" or "IMAGEFAULT" (a PluginFaultOf), and two more of PluginLoad: "ImageHeader"
/// or "IMAGEHEADER" fills in a record without its pixels, which makeImage leaves out of it then;
/// "ImageSalvage" or "IMAGESALVAGE" passes over damaged parts that ImageLoad stops at.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#define IMX_PLUGIN_CALL __cdecl
#else
#define IMX_PLUGIN_CALL
#endif

namespace imx {

inline constexpr std::size_t kPluginTextSize = 4096;

/// An image as plug-ins see it. The pixels and the row table are the image's own, not copies.
/// In the 32-bit build this is the layout that plug-in libraries are compiled against.
struct PluginRecord {
  std::int32_t width;
  std::int32_t height;
  std::uint32_t unused1[2];
  char name[256];
  std::uint8_t red[256];
  std::uint8_t green[256];
  std::uint8_t blue[256];
  std::uint8_t* pixels;      ///< R, G, B, A
  std::int32_t* rowOffsets;  ///< index of each row's first pixel
  std::uint8_t unused2[288];
  char* comment;  ///< kPluginTextSize bytes
  char formatLabel[12];
  std::int32_t depth;  ///< 24 from the host
  std::uint8_t unused3[12];
  char author[100];
  char notice[100];
};

static_assert(sizeof(void*) != 4 ||
              (offsetof(PluginRecord, name) == 16 && offsetof(PluginRecord, red) == 272 &&
               offsetof(PluginRecord, pixels) == 1040 &&
               offsetof(PluginRecord, rowOffsets) == 1044 &&
               offsetof(PluginRecord, comment) == 1336 &&
               offsetof(PluginRecord, formatLabel) == 1340 &&
               offsetof(PluginRecord, depth) == 1352 && offsetof(PluginRecord, author) == 1368 &&
               offsetof(PluginRecord, notice) == 1468 && sizeof(PluginRecord) == 1568));

// The services. What returns an int returns 0.

using PluginProgressBegin = int(IMX_PLUGIN_CALL*)(const char* title, std::int32_t total,
                                                  std::int32_t extra);
using PluginProgressUpdate = int(IMX_PLUGIN_CALL*)(std::int32_t position);
using PluginProgressEnd = int(IMX_PLUGIN_CALL*)();
/// The record of a new image, released by the host; null when it cannot be made.
using PluginMakeImage = PluginRecord*(IMX_PLUGIN_CALL*)(std::int32_t width, std::int32_t height,
                                                        const char* name);
/// Zero-filled memory, or null. A plug-in that gives a record other pixels or another row table
/// takes them from here; the host then owns them.
using PluginAllocate = void*(IMX_PLUGIN_CALL*)(std::uint32_t size, std::uint32_t unused);
using PluginFree = int(IMX_PLUGIN_CALL*)(void* pointer);
using PluginNothing = int(IMX_PLUGIN_CALL*)();

/// Loads `path` into a record from `makeImage` and returns that record, or null.
using PluginLoad = PluginRecord*(IMX_PLUGIN_CALL*)(const char* path, void* mainWindow,
                                                   void* instance, PluginProgressBegin begin,
                                                   PluginProgressBegin beginAgain,
                                                   PluginProgressUpdate update,
                                                   PluginProgressEnd end, PluginMakeImage makeImage,
                                                   PluginAllocate allocate, PluginFree free,
                                                   PluginNothing nothing);

/// Saves the record to `path`. `option` is the quality (JPEG) or the compression flag (TIFF).
/// 0 on success.
using PluginSave = std::int32_t(IMX_PLUGIN_CALL*)(
    const char* path, PluginRecord* record, void* instance, void* mainWindow, std::int32_t option,
    PluginProgressBegin begin, PluginProgressBegin beginAgain, PluginProgressUpdate update,
    PluginProgressEnd end, PluginAllocate allocate, PluginFree free, PluginNothing nothing);

/// What kept the last load or save from being whole.
enum PluginFault : std::int32_t {
  kPluginNoFault = 0,
  kPluginFileEnded = 1,  ///< the file ends early; the record, if there is one, lacks the rest
  kPluginNoMemory = 2,
  kPluginOtherFault = 3,
};

/// The PluginFault of the plug-in's last load or save. *text: more about it in words for the user,
/// which live until the next call, or null.
using PluginFaultOf = std::int32_t(IMX_PLUGIN_CALL*)(const char** text);

}  // namespace imx
