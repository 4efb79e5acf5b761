#include "cli/options.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "cli/console.h"
#include "cli/host.h"
#include "imagelib/registry.h"
#include "imagelib/text.h"
#include "render/render.h"

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

using Choices = std::span<const char* const>;

/// "a, b LAST c"
std::string Listed(Choices choices, const std::string& last) {
  std::string text;
  for (std::size_t i = 0; i < choices.size(); ++i) {
    if (i > 0) text += i + 1 < choices.size() ? ", " : " " + last + " ";
    text += choices[i];
  }
  return text;
}

std::string NeedsOneOf(Choices choices) {
  return "needs one of " + Listed(choices, "and");
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

constexpr const char* kDepths[] = {"32", "24", "8", "4", "1"};

std::string SetDepth(Request& request, const char* value) {
  const auto number = Number(value, 1, 32);
  if (!number || std::none_of(std::begin(kDepths), std::end(kDepths),
                              [&](const char* depth) { return Number(depth, 1, 32) == number; })) {
    return NeedsOneOf(kDepths);
  }
  request.depth = static_cast<std::int32_t>(*number);
  return {};
}

template <std::int32_t Request::*field, std::int32_t least, std::int32_t most>
std::string SetNumber(Request& request, const char* value) {
  const auto number = Number(value, least, most);
  if (!number)
    return "needs a number from " + std::to_string(least) + " to " + std::to_string(most);
  request.*field = static_cast<std::int32_t>(*number);
  return {};
}

std::string SetRenderMode(Request& request, const char* value) {
  const auto number = Number(value, kRenderFixed, kRenderGiven);
  if (!number) return "needs one of 0, 1, 2 and 4";
  if (*number == kRenderPrevious) return "needs an earlier picture, of which there is none";
  request.renderMode = static_cast<std::int32_t>(*number);
  return {};
}

std::string SetRenderBits(Request& request, const char* value) {
  const auto number = Number(value, 1, 8);
  if (!number) return "needs a number from 1 to 8";
  request.renderBits = static_cast<std::int32_t>(*number);
  return {};
}

std::string SetRawSize(Request& request, const char* value) {
  constexpr std::int64_t kMost = INT32_MAX;
  const std::string_view text = value;
  const std::size_t cross = text.find_first_of("xX");
  if (cross == std::string_view::npos) return "needs WIDTHxHEIGHT";
  const auto width = Number(text.substr(0, cross), 1, kMost);
  const auto height = Number(text.substr(cross + 1), 1, kMost);
  if (!width || !height) return "needs WIDTHxHEIGHT";
  request.rawWidth = static_cast<std::int32_t>(*width);
  request.rawHeight = static_cast<std::int32_t>(*height);
  return {};
}

/// In the order of the layout codes.
constexpr const char* kRawKindChoices[] = {"grey", "red", "green", "blue", "rgb",      "rbg",
                                           "gbr",  "grb", "bgr",   "brg",  "rgb-files"};
static_assert(std::size(kRawKindChoices) == kRawKinds);

std::string SetRawKind(Request& request, const char* value) {
  const auto* found =
      std::find(std::begin(kRawKindChoices), std::end(kRawKindChoices), std::string_view(value));
  if (found == std::end(kRawKindChoices)) return NeedsOneOf(kRawKindChoices);
  request.rawKind = static_cast<std::int32_t>(found - kRawKindChoices);
  return {};
}

std::string AddRegion(Request& request, const char* value) {
  ImageStep step{ImageStep::Kind::region};
  std::string_view rest = value;
  for (std::size_t i = 0; i < step.region.size(); ++i) {
    const std::size_t comma = rest.find(',');
    const bool last = i + 1 == step.region.size();
    if (last != (comma == std::string_view::npos)) return "needs LEFT,TOP,RIGHT,BOTTOM";
    const auto number = Number(rest.substr(0, comma), INT32_MIN / 2, INT32_MAX / 2);
    if (!number) return "needs LEFT,TOP,RIGHT,BOTTOM";
    step.region[i] = static_cast<std::int32_t>(*number);
    if (!last) rest.remove_prefix(comma + 1);
  }
  request.steps.push_back(step);
  return {};
}

template <ImageStep::Kind kind>
std::string AddStep(Request& request, const char* /*value*/) {
  request.steps.push_back({kind});
  return {};
}

template <ImageStep::Kind kind>
std::string AddFactor(Request& request, const char* value) {
  ImageStep step{kind};
  const char* end = value + std::strlen(value);
  const auto [stop, error] = std::from_chars(value, end, step.factor);
  if (error != std::errc() || stop != end || !std::isfinite(step.factor) || step.factor <= 0) {
    return "needs a number above 0";
  }
  request.steps.push_back(step);
  return {};
}

/// "WxH", "Wx", "xH", and behind it '!' or '>'.
std::string AddResize(Request& request, const char* value) {
  ImageStep step{ImageStep::Kind::resize};
  SizeWish& size = step.size;
  std::string_view text = value;
  size.exact = text.ends_with('!');
  size.onlyLarger = text.ends_with('>');
  if (size.exact || size.onlyLarger) text.remove_suffix(1);
  const std::size_t cross = text.find_first_of("xX");
  bool fits = cross != std::string_view::npos && text.size() > 1;
  const auto take = [&](std::string_view digits, std::int32_t* length) {
    const auto number = Number(digits, 1, INT32_MAX);
    fits = fits && (number || (digits.empty() && !size.exact));
    *length = static_cast<std::int32_t>(number.value_or(0));
  };
  if (fits) take(text.substr(0, cross), &size.width);
  if (fits) take(text.substr(cross + 1), &size.height);
  if (!fits) return "needs WxH, Wx, xH, WxH! or WxH>";
  request.steps.push_back(step);
  return {};
}

constexpr const char* kTurns[] = {"90", "180", "270"};

std::string AddRotate(Request& request, const char* value) {
  ImageStep step{ImageStep::Kind::rotate};
  const auto* found = std::find(std::begin(kTurns), std::end(kTurns), std::string_view(value));
  if (found == std::end(kTurns)) return NeedsOneOf(kTurns);
  step.quarters = static_cast<std::int32_t>(found - kTurns) + 1;
  request.steps.push_back(step);
  return {};
}

std::string AddFlatten(Request& request, const char* value) {
  ImageStep step{ImageStep::Kind::flatten};
  std::string_view digits = value;
  for (std::uint8_t& channel : step.below) {
    const char* end = digits.data() + std::min<std::size_t>(digits.size(), 2);
    const auto [stop, error] = std::from_chars(digits.data(), end, channel, 16);
    if (error != std::errc() || stop != digits.data() + 2) return "needs RRGGBB, six hex digits";
    digits.remove_prefix(2);
  }
  if (!digits.empty()) return "needs RRGGBB, six hex digits";
  request.steps.push_back(step);
  return {};
}

std::string AddMerge(Request& request, const char* value) {
  ImageStep step{ImageStep::Kind::merge};
  step.file = value;
  request.steps.push_back(step);
  return {};
}

std::string SetOutputFolder(Request& request, const char* value) {
  request.outputFolder = *value ? value : ".";
  return {};
}

std::string SetJobs(Request& request, const char* value) {
  const auto number = Number(value, 1, 1024);
  if (!number) return "needs a number of processes from 1";
  request.jobs = static_cast<std::int32_t>(*number);
  return {};
}

/// "K/N"
std::string SetShard(Request& request, const char* value) {
  constexpr const char* kNeeds = "needs K/N with K from 0 to N - 1";
  const std::string_view text = value;
  const std::size_t slash = text.find('/');
  if (slash == std::string_view::npos) return kNeeds;
  const auto count = Number(text.substr(slash + 1), 1, INT32_MAX);
  const auto index = Number(text.substr(0, slash), 0, count.value_or(0) - 1);
  if (!count || !index) return kNeeds;
  request.shard = static_cast<std::uint64_t>(*index);
  request.shards = static_cast<std::uint64_t>(*count);
  return {};
}

std::string SetFrom(Request& request, const char* value) {
  const std::int32_t row = TypeRowByExtension(value);
  if (row < 0 || !TypeCanLoad(row)) return "is no type that can be loaded (imx formats lists them)";
  request.from = value;
  return {};
}

std::string SetFilesFrom(Request& request, const char* value) {
  if (!*value) return "needs a file";
  request.filesFrom = value;
  return {};
}

template <std::string Request::*field>
std::string SetFile(Request& request, const char* value) {
  if (!*value) return "needs a file";
  request.*field = value;
  return {};
}

std::string SetExact(Request& request, const char* /*value*/) {
  request.interop = false;
  request.quirks.reset();
  return {};
}

template <std::optional<std::string> Request::*field>
std::string SetText(Request& request, const char* value) {
  if (std::strlen(value) >= kTextSize - 1) return "takes at most 254 bytes";
  request.*field = value;
  return {};
}

std::string Strip(Request& request, const char* /*value*/) {
  request.author = request.comment = request.notice = std::string();
  return {};
}

template <bool Request::*field, bool value>
std::string SetFlag(Request& request, const char* /*value*/) {
  request.*field = value;
  return {};
}

}  // namespace

