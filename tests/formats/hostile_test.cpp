// Every codec against broken files, exhausted memory, full disks and a user who presses Stop.
// Beyond what each test expects, the fixture sees to it that nothing leaks, no guard is damaged and
// every progress display is ended.

#include <cstring>
#include <filesystem>
#include <random>
#include <string>

#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/load_outcome.h"
#include "imagelib/save_outcome.h"
#include "tests/formats/codec_table.h"
#include "tests/formats/kept_files.h"
#include "tests/support/fault_injection.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

class HostileTest : public LibraryTest, public testing::WithParamInterface<const Codec*> {
 protected:
  const Codec& codec() const { return *GetParam(); }

  /// Checks what every load must keep to. The record may be null.
  ImageGuard LoadFile(const std::string& path) {
    LoadHeader(path);
    ExpectTidy();
    BeginLoadOutcome();
    ImageGuard image(codec().load(path.c_str()));
    if (image) {
      EXPECT_EQ(image->magic, kImageMagic);
      EXPECT_GE(image->width, 1);
      EXPECT_GE(image->height, 1);
      EXPECT_EQ(LiveBlockSize(image->pixels), std::uint64_t{4} * image->pixelCount);
      EXPECT_EQ(image->rowOffsets[image->height - 1], (image->height - 1) * image->width);
    }
    ExpectTidy();
    return image;
  }

  ImageGuard LoadHeader(const std::string& path) {
    const HeaderOnlyScope header(true);
    return ImageGuard(codec().load(path.c_str()));
  }

  ImageGuard LoadBytes(const Bytes& bytes) { return LoadFile(temp.Write("in", bytes)); }

  /// Saves to outputPath_ and tells what became of the file.
  SaveOutcome Save(const Saving& saving, const ImageRecord& image) {
    BeginSaveOutcome();
    saving.save(image, outputPath_.c_str());
    ExpectTidy();
    return GetSaveOutcome();
  }

  void ExpectTidy() {
    EXPECT_EQ(static_cast<int>(host.progress.size()), host.progressEnds);
    EXPECT_EQ(NewMemoryFaults(), 0) << testing::PrintToString(host.errors);
  }

  void ExpectSame(const Saving& saving, const ImageRecord& wanted, const ImageRecord* got) {
    ASSERT_NE(got, nullptr);
    if (saving.kept == Kept::size) {
      EXPECT_EQ(got->width, wanted.width);
      EXPECT_EQ(got->height, wanted.height);
      return;
    }
    const bool alpha = saving.kept == Kept::rgba ||
                       (saving.kept == Kept::flagged && (wanted.flags & kFlagAlpha) != 0);
    EXPECT_EQ(Difference(wanted, *got, alpha ? Channels::rgba : Channels::rgb), "");
  }

  /// Saves in every way with the accident at step 0, 1, ... until it is not met any more. The
  /// outcome must say "whole" then, and before only of a file that is.
  template <typename SaveWithAccident>
  void ExpectHonest(const ImageRecord& image, SaveWithAccident save) {
    for (const Saving& saving : codec().savings) {
      for (int n = 0;; ++n) {
        SCOPED_TRACE(testing::Message() << saving.name << ", accident at step " << n);
        bool met = false;
        const SaveOutcome outcome = save(saving, n, &met);
        if (outcome == SaveOutcome::whole) ExpectSame(saving, image, LoadFile(outputPath_).get());
        if (HasFailure()) return;
        if (met) continue;
        EXPECT_EQ(outcome, SaveOutcome::whole);
        break;
      }
    }
  }

  /// Loads every seed with the accident at step 0, 1, ... until it is not met any more.
  template <typename LoadWithAccident>
  void ExpectTidyLoads(LoadWithAccident load) {
    for (const auto& [name, bytes] : Seeds()) {
      WriteFile(inputPath_, bytes);
      for (int n = 0; load(n); ++n) {
        if (HasFailure()) FAIL() << name << ", accident at step " << n;
      }
    }
  }

