#include "setup/core/wizard_pages.h"

#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>

#include "resources/wizard_ids.h"
#include "setup/core/paths.h"

namespace imx {
namespace {

constexpr const char* kHelpFromCd = "(accessed from CDROM)";
constexpr const char* kHelpNotUsed = "(not used, part of Glint)";

void setText(const PageView& view, int id, const char* text) {
  view.controls.setText(view.controls.window, id, text);
}

void check(const PageView& view, int id, bool checked) {
  view.controls.check(view.controls.window, id, checked);
}

bool isChecked(const PageView& view, int id) {
  return view.controls.isChecked(view.controls.window, id);
}

void enable(const PageView& view, int id, bool enabled) {
  view.controls.enable(view.controls.window, id, enabled);
}

void close(const PageView& view) {
  view.controls.close(view.controls.window);
}

// Closes the page as answered; its choices have been stored.
void accept(const PageView& view, int direction) {
  view.settings.pageAccepted = 1;
  view.settings.navStep = direction;
  close(view);
}

// What the user typed into an edit, as it stands: read with room for more than a valid text, so
// that one that is too long shows.
class TypedText {
 public:
  TypedText(const PageView& view, int id) {
    view.controls.getText(view.controls.window, id, text_, sizeof text_);
  }
  const char* text() const { return text_; }
  // A text that does not fit leaves the setting as it was.
  void store(PathText& to) const {
    if (std::string_view(text_).size() < kPathSize) copyPath(to, text_);
  }