std::string SetInterop(Request& request, const char* names) {
  const std::optional<QuirkSet> chosen = QuirksNamed(names ? names : "");
  if (!chosen) return "names no known quirk (imx quirks lists them)";
  request.interop = true;
  request.quirks = chosen->any() ? *chosen : AllQuirks();
  return {};
}

namespace {

constexpr unsigned kLoading = kInfo | kPixels | kConvert | kCount | kCompare | kGallery;
constexpr unsigned kManyInputs = kConvert | kGallery;

constexpr Option kOptions[] = {
    {"--json", 0, nullptr, kFormats | kInfo | kQuirks | kCompare,
     "one JSON object for each, a line each", SetFlag<&Request::json, true>},
    {"--check", 0, nullptr, kInfo, "decode the pixels as well, and tell whether the file is whole",
     SetFlag<&Request::check, true>},
    {"--tolerance", 0, "N", kCompare,
     "levels by which a channel may differ in pixels that count as equal, 0 to 255 (default 0)",
     SetNumber<&Request::tolerance, 0, 255>},
    {"--diff", 0, "OUT", kCompare,
     "save a picture of the difference, black where there is none (the type by the extension)",
     SetFile<&Request::diff>},
    {"--type", 0, "EXT", kConvert, "the type to save as (default: by the extension of OUTPUT)",
     SetType},
    {"--depth", 0, "BITS", kConvert,
     "{} bits per pixel, as far as the type has them (default: 32 for an image with alpha, else "
     "24, else the type's first)",
     SetDepth, kDepths},
    {"--compress", 0, nullptr, kConvert, "compress, for types that can (default)",
     SetFlag<&Request::compress, true>},
    {"--no-compress", 0, nullptr, kConvert, "do not compress", SetFlag<&Request::compress, false>},
    {"--interlace", 0, nullptr, kConvert, "interlace, for types that can",
     SetFlag<&Request::interlace, true>},
    {"--quality", 0, "N", kConvert, "quality from 0 to 100, for types that have it (default 100)",
     SetNumber<&Request::quality, 0, 100>},
    {"--author", 0, "TEXT", kConvert, "set the author", SetText<&Request::author>},
    {"--comment", 0, "TEXT", kConvert, "set the comment", SetText<&Request::comment>},
    {"--notice", 0, "TEXT", kConvert, "set the rights notice", SetText<&Request::notice>},
    {"--strip", 0, nullptr, kConvert, "drop author, comment and rights notice", Strip},
    {"--region", 0, "L,T,R,B", kConvert,
     "the region of the operations that follow, in pixels, all edges included (default: the whole "
     "image, also after an operation that made a new one)",
     AddRegion},
    {"--clip", 0, nullptr, kConvert, "go on with the region alone", AddStep<ImageStep::Kind::clip>},
    {"--gamma", 0, "G", kConvert, "raise the colours to the power G",
     AddFactor<ImageStep::Kind::gamma>},
    {"--rescale", 0, "F", kConvert, "go on with the region scaled by F, nearest neighbour",
     AddFactor<ImageStep::Kind::rescale>},
    {"--resample", 0, "F", kConvert, "go on with the region scaled by F, bilinear",
     AddFactor<ImageStep::Kind::resample>},
    {"--resize", 0, "WxH", kConvert,
     "fit the whole image into W x H keeping its shape; also Wx or xH, WxH! for exactly that size, "
     "WxH> only when it is larger; averages in linear light, weighted by alpha (Mitchell filter, "
     "Catmull-Rom to enlarge)",
     AddResize},
    {"--flip", 0, nullptr, kConvert, "turn the image upside down", AddStep<ImageStep::Kind::flip>},
    {"--flop", 0, nullptr, kConvert, "mirror the image left to right",
     AddStep<ImageStep::Kind::flop>},
    {"--rotate", 0, "DEGREES", kConvert, "turn the image clockwise by {}", AddRotate, kTurns},
    {"--flatten", 0, "RRGGBB", kConvert,
     "put the image on this colour; no alpha is left (mixes stored values, as displays do)",
     AddFlatten},
    {"--merge", 0, "FILE", kConvert, "put FILE, resampled, into the region", AddMerge},
    {"--render-mode", 0, "N", kConvert,
     "palette of reduced depths: 0 fixed, 1 grey, 2 built from the image (default), 4 that of the "
     "loaded image",
     SetRenderMode},
    {"--ordered", 0, nullptr, kConvert, "ordered dither instead of error diffusion",
     SetFlag<&Request::ordered, true>},
    {"--strength", 0, "PCT", kConvert, "strength of the dither in percent (default 100)",
     SetNumber<&Request::strength, 0, 100>},
    {"--render-bits", 0, "N", kConvert,
     "bits of the palette, 1 to 8 (default: the depth that is saved)", SetRenderBits},
    {"--output-dir", 'o', "DIR", kManyInputs,
     "save in DIR, which is made when missing: every INPUT under its own name with the extension "
     "of --type; a gallery as index.html with the folders thumbs and full",
     SetOutputFolder},
    {"--recurse", 'r', nullptr, kManyInputs,
     "with -o: walk the folders among the inputs (convert makes the tree below each again in DIR); "
     "files that no loader knows by content or name are passed over",
     SetFlag<&Request::recurse, true>},
    {"--files-from", 0, "FILE", kManyInputs,
     "with -o: more inputs, one a line of FILE (- for standard input)", SetFilesFrom},
    {"--null", '0', nullptr, kManyInputs, "the names in --files-from end with a zero byte each",
     SetFlag<&Request::endedByZero, true>},
    {"--jobs", 'j', "N", kManyInputs,
     "with -o: files converted at the same time (default: the number of processors)", SetJobs},
    {"--no-clobber", 'n', nullptr, kConvert, "leave outputs that exist as they are",
     SetFlag<&Request::noClobber, true>},
    {"--update", 0, nullptr, kConvert,
     "leave outputs that are newer than their input as they are, so that an interrupted run goes "
     "on "
     "where it was",
     SetFlag<&Request::update, true>},
    {"--shard", 0, "K/N", kConvert,
     "with -o: do only the K-th (from 0) of N parts of the inputs. The name alone decides in which "
     "an input is, so N runs on any machines do each once",
     SetShard},
    {"--report", 0, "FILE", kConvert,
     "write a JSON object a line for each input to FILE (- for standard output): input, output, "
     "status (done, skipped, failed), message, seconds, bytes",
     SetFile<&Request::report>},
    {"--dry-run", 0, nullptr, kConvert, "print INPUT -> OUTPUT and do nothing",
     SetFlag<&Request::dryRun, true>},
    {"--verbose", 'v', nullptr, kConvert, "print INPUT -> OUTPUT when that is done",
     SetFlag<&Request::verbose, true>},
    {"--no-sync", 0, nullptr, kManyInputs,
     "do not wait until the new file is on the disk before it replaces the old one: faster, but a "
     "power cut may then leave an empty or damaged file",
     SetFlag<&Request::sync, false>},
    {"--part-of-batch", 0, nullptr, kManyInputs, nullptr, SetFlag<&Request::partOfBatch, true>},
    {"--frame", 0, "N", kLoading, "frame of an animation, counted from 0 (default 0)",
     SetNumber<&Request::frame, 0, INT32_MAX - 1>},
    {"--all-frames", 0, nullptr, kConvert,
     "every frame of an animation; the outputs get the number behind their name (name-0007.png)",
     SetFlag<&Request::allFrames, true>},
    {"--from", 0, "EXT", kLoading,
     "read the input as if its name ended in .EXT, where the name does not tell the type", SetFrom},
    {"--raw", 0, "WxH", kLoading, "size of a headerless file", SetRawSize},
    {"--raw-as", 0, "KIND", kLoading, "layout of a headerless file: {} (default: by its name)",
     SetRawKind, kRawKindChoices},
    {"--exact", 0, nullptr, kLoading, "read and write in the library's own way only", SetExact},
    {"--interop", 0, "[=NAME,...]", kLoading,
     "read and write as other programs do, in the named quirks or in all (imx quirks lists them; "
     "default: read so only what the library refuses)",
     SetInterop},
    {"--lenient", 0, nullptr, kLoading,
     "a file that ends early, whose rest is then blank, is no failure; it is still told",
     SetFlag<&Request::lenient, true>},
    {"--max-memory", 0, "MIB", kLoading,
     "the largest image that is accepted, in mebibytes (default 1024)", SetMaxMemory},
    {"--quiet", 'q', nullptr, kLoading, "no progress bar and no messages but errors",
     SetFlag<&Request::quiet, true>},
    {"--help", 'h', nullptr, kAllCommands, "show this help and do nothing",
     SetFlag<&Request::help, true>},
};

/// One argument that is an option, split where it carries its value or, behind a short option
/// without one, more short options.
struct Spelled {
  const Option* option = nullptr;
  std::optional<std::string> value;
  std::string more;  ///< the argument that is left, with its dash
};

/// "--name", "--name=value", "-n" or "-nvalue".
Spelled Find(const Command& command, const std::string& argument) {
  const bool isLong = argument[1] == '-';
  const std::size_t equals = argument.find('=');
  const std::string name = isLong ? argument.substr(0, equals) : argument.substr(0, 2);
  for (const Option& option : kOptions) {
    if (!(option.commands & command.bit)) continue;
    if (isLong ? name != option.name : name[1] != option.shortName) continue;
    Spelled found{&option, std::nullopt, {}};
    if (isLong && equals != std::string::npos) found.value = argument.substr(equals + 1);
    if (isLong || argument.size() == 2) return found;
    if (option.argument) {
      found.value = argument.substr(2);
    } else {
      found.more = "-" + argument.substr(2);
    }
    return found;
  }
  return {};
}

std::string CheckOperandCount(const Command& command, const Request& request) {
  const std::size_t count = request.operands.size();
  if (request.partOfBatch || request.filesFrom) return {};
  if (count < command.fewestOperands) return std::string("needs ") + command.operands;
  if (count > command.mostOperands) {
    return "does not take '" + request.operands[command.mostOperands] + "'";
  }
  return {};
}

/// What is wrong with the arguments taken together. Empty when nothing is.
std::string CheckTogether(const Command& command, const Request& request) {
  if (request.help) return {};
  const auto& operands = request.operands;
  if (std::find(operands.begin(), operands.end(), "") != operands.end()) {
    return "was given an empty file name";
  }
  if (request.rawKind >= 0 && request.rawWidth == 0) return "--raw-as needs --raw WxH as well";
  return CheckOperandCount(command, request);
}

/// Puts one option into the request; `next` is the argument behind it, null behind the last, and
/// `tookNext` tells whether it was used. Empty, or what is wrong.
std::string ApplyOption(Spelled spelled, const std::string* next, Request* request,
                        bool* tookNext) {
  const Option& option = *spelled.option;
  const bool mayLack = option.argument && option.argument[0] == '[';
  *tookNext = option.argument && !mayLack && !spelled.value && next;
  if (*tookNext) {
    spelled.value = *next;
    request->options.push_back(*next);
  }
  if (option.argument && !mayLack && !spelled.value) {
    return std::string(option.name) + " needs " + option.argument;
  }
  if (!option.argument && spelled.value) return std::string(option.name) + " takes no value";
  const char* value = spelled.value ? spelled.value->c_str() : nullptr;
  const std::string fault = option.apply(*request, value);
  if (fault.empty()) return {};
  return std::string(option.name) + (value ? " '" + *spelled.value + "' " : " ") + fault;
}

}  // namespace

