/// What the plug-in libraries share: their exported functions, and the pixels of the record that
/// host and plug-in exchange.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "dispatch/plugin_interface.h"

#if defined(_WIN32)
#define IMX_PLUGIN_EXPORT extern "C" __declspec(dllexport)
#else
#define IMX_PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif

/// Defines the exported function `name`, a PluginLoad that gives what
/// `load(path, host, what)` gives.
#define IMX_EXPORT_LOADER(name, load, what)                                                     \
  IMX_PLUGIN_EXPORT imx::PluginRecord* IMX_PLUGIN_CALL name(                                    \
      const char* path, void*, void*, imx::PluginProgressBegin begin, imx::PluginProgressBegin, \
      imx::PluginProgressUpdate update, imx::PluginProgressEnd end,                             \
      imx::PluginMakeImage makeImage, imx::PluginAllocate allocate, imx::PluginFree free,       \
      imx::PluginNothing) {                                                                     \
    return load(path,                                                                           \
                {.begin = begin,                                                                \
                 .update = update,                                                              \
                 .end = end,                                                                    \
                 .makeImage = makeImage,                                                        \
                 .allocate = allocate,                                                          \
                 .free = free},                                                                 \
                what);                                                                          \
  }

namespace imx {

/// The host's services, those that a plug-in has a use for.
struct PluginHost {
  PluginProgressBegin begin = nullptr;
  PluginProgressUpdate update = nullptr;
  PluginProgressEnd end = nullptr;
  PluginMakeImage makeImage = nullptr;
  PluginAllocate allocate = nullptr;
  PluginFree free = nullptr;
};

/// The R, G, B, A bytes of a row.
inline std::uint8_t* RecordRow(const PluginRecord& record, std::int32_t y) {
  return record.pixels + std::ptrdiff_t{4} * record.rowOffsets[y];
}

/// Whether red, green and blue are equal in every pixel.
bool IsGreyRecord(const PluginRecord& record);

/// Whether the alpha bytes differ from each other. The record does not tell whether the image has
/// alpha; bytes that are all the same carry none that is worth a channel.
bool HasAlphaChannel(const PluginRecord& record);

/// Whether the host has room for memory that the plug-in's libraries take past it.
bool HasRoom(const PluginHost& host, std::uint64_t bytes);

/// Copies `text`, cut where the field is full.
void SetField(char* field, std::size_t size, std::string_view text);

/// Notes what the host is told when it asks for the fault of this call; a text is cut to what fits.
/// The first fault of a call counts.
void NoteFault(PluginFault fault, std::string_view text = "");

/// To be called where a load or a save begins.
void ForgetFault();

}  // namespace imx
