#include "request/json_writer.h"

#include <charconv>
#include <cmath>
#include <string_view>

#include "request/number_text.h"
#include "request/utf8.h"

namespace textport {

namespace {

template <class D>
concept FloatToChars = requires(char* p, D d) {
  std::to_chars(p, p, d);
};

// std::to_chars(first, last, d), shortest round trip. The C++ library of older macOS SDKs has no
// floating-point to_chars; there printfToChars writes the same text.
template <class D>
std::to_chars_result shortestDouble(char* first, char* last, D d) {
  if constexpr (FloatToChars<D>) {
    return std::to_chars(first, last, d);
  } else {
    return printfToChars(first, last, d);
  }
}

class Writer {
 public:
  explicit Writer(std::string& out) : out_(out) {}

  // False when a value cannot be written (a non-finite number).
  bool value(const JsonValue& v) {
    return std::visit([this](const auto& x) { return write(x); }, v.data);
  }

  bool write(const JsonObject& object) {
    out_ += '{';
    bool first = true;
    for (const auto& [key, member] : object) {  // std::map: already in byte order
      if (!first) out_ += ',';
      first = false;
      write(key);
      out_ += ':';
      if (!value(member)) return false;
    }
    out_ += '}';
    return true;
  }

 private:
  bool write(std::nullptr_t) {
    out_ += "null";
    return true;
  }
  bool write(bool b) {
    out_ += b ? "true" : "false";
    return true;
  }
  bool write(std::int64_t i) {
    char buffer[24];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, i);
    out_.append(buffer, end);
    return ec == std::errc{};
  }
  bool write(double d) {
    if (!std::isfinite(d)) return false;
    // Whole numbers that a double holds exactly are written as integers (10.0 as 10).
    if (std::trunc(d) == d && std::fabs(d) <= 9007199254740992.0) {
      return write(static_cast<std::int64_t>(d));
    }
    char buffer[32];
    auto [end, ec] = shortestDouble(buffer, buffer + sizeof buffer, d);  // shortest round trip
    out_.append(buffer, end);
    return ec == std::errc{};
  }
  bool write(const JsonArray& array) {
    out_ += '[';
    bool first = true;
    for (const auto& element : array) {
      if (!first) out_ += ',';
      first = false;
      if (!value(element)) return false;
    }
    out_ += ']';
    return true;
  }
  // Non-ASCII goes out as raw UTF-8 (an invalid sequence as U+FFFD, so the line stays valid);
  // "/" is escaped as "\/", like the platform's writer does by default.
  bool write(std::string_view s) {
    static constexpr char kHex[] = "0123456789abcdef";
    out_ += '"';
    std::size_t run = 0;
    std::size_t i = 0;
    const auto flush = [&](std::size_t upTo) { out_.append(s.data() + run, upTo - run); };
    while (i < s.size()) {
      const auto c = static_cast<unsigned char>(s[i]);
      if (c >= 0x80) {
        const Utf8Step step = utf8Step(s, i);
        if (!step.valid) {
          flush(i);
          out_ += "\xEF\xBF\xBD";
          run = i + step.length;
        }
        i += step.length;
        continue;
      }
      const char* escape = nullptr;
      switch (c) {
        case '"':
          escape = "\\\"";
          break;
        case '\\':
          escape = "\\\\";
          break;
        case '/':
          escape = "\\/";
          break;
        case '\n':
          escape = "\\n";
          break;
        case '\r':
          escape = "\\r";
          break;
        case '\t':
          escape = "\\t";
          break;
        case '\b':
          escape = "\\b";
          break;
        case '\f':
          escape = "\\f";
          break;
        default:
          break;
      }
      if (escape != nullptr || c < 0x20) {
        flush(i);
        if (escape != nullptr) {
          out_ += escape;
        } else {
          const char unicode[] = {'\\', 'u', '0', '0', kHex[c >> 4], kHex[c & 0xF]};
          out_.append(unicode, sizeof unicode);
        }
        run = i + 1;
      }
      ++i;
    }
    flush(s.size());
    out_ += '"';
    return true;
  }
  bool write(const std::string& s) { return write(std::string_view(s)); }

  std::string& out_;
};

}  // namespace

std::optional<std::string> writeJson(const JsonObject& object) {
  std::string out;
  out.reserve(128);
  if (!Writer(out).write(object)) return std::nullopt;
  return out;
}

}  // namespace textport
