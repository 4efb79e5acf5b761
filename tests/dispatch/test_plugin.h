/// The test plug-in does nothing itself: each call goes back to the test, by a table that stands
/// in the place of the main window.
#pragma once

#include "dispatch/plugin_interface.h"

namespace imx::test {

/// The services that a call got.
struct PluginServices {
  PluginProgressBegin begin;
  PluginProgressUpdate update;
  PluginProgressEnd end;
  PluginMakeImage makeImage;  ///< of loaders only
  PluginAllocate allocate;
  PluginFree free;
};

struct PluginCalls {
  PluginRecord* (*load)(const PluginServices& services);
  std::int32_t (*save)(const PluginServices& services, PluginRecord& record, std::int32_t option);
};

}  // namespace imx::test
