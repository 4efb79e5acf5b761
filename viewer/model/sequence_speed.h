/// How fast the frames of a sequence follow each other.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace imx {

/// Milliseconds that each frame of a FLIC, AVI or GIF file is shown, as the file tells; one entry
/// where it is the same for all of them. What a file does not tell is kUsualFrameTime; empty when
/// it is none of these or cannot be read.
/// Layout: the frame headers of the three formats (formats/flic.h, avi.h, gif.h).
std::vector<std::int32_t> FrameTimes(const std::string& path);

inline constexpr std::int32_t kUsualFrameTime = 100;

/// The frame to be shown `elapsed` milliseconds after frame `start` was, of `frames` that repeat.
std::int32_t FrameAt(const std::vector<std::int32_t>& times, std::int32_t frames,
                     std::int32_t start, std::int64_t elapsed);

/// How long frame `frame` is shown.
std::int32_t FrameTime(const std::vector<std::int32_t>& times, std::int32_t frame);

}  // namespace imx