std::span<const Option> Options() {
  return kOptions;
}

std::string HelpOf(const Option& option) {
  std::string help = option.help;
  const std::size_t place = help.find("{}");
  if (place != std::string::npos) help.replace(place, 2, Listed(option.choices, "or"));
  return help;
}

std::string ParseArguments(const Command& command, std::span<const std::string> arguments,
                           Request* request) {
  bool optionsOver = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (optionsOver || argument.size() < 2 || argument[0] != '-') {
      for (std::string& name : ExpandName(argument)) request->operands.push_back(std::move(name));
      continue;
    }
    optionsOver = argument == "--";
    for (std::string rest = optionsOver ? "" : argument; !rest.empty();) {
      const Spelled spelled = Find(command, rest);
      if (!spelled.option) return "has no option '" + rest + "'";
      if (rest == argument) request->options.push_back(argument);
      const std::string* next = i + 1 < arguments.size() ? &arguments[i + 1] : nullptr;
      bool tookNext = false;
      const std::string fault = ApplyOption(spelled, next, request, &tookNext);
      if (!fault.empty()) return fault;
      i += tookNext ? 1 : 0;
      rest = spelled.more;
    }
  }
  return CheckTogether(command, *request);
}

int UsageError(const char* command, const std::string& what) {
  std::fprintf(stderr, "imx %s: %s (imx %s --help tells more)\n", command, Printable(what).c_str(),
               command);
  return kUsageError;
}

}  // namespace imx
