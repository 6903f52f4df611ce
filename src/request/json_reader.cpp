#include "request/json_reader.h"

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "request/utf8.h"

namespace textport {

namespace {

// Builds a JsonValue straight from the parser's events. The parser keeps its own explicit
// stack, and so does this builder, so no input depth reaches the call stack.
class Builder {
 public:
  using Json = nlohmann::json;

  bool null() { return place(JsonValue(nullptr)); }
  bool boolean(bool value) { return place(JsonValue(value)); }
  bool number_integer(Json::number_integer_t value) {
    return place(JsonValue(static_cast<std::int64_t>(value)));
  }
  // Only integers past the signed 64-bit range arrive here; they are kept as doubles.
  bool number_unsigned(Json::number_unsigned_t value) {
    if (value <= static_cast<Json::number_unsigned_t>(std::numeric_limits<std::int64_t>::max())) {
      return place(JsonValue(static_cast<std::int64_t>(value)));
    }
    return place(JsonValue(static_cast<double>(value)));
  }
  bool number_float(Json::number_float_t value, const Json::string_t& /*text*/) {
    return place(JsonValue(static_cast<double>(value)));
  }
  bool string(Json::string_t& value) { return place(JsonValue(std::move(value))); }
  bool binary(Json::binary_t& /*value*/) { return false; }  // JSON text has no binary values

  bool start_object(std::size_t /*elements*/) { return open(JsonValue(JsonObject{})); }
  bool key(Json::string_t& value) {
    key_ = std::move(value);
    return true;
  }
  bool end_object() { return close(); }
  bool start_array(std::size_t /*elements*/) { return open(JsonValue(JsonArray{})); }
  bool end_array() { return close(); }

  bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                   const nlohmann::detail::exception& /*error*/) {
    return false;
  }

  JsonValue take() && { return std::move(root_); }

 private:
  bool open(JsonValue container) {
    if (open_.size() >= kMaxJsonDepth) return false;
    JsonValue* slot = insert(std::move(container));
    open_.push_back(slot);
    return true;
  }
  bool close() {
    open_.pop_back();
    return true;
  }
  bool place(JsonValue value) {
    insert(std::move(value));
    return true;
  }
  // Puts a value into the innermost open container (or makes it the root) and returns where it
  // now lives. The parent of an open container never grows while the child is open, so the
  // pointers on the stack stay valid.
  JsonValue* insert(JsonValue value) {
    if (open_.empty()) {
      root_ = std::move(value);
      return &root_;
    }
    JsonValue& parent = *open_.back();
    if (auto* array = std::get_if<JsonArray>(&parent.data)) {
      array->push_back(std::move(value));
      return &array->back();
    }
    auto& object = std::get<JsonObject>(parent.data);
    // A repeated key replaces the earlier value: the last one wins.
    return &object.insert_or_assign(std::move(key_), std::move(value)).first->second;
  }

  JsonValue root_;
  std::vector<JsonValue*> open_;
  std::string key_;
};

}  // namespace

std::optional<JsonValue> parseJson(std::string_view text) {
  // JSON text never holds a raw NUL byte, but the parser takes one as the end of its input and
  // would accept whatever follows it.
  if (text.find('\0') != std::string_view::npos) return std::nullopt;
  try {
    Builder builder;
    // A leading UTF-8 byte order mark is skipped by the parser, as the platform reader does.
    if (!nlohmann::json::sax_parse(text.data(), text.data() + text.size(), &builder,
                                   nlohmann::json::input_format_t::json, /*strict=*/true)) {
      return std::nullopt;
    }
    return std::move(builder).take();
  } catch (...) {
    // Allocation failure on a huge request; the request simply does not parse.
    return std::nullopt;
  }
}

std::string repairUtf8(std::string_view bytes) {
  static constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
  std::string out;
  out.reserve(bytes.size());
  std::size_t run = 0;  // start of the pending valid stretch
  std::size_t i = 0;
  while (i < bytes.size()) {
    const Utf8Step step = utf8Step(bytes, i);
    if (!step.valid) {
      out.append(bytes.substr(run, i - run));
      out.append(kReplacement);
      run = i + step.length;
    }
    i += step.length;
  }
  out.append(bytes.substr(run));
  return out;
}

bool isValidUtf8(std::string_view bytes) {
  for (std::size_t i = 0; i < bytes.size();) {
    if (static_cast<unsigned char>(bytes[i]) < 0x80) {
      ++i;
      continue;
    }
    const Utf8Step step = utf8Step(bytes, i);
    if (!step.valid) return false;
    i += step.length;
  }
  return true;
}

}  // namespace textport
