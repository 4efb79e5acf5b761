#include "setup/core/arguments.h"

#include <algorithm>

#include "imagelib/text.h"
#include "setup/core/file_stream.h"
#include "setup/core/log.h"
#include "setup/core/paths.h"
#include "setup/core/replace_file.h"

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
  return arguments;
}

bool isUnattended(const SetupArguments& arguments) {
  return arguments.silent || arguments.verySilent;
}

bool isWizard(const SetupArguments& arguments) {
  return arguments.problem.empty() && !arguments.usage && !isUnattended(arguments);
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
  Arguments loaded;
  std::size_t number = 0;
  for (std::size_t at = 0; at < text.size(); ++number) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    std::string_view line = std::string_view(text).substr(at, end - at);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (!takeChoice(loaded, line)) {
      arguments.problem = path + ", line " + std::to_string(number + 1) + ": no choice.";
      return false;
    }
    at = end + 1;
  }
  takeOver(arguments, loaded);
  return true;
}

bool keepChoices(const Platform& platform, const InstallSettings& settings,
                 const SetupArguments& arguments) {
  if (!arguments.saveInf) return true;
  const auto line = [](const char* name, const std::string& value) {
    return std::string(name) + "=" + value + "\r\n";
  };
  const std::string text = "[Setup]\r\n" + line("Dir", settings.programDir) +
                           line("Pictures", settings.picturesDir) +
                           (settings.installDocs != 0 ? line("Help", settings.helpDir) : "") +
                           line("Data", settings.dataDir) + line("Group", settings.groupName) +
                           line("NoDocs", settings.installDocs != 0 ? "0" : "1") +
                           line("NoTwistel", settings.installTwistel != 0 ? "0" : "1");
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