  /// A small file of every kind that the codec writes, and its samples.
  std::map<std::string, Bytes> Seeds() {
    const ImageGuard picture = Drawing(9, 7);
    std::map<std::string, Bytes> seeds = KeptFiles(codec().name, "samples");
    for (const Saving& saving : codec().savings) {
      EXPECT_EQ(Save(saving, *picture), SaveOutcome::whole);
      seeds[std::string("saved ") + saving.name] = ReadFile(outputPath_);
    }
    return seeds;
  }

  std::string inputPath_ = temp.file(std::string("in.") + codec().name);
  std::string outputPath_ = temp.file(std::string("out.") + codec().name);
};

TEST_P(HostileTest, WhatIsSavedLoadsTheSame) {
  std::vector<ImageGuard> pictures;
  for (const auto& [width, height] :
       {std::pair{1, 1}, {1, 37}, {37, 1}, {2, 3}, {16, 16}, {33, 18}}) {
    pictures.push_back(PhotoLike(width, height));
    pictures.push_back(Drawing(width, height));
    pictures.push_back(AlphaGradient(width, height));
    pictures.push_back(Solid(width, height, {200, 200, 200, 255}));
  }
  for (const Saving& saving : codec().savings) {
    for (const ImageGuard& picture : pictures) {
      SCOPED_TRACE(testing::Message()
                   << saving.name << " " << picture->width << "x" << picture->height);
      EXPECT_EQ(Save(saving, *picture), SaveOutcome::whole);
      ExpectSame(saving, *picture, LoadFile(outputPath_).get());
      EXPECT_FALSE(FileEndedEarly(true));
    }
  }
  EXPECT_TRUE(host.errors.empty()) << host.errors.front();
  EXPECT_TRUE(host.notes.empty()) << host.notes.front();
}

TEST_P(HostileTest, SamplesLoadAndOversizedHeadersAreBorne) {
  ASSERT_FALSE(Seeds().empty());
  for (const auto& [name, bytes] : KeptFiles(codec().name, "samples")) {
    EXPECT_TRUE(LoadBytes(bytes)) << name;
  }
  for (const auto& [name, bytes] : KeptFiles(codec().name, "oversized_headers")) LoadBytes(bytes);
}

// Save for the alpha that only pixels tell.
TEST_P(HostileTest, HeadersTellWhatWholeFilesDo) {
  const auto told = [](const ImageRecord& image, std::uint32_t flags) {
    return testing::PrintToString(std::tuple(image.width, image.height, image.depth,
                                             image.flags & flags, image.frame, image.fileType,
                                             image.paletteCount,
                                             std::string(image.author) + "|" + image.comment + "|" +
                                                 image.notice + "|" + image.formatLabel));
  };
  for (const auto& [name, bytes] : Seeds()) {
    const ImageGuard whole = LoadBytes(bytes);
    const ImageGuard header = LoadHeader(temp.file("in"));
    ASSERT_TRUE(whole && header) << name;
    const std::uint32_t flags =
        ~(AlphaIsUntold() ? kFlagAlpha | kFlagNameGenerated : kFlagNameGenerated);
    EXPECT_EQ(told(*header, flags), told(*whole, flags)) << name;
    if (whole->frame != 0) continue;  // frames bring the colours
    EXPECT_EQ(std::memcmp(&header->palette, &whole->palette, sizeof(Palette)), 0) << name;
  }
}

TEST_P(HostileTest, NoFileAtAll) {
  EXPECT_FALSE(LoadFile(temp.file("missing")));
  EXPECT_FALSE(LoadFile(temp.path())) << "a folder";
}

// What the missing bytes make of the picture is known.
TEST_P(HostileTest, TruncatedAnywhere) {
  for (const auto& [name, bytes] : Seeds()) {
    SCOPED_TRACE(name);
    WriteFile(inputPath_, bytes);
    const ImageGuard whole = LoadFile(inputPath_);
    for (std::size_t length = bytes.size(); length-- > 0;) {
      std::filesystem::resize_file(inputPath_, length);
      const ImageGuard image = LoadFile(inputPath_);
      const bool told = FileEndedEarly(static_cast<bool>(image)) || !codec().isFile;
      EXPECT_TRUE(told || (image && Difference(*whole, *image, Channels::rgba).empty()));
      host.Clear();
      if (HasFailure()) FAIL() << "at length " << length;
    }
  }
}

