#include "cli/options.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "cli/host.h"
#include "imagelib/core/registry.h"
#include "imagelib/core/text.h"

namespace imx {
namespace {

/// The whole of `text` as a number from `least` to `most`.
std::optional<std::int64_t> Number(std::string_view text, std::int64_t least, std::int64_t most) {
  std::int64_t value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end || value < least || value > most) return std::nullopt;
  return value;
}

std::string SetMaxMemory(Request& request, const char* value) {
  constexpr std::int64_t kMost = std::int64_t{1} << 40;
  const auto number = Number(value, 1, kMost);
  if (!number) return "needs a number of mebibytes from 1";
  request.maxMemoryMib = static_cast<std::uint64_t>(*number);
  return {};
}

std::string SetType(Request& request, const char* value) {
  if (TypeRowByExtension(value) < 0) return "is no known type (imx formats lists them)";
  request.type = value;
  return {};
}

std::string SetDepth(Request& request, const char* value) {
  const auto number = Number(value, 1, 32);
  constexpr std::int64_t kDepths[] = {32, 24, 8, 4, 1};
  if (!number || std::find(std::begin(kDepths), std::end(kDepths), *number) == std::end(kDepths)) {
    return "needs one of 32, 24, 8, 4 and 1";
  }
  request.depth = static_cast<std::int32_t>(*number);
  return {};
}

std::string SetQuality(Request& request, const char* value) {
  const auto number = Number(value, 0, 100);
  if (!number) return "needs a number from 0 to 100";
  request.quality = static_cast<std::int32_t>(*number);
  return {};
}

template <std::optional<std::string> Request::*field>
std::string SetText(Request& request, const char* value) {
  if (std::strlen(value) >= kTextSize - 1) return "takes at most 254 bytes";
  request.*field = value;
  return {};
}

template <bool Request::*field, bool value>
std::string SetFlag(Request& request, const char* /*value*/) {
  request.*field = value;
  return {};
}

constexpr unsigned kLoading = kInfo | kPixels | kConvert;

constexpr Option kOptions[] = {
    {"--json", 0, nullptr, kFormats | kInfo, "one JSON object for each, a line each",
     SetFlag<&Request::json, true>},
    {"--type", 0, "EXT", kConvert, "the type to save as (default: by the extension of OUTPUT)",
     SetType},
    {"--depth", 0, "BITS", kConvert,
     "32, 24, 8, 4 or 1 bits per pixel, as far as the type has them (default: 32 for an image with "
     "alpha, else 24, else the type's first)",
     SetDepth},
    {"--compress", 0, nullptr, kConvert, "compress, for types that can (default)",
     SetFlag<&Request::compress, true>},
    {"--no-compress", 0, nullptr, kConvert, "do not compress", SetFlag<&Request::compress, false>},
    {"--interlace", 0, nullptr, kConvert, "interlace, for types that can",
     SetFlag<&Request::interlace, true>},
    {"--quality", 0, "N", kConvert, "quality from 0 to 100, for types that have it (default 100)",
     SetQuality},
    {"--author", 0, "TEXT", kConvert, "set the author", SetText<&Request::author>},
    {"--comment", 0, "TEXT", kConvert, "set the comment", SetText<&Request::comment>},
    {"--notice", 0, "TEXT", kConvert, "set the rights notice", SetText<&Request::notice>},
    {"--max-memory", 0, "MIB", kLoading,
     "the largest image that is accepted, in mebibytes (default 1024)", SetMaxMemory},
    {"--quiet", 'q', nullptr, kLoading, "no progress bar and no messages but errors",
     SetFlag<&Request::quiet, true>},
    {"--help", 'h', nullptr, kAllCommands, "show this help and do nothing",
     SetFlag<&Request::help, true>},
};

/// One argument that is an option, split where it carries its value.
struct Spelled {
  const Option* option = nullptr;
  std::optional<std::string> value;
};

/// "--name", "--name=value", "-n" or "-nvalue".
Spelled Find(const Command& command, const std::string& argument) {
  const bool isLong = argument[1] == '-';
  const std::size_t equals = argument.find('=');
  const std::string name = isLong ? argument.substr(0, equals) : argument.substr(0, 2);
  for (const Option& option : kOptions) {
    if (!(option.commands & command.bit)) continue;
    if (isLong ? name != option.name : name[1] != option.shortName) continue;
    Spelled found{&option, std::nullopt};
    if (isLong && equals != std::string::npos) found.value = argument.substr(equals + 1);
    if (!isLong && argument.size() > 2) found.value = argument.substr(2);
    return found;
  }
  return {};
}

std::string CheckOperandCount(const Command& command, const Request& request) {
  const std::size_t count = request.operands.size();
  if (count < command.fewestOperands) return std::string("needs ") + command.operands;
  if (count > command.mostOperands) {
    return "does not take '" + request.operands[command.mostOperands] + "'";
  }
  return {};
}

}  // namespace

std::span<const Option> Options() {
  return kOptions;
}

std::string ParseArguments(const Command& command, std::span<const std::string> arguments,
                           Request* request) {
  bool optionsOver = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (optionsOver || argument.size() < 2 || argument[0] != '-') {
      request->operands.push_back(argument);
      continue;
    }
    if (argument == "--") {
      optionsOver = true;
      continue;
    }
    Spelled spelled = Find(command, argument);
    const Option* option = spelled.option;
    if (!option) return "has no option '" + argument + "'";
    if (option->argument && !spelled.value && i + 1 < arguments.size()) {
      spelled.value = arguments[++i];
    }
    if (option->argument && !spelled.value) {
      return std::string(option->name) + " needs " + option->argument;
    }
    if (!option->argument && spelled.value) return std::string(option->name) + " takes no value";
    const char* value = spelled.value ? spelled.value->c_str() : nullptr;
    const std::string fault = option->apply(*request, value);
    if (!fault.empty()) {
      return std::string(option->name) + (value ? " '" + *spelled.value + "' " : " ") + fault;
    }
  }
  return request->help ? std::string() : CheckOperandCount(command, *request);
}

int UsageError(const char* command, const std::string& what) {
  std::fprintf(stderr, "imx %s: %s (imx %s --help tells more)\n", command, Printable(what).c_str(),
               command);
  return kUsageError;
}

}  // namespace imx
