#include "tests/dispatch/test_plugin.h"

#if defined(_WIN32)
#define EXPORTED extern "C" __declspec(dllexport)
#else
#define EXPORTED extern "C" __attribute__((visibility("default")))
#endif

EXPORTED imx::PluginRecord* IMX_PLUGIN_CALL
PLUGIN_LOAD(const char*, void* mainWindow, void* instance, imx::PluginProgressBegin begin,
            imx::PluginProgressBegin beginAgain, imx::PluginProgressUpdate update,
            imx::PluginProgressEnd end, imx::PluginMakeImage makeImage,
            imx::PluginAllocate allocate, imx::PluginFree free, imx::PluginNothing nothing) {
  if (instance || begin != beginAgain || nothing() != 0) return nullptr;
  return static_cast<const imx::test::PluginCalls*>(mainWindow)
      ->load({begin, update, end, makeImage, allocate, free});
}

EXPORTED std::int32_t IMX_PLUGIN_CALL PLUGIN_SAVE(
    const char*, imx::PluginRecord* record, void* instance, void* mainWindow, std::int32_t option,
    imx::PluginProgressBegin begin, imx::PluginProgressBegin beginAgain,
    imx::PluginProgressUpdate update, imx::PluginProgressEnd end, imx::PluginAllocate allocate,
    imx::PluginFree free, imx::PluginNothing nothing) {
  if (instance || begin != beginAgain || nothing() != 0) return 1;
  return static_cast<const imx::test::PluginCalls*>(mainWindow)
      ->save({begin, update, end, nullptr, allocate, free}, *record, option);
}
