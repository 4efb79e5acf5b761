#include "cli/gallery_page.h"

#include "imagelib/system_files.h"

namespace imx {
namespace {

std::string Attribute(const char* name, std::string_view value) {
  return std::string(" ") + name + "=\"" + HtmlText(value) + "\"";
}

std::string Element(const char* name, const std::string& content) {
  return std::string("<") + name + ">" + content + "</" + name + ">";
}

/// "PNG · 80 × 60 · 24 bits · 12 frames", broken between its parts only.
std::string Summary(const PictureFacts& facts) {
  if (facts.format.empty()) return {};
  std::string text = HtmlText(facts.format) + " · " + std::to_string(facts.width) +
                     "\u00A0×\u00A0" + std::to_string(facts.height);
  if (facts.depth > 0) text += " · " + std::to_string(facts.depth) + "\u00A0bits";
  if (facts.frames > 0) {
    text +=
        " · " + std::to_string(facts.frames) + (facts.frames == 1 ? "\u00A0frame" : "\u00A0frames");
  }
  return Element("p", text);
}

std::string Texts(const PictureFacts& facts) {
  std::string list;
  const auto add = [&list](const char* name, const std::string& text) {
    if (!text.empty()) list += Element("dt", name) + Element("dd", HtmlText(text));
  };
  add("Author", facts.author);
  add("Comment", facts.comment);
  add("Notice", facts.notice);
  return list.empty() ? list : Element("dl", list);
}

/// The picture, or what stands in its place, and its name.
std::string Picture(const GalleryEntry& entry) {
  const std::size_t folder = entry.input.find_last_of(kPathSeparators) + 1;
  const std::string name = "<bdi><small>" + HtmlText(entry.input.substr(0, folder)) + "</small>" +
                           HtmlText(entry.input.substr(folder)) + "</bdi>";
  if (!entry.facts.shown) return "<div class=\"thumb none\">no picture</div>" + name;
  const std::string thumbnail = std::string(kThumbnailFolder) + "/" + entry.file;
  return "<a" + Attribute("href", std::string(kPictureFolder) + "/" + entry.file) +
         "><div class=\"thumb\"><img loading=\"lazy\" decoding=\"async\" alt=\"\"" +
         Attribute("src", thumbnail) + "></div>" + name + "</a>";
}

std::string Card(const GalleryEntry& entry) {
  const PictureFacts& facts = entry.facts;
  const std::int64_t pixels = std::int64_t{facts.width} * facts.height;
  std::string card = "<li";
  if (entry.failed) card += Attribute("class", "failed");
  card += Attribute("data-format", facts.format);
  card += Attribute("data-pixels", std::to_string(pixels));
  card += Attribute("data-bytes", std::to_string(entry.bytes));
  card += Attribute("data-changed", std::to_string(entry.changed));
  card += Attribute("data-frames", std::to_string(facts.frames));
  card += ">" + Picture(entry) + Summary(facts);
  if (!entry.message.empty()) {
    card += "<p class=\"" + std::string(entry.failed ? "reason" : "note") + "\">" +
            HtmlText(entry.message) + "</p>";
  }
  return card + Texts(facts) + "</li>\n";
}

}  // namespace

std::string HtmlText(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      case '\'':
        escaped += "&#39;";
        break;
      default: {
        const auto code = static_cast<unsigned char>(c);
        const bool isControl = (code < ' ' && c != '\n' && c != '\t') || code == 0x7F;
        escaped += isControl ? "\uFFFD" : std::string(1, c);
      }
    }
  }
  return escaped;
}

void WriteGalleryPage(const std::vector<GalleryEntry>& entries, std::FILE* to) {
  const auto write = [to](std::string_view text) { std::fwrite(text.data(), 1, text.size(), to); };
  write(kGalleryHead);
  for (const GalleryEntry& entry : entries) write(Card(entry));
  write(kGalleryTail);
}

}  // namespace imx
