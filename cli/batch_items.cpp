#include "cli/batch_items.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <set>

#include "cli/host.h"
#include "cli/input.h"
#include "cli/name_hash.h"
#include "dispatch/load.h"
#include "imagelib/folders.h"
#include "imagelib/registry.h"
#include "imagelib/system_files.h"
#include "imagelib/text.h"
#include "imagelib/unfinished_files.h"

namespace imx {
namespace {

/// The output's path in the request's output folder. `below`: the input's folder in the tree that
/// is made again, empty or with a separator at its end.
std::string RelativeOutput(const Request& request, const std::string& input,
                           const std::string& below) {
  const std::string_view name = PathFileName(input);
  const std::string_view base = name.substr(0, name.size() - PathExtension(name).size());
  return below + std::string(base) + "." + request.type;
}

/// Whether the input is in the part that is asked for. The output's name decides, so that two
/// inputs that would have one output meet in the same part; wherever the folders are mounted.
bool IsInShard(const Request& request, std::string relative) {
  if (request.shards == 1) return true;
  for (char& c : relative) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (c == '\\') c = '/';
  }
  return NameHash(relative) % request.shards == request.shard;
}

bool IsPicture(const std::string& path, const Request& request) {
  const std::string_view ending = PathExtension(path);
  const std::int32_t row =
      ending.empty() ? -1 : TypeRowByExtension(std::string(ending.substr(1)).c_str());
  return (row >= 0 && TypeCanLoad(row)) || IdentifyFile(path.c_str(), request.from).label;
}

class Gatherer {
 public:
  Gatherer(const Request& request, Gathering* gathering,
           const std::function<void(std::uint64_t)>& found)
      : request_(request), gathering_(*gathering), found_(found) {
    own_.insert(FileIdentity(request.outputFolder));
    for (const std::string& folder : gathering->ownFolders) own_.insert(FileIdentity(folder));
  }

  void TakeName(const std::string& name) {
    if (request_.recurse && KindOfPath(name) == PathKind::directory) {
      Walk(name);
    } else {
      TakeFile(name, {}, false);
    }
  }

  void TakeList(const std::string& list) {
    const bool standard = list == "-";
    const OpenFile opened(standard ? nullptr : std::fopen(list.c_str(), "rb"));
    std::FILE* stream = standard ? stdin : opened.get();
    if (!stream) return Fail(list, std::strerror(errno));
    if (!standard) gathering_.readFiles.push_back(list);
    const int end = request_.endedByZero ? '\0' : '\n';
    std::string name;
    for (int c; (c = std::getc(stream)) != EOF;) {
      if (c != end) {
        name += static_cast<char>(c);
        continue;
      }
      TakeListed(name);
      name.clear();
    }
    TakeListed(name);
    if (std::ferror(stream)) Fail(list, std::strerror(errno));
  }

 private:
  void Fail(const std::string& name, const std::string& reason) {
    ReportFailure(name, reason);
    gathering_.complete = false;
  }

  void TakeListed(std::string& name) {
    if (!request_.endedByZero && name.ends_with('\r')) name.pop_back();
    if (name == "-") name = "./-";
    if (!name.empty()) TakeName(name);
  }

  void TakeFile(const std::string& input, const std::string& below, bool onlyPictures) {
    const std::string relative = RelativeOutput(request_, input, below);
    if (!IsInShard(request_, relative)) return;
    if (onlyPictures && !IsPicture(input, request_)) {
      ++gathering_.others;
      return;
    }
    const std::int32_t frames = request_.allFrames ? CountFrames(input, request_) : 0;
    gathering_.items.Add({input, request_.outputFolder + "/" + relative, frames});
    if (gathering_.items.size() % 256 == 0) found_(gathering_.items.size());
  }

  /// Folders that wait are kept by name, so that none is open longer than it takes to read it.
  void Walk(const std::string& root) {
    const std::string start =
        kPathSeparators.find(root.back()) == std::string_view::npos ? root + "/" : root;
    std::vector<std::string> waiting = {""};
    while (!waiting.empty()) {
      const std::string below = std::move(waiting.back());
      waiting.pop_back();
      // What an earlier run made is no input.
      if (!below.empty() && own_.contains(FileIdentity(start + below))) continue;
      std::string reason;
      const bool read = ListFolder(
          start + below,
          [&](std::string_view name, EntryKind kind) {
            const std::string path = below + std::string(name);
            if (kind == EntryKind::folder) {
              waiting.push_back(path + "/");
            } else if (kind == EntryKind::other) {
              ++gathering_.others;
            } else if (!IsUnfinished(name)) {
              TakeFile(start + path, below, true);
            }
          },
          &reason);
      if (!read) Fail(start + below, reason);
    }
  }

  const Request& request_;
  Gathering& gathering_;
  const std::function<void(std::uint64_t)>& found_;
  std::set<std::string> own_;  ///< identities of folders of the run's outputs
};

}  // namespace

std::string FrameOutput(const std::string& output, std::int32_t frame) {
  char number[16];
  std::snprintf(number, sizeof number, "-%04d", static_cast<int>(frame));
  const std::size_t end = output.size() - PathExtension(output).size();
  return output.substr(0, end) + number + output.substr(end);
}

void ForEachOutput(const BatchItem& item, const std::function<void(const std::string&)>& output) {
  if (item.frames == 0) output(item.output);
  for (std::int32_t i = 0; i < item.frames; ++i) output(FrameOutput(item.output, i));
}

bool OutputStays(const Request& request, const std::string& input, const std::string& output) {
  if (!request.noClobber && !request.update) return false;
  const auto made = ModificationTime(output);
  if (!made || request.noClobber) return made.has_value();
  const auto changed = ModificationTime(input);
  return changed && *made > *changed;
}

void BatchItems::Add(const BatchItem& item) {
  names_.Add(item.input);
  names_.Add(item.output);
  names_.Add(std::to_string(item.frames));
  ++size_;
}

bool BatchItems::Next(BatchItem* item) {
  std::string frames;
  if (!names_.Next(&item->input) || !names_.Next(&item->output) || !names_.Next(&frames)) {
    return false;
  }
  std::from_chars(frames.data(), frames.data() + frames.size(), item->frames);
  return true;
}

void GatherItems(const Request& request, Gathering* gathering,
                 const std::function<void(std::uint64_t)>& found) {
  if (request.outputFolder.empty()) {
    const std::string& input = request.operands[0];
    gathering->items.Add(
        {input, request.operands[1], request.allFrames ? CountFrames(input, request) : 0});
    return;
  }
  Gatherer gatherer(request, gathering, found);
  for (const std::string& operand : request.operands) gatherer.TakeName(operand);
  if (request.filesFrom) gatherer.TakeList(*request.filesFrom);
}

}  // namespace imx
