// The one value that carries a process's state from request to request: the platform, the
// argument list, the captured targets and the clipboard probe's saved snapshot.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "capture/target_description.h"
#include "capture/target_store.h"
#include "clipboard/pasteboard_snapshot.h"
#include "platform/platform.h"

namespace textport {

struct Session {
  Session(Platform& platform, std::vector<std::string> arguments)
      : platform(platform), arguments(std::move(arguments)) {}

  Platform& platform;
  // The full argument list, the program path included.
  std::vector<std::string> arguments;
  TargetStore capturedElements;
  std::optional<PasteboardSnapshot> probeClipboard;

  // Whether one argument is exactly this text.
  bool hasArgument(std::string_view argument) const {
    return std::find(arguments.begin(), arguments.end(), argument) != arguments.end();
  }
  bool verifySelection() const { return hasArgument("--verify-selection"); }
  // What target descriptions are made from in this process.
  CaptureContext capture() { return CaptureContext{platform, capturedElements, verifySelection()}; }
};

}  // namespace textport
