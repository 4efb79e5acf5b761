/// The owner of a C file.
#pragma once

#include <cstdio>
#include <memory>

namespace imx {

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

/// An open file, closed on every exit path. What is written and must be whole is closed by hand:
/// `std::fclose(file.release())` tells whether it was.
using OpenFile = std::unique_ptr<std::FILE, FileCloser>;

}  // namespace imx
