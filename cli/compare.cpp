#include <cmath>
#include <cstdio>
#include <string>

#include "cli/commands.h"
#include "cli/host.h"
#include "cli/input.h"
#include "cli/json.h"
#include "cli/output.h"
#include "imagelib/image.h"
#include "imagelib/system_files.h"
#include "ops/operations.h"

namespace imx {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kEqual = 0, kDifferent = 1;

constexpr const char* kChannelNames[] = {"red", "green", "blue", "alpha"};

/// Two pictures side by side, under the names that the request has for them.
struct Pair {
  const Request& request;
  const ImageRecord& a;
  const ImageRecord& b;

  bool SameSize() const { return a.width == b.width && a.height == b.height; }
};

/// What contradicts itself in the command line; empty when nothing does.
std::string CheckNames(const Request& request) {
  const std::string& a = request.operands[0];
  const std::string& b = request.operands[1];
  if (a == "-" && b == "-") return "standard input can be read once only";
  if (request.diff.empty()) return {};
  if (request.diff == "-") return "standard output takes the numbers, --diff needs a file";
  const std::string identity = FileIdentity(request.diff);
  for (const std::string* input : {&a, &b}) {
    if (FileIdentity(*input) == identity) return "--diff would replace the input " + *input;
  }
  std::string fault;
  OutputRow(request, request.diff, &fault);
  return fault;
}

/// Numbers that there are not, those of pictures of two sizes and an infinite PSNR, are null.
void PrintJson(const Pair& pair, const ImageDifference& difference, bool equal) {
  const auto side = [](const std::string& file, const ImageRecord& image) {
    return Json{{"file", file}, {"width", image.width}, {"height", image.height}};
  };
  Json object = {{"a", side(pair.request.operands[0], pair.a)},
                 {"b", side(pair.request.operands[1], pair.b)},
                 {"tolerance", pair.request.tolerance},
                 {"equal", equal},
                 {"differentPixels", nullptr},
                 {"channels", nullptr}};
  if (pair.SameSize()) {
    object["differentPixels"] = difference.differentPixels;
    for (std::size_t c = 0; c < difference.channels.size(); ++c) {
      const ChannelDifference& channel = difference.channels[c];
      object["channels"][kChannelNames[c]] = {
          {"largest", channel.largest}, {"mean", channel.mean}, {"psnr", channel.psnr}};
    }
  }
  PrintJsonLine(object);
}

void PrintChannel(const char* name, const ChannelDifference& channel) {
  std::printf("  %-6s largest %d, mean %.4f, PSNR ", name, channel.largest, channel.mean);
  std::isfinite(channel.psnr) ? std::printf("%.2f dB\n", channel.psnr) : std::printf("infinite\n");
}

void PrintText(const Pair& pair, const ImageDifference& difference) {
  const auto side = [](const std::string& file, const ImageRecord& image) {
    std::printf("%s: %d x %d\n", Printable(file).c_str(), image.width, image.height);
  };
  side(pair.request.operands[0], pair.a);
  side(pair.request.operands[1], pair.b);
  if (!pair.SameSize()) {
    std::printf("the sizes differ\n");
    return;
  }
  const std::uint64_t pixels =
      static_cast<std::uint64_t>(pair.a.width) * static_cast<std::uint64_t>(pair.a.height);
  const std::int32_t tolerance = pair.request.tolerance;
  const std::string by = tolerance > 0 ? " by more than " + std::to_string(tolerance) : "";
  std::printf("%s of %s pixels differ%s\n", std::to_string(difference.differentPixels).c_str(),
              std::to_string(pixels).c_str(), by.c_str());
  for (std::size_t c = 0; c < difference.channels.size(); ++c) {
    PrintChannel(kChannelNames[c], difference.channels[c]);
  }
}

/// False on failure, which has been reported.
bool SaveDifference(const Pair& pair) {
  const std::string& output = pair.request.diff;
  const NewImage made = DifferenceOf(pair.a, pair.b);
  if (!made) {
    ReportFailure(output, kOutOfMemory);
    return false;
  }
  std::string fault;
  SetOutputOptions(pair.request, OutputRow(pair.request, output, &fault), *made.image);
  return SaveOutput(output, pair.request, *made.image);
}

int ComparePair(const Pair& pair) {
  const Request& request = pair.request;
  ImageDifference difference;
  if (pair.SameSize()) difference = Compare(pair.a, pair.b, request.tolerance);
  const bool equal = pair.SameSize() && difference.differentPixels == 0;
  request.json ? PrintJson(pair, difference, equal) : PrintText(pair, difference);
  if (!request.diff.empty() && !pair.SameSize()) {
    ReportFailure(request.diff, "not saved: the sizes differ");
  } else if (!request.diff.empty() && !SaveDifference(pair)) {
    return kCompareFailed;
  }
  return equal ? kEqual : kDifferent;
}

}  // namespace

int RunCompare(const Request& request) {
  const std::string fault = CheckNames(request);
  if (!fault.empty()) return UsageError("compare", fault);
  const Input a = LoadInput(request.operands[0], request);
  const Input b = LoadInput(request.operands[1], request);
  if (a.Status() != kDone || b.Status() != kDone) return kCompareFailed;
  return ComparePair({request, *a.image, *b.image});
}

}  // namespace imx
