/// The eleven dialogs of the wizard without their windows: what each shows when it opens and what
/// its controls do.
#pragma once

#include <cstddef>

#include "setup/core/install_settings.h"
#include "setup/core/page_machine.h"
#include "setup/core/platform.h"

namespace imx {

/// What a page does to its window. `window` goes first into every function; controls are named by
/// the numbers of resources/wizard_ids.h.
struct Controls {
  void* window;
  void (*setText)(void* window, int id, const char* text);
  /// Reads at most size-1 characters and terminates them.
  void (*getText)(void* window, int id, char* to, std::size_t size);
  void (*check)(void* window, int id, bool checked);
  bool (*isChecked)(void* window, int id);
  void (*enable)(void* window, int id, bool enabled);
  void (*insert)(void* window, int list, int index, const char* text);
  /// The entry chosen in a list. False when none is, or it does not fit.
  bool (*selectedText)(void* window, int list, PathText& text);
  void (*clearSelection)(void* window, int list);
  /// Lets the user pick a directory. False, leaving it alone, when none is picked.
  bool (*browseFolder)(void* window, const char* title, PathText& directory);
  /// Shows another dialog on top of this one, to its end.
  void (*showOver)(void* window, Page page);
  void (*close)(void* window);
};

/// One open page.
struct PageView {
  InstallSettings& settings;
  const Platform& platform;
  const Controls& controls;
};

/// What happened to a control.
enum class ControlEvent {
  clicked,           ///< a button or check box
  selectionChanged,  ///< a list
};

/// The page's dialog template, by resource name.
const char* pageResource(Page page);

/// The title of the page's window, as the template has it.
const char* pageTitle(Page page);

/// Fills the page's controls; called once, before the page is seen.
void openPage(Page page, const PageView& view);

/// The control that gets the focus when the page is seen; 0: the first one that is enabled.
int firstFocus(Page page, const InstallSettings& settings);

/// Answers an event of control `id`. Events that mean nothing to the page are passed over.
void commandPage(Page page, const PageView& view, int id, ControlEvent event);

}  // namespace imx
