/// The wizard's pages without a screen.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "resources/wizard_ids.h"
#include "setup/core/wizard_pages.h"

namespace imx::test {

/// The state of one page's controls. Buttons that are disabled cannot be pressed.
class FakeWindow {
 public:
  FakeWindow(Page page, InstallSettings& settings, const Platform& platform,
             std::function<void(Page)> showOver);
  FakeWindow(const FakeWindow&) = delete;
  FakeWindow& operator=(const FakeWindow&) = delete;

  /// Presses a button; a disabled one fails the test.
  void press(int id);
  /// Switches a check box over.
  void toggle(int id);
  void type(int id, const std::string& text) { texts[id] = text; }
  /// Chooses a list entry by number.
  void choose(int list, int index);

  bool isEnabled(int id) const;
  bool isChecked(int id) const;
  std::string text(int id) const;
  /// The controls' texts, followed by "+" when they are ticked and by "!" when they are disabled,
  /// with ", " between them.
  std::string looks(const std::vector<int>& ids) const;

  std::map<int, std::string> texts;
  std::map<int, bool> checks;
  std::map<int, bool> enabled;
  std::vector<std::string> list;
  int selected = -1;
  std::string browseAnswer;  ///< the folder that the user picks; empty: cancels
  std::string browseTitle;
  bool closed = false;

 private:
  friend struct ControlFunctions;
  void send(int id, ControlEvent event);

  Page page_;
  std::function<void(Page)> showOver_;
  Controls controls_;
  PageView view_;
};

}  // namespace imx::test
