// A session over a simulated desktop loaded from world JSON, for tests of the core's rules.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "json/json_value.h"
#include "platform/sim/sim_desktop.h"
#include "request/json_writer.h"
#include "session/session.h"

namespace textport::testing {

inline std::unique_ptr<sim::SimDesktop> loadWorld(std::string_view json) {
  sim::SimLoad loaded = sim::SimDesktop::fromJson(json, "test.json");
  EXPECT_TRUE(loaded) << loaded.error;
  return loaded ? std::move(loaded.desktop) : std::make_unique<sim::SimDesktop>();
}

// A world file of tests/worlds/ as text.
inline std::string worldFile(const std::string& name) {
  std::stringstream text;
  text << std::ifstream(std::string(TEXTPORT_SOURCE_DIR) + "/tests/worlds/" + name).rdbuf();
  return text.str();
}

struct Desk {
  explicit Desk(std::string_view world, std::vector<std::string> arguments = {"textport"})
      : desktop(loadWorld(world)), session(*desktop, std::move(arguments)) {}

  sim::SimDesktop& sim() { return *desktop; }

  std::unique_ptr<sim::SimDesktop> desktop;
  Session session;
};

// The answer as it goes on the wire, without the line feed.
inline std::string wire(const JsonObject& answer) {
  return writeJson(answer).value_or("<unwritable>");
}

// The pasteboard as (type, bytes-as-text) lines, for comparing contents in one assertion.
inline std::string pasteboardText(const sim::SimDesktop& desktop) {
  std::string out;
  for (const auto& item : desktop.pasteboardContents()) {
    out += "[";
    for (const auto& representation : item) {
      out += representation.type + "=";
      if (representation.data) out.append(representation.data->begin(), representation.data->end());
      out += ";";
    }
    out += "]";
  }
  return out;
}

}  // namespace textport::testing