 private:
  char text_[2 * kPathSize] = {};
};

// Tells the user what is wrong with a field, unless nothing is.
bool isAcceptable(const PageView& view, const char* label, std::int32_t code) {
  if (code == kNameValid) return true;
  view.settings.problemLabel = label;
  view.settings.problemCode = code - 1;
  view.controls.showOver(view.controls.window, Page::changeRequired);
  return false;
}

// Buttons that do the same on every page. The pages that read nothing on leaving.
void leaveByButton(const PageView& view, int id) {
  switch (id) {
    case IDC_NEXT:
      accept(view, 1);
      break;
    case IDC_BACK:
      accept(view, -1);
      break;
    case IDC_EXIT:
      close(view);
      break;
    default:
      break;
  }
}

// Welcome

void openWelcome(const PageView& view) {
  view.settings.pageAccepted = 0;
}

void commandWelcome(const PageView& view, int id, ControlEvent) {
  if (id == IDC_NEXT) {
    view.settings.pageAccepted = 1;  // the step stays: there is only one way on
    close(view);
  } else if (id == IDC_EXIT) {
    close(view);
  }
}

// Choose Components

void refreshComponentsNext(const PageView& view) {
  enable(view, IDC_NEXT, isChecked(view, IDC_GLINT) || isChecked(view, IDC_TWISTEL));
}

// Twistel and the documentation go only with Glint.
void followGlint(const PageView& view) {
  const bool glint = isChecked(view, IDC_GLINT);
  enable(view, IDC_TWISTEL, glint);
  check(view, IDC_TWISTEL, glint && view.settings.installTwistel != 0);
  view.settings.installDocs = glint ? view.settings.docsWithGlint : 0;
}

void storeGlint(const PageView& view) {
  view.settings.installGlint = isChecked(view, IDC_GLINT) ? 1 : 0;
}

void storeTwistel(const PageView& view) {
  view.settings.installTwistel = isChecked(view, IDC_TWISTEL) ? 1 : 0;
}

void openComponents(const PageView& view) {
  view.settings.pageAccepted = 0;
  check(view, IDC_GLINT, view.settings.installGlint == 1);
  followGlint(view);
  refreshComponentsNext(view);
}

void chooseAllComponents(const PageView& view) {
  view.settings.installGlint = 1;
  view.settings.installTwistel = 1;
  check(view, IDC_GLINT, true);
  followGlint(view);
  refreshComponentsNext(view);
}

void commandComponents(const PageView& view, int id, ControlEvent) {
  switch (id) {
    case IDC_GLINT:
      followGlint(view);
      refreshComponentsNext(view);
      storeGlint(view);
      break;
    case IDC_TWISTEL:
      refreshComponentsNext(view);
      storeTwistel(view);
      break;
    case IDC_DEFAULTS:
      chooseAllComponents(view);
      break;
    case IDC_NEXT:
    case IDC_BACK:
      storeGlint(view);
      storeTwistel(view);
      leaveByButton(view, id);
      break;
    default:
      leaveByButton(view, id);
  }
}

// Large Component Query

void openDocumentation(const PageView& view) {
  view.settings.pageAccepted = 0;
  check(view, IDC_DOCS, view.settings.installDocs == 1);
}

void commandDocumentation(const PageView& view, int id, ControlEvent) {
  if (id == IDC_DEFAULTS) {
    view.settings.installDocs = 1;
    check(view, IDC_DOCS, true);
    return;
  }
  if (id == IDC_NEXT || id == IDC_BACK) {
    view.settings.installDocs = isChecked(view, IDC_DOCS) ? 1 : 0;
  }
  leaveByButton(view, id);
}

// Install Locations

struct Location {
  int edit;
  int browse;
  PathText InstallSettings::*directory;
  const PathText InstallSettings::*standard;
  const char* label;
  const char* browseTitle;
};

constexpr Location kLocations[] = {
    {IDC_PROGRAM_DIR, IDC_BROWSE_PROGRAM, &InstallSettings::programDir,
     &InstallSettings::defaultProgramDir, "Glimmerix folder", "Browse for Main Application Folder"},
    {IDC_PICTURES_DIR, IDC_BROWSE_PICTURES, &InstallSettings::picturesDir,
     &InstallSettings::defaultPicturesDir, "Pictures folder", "Browse for Images Folder"},
    {IDC_HELP_DIR, IDC_BROWSE_HELP, &InstallSettings::helpDir, &InstallSettings::defaultHelpDir,
     "Help folder", "Browse for Help Folder"},
    {IDC_DATA_DIR, IDC_BROWSE_DATA, &InstallSettings::dataDir, &InstallSettings::defaultDataDir,
     "Data folder", "Browse for Data Folder"},
};

void showLocations(const PageView& view) {
  for (const Location& location : kLocations) {
    setText(view, location.edit, view.settings.*location.directory);
  }
}

void openLocations(const PageView& view) {
  InstallSettings& settings = view.settings;
  settings.pageAccepted = 0;
  const bool docs = settings.installDocs != 0;
  const std::string_view help = settings.helpDir;
  if (!docs) {
    copyPath(settings.helpDir, settings.installGlint != 0 ? kHelpFromCd : kHelpNotUsed);
  } else if (help == kHelpFromCd || help == kHelpNotUsed) {
    copyPath(settings.helpDir, settings.defaultHelpDir);
  }
  enable(view, IDC_HELP_DIR, docs);
  enable(view, IDC_BROWSE_HELP, docs);
  showLocations(view);
}

void readLocations(const PageView& view) {
  for (const Location& location : kLocations) {
    TypedText(view, location.edit).store(view.settings.*location.directory);
  }
}

// Judges what stands in the edits; every rejected field is told of.
bool checkLocations(const PageView& view) {
  bool acceptable = true;
  for (const Location& location : kLocations) {
    if (location.edit == IDC_HELP_DIR && view.settings.installDocs == 0) continue;
    const TypedText typed(view, location.edit);
    const std::int32_t code = validatePath(view.platform, typed.text(), &view.settings.badChar);
    if (!isAcceptable(view, location.label, code)) acceptable = false;
  }
  return acceptable;
}

void restoreLocations(const PageView& view) {
  for (const Location& location : kLocations) {
    copyPath(view.settings.*location.directory, view.settings.*location.standard);
  }
  showLocations(view);
}

void browseLocation(const PageView& view, int button) {
  for (const Location& location : kLocations) {
    if (location.browse != button) continue;
    PathText& directory = view.settings.*location.directory;
    // Without a choice the edit keeps what was typed, which is read when the page is left.
    if (view.controls.browseFolder(view.controls.window, location.browseTitle, directory)) {
      setText(view, location.edit, directory);
    }
  }
}

void commandLocations(const PageView& view, int id, ControlEvent) {
  switch (id) {
    case IDC_DEFAULTS:
      restoreLocations(view);
      break;
    case IDC_NEXT:
      readLocations(view);
      if (checkLocations(view)) accept(view, 1);
      break;
    case IDC_BACK:
      readLocations(view);
      accept(view, -1);
      break;
    case IDC_EXIT:
      close(view);
      break;
    default:
      browseLocation(view, id);
  }
}

// Program Group Selection

void openProgramGroup(const PageView& view) {
  view.settings.pageAccepted = 0;
  PathText pattern;
  if (joinPath(pattern, {view.settings.programsFolder, "\\*"})) {
    int index = 0;
    forEachEntry(view.platform, pattern, [&](const FileEntry& entry) {
      if ((entry.attributes & kDirectoryAttribute) != 0 && entry.name[0] != '.') {
        view.controls.insert(view.controls.window, IDC_GROUP_LIST, index++, entry.name);
      }
      return true;
    });
  }
  setText(view, IDC_GROUP, view.settings.groupName);
}

void takeListedGroup(const PageView& view) {
  PathText chosen;
  if (!view.controls.selectedText(view.controls.window, IDC_GROUP_LIST, chosen)) return;
  copyPath(view.settings.groupName, chosen);
  setText(view, IDC_GROUP, chosen);
}

void readProgramGroup(const PageView& view) {
  const TypedText typed(view, IDC_GROUP);
  typed.store(view.settings.groupName);
  const std::int32_t code = validateGroupName(typed.text(), &view.settings.badChar);
  if (isAcceptable(view, "Glimmerix group", code)) accept(view, 1);
}

void commandProgramGroup(const PageView& view, int id, ControlEvent event) {
  switch (id) {
    case IDC_GROUP_LIST:
      if (event == ControlEvent::selectionChanged) takeListedGroup(view);
      break;
    case IDC_DEFAULTS:
      // Not the name that the wizard starts with.
      copyPath(view.settings.groupName, "Glimmerix");
      setText(view, IDC_GROUP, view.settings.groupName);
      view.controls.clearSelection(view.controls.window, IDC_GROUP_LIST);
      break;
    case IDC_NEXT:
      readProgramGroup(view);
      break;
    default:
      leaveByButton(view, id);
  }
}

// Installation Confirmation

const char* helpLine(const InstallSettings& settings) {
  if (settings.installGlint == 0) return "Glint Help not required";
  return settings.installDocs != 0 ? "Help will be installed in your computer"
                                   : "Help will be used directly from the CDROM";
}

void openConfirmation(const PageView& view) {
  const InstallSettings& settings = view.settings;
  view.settings.pageAccepted = 0;
  setText(view, IDC_HELP_LINE, helpLine(settings));
  setText(view, IDC_GLINT_LINE,
          settings.installGlint != 0 ? "Glint will be installed in your computer"
                                     : "Glint will not be installed");
  setText(view, IDC_TWISTEL_LINE,
          settings.installTwistel != 0 ? "Twistel will be installed in your computer"
                                       : "Twistel will not be installed");
  const std::string group =
      std::string("Shortcuts will be placed in the \"") + settings.groupName + "\" Group";
  setText(view, IDC_GROUP_LINE, group.c_str());
  showLocations(view);
}

void commandPlain(const PageView& view, int id, ControlEvent) {
  leaveByButton(view, id);
}

// Storage Requirements. Does not clear pageAccepted: Exit here leaves the confirmation standing.

std::string driveLine(const InstallSettings& settings, int slot) {
  if (slot >= settings.driveCount) return "--";
  return std::string("Space used on \"") + settings.driveRoot[slot] + "\" will be " +
         formatThousands(settings.driveBytes[slot]) + " bytes";
}

void openStorage(const PageView& view) {
  setText(view, IDC_VERDICT, view.settings.haltMessage);
  for (int slot = 0; slot < kCategoryCount; ++slot) {
    setText(view, IDC_FIRST_DRIVE + slot, driveLine(view.settings, slot).c_str());
  }
  enable(view, IDC_NEXT, view.settings.spaceOk != 0);
}

// Wizard Halted, Information Requires Change, Wizard Finished: closed by OK or the close box.

void openHalted(const PageView& view) {
  setText(view, IDC_HALT_MESSAGE, view.settings.haltMessage);
  setText(view, IDC_HALT_SUGGESTION, view.settings.haltSuggestion);
}

void openChangeRequired(const PageView& view) {
  const InstallSettings& settings = view.settings;
  const std::int32_t code = settings.problemCode + 1;
  std::string error = validationMessage(code);
  if (code == kIllegalCharacter) error += std::string(" [") + settings.badChar + "]";
  const std::string text = std::string("There is a problem with the name of the...\n\n\t\t\"") +
                           settings.problemLabel + "\"\n\nThe error is...\n\n\"" + error + "\"";
  setText(view, IDC_PROBLEM, text.c_str());
}

void openFinished(const PageView& view) {
  setText(view, IDC_OUTCOME, view.settings.haltMessage);
}

void commandMessage(const PageView& view, int id, ControlEvent) {
  if (id == IDC_OK || id == IDC_EXIT) close(view);
}

// Abort Installation?

void openAbortQuery(const PageView& view) {
  view.settings.userAborted = 0;
}

void commandAbortQuery(const PageView& view, int id, ControlEvent) {
  if (id != IDC_ABORT && id != IDC_CONTINUE) return;
  view.settings.userAborted = id == IDC_ABORT ? 1 : 0;
  close(view);
}

// Remove Glimmerix?

void openRemoveQuery(const PageView& view) {
  view.settings.removeAgreed = 0;
}

void commandRemoveQuery(const PageView& view, int id, ControlEvent) {
  if (id != IDC_OK && id != IDC_EXIT) return;
  view.settings.removeAgreed = id == IDC_OK ? 1 : 0;
  close(view);
}

struct PageDefinition {
  const char* resource;
  const char* title;
  void (*open)(const PageView& view);
  void (*command)(const PageView& view, int id, ControlEvent event);
};

// In the order of Page.
constexpr PageDefinition kPages[] = {
    {"IDIALOG1", "Welcome", openWelcome, commandWelcome},
    {"IDIALOG2", "Choose Components", openComponents, commandComponents},
    {"IDIALOG4", "Large Component Query", openDocumentation, commandDocumentation},
    {"IDIALOG3", "Install Locations", openLocations, commandLocations},
    {"IDIALOG5", "Program Group Selection", openProgramGroup, commandProgramGroup},
    {"INSTALLINFO", "Installation Confirmation", openConfirmation, commandPlain},
    {"SPACEDLG", "Storage Requirements", openStorage, commandPlain},
    {"HALTDLG", "Wizard Halted", openHalted, commandMessage},
    {"USERHALT", "Abort Installation?", openAbortQuery, commandAbortQuery},
    {"REQCHANGE", "Information Requires Change", openChangeRequired, commandMessage},
    {"ALLDONE", "Wizard Finished", openFinished, commandMessage},
    {"REMOVEDLG", "Remove Glimmerix?", openRemoveQuery, commandRemoveQuery},
};
static_assert(std::size(kPages) == kPageCount);

const PageDefinition& definitionOf(Page page) {
  return kPages[static_cast<int>(page)];
}

}  // namespace

const char* pageResource(Page page) {
  return definitionOf(page).resource;
}

const char* pageTitle(Page page) {
  return definitionOf(page).title;
}

void openPage(Page page, const PageView& view) {
  definitionOf(page).open(view);
}

int firstFocus(Page page, const InstallSettings& settings) {
  // Exit, which would come next, installs even without the room.
  return page == Page::storage && settings.spaceOk == 0 ? IDC_BACK : 0;
}

void commandPage(Page page, const PageView& view, int id, ControlEvent event) {
  definitionOf(page).command(view, id, event);
}

}  // namespace imx
