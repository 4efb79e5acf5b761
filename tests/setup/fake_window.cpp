#include "tests/setup/fake_window.h"

#include <gtest/gtest.h>

#include <cstring>

namespace imx::test {

struct ControlFunctions {
  static FakeWindow& self(void* window) { return *static_cast<FakeWindow*>(window); }

  static void setText(void* window, int id, const char* text) { self(window).texts[id] = text; }

  static void getText(void* window, int id, char* to, std::size_t size) {
    const std::string text = self(window).text(id).substr(0, size - 1);
    std::memcpy(to, text.c_str(), text.size() + 1);
  }

  static void check(void* window, int id, bool checked) { self(window).checks[id] = checked; }
  static bool isChecked(void* window, int id) { return self(window).isChecked(id); }
  static void enable(void* window, int id, bool enabled) { self(window).enabled[id] = enabled; }

  static void insert(void* window, int, int index, const char* text) {
    std::vector<std::string>& list = self(window).list;
    EXPECT_EQ(static_cast<std::size_t>(index), list.size());
    list.emplace_back(text);
  }

  static bool selectedText(void* window, int, PathText& text) {
    const FakeWindow& me = self(window);
    return me.selected >= 0 && copyPath(text, me.list[static_cast<std::size_t>(me.selected)]);
  }

  static void clearSelection(void* window, int) { self(window).selected = -1; }

  static bool browseFolder(void* window, const char* title, PathText& directory) {
    FakeWindow& me = self(window);
    me.browseTitle = title;
    return !me.browseAnswer.empty() && copyPath(directory, me.browseAnswer);
  }

  static void showOver(void* window, Page page) { self(window).showOver_(page); }
  static void close(void* window) { self(window).closed = true; }
};

FakeWindow::FakeWindow(Page page, InstallSettings& settings, const Platform& platform,
                       std::function<void(Page)> showOver)
    : page_(page),
      showOver_(std::move(showOver)),
      controls_{.window = this,
                .setText = ControlFunctions::setText,
                .getText = ControlFunctions::getText,
                .check = ControlFunctions::check,
                .isChecked = ControlFunctions::isChecked,
                .enable = ControlFunctions::enable,
                .insert = ControlFunctions::insert,
                .selectedText = ControlFunctions::selectedText,
                .clearSelection = ControlFunctions::clearSelection,
                .browseFolder = ControlFunctions::browseFolder,
                .showOver = ControlFunctions::showOver,
                .close = ControlFunctions::close},
      view_{settings, platform, controls_} {
  openPage(page_, view_);
}

void FakeWindow::press(int id) {
  ASSERT_TRUE(isEnabled(id)) << "button " << id;
  ASSERT_FALSE(closed);
  send(id, ControlEvent::clicked);
}

void FakeWindow::toggle(int id) {
  checks[id] = !isChecked(id);
  press(id);
}

void FakeWindow::choose(int list_id, int index) {
  selected = index;
  send(list_id, ControlEvent::selectionChanged);
}

bool FakeWindow::isEnabled(int id) const {
  const auto found = enabled.find(id);
  return found == enabled.end() || found->second;
}

bool FakeWindow::isChecked(int id) const {
  const auto found = checks.find(id);
  return found != checks.end() && found->second;
}

std::string FakeWindow::text(int id) const {
  const auto found = texts.find(id);
  return found != texts.end() ? found->second : std::string();
}

std::string FakeWindow::looks(const std::vector<int>& ids) const {
  std::string all;
  for (const int id : ids) {
    if (id != ids.front()) all += ", ";
    all += text(id) + (isChecked(id) ? "+" : "") + (isEnabled(id) ? "" : "!");
  }
  return all;
}

void FakeWindow::send(int id, ControlEvent event) {
  commandPage(page_, view_, id, event);
}

}  // namespace imx::test
