/// What fuzzers feed, and the ordinary tests feed again with what they found.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "fuzz/input.h"
#include "imagelib/image.h"
#include "tests/formats/codec_table.h"
#include "tests/support/files.h"
#include "tests/support/recording_host.h"

namespace imx::test {

/// What a target works with: a host of its own, and a folder that is the same in every run.
struct Run {
  Input input;
  RecordingHost host;
  TempDir& temp;
};

/// Pixels above this many bytes are refused.
inline constexpr std::uint64_t kImageCeiling = 1 << 20;

/// Throws when the library breaks its word.
using Target = std::function<void(Run& run)>;

/// By name: the loader of every codec, the plug-ins' too, and what the files beside this one
/// define.
const std::map<std::string, Target>& Targets();

/// Runs the target with these bytes in a library that is as after its start, small ceilings apart.
/// Beyond what the target finds it throws when memory is leaked or damaged, or a progress display
/// left open.
void RunTarget(const Target& target, const Bytes& bytes);

/// Throws `what` unless it holds.
void Require(bool holds, const std::string& what);

/// What every loaded record must keep to. It may be null. `headerOnly`: so may its pixels.
void RequireSound(const ImageRecord* image, bool headerOnly = false);

/// The codecs that are plug-ins, called through the library.
const std::vector<Codec>& PluginCodecs();

void FuzzDispatch(Run& run);
void FuzzSaving(Run& run);
void FuzzRenderer(Run& run);
void FuzzTokens(Run& run);
void FuzzArguments(Run& run);

}  // namespace imx::test
