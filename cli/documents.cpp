#include "cli/documents.h"

#include <sstream>
#include <string_view>

#include "imagelib/quirks.h"

namespace imx {
namespace {

constexpr std::size_t kWidth = 80;
constexpr std::size_t kIndent = 24;

constexpr const char* kSummary = "load, show and convert raster images";
constexpr const char* kNotes =
    "\"-\" stands for standard input or output. The exit status, except that of compare, is 0 "
    "when everything was done, 1 when a file could not be loaded whole, changed or saved, 2 for "
    "a usage error. OUTPUT is replaced only by a whole new file; other hard links of the old one "
    "keep what it held. With -o no output may be an input or that of two inputs.";

/// `text` broken between words; every line but the first is indented.
std::string Wrapped(std::string_view text, std::size_t indent) {
  std::istringstream words{std::string(text)};
  std::string all, word;
  std::size_t column = indent;
  while (words >> word) {
    const bool isFirst = all.empty();
    if (!isFirst && column + 1 + word.size() > kWidth) {
      all.append("\n").append(indent, ' ');
      column = indent;
    } else if (!isFirst) {
      all += ' ';
      column += 1;
    }
    all += word;
    column += word.size();
  }
  return all;
}

/// A term and what it means, the meaning in a column of its own.
std::string Entry(const std::string& term, std::string_view meaning) {
  std::string line = "  " + term;
  line += line.size() + 2 > kIndent ? "\n" + std::string(kIndent, ' ')
                                    : std::string(kIndent - line.size(), ' ');
  return line + Wrapped(meaning, kIndent) + "\n";
}

std::string Spelling(const Option& option) {
  std::string text = option.shortName ? std::string("-") + option.shortName + ", " : std::string();
  text += option.name;
  if (!option.argument) return text;
  return text + (option.argument[0] == '[' ? "" : " ") + option.argument;
}

std::string Usage(const Command& command) {
  std::string text = std::string("imx ") + command.name + " [options]";
  return *command.operands ? text + " " + command.operands : text;
}

/// Dashes and backslashes as troff wants them.
std::string Troff(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '-' || c == '\\') escaped += '\\';
    escaped += c;
  }
  return escaped;
}

}  // namespace

bool IsShown(const Option& option, const Command& command) {
  return (option.commands & command.bit) && option.help;
}

std::string HelpText() {
  std::string text = std::string("imx - ") + kSummary + "\n\n";
  for (const Command& command : Commands()) text += Entry(Usage(command), command.summary);
  text += Entry("imx --version", "the program's version");
  return text + "\n" + Wrapped(kNotes, 0) + "\n";
}

std::string HelpText(const Command& command) {
  std::string text = "usage: " + Usage(command) + "\n" + Wrapped(command.summary, 0) + "\n\n";
  for (const Option& option : Options()) {
    if (IsShown(option, command)) text += Entry(Spelling(option), HelpOf(option));
  }
  return text + "\n" + Wrapped(kNotes, 0) + "\n";
}

std::string ManualPage() {
  std::string page = ".TH IMX 1\n.SH NAME\nimx \\- " + Troff(kSummary) + "\n.SH SYNOPSIS\n";
  for (const Command& command : Commands()) page += Troff(Usage(command)) + "\n.br\n";
  page += ".SH COMMANDS\n";
  for (const Command& command : Commands()) {
    page += std::string(".SS ") + command.name + "\n" + Troff(command.summary) + "\n";
    for (const Option& option : Options()) {
      if (!IsShown(option, command)) continue;
      page += ".TP\n.B " + Troff(Spelling(option)) + "\n" + Troff(HelpOf(option)) + "\n";
    }
  }
  page += ".SH QUIRKS\n";
  for (const QuirkRow& row : Quirks()) {
    page += std::string(".TP\n.B ") + Troff(row.name) + "\n" + row.format + ", " +
            QuirkDirection(row) + ". Ours: " + Troff(row.ours) + ". Theirs: " + Troff(row.theirs) +
            ".\n";
  }
  return page + ".SH NOTES\n" + Troff(kNotes) + "\n";
}

std::string QuirkTable() {
  std::string table =
      "| Quirk | Format | When | The library | Other programs |\n|---|---|---|---|---|\n";
  for (const QuirkRow& row : Quirks()) {
    table += std::string("| `") + row.name + "` | " + row.format + " | " + QuirkDirection(row) +
             " | " + row.ours + " | " + row.theirs + " |\n";
  }
  return table;
}

}  // namespace imx
