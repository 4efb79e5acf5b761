#include "setup/core/arguments.h"

#include <algorithm>

#include "imagelib/text.h"
#include "setup/core/file_stream.h"
#include "setup/core/log.h"
#include "setup/core/paths.h"
#include "setup/core/replace_file.h"
#include "setup/core/text_lines.h"

namespace imx {
namespace {

using Arguments = SetupArguments;

// A row of the table: a flag, or a text behind "=".
struct Argument {
  const char* name;
  const char* value;  // what the manual calls the text; null for a flag
  bool isChoice;      // stands in files of choices
  bool Arguments::*flag;
  std::optional<std::string> Arguments::*text;
  const char* meaning;
};

constexpr Argument flag(const char* name, bool Arguments::*member, const char* meaning,
                        bool isChoice = false) {
  return {name, nullptr, isChoice, member, nullptr, meaning};
}

constexpr Argument text(const char* name, const char* value,
                        std::optional<std::string> Arguments::*member, const char* meaning,
                        bool isChoice = false) {
  return {name, value, isChoice, nullptr, member, meaning};
}

constexpr bool kChoice = true;

constexpr Argument kArguments[] = {
    flag("?", &Arguments::usage, "Show these arguments and end."),
    flag("SILENT", &Arguments::silent, "Install without questions, with a progress window alone."),
    flag("VERYSILENT", &Arguments::verySilent, "Install without any window."),
    text("DIR", "FOLDER", &Arguments::dir, "The Glimmerix folder.", kChoice),
    text("PICTURES", "FOLDER", &Arguments::pictures, "The Pictures folder.", kChoice),
    text("HELP", "FOLDER", &Arguments::help, "The Help folder; not used with /NODOCS.", kChoice),
    text("DATA", "FOLDER", &Arguments::data, "The Data folder.", kChoice),
    text("GROUP", "NAME", &Arguments::group, "The program group.", kChoice),
    flag("NODOCS", &Arguments::noDocs, "Leave the documentation on the medium.", kChoice),
    flag("NOTWISTEL", &Arguments::noTwistel, "Do not install Twistel.", kChoice),
    flag(
        "VERIFY", &Arguments::verify,
        "Compare every installed file with what the medium gives, and list those that are missing, "
        "different or unreadable."),
    flag("REPAIR", &Arguments::repair, "The same, and copy those."),
    flag("REMOVE", &Arguments::remove, "Remove what was installed and is unchanged."),
    flag("VERIFYMEDIUM", &Arguments::verifyMedium, "Compare the medium with its medium.sha256."),
    flag("NOREGISTER", &Arguments::noRegister,
         "Write neither the list for /REMOVE nor the entry in the system's list of programs."),
    text("SAVEINF", "FILE", &Arguments::saveInf, "Keep the choices in a file."),
    text("LOADINF", "FILE", &Arguments::loadInf,
         "Take the choices from such a file; other arguments go before."),
    text("LOG", "FILE", &Arguments::log,
         "Write the log there, and not to a dated file of the temporary folder."),
};

// The folders, as /DIR and its like give them.
struct Folder {
  std::optional<std::string> Arguments::*given;
  PathText InstallSettings::*directory;
  const char* label;
};

constexpr Folder kFolders[] = {
    {&Arguments::dir, &InstallSettings::programDir, "Glimmerix folder"},
    {&Arguments::pictures, &InstallSettings::picturesDir, "Pictures folder"},
    {&Arguments::help, &InstallSettings::helpDir, "Help folder"},
    {&Arguments::data, &InstallSettings::dataDir, "Data folder"},
};

constexpr std::size_t kInfLimit = 1 << 16;

std::string spelled(const Argument& argument) {
  return std::string("/") + argument.name + (argument.value ? "=" : "") +
         (argument.value ? argument.value : "");
}

const Argument* findArgument(std::string_view name) {
  const auto found =
      std::find_if(std::begin(kArguments), std::end(kArguments),
                   [&](const Argument& argument) { return EqualNoCase(argument.name, name); });
  return found == std::end(kArguments) ? nullptr : found;
}

// Name and, behind an equals sign, value.
struct Assignment {
  explicit Assignment(std::string_view text) : name(text.substr(0, text.find('='))) {
    if (name.size() < text.size()) value = std::string(text.substr(name.size() + 1));
  }
  std::string_view name;
  std::optional<std::string> value;
};

void note(Arguments& arguments, const std::string& problem) {
  if (arguments.problem.empty()) arguments.problem = problem;
}

void takeArgument(Arguments& arguments, const std::string& given) {
  const Assignment assignment(std::string_view(given).substr(given.starts_with('/') ? 1 : 0));
  const Argument* const argument = given.starts_with('/') ? findArgument(assignment.name) : nullptr;
  if (!argument) {
    note(arguments, "There is no argument " + given + ".");
  } else if (assignment.value.has_value() != (argument->value != nullptr)) {
    note(arguments, given + " is to be given as " + spelled(*argument) + ".");
  } else if (argument->flag) {
    arguments.*argument->flag = true;
  } else {
    arguments.*argument->text = assignment.value;
  }
}

// A line "Name=value" of a file of choices; flags are 0 or 1.
bool takeChoice(Arguments& loaded, std::string_view line) {
  if (line.empty() || line.front() == ';' || line.front() == '[') return true;
  const Assignment assignment(line);
  const Argument* const argument = findArgument(assignment.name);
  if (!argument || !argument->isChoice || !assignment.value) return false;
  if (argument->text) {
    loaded.*argument->text = assignment.value;
    return true;
  }
  loaded.*argument->flag = *assignment.value == "1";
  return *assignment.value == "0" || *assignment.value == "1";
}

void takeOver(Arguments& arguments, const Arguments& loaded) {
  for (const Argument& argument : kArguments) {
    if (!argument.isChoice) continue;
    if (argument.flag) {
      arguments.*argument.flag = arguments.*argument.flag || loaded.*argument.flag;
    } else if (!(arguments.*argument.text)) {
      arguments.*argument.text = loaded.*argument.text;
    }
  }
}

std::string refusal(const char* label, const std::string& given, std::int32_t code, char badChar) {
  const std::string character =
      code == kIllegalCharacter ? std::string(" [") + badChar + "]" : std::string();
  return std::string(label) + " \"" + given + "\": " + validationMessage(code) + character + ".";
}

}  // namespace

SetupArguments parseArguments(std::span<const std::string> given) {
  Arguments arguments;
  for (const std::string& one : given) {
    takeArgument(arguments, one);
    arguments.asked += (arguments.asked.empty() ? "" : " ") + one;
  }
  if (arguments.verify + arguments.repair + arguments.remove + arguments.verifyMedium > 1) {
    note(arguments, "One of /VERIFY, /REPAIR, /REMOVE and /VERIFYMEDIUM only.");
  }
  return arguments;
}

bool isUnattended(const SetupArguments& arguments) {
  return arguments.silent || arguments.verySilent || arguments.verify || arguments.repair ||
         arguments.verifyMedium;
}

bool isWizard(const SetupArguments& arguments) {
  return arguments.problem.empty() && !arguments.usage && !arguments.remove &&
         !isUnattended(arguments);
}

std::string argumentTable() {
  std::string table = "| Argument | Meaning |\n|---|---|\n";
  for (const Argument& argument : kArguments) {
    table += "| `" + spelled(argument) + "` | " + argument.meaning + " |\n";
  }
  return table;
}

std::string usageText() {
  constexpr std::size_t kColumn = 18;
  std::string usage = "setup.exe [ARGUMENT...]\n\n";
  for (const Argument& argument : kArguments) {
    std::string name = spelled(argument);
    name.resize(std::max(name.size() + 1, kColumn), ' ');
    usage += name + argument.meaning + "\n";
  }
  return usage;
}

bool loadChoices(const Platform& platform, const InstallSettings& settings,
                 SetupArguments& arguments) {
  if (!arguments.loadInf) return true;
  const std::string& path = *arguments.loadInf;
  std::string text;
  const std::string trouble = readText(platform, settings, path.c_str(), kInfLimit, text);
  if (!trouble.empty()) {
    arguments.problem = "Cannot read " + path + ": " + trouble;
    return false;
  }
  const std::size_t line = takeChoices(arguments, text);
  if (line != 0) arguments.problem = path + ", line " + std::to_string(line) + ": no choice.";
  return line == 0;
}

std::size_t takeChoices(SetupArguments& arguments, std::string_view text) {
  Arguments loaded;
  std::size_t number = 0;
  std::size_t wrong = 0;
  forEachLine(text, [&](std::string_view line) {
    number += 1;
    if (!takeChoice(loaded, line) && wrong == 0) wrong = number;
  });
  if (wrong == 0) takeOver(arguments, loaded);
  return wrong;
}

std::string choicesText(const InstallSettings& settings) {
  const auto line = [](const char* name, const std::string& value) {
    return std::string(name) + "=" + value + "\r\n";
  };
  return line("Dir", settings.programDir) + line("Pictures", settings.picturesDir) +
         (settings.installDocs != 0 ? line("Help", settings.helpDir) : "") +
         line("Data", settings.dataDir) + line("Group", settings.groupName) +
         line("NoDocs", settings.installDocs != 0 ? "0" : "1") +
         line("NoTwistel", settings.installTwistel != 0 ? "0" : "1");
}

bool keepChoices(const Platform& platform, const InstallSettings& settings,
                 const SetupArguments& arguments) {
  if (!arguments.saveInf) return true;
  const std::string text = "[Setup]\r\n" + choicesText(settings);
  const bool kept = replaceWithText(platform, settings, arguments.saveInf->c_str(), text);
  if (!kept) logFailure(platform, settings, "Cannot keep the choices in", *arguments.saveInf);
  return kept;
}

std::string applyChoices(const Platform& platform, InstallSettings& settings,
                         const SetupArguments& arguments) {
  if (arguments.noTwistel) settings.installTwistel = 0;
  if (arguments.noDocs) settings.installDocs = settings.docsWithGlint = 0;
  std::string problem;
  const auto refuse = [&](const char* label, const std::string& given, std::int32_t code) {
    if (code != kNameValid && problem.empty()) {
      problem = refusal(label, given, code, settings.badChar);
    }
  };
  for (const Folder& folder : kFolders) {
    const bool isHelp = folder.given == &Arguments::help;
    if (isHelp && settings.installDocs == 0) continue;
    const std::string given = (arguments.*folder.given).value_or(settings.*folder.directory);
    refuse(folder.label, given, validatePath(platform, given.c_str(), &settings.badChar));
    if (given.size() < kPathSize) copyPath(settings.*folder.directory, given);
  }
  const std::string group = arguments.group.value_or(settings.groupName);
  refuse("Glimmerix group", group, validateGroupName(group.c_str(), &settings.badChar));
  if (group.size() < kPathSize) copyPath(settings.groupName, group);
  return problem;
}

}  // namespace imx
