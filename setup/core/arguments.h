/// The arguments of setup.exe: one table for the parser, the files of choices and the manual.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

/// What was asked for. What is absent is as the wizard has it.
struct SetupArguments {
  bool usage = false;
  bool silent = false;
  bool verySilent = false;
  std::optional<std::string> dir;
  std::optional<std::string> pictures;
  std::optional<std::string> help;
  std::optional<std::string> data;
  std::optional<std::string> group;
  bool verify = false;
  bool repair = false;
  bool remove = false;
  bool verifyMedium = false;
  bool noRegister = false;
  bool noDocs = false;
  bool noTwistel = false;
  std::optional<std::string> saveInf;
  std::optional<std::string> loadInf;
  std::optional<std::string> log;

  std::string asked;    ///< all of them, as they were given
  std::string problem;  ///< why they cannot be followed; empty when they can
};

/// Reads the arguments behind the program's name. All are read, also behind a problem.
SetupArguments parseArguments(std::span<const std::string> given);

/// Whether it runs to its end without asking anything.
bool isUnattended(const SetupArguments& arguments);

/// Whether the wizard is what was asked for.
bool isWizard(const SetupArguments& arguments);

/// The table of the arguments in Markdown, and what /? says.
std::string argumentTable();
std::string usageText();

/// Takes the choices that are not in `arguments` from the file `arguments.loadInf`, if there is
/// one. False, with `arguments.problem`, when it cannot be read or understood.
bool loadChoices(const Platform& platform, const InstallSettings& settings,
                 SetupArguments& arguments);

/// Takes the choices that are not in `arguments` from the text of such a file. The number of the
/// first line that is not understood; 0 when all are.
std::size_t takeChoices(SetupArguments& arguments, std::string_view text);

/// The settings' choices as lines of such a file.
std::string choicesText(const InstallSettings& settings);

/// Writes the choices of `settings` to the file that /SAVEINF names, for loadChoices to read. False
/// when that was asked for and failed, which is logged.
bool keepChoices(const Platform& platform, const InstallSettings& settings,
                 const SetupArguments& arguments);

/// Puts the choices into the settings. Why one is refused, as the wizard would; empty when none is.
std::string applyChoices(const Platform& platform, InstallSettings& settings,
                         const SetupArguments& arguments);

}  // namespace imx
