// The simulated desktop's applications and their element trees, as plain data.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace textport::sim {

// One user-interface object. Text fields are live: "value" and "selectedRange" derive the
// text attributes; "attributes" overrides anything derived and "errors" fails any request.
struct SimNode {
  std::string id;  // unique across the whole world
  Pid pid = 0;
  std::string parent;  // node id; empty under the application
  std::string role = "AXGroup";
  std::optional<std::string> subrole;
  std::optional<std::string> identifier;
  std::optional<std::string> title;
  std::optional<bool> enabled;
  std::optional<Rect> frame;
  std::optional<std::string> value;          // UTF-8 text of a text field
  std::optional<Range> selectedRange;        // UTF-16 code units; set whenever value is
  std::optional<std::int64_t> windowNumber;  // AXWindowNumber
  std::optional<std::string> cmdChar;        // menu items: AXMenuItemCmdChar
  std::optional<std::int64_t> cmdModifiers;  // menu items: AXMenuItemCmdModifiers
  // The selection is hidden from AXSelectedText and given through a text-marker range instead;
  // the fixed text, when set, is what the marker's attributed string holds.
  bool textMarker = false;
  std::optional<std::string> textMarkerText;
  bool copies = false;  // pressing it runs the application's copy behaviour
  std::vector<std::string> children;
  std::map<std::string, Value> attributes;     // overrides (element values resolved on read)
  std::map<std::string, Value> parameterized;  // answered whatever the parameter
  std::map<std::string, AXError> errors;       // reads of attributes or parameterised ones
  std::map<std::string, AXError> setErrors;    // writes
  std::vector<std::string> settable;           // extra attributes that accept any write
  std::map<std::string, AXError> actions;      // supported actions and the result of each
  std::optional<double> latency;               // overrides the application's
};

// What pressing the Copy menu item does.
struct CopyBehaviour {
  enum class Writes { selection, text, image, nothing };
  // Further types written beside the text or image, in order (each a type and its data).
  std::vector<std::pair<std::string, Bytes>> also;
  Writes writes = Writes::selection;
  std::string text;  // for Writes::text
  double delay = 0;
  // Seconds between the application's clear of the pasteboard and its data arriving; 0 writes
  // both at once.
  double dataAfterClear = 0;
  AXError pressError = kAXErrorSuccess;
};

// Command-V: the application reads the pasteboard's plain text after readDelay seconds.
struct PasteBehaviour {
  double readDelay = 0;
};

struct SimApp {
  Pid pid = 0;
  std::optional<std::string> bundle;
  std::optional<std::string> name;
  double latency = 0;
  bool hung = false;  // never answers: every request costs the timeout in force
  // An action whose request timed out is still performed once the application gets to it,
  // as the platform warns it may be (a timeout does not mean the action failed).
  bool lateActionsHappen = false;
  double actionLatency = 0;  // added to the latency of every action request
  std::optional<CopyBehaviour> copy;
  std::optional<PasteBehaviour> paste;
  std::vector<std::string> windows;  // top-level node ids, in order
  std::optional<std::string> menuBar;
  std::optional<std::string> focused;
  std::optional<std::string> focusedWindow;
  std::map<std::string, Value> attributes;  // overrides on the application element
  std::map<std::string, AXError> errors;
  // Results of writing AXManualAccessibility / AXEnhancedUserInterface, and what the
  // application keeps hidden until one of them is written successfully.
  AXError manualAccessibilityResult = kAXErrorSuccess;
  AXError enhancedUserInterfaceResult = kAXErrorSuccess;
  bool focusNeedsSwitch = false;
  bool treeNeedsSwitch = false;
  bool switchedOn = false;
  // Where the focus turns out to be once the switch is on (an element id, or none), when that is
  // not where it was before.
  std::optional<std::optional<std::string>> focusAfterSwitch;
  // The process that AXUIElementGetPid names for this application's elements, when another.
  std::optional<Pid> reportedPid;
};

// The system-wide element's own configuration.
struct SimSystem {
  double latency = 0;
  std::map<std::string, Value> attributes;
  std::map<std::string, AXError> errors;
};

struct SimWorld {
  std::vector<SimApp> apps;  // in world-file order
  std::map<std::string, SimNode> nodes;
  SimSystem system;

  SimApp* app(Pid pid);
  const SimApp* app(Pid pid) const;
  SimNode* node(const std::string& id);
  const SimNode* node(const std::string& id) const;
  // The top-level window that holds the node (the node itself when it is one), if any.
  std::optional<std::string> windowOf(const std::string& id) const;
};

}  // namespace textport::sim
