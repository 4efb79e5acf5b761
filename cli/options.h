/// The command line: what can be asked, in tables, and what was asked.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "imagelib/quirks.h"
#include "ops/operations.h"

namespace imx {

/// A step of a conversion between loading and saving.
struct ImageStep {
  enum class Kind {
    region,
    clip,
    gamma,
    rescale,
    resample,
    resize,
    flip,
    flop,
    rotate,
    flatten,
    merge
  };
  Kind kind;
  std::array<std::int32_t, 4> region = {};  ///< left, top, right, bottom; all inclusive
  float factor = 1.0f;                      ///< of gamma, rescale and resample
  SizeWish size = {};
  std::int32_t quarters = 0;               ///< of a rotation, clockwise
  std::array<std::uint8_t, 3> below = {};  ///< red, green and blue to flatten on
  std::string file = {};                   ///< to merge
};

/// Everything that one command line asks for.
struct Request {
  std::vector<std::string> operands;
  bool help = false;
  bool json = false;
  bool quiet = false;
  std::int32_t tolerance = 0;        ///< levels by which equal pictures may differ
  std::string diff;                  ///< file for the picture of the difference; empty: none
  bool check = false;                ///< decode the pixels as well
  bool lenient = false;              ///< an input that is not whole is no failure
  std::vector<std::string> options;  ///< the arguments that are no operands, as they were given
  std::uint64_t maxMemoryMib = 1024;
  std::string type;  ///< extension of the registry row; empty: by the output's name
  std::optional<std::int32_t> depth;  ///< bits per pixel
  bool compress = true;
  bool interlace = false;
  std::int32_t quality = 100;
  std::optional<std::string> author;
  std::optional<std::string> comment;
  std::optional<std::string> notice;
  std::int32_t frame = 0;     ///< of a sequence
  std::string from;           ///< what stands for the extension of the input's name; empty: its own
  std::int32_t rawWidth = 0;  ///< of a headerless file; 0 = not given
  std::int32_t rawHeight = 0;
  std::int32_t rawKind = -1;  ///< layout code; -1 = by the name
  std::int32_t renderMode = 2;
  bool ordered = false;
  std::int32_t strength = 100;  ///< of the dither, in percent
  std::optional<std::int32_t> renderBits;
  std::optional<bool> interop;   ///< read and write as other programs do; unset = read so at need
  QuirkSet quirks;               ///< what `interop` turns on; none otherwise
  std::vector<ImageStep> steps;  ///< in the order in which they were given
  std::string outputFolder;      ///< empty: the last operand names the output
  bool recurse = false;
  std::optional<std::string> filesFrom;  ///< a file that names more inputs; "-": standard input
  bool endedByZero = false;              ///< the names there are, not by line ends
  std::uint64_t shard = 0;               ///< the part of the inputs to do, of so many
  std::uint64_t shards = 1;
  bool noClobber = false;
  bool update = false;
  bool allFrames = false;
  bool dryRun = false;
  bool verbose = false;
  std::string report;  ///< file; "-": standard output; empty: none
  std::optional<std::int32_t> jobs;
  bool sync = true;
  bool partOfBatch = false;  ///< takes its inputs from another process, which sees to the folders
};

/// Exit statuses.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kUsageError = 2;

/// Bits that say which commands take an option.
enum CommandBit : unsigned {
  kFormats = 1u << 0,
  kInfo = 1u << 1,
  kPixels = 1u << 2,
  kConvert = 1u << 3,
  kCount = 1u << 4,
  kQuirks = 1u << 5,
  kCompare = 1u << 6,
  kGallery = 1u << 7,
  kHelp = 1u << 8,
  kAllCommands = ~0u,
};

struct Command {
  CommandBit bit;
  const char* name;
  const char* operands;  ///< as the help shows them
  const char* summary;
  std::size_t fewestOperands;
  std::size_t mostOperands;
  /// Does what is asked; an exit status.
  int (*run)(const Request& request);
  int failed = kFailed;  ///< the status that says that it could not be done
};

struct Option {
  const char* name;  ///< with its dashes
  char shortName;    ///< 0 = none
  /// As the help shows it; null when the option takes none. In brackets, with its '=', it may be
  /// left out.
  const char* argument;
  unsigned commands;  ///< CommandBit mask
  /// "{}" in it stands for the choices; null: for the program's own copies, not shown
  const char* help;
  /// Puts the argument (null when there is none) into the request. Empty, or what is wrong
  /// with it in words that follow the option's name.
  std::string (*apply)(Request& request, const char* value);
  std::span<const char* const> choices = {};  ///< what it takes, where that can be listed
};

/// The option's help with its choices.
std::string HelpOf(const Option& option);

std::span<const Command> Commands();
std::span<const Option> Options();

/// The command of that name, or null.
const Command* FindCommand(std::string_view name);

/// Reads the arguments behind the command's name. Empty, or what is wrong with them.
std::string ParseArguments(const Command& command, std::span<const std::string> arguments,
                           Request* request);

/// Other programs' way in the quirks named (with commas between; null or empty: in all). Empty, or
/// what is wrong with the names.
std::string SetInterop(Request& request, const char* names);

/// Ends a command whose arguments contradict each other: says so on standard error; kUsageError.
int UsageError(const char* command, const std::string& what);

}  // namespace imx
