#include <cstdint>
#include <string_view>

#include "cli/documents.h"
#include "imagelib/registry.h"

namespace imx {
namespace {

std::string SavableTypes() {
  std::string types;
  for (std::int32_t row = 0; TypeRowOutOfRange(row) == 0; ++row) {
    if (TypeCanSave(row)) types += std::string(TypeExtension(row)) + " ";
  }
  return types;
}

/// What the option's argument can be, with blanks between; empty when that cannot be listed.
std::string ArgumentChoices(const Option& option) {
  if (std::string_view(option.name) == "--type") return SavableTypes();
  std::string choices;
  for (const char* choice : option.choices) choices += std::string(choice) + " ";
  return choices;
}

std::string OptionNames(const Command& command) {
  std::string names;
  for (const Option& option : Options()) {
    if (IsShown(option, command)) names.append(option.name).append(" ");
  }
  return names;
}

/// `text` with a backslash before each of `special`.
std::string Escaped(std::string_view text, std::string_view special) {
  std::string escaped;
  for (const char c : text) {
    if (special.find(c) != std::string_view::npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

/// One word of a shell, whatever is in it.
std::string Quoted(std::string_view text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

std::string Bash() {
  std::string names, cases;
  for (const Command& command : Commands()) {
    names += std::string(command.name) + " ";
    cases += std::string("    ") + command.name + ") words='" + OptionNames(command) + "' ;;\n";
  }
  return "_imx() {\n"
         "  local words= current=${COMP_WORDS[COMP_CWORD]}\n"
         "  case ${COMP_WORDS[1]} in\n" +
         cases +
         "  esac\n"
         "  if [ \"$COMP_CWORD\" = 1 ]; then words='" +
         names +
         "--help --version'\n"
         "  elif [ \"$3\" = --type ]; then words='" +
         SavableTypes() +
         "'\n"
         "  elif [ \"${current#-}\" = \"$current\" ]; then words=\n"
         "  fi\n"
         "  COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
         "}\n"
         "complete -o default -F _imx imx\n";
}

/// An option as zsh's _arguments wants it.
std::string ZshOption(const Option& option) {
  constexpr std::string_view kSpecial = "[]:\\";
  std::string meaning = "[" + Escaped(HelpOf(option), kSpecial) + "]";
  // An argument that may be left out follows an '='.
  const bool isOptional = option.argument && option.argument[0] == '[';
  if (option.argument && !isOptional) {
    const std::string choices = ArgumentChoices(option);
    meaning += ":" + Escaped(option.argument, kSpecial) + ":";
    meaning += choices.empty() ? "_files" : "(" + choices + ")";
  }
  std::string line = "        " + Quoted("*" + std::string(option.name) + meaning) + " \\\n";
  if (option.shortName)
    line += "        " + Quoted(std::string("*-") + option.shortName + meaning) + " \\\n";
  return line;
}

std::string Zsh() {
  std::string names, cases;
  for (const Command& command : Commands()) {
    names += "      " + Quoted(std::string(command.name) + ":" + command.summary) + "\n";
    cases += std::string("    ") + command.name + ")\n      _arguments -s \\\n";
    for (const Option& option : Options()) {
      if (IsShown(option, command)) cases += ZshOption(option);
    }
    cases += "        '*:file:_files' ;;\n";
  }
  return "#compdef imx\n"
         "_imx() {\n"
         "  if (( CURRENT == 2 )); then\n"
         "    local -a commands=(\n" +
         names +
         "    )\n"
         "    _describe command commands\n"
         "    return\n"
         "  fi\n"
         "  shift words\n"
         "  (( CURRENT-- ))\n"
         "  case $words[1] in\n" +
         cases +
         "  esac\n"
         "}\n"
         "_imx \"$@\"\n";
}

std::string FishOption(const Option& option, const Command& command) {
  std::string line = "complete -c imx -n '__fish_seen_subcommand_from " +
                     std::string(command.name) + "' -l " + (option.name + 2);
  if (option.shortName) line += std::string(" -s ") + option.shortName;
  if (option.argument && option.argument[0] != '[') line += " -r";
  const std::string choices = ArgumentChoices(option);
  if (!choices.empty()) line += " -f -a " + Quoted(choices);
  // Within fish's single quotes a backslash stands before what is special there.
  return line + " -d '" + Escaped(HelpOf(option), "'\\") + "'\n";
}

std::string Fish() {
  std::string all;
  for (const Command& command : Commands()) {
    all += std::string("complete -c imx -f -n __fish_use_subcommand -a ") + command.name + " -d '" +
           Escaped(command.summary, "'\\") + "'\n";
    for (const Option& option : Options()) {
      if (IsShown(option, command)) all += FishOption(option, command);
    }
  }
  return all;
}

}  // namespace

std::string Completion(std::string_view shell) {
  if (shell == "bash") return Bash();
  if (shell == "zsh") return Zsh();
  if (shell == "fish") return Fish();
  return {};
}

}  // namespace imx
