#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "cli/batch.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/gallery_page.h"
#include "cli/host.h"
#include "cli/input.h"
#include "cli/name_hash.h"
#include "cli/output.h"
#include "cli/steps.h"
#include "formats/codec_state.h"
#include "imagelib/folders.h"
#include "imagelib/image.h"
#include "imagelib/open_file.h"
#include "imagelib/registry.h"
#include "imagelib/system_files.h"
#include "imagelib/temporary_file.h"
#include "imagelib/unfinished_files.h"

namespace imx {
namespace {

/// Where everything of a gallery is.
struct GalleryPlaces {
  explicit GalleryPlaces(const std::string& root)
      : folder(root),
        page(root + "/index.html"),
        thumbnails(root + "/" + kThumbnailFolder),
        pictures(root + "/" + kPictureFolder) {}

  std::string folder, page, thumbnails, pictures;
};

std::string_view FileName(const std::string& path) {
  return std::string_view(path).substr(path.find_last_of('/') + 1);
}

PictureFacts FactsOf(const ImageRecord& image) {
  PictureFacts facts;
  facts.format = image.formatLabel;
  facts.width = image.width;
  facts.height = image.height;
  facts.depth = image.depth;
  facts.frames = image.frame != 0 ? Sequence().frameCount : 0;
  facts.author = image.author;
  facts.comment = image.comment;
  facts.notice = image.notice;
  return facts;
}

bool SavePng(const Request& request, const std::string& output, ImageRecord& image) {
  SetOutputOptions(request, TypeRowByExtension("png"), image);
  return SaveOutput(output, request, image);
}

/// Makes the pictures of one input. An exit status.
int ShowItem(const Request& request, const BatchItem& item, PictureFacts* facts) {
  const FileScope scope(item.input);
  Input input = LoadInput(item.input, request);
  if (!input) {
    // What is damaged may still tell what it was.
    const Input header = PeekHeader(item.input, request);
    if (header) *facts = FactsOf(*header.image);
    return kFailed;
  }
  *facts = FactsOf(*input.image);
  if (!SavePng(request, item.output, *input.image)) return kFailed;
  Request toThumbnail = request;
  ImageStep shrink{ImageStep::Kind::resize};
  shrink.size = {kThumbnailSide, kThumbnailSide, false, true};
  toThumbnail.steps.push_back(shrink);
  if (!ApplySteps(toThumbnail, item.input, &input)) return kFailed;
  ImageRecord& thumbnail = *input.image;
  for (char* text : {thumbnail.author, thumbnail.comment, thumbnail.notice}) *text = '\0';
  const std::string output =
      GalleryPlaces(request.outputFolder).thumbnails + "/" + std::string(FileName(item.output));
  facts->shown = SavePng(request, output, thumbnail);
  return facts->shown ? input.Status() : kFailed;
}

ItemStatus ShowAndTell(const Request& request, const BatchItem& item) {
  PictureFacts facts;
  const ItemStatus status = DoAsFirst(item.input, [&] { return ShowItem(request, item, &facts); });
  TellFacts(JsonText(nlohmann::json(facts)));
  return status;
}

/// Names the pictures. By their inputs, so that the page of an earlier run stays right while its
/// pictures are made again, one after the other.
void NamePictures(const GalleryPlaces& places, BatchItems* items) {
  BatchItems named;
  items->Rewind();
  for (BatchItem item; items->Next(&item);) {
    char name[24];
    std::snprintf(name, sizeof name, "/%016llx.png",
                  static_cast<unsigned long long>(NameHash(item.input)));
    item.output = places.pictures + name;
    named.Add(item);
  }
  *items = std::move(named);
}

/// An input that belongs to the gallery itself; empty when there is none.
std::string FindOwnFile(const GalleryPlaces& places, BatchItems& items) {
  const std::set<std::string> folders = {FileIdentity(places.thumbnails),
                                         FileIdentity(places.pictures)};
  const std::string page = FileIdentity(places.page);
  items.Rewind();
  for (BatchItem item; items.Next(&item);) {
    std::string target, ignored;
    if (!FollowLinks(item.input, &target, &ignored)) continue;
    if (FileIdentity(target) == page || folders.contains(FileIdentity(FolderOf(target)))) {
      return item.input;
    }
  }
  return {};
}

std::string FindFault(const Request& request, const GalleryPlaces& places, Gathering& gathering) {
  const std::string own = FindOwnFile(places, gathering.items);
  return own.empty() ? FindBatchFault(request, gathering)
                     : "the input " + own + " is a file of the gallery";
}

/// Readies the folders. False on failure, which has been reported.
bool MakePlaces(const GalleryPlaces& places) {
  for (const std::string& folder : {places.thumbnails, places.pictures}) {
    std::string reason;
    if (!MakeFolders(folder, &reason)) {
      ReportFailure(folder, reason);
      return false;
    }
    RemoveLeftovers(folder);
  }
  RemoveLeftovers(places.folder);
  return true;
}

GalleryEntry EntryOf(const BatchItem& item, const ItemOutcome& outcome) {
  GalleryEntry entry;
  entry.input = item.input;
  entry.file = FileName(item.output);
  const auto facts = nlohmann::json::parse(outcome.facts, nullptr, false);
  if (facts.is_object()) entry.facts = facts.get<PictureFacts>();  // a worker that died tells none
  entry.message = outcome.message;
  entry.failed = outcome.status == ItemStatus::failed;
  entry.bytes = FileSize(item.input);
  entry.changed = ModificationTime(item.input).value_or(0);
  return entry;
}

/// Has workers make all pictures. False when something failed, which has been reported.
bool MakePictures(const Request& request, BatchItems& items, BatchProgress& progress,
                  BatchCounts& counts, std::vector<GalleryEntry>& entries) {
  WorkPlan plan = PlanOfWorkers(request, "gallery");
  plan.next = [&](BatchItem* item) { return items.Next(item); };
  plan.said = [](const std::string& text) { ReportFailure({}, text); };
  plan.saved = [](const BatchItem&, const std::string&) {};
  plan.ended = [&](const BatchItem& item, const ItemOutcome& outcome) {
    ++(outcome.status == ItemStatus::failed ? counts.failed : counts.done);
    entries.push_back(EntryOf(item, outcome));
  };
  plan.wait = [&] { progress.Show(counts); };
  progress.Show(counts);
  const bool all = RunWorkers(plan);
  EraseStatus();
  return all;
}

/// Writes the page and then sees to the folders. Empty, or why it could not be done.
std::string SavePage(const Request& request, const GalleryPlaces& places,
                     const std::vector<GalleryEntry>& entries) {
  std::string target, reason;
  if (!FollowLinks(places.page, &target, &reason)) return reason;
  TemporaryFile file(FolderOf(target));
  if (!file.ok()) return file.reason();
  OpenFile to(std::fopen(file.path().c_str(), "wb"));
  if (!to) return std::strerror(errno);
  WriteGalleryPage(entries, to.get());
  const bool failed = std::ferror(to.get()) != 0;
  if (std::fclose(to.release()) != 0 || failed) return std::strerror(errno);
  if (!request.sync) return file.MoveTo(target, false) ? "" : file.reason();
  for (const std::string& folder : {places.thumbnails, places.pictures}) {
    if (!SyncFolder(folder, &reason)) return reason;
  }
  if (!file.MoveTo(target, true)) return file.reason();
  return SyncFolder(places.folder, &reason) ? "" : reason;
}

std::string CheckOperands(const Request& request) {
  if (request.outputFolder.empty()) return "needs -o DIR";
  const auto& operands = request.operands;
  const bool standard = std::find(operands.begin(), operands.end(), "-") != operands.end();
  return standard ? "standard input has no name to show" : "";
}

int MakeGallery(const Request& request) {
  const GalleryPlaces places(request.outputFolder);
  BatchProgress progress;
  Gathering gathering;
  gathering.ownFolders = {places.thumbnails, places.pictures};
  GatherItems(request, &gathering, [&](std::uint64_t found) { progress.ShowFound(found); });
  NamePictures(places, &gathering.items);
  const std::string fault = FindFault(request, places, gathering);
  EraseStatus();
  if (!gathering.items.fault().empty()) {
    ReportFailure("the list of inputs", gathering.items.fault());
    return kFailed;
  }
  if (!fault.empty()) return UsageError("gallery", fault);
  if (!MakePlaces(places)) return kFailed;
  BatchCounts counts;
  counts.total = gathering.items.size();
  gathering.items.Rewind();
  std::vector<GalleryEntry> entries;
  bool all = MakePictures(request, gathering.items, progress, counts, entries);
  if (!Interrupted()) {
    std::sort(entries.begin(), entries.end(),
              [](const GalleryEntry& a, const GalleryEntry& b) { return a.input < b.input; });
    const std::string reason = SavePage(request, places, entries);
    if (!reason.empty()) ReportFailure(places.page, reason);
    all = all && reason.empty();
  }
  ConcludeBatch(request, gathering, counts, progress.Seconds());
  all = all && gathering.complete && counts.failed == 0 && counts.over() == counts.total;
  return all ? kDone : kFailed;
}

}  // namespace

int RunGallery(const Request& request) {
  if (request.partOfBatch) {
    ServeItems([&request](const BatchItem& item) { return ShowAndTell(request, item); });
    return kDone;
  }
  const std::string fault = CheckOperands(request);
  return fault.empty() ? MakeGallery(request) : UsageError("gallery", fault);
}

}  // namespace imx
