// The paste: save the pasteboard, stage the text, check once more, Command-V, wait, restore.
#pragma once

#include <string>

#include "capture/target_store.h"
#include "json/json_value.h"
#include "session/session.h"

namespace textport {

struct PasteJob {
  const std::string& text;
  Pid pid;
  const Element& application;  // messaging timeout 0.3 s
  const CapturedTarget& record;
  const JsonObject& presented;     // the description the client sent back
  std::uint32_t allowedKeyEvents;  // already clamped
  bool restoreAfterRead = false;   // restore once the target has read, and say whether it did
  bool transient = false;          // keep the staged text out of clipboard-manager history
};

// Runs the sequence and gives the final answer of "deliver".
JsonObject pasteSequence(Session& session, const PasteJob& job);

}  // namespace textport
