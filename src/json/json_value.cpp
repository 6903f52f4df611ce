#include "json/json_value.h"

namespace textport {

namespace {
const JsonValue* find(const JsonObject& object, std::string_view key) {
  auto it = object.find(key);
  return it == object.end() ? nullptr : &it->second;
}
}  // namespace

std::optional<std::string> readString(const JsonObject& object, std::string_view key) {
  const JsonValue* v = find(object, key);
  if (v == nullptr) return std::nullopt;
  if (const auto* s = v->as<std::string>()) return *s;
  return std::nullopt;
}

std::optional<std::int64_t> readInteger(const JsonObject& object, std::string_view key) {
  const JsonValue* v = find(object, key);
  if (v == nullptr) return std::nullopt;
  if (const auto* i = v->as<std::int64_t>()) return *i;
  if (const auto* d = v->as<double>()) {
    // -2^63 is representable; 2^63 is the first double past the range.
    if (*d >= -9223372036854775808.0 && *d < 9223372036854775808.0 &&
        static_cast<double>(static_cast<std::int64_t>(*d)) == *d) {
      return static_cast<std::int64_t>(*d);
    }
  }
  return std::nullopt;
}

std::optional<bool> readBool(const JsonObject& object, std::string_view key) {
  const JsonValue* v = find(object, key);
  if (v == nullptr) return std::nullopt;
  if (const auto* b = v->as<bool>()) return *b;
  return std::nullopt;
}

const JsonObject* readObject(const JsonObject& object, std::string_view key) {
  const JsonValue* v = find(object, key);
  return v == nullptr ? nullptr : v->as<JsonObject>();
}

JsonObject errorAnswer(std::string message) {
  return JsonObject{{"error", std::move(message)}};
}

}  // namespace textport
