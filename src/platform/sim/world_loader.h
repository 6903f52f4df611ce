// Reading world files (JSON) into a simulated desktop. Internal to the simulated desktop:
// errors travel as LoadError inside the loader and leave it as a message.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "platform/platform.h"
#include "platform/sim/sim_pasteboard.h"
#include "platform/sim/sim_timeline.h"

namespace textport::sim {

class SimDesktop;
struct SimWorld;

// What is wrong, and where inside the document (e.g. "apps[0].tree.children[2].frame").
struct LoadError {
  std::string path;
  std::string what;
};

// Stops loading: what is wrong at this path.
[[noreturn]] void fail(const std::string& path, std::string what);
// "<source>: <path>: <what>", the one form every loading error takes.
std::string formatLoadError(std::string_view source, const LoadError& error);
// The document in the text; throws LoadError with the line and column when it is not JSON.
nlohmann::json parseDocument(std::string_view text);
// Fills an empty desktop from a world document; throws LoadError.
void loadWorld(const nlohmann::json& document, SimDesktop& desktop);

// --- Pieces, shared by the world and by single timeline entries (world_values.cpp) ---

// Element ids that typed values refer to, with where they were named; checked once every
// element is known.
using References = std::vector<std::pair<std::string, std::string>>;  // (path, id)

std::string at(const std::string& path, std::string_view key);
std::string at(const std::string& path, std::size_t index);
// Throws unless the value is an object whose keys are all among the allowed ones.
void requireObject(const nlohmann::json& j, const std::string& path,
                   std::initializer_list<std::string_view> allowed);
std::string readString(const nlohmann::json& j, const std::string& path);
bool readBool(const nlohmann::json& j, const std::string& path);
double readNumber(const nlohmann::json& j, const std::string& path);    // finite
double readDuration(const nlohmann::json& j, const std::string& path);  // finite, >= 0
std::int64_t readInteger(const nlohmann::json& j, const std::string& path, std::int64_t min,
                         std::int64_t max);
Pid readPid(const nlohmann::json& j, const std::string& path);
AXError readErrorCode(const nlohmann::json& j, const std::string& path);
Point readPoint(const nlohmann::json& j, const std::string& path);
Rect readRect(const nlohmann::json& j, const std::string& path);
Range readRange(const nlohmann::json& j, const std::string& path);
// A typed attribute value: a plain JSON string, boolean, integer, number, null or list, or an
// object with exactly one of "element", "point", "size", "rect", "range", "attributed",
// "marker", "string", "int", "float", "bool", "list", "nothing".
Value readValue(const nlohmann::json& j, const std::string& path, References& references);
std::map<std::string, Value> readValues(const nlohmann::json& j, const std::string& path,
                                        References& references);
std::map<std::string, AXError> readErrorCodes(const nlohmann::json& j, const std::string& path);
std::vector<SimItem> readPasteboardItems(const nlohmann::json& j, const std::string& path);
// One timeline entry; its element ids and pids are checked against the world.
TimelineEntry readTimelineEntry(const nlohmann::json& j, const std::string& path,
                                const SimWorld& world, bool timeRequired);

}  // namespace textport::sim
