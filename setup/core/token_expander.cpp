#include "setup/core/token_expander.h"

#include <algorithm>

namespace imx {
namespace {

std::string inSystemCodePage(const Platform& platform, const PathText& path) {
  PathText converted;
  return platform.toSystemCodePage(platform.context, path, converted) ? converted : path;
}

}  // namespace

TokenTexts makeTokenTexts(const Platform& platform, const InstallSettings& settings) {
  TokenTexts texts;
  texts.pictures = inSystemCodePage(platform, settings.picturesDir);
  texts.data = inSystemCodePage(platform, settings.dataDir);
  if (isWanted(settings, InstallCondition::help)) {
    texts.help = inSystemCodePage(platform, settings.helpDir);
  }
  texts.barredData = texts.data;
  std::replace(texts.barredData.begin(), texts.barredData.end(), ' ', '|');
  return texts;
}

std::string_view TokenExpander::take(std::uint8_t byte) {
  switch (state_) {
    case State::copy:
      if (byte == '%') {
        state_ = State::code;
        return {};
      }
      copied_ = static_cast<char>(byte);
      return {&copied_, 1};
    case State::code:
      state_ = State::firstDrop;
      switch (byte) {
        case 'i':
          replacement_ = texts_.pictures;
          break;
        case 'd':
          replacement_ = texts_.data;
          break;
        case 'h':
          replacement_ = texts_.help;
          break;
        case 'D':
          replacement_ = texts_.barredData;
          break;
        default:
          state_ = State::code;
      }
      return {};
    case State::firstDrop:
      state_ = State::lastDrop;
      return {};
    case State::lastDrop:
      state_ = State::copy;
      return replacement_;
  }
  return {};
}

}  // namespace imx