TEST_P(HostileTest, RandomBytes) {
  constexpr int kRounds = 200;
  constexpr std::uint64_t kCeiling = 1 << 20;
  const std::map<std::string, Bytes> seeds = Seeds();
  SetImageCeiling(kCeiling);
  for (const auto& [name, seed] : seeds) {
    SCOPED_TRACE(name);
    for (unsigned round = 0; round < kRounds; ++round) {
      std::mt19937 random(round);
      Bytes bytes = seed;
      // Half of the rounds aim at the header.
      const std::size_t reach =
          round % 2 == 0 ? std::min<std::size_t>(bytes.size(), 64) : bytes.size();
      for (unsigned change = 0; change <= round % 4; ++change) {
        bytes[random() % reach] = static_cast<std::uint8_t>(random() % 3 == 0 ? 0xFF : random());
      }
      if (codec().repair) codec().repair(bytes);
      LoadBytes(bytes);
      host.Clear();
      if (HasFailure()) FAIL() << "in round " << round;
    }
  }
}

TEST_P(HostileTest, LoadingWithoutMemory) {
  ExpectTidyLoads([this](int n) {
    const AllocationFailure failure(n);
    LoadFile(inputPath_);
    return failure.reached();
  });
}

TEST_P(HostileTest, StopWhileLoading) {
  ExpectTidyLoads([this](int n) {
    host.Clear();
    host.stopAt = n;
    LoadFile(inputPath_);
    EXPECT_LE(host.abortableCalls, n + 1) << "went on after a stop";
    return host.abortableCalls > n;
  });
}

TEST_P(HostileTest, SavingWithoutMemory) {
  const ImageGuard picture = PhotoLike(20, 19);
  ExpectHonest(*picture, [&](const Saving& saving, int n, bool* met) {
    const AllocationFailure failure(n);
    const SaveOutcome outcome = Save(saving, *picture);
    *met = failure.reached();
    return outcome;
  });
}

TEST_P(HostileTest, StopWhileSaving) {
  const ImageGuard picture = PhotoLike(20, 37);
  ExpectHonest(*picture, [&](const Saving& saving, int n, bool* met) {
    host.Clear();
    host.stopAt = n;
    const SaveOutcome outcome = Save(saving, *picture);
    EXPECT_LE(host.abortableCalls, n + 1) << "went on after a stop";
    *met = host.abortableCalls > n;
    host.stopAt = RecordingHost::kNever;
    return outcome;
  });
}

TEST_P(HostileTest, SavingOnAFullDisk) {
  const ImageGuard picture = PhotoLike(160, 120);  // more than a writer's buffer holds
  ExpectHonest(*picture, [&](const Saving& saving, int n, bool* met) {
    const WriteFailure failure(n);
    const SaveOutcome outcome = Save(saving, *picture);
    *met = failure.reached();
    EXPECT_TRUE(!*met || (outcome == SaveOutcome::failed && !SaveFailureReason().empty()));
    return outcome;
  });
}

TEST_P(HostileTest, SavingWhereNothingCanBeWritten) {
  const ImageGuard picture = Drawing(4, 4);
  outputPath_ = temp.file("no such folder/out");
  for (const Saving& saving : codec().savings) {
    EXPECT_EQ(Save(saving, *picture), SaveOutcome::failed) << saving.name;
  }
}

std::vector<const Codec*> AllCodecs() {
  std::vector<const Codec*> list;
  for (const Codec& codec : Codecs()) list.push_back(&codec);
  return list;
}

INSTANTIATE_TEST_SUITE_P(Codec, HostileTest, testing::ValuesIn(AllCodecs()),
                         [](const auto& row) { return std::string(row.param->name); });

}  // namespace
}  // namespace imx::test
