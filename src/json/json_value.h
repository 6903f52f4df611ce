// The in-memory JSON value that requests, answers and target descriptions are made of.
// Objects keep their keys sorted by bytes, which is the order answers are written in.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace textport {

struct JsonValue;
using JsonArray = std::vector<JsonValue>;
using JsonObject = std::map<std::string, JsonValue, std::less<>>;

struct JsonValue {
  using Storage =
      std::variant<std::nullptr_t, bool, std::int64_t, double, std::string, JsonArray, JsonObject>;
  Storage data = nullptr;

  JsonValue() = default;
  JsonValue(std::nullptr_t) {}
  JsonValue(bool b) : data(b) {}
  JsonValue(int i) : data(std::int64_t{i}) {}
  JsonValue(std::int64_t i) : data(i) {}
  JsonValue(std::uint32_t i) : data(std::int64_t{i}) {}
  JsonValue(double d) : data(d) {}
  JsonValue(const char* s) : data(std::string(s)) {}
  JsonValue(std::string s) : data(std::move(s)) {}
  JsonValue(JsonArray a) : data(std::move(a)) {}
  JsonValue(JsonObject o) : data(std::move(o)) {}

  template <class T>
  const T* as() const {
    return std::get_if<T>(&data);
  }
  friend bool operator==(const JsonValue&, const JsonValue&) = default;
};

// Reading request values: a value of the wrong type counts as missing.
// A string field is present only when the value is a string.
std::optional<std::string> readString(const JsonObject& object, std::string_view key);
// An integer field is present only when the value is a number with a whole value that fits a
// signed 64-bit integer (3 and 3.0 give 3; 3.5 is missing).
std::optional<std::int64_t> readInteger(const JsonObject& object, std::string_view key);
// A boolean field is present only when the value is true or false.
std::optional<bool> readBool(const JsonObject& object, std::string_view key);
// A dictionary field is present only when the value is an object.
const JsonObject* readObject(const JsonObject& object, std::string_view key);

// An answer with the one key "error".
JsonObject errorAnswer(std::string message);

}  // namespace textport
