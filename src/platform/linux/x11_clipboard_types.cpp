#include "platform/linux/x11_clipboard_types.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace textport::x11 {

namespace {

// X targets and the pasteboard types that name them, both ways. Small on purpose: the core
// reads plain text only, and every other target keeps its atom name, which round-trips as well.
// text/uri-list holds one URL per line, which is what a URL on the pasteboard becomes on X11.
constexpr std::array<std::pair<std::string_view, std::string_view>, 6> kTypeTable = {{
    {"UTF8_STRING", kPlainTextType},
    {"text/html", "public.html"},
    {"text/rtf", "public.rtf"},
    {"image/png", "public.png"},
    {"image/tiff", "public.tiff"},
    {"text/uri-list", "public.url"},
}};

constexpr std::string_view kReplyTypeMark = ";x11-type=";
constexpr std::string_view kFormatMark = ";x11-format=";

constexpr std::array<std::string_view, 7> kMechanismTargets = {
    "TARGETS", "MULTIPLE",         "TIMESTAMP",       "SAVE_TARGETS",
    "DELETE",  "INSERT_SELECTION", "INSERT_PROPERTY",
};

std::string_view typeName(std::string_view target) {
  for (const auto& [x, pasteboard] : kTypeTable) {
    if (x == target) return pasteboard;
  }
  return target;
}

std::string_view targetName(std::string_view type) {
  for (const auto& [x, pasteboard] : kTypeTable) {
    if (pasteboard == type) return x;
  }
  return type;
}

// The text as Latin-1, or nothing when it is not UTF-8 or holds a character above U+00FF.
std::optional<Bytes> latin1(const Bytes& utf8) {
  Bytes out;
  out.reserve(utf8.size());
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const std::uint8_t lead = utf8[i];
    if (lead < 0x80) {
      out.push_back(lead);
    } else if ((lead == 0xC2 || lead == 0xC3) && i + 1 < utf8.size() &&
               (utf8[i + 1] & 0xC0) == 0x80) {
      out.push_back(static_cast<std::uint8_t>(((lead & 0x03) << 6) | (utf8[i + 1] & 0x3F)));
      ++i;
    } else {
      return std::nullopt;
    }
  }
  return out;
}

}  // namespace

SelectionTarget targetForType(const std::string& type) {
  SelectionTarget served;
  std::string_view name = type;
  const std::size_t mark = name.find(kReplyTypeMark);
  std::string_view reply;
  if (mark != std::string_view::npos) {
    reply = name.substr(mark + kReplyTypeMark.size());
    name = name.substr(0, mark);
    const std::size_t format = reply.rfind(kFormatMark);
    if (format != std::string_view::npos) {
      const std::string_view digits = reply.substr(format + kFormatMark.size());
      if (digits == "16" || digits == "32") {
        served.format = digits == "16" ? 16 : 32;
        reply = reply.substr(0, format);
      }
    }
  }
  served.name = targetName(name);
  served.replyType = reply.empty() ? served.name : std::string(reply);
  return served;
}

std::string typeForTarget(const std::string& target, const std::string& replyType, int format) {
  std::string type(typeName(target));
  if (replyType == target && format == 8) return type;
  type.append(kReplyTypeMark).append(replyType);
  if (format != 8) type.append(kFormatMark).append(std::to_string(format));
  return type;
}

bool isDataTarget(std::string_view target) {
  for (std::string_view mechanism : kMechanismTargets) {
    if (mechanism == target) return false;
  }
  return !target.empty();
}

bool isPlainText(const std::string& type) {
  return type == kPlainTextType;
}

std::vector<std::pair<SelectionTarget, Bytes>> plainTextTargets(const Bytes& utf8) {
  std::vector<std::pair<SelectionTarget, Bytes>> targets;
  targets.push_back({{"UTF8_STRING", "UTF8_STRING"}, utf8});
  targets.push_back({{"text/plain;charset=utf-8", "text/plain;charset=utf-8"}, utf8});
  if (std::optional<Bytes> text = latin1(utf8)) {
    targets.push_back({{"STRING", "STRING"}, *text});
    targets.push_back({{"TEXT", "STRING"}, std::move(*text)});
  } else {
    targets.push_back({{"TEXT", "UTF8_STRING"}, utf8});
  }
  targets.push_back({{"text/plain", "text/plain"}, utf8});
  return targets;
}

}  // namespace textport::x11
