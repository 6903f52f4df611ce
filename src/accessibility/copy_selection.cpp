#include "accessibility/copy_selection.h"

#include <cctype>

#include "accessibility/element_helpers.h"
#include "accessibility/tree_walk.h"
#include "clipboard/pasteboard_snapshot.h"

namespace textport {

namespace {
constexpr std::size_t kMenuSearchLimit = 240;
constexpr double kMenuSearchBudget = 0.5;
constexpr float kMenuElementTimeout = 0.1f;
constexpr double kCopyWait = 0.65;
constexpr double kCopyPollInterval = 0.015;

std::string lowercase(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// Command-C with no other modifier (a missing modifiers attribute counts as none), enabled.
bool isCopyItem(Platform& platform, const Element& item) {
  auto shortcut = stringAttribute(platform, item, "AXMenuItemCmdChar");
  if (!shortcut || lowercase(*shortcut) != "c") return false;
  Value modifiers = attribute(platform, item, "AXMenuItemCmdModifiers");
  if (const auto* m = modifiers.as<std::int64_t>(); m != nullptr && *m != 0) return false;
  Value enabled = attribute(platform, item, "AXEnabled");
  const auto* isEnabled = enabled.as<bool>();
  return isEnabled != nullptr && *isEnabled;
}

bool isFrontmost(Platform& platform, Pid pid) {
  auto app = frontmost(platform);
  return app && app->pid == pid;
}
}  // namespace

std::optional<Element> copyMenu(Platform& platform, const Element& application) {
  auto menuBar = axElement(attribute(platform, application, "AXMenuBar"));
  if (!menuBar) return std::nullopt;
  std::optional<Element> found;
  walkBreadthFirst(platform, *menuBar, kMenuSearchLimit, kMenuSearchBudget, kMenuElementTimeout,
                   [&](const Element& element) {
                     if (isCopyItem(platform, element)) found = element;
                     return found.has_value();
                   });
  return found;
}

std::optional<std::string> copySelection(Platform& platform, const Element& application, Pid pid,
                                         std::optional<std::int64_t> selectionLength) {
  if (selectionLength && *selectionLength == 0) return std::nullopt;
  auto item = copyMenu(platform, application);
  if (!item) return std::nullopt;
  // Copy is never sent to an application the user is not looking at.
  if (!isFrontmost(platform, pid)) return std::nullopt;

  PasteboardSnapshot saved = snapshotPasteboard(platform);
  if (saved.size() > kMaxSavedPasteboardBytes) return std::nullopt;
  std::int64_t before = platform.pasteboardChangeCount();
  // A press that timed out may still be performed when the application gets to it, so it is
  // waited for like one that succeeded.
  const AXError pressed = platform.performAction(*item, "AXPress");
  if (pressed != kAXErrorSuccess && pressed != kAXErrorCannotComplete) return std::nullopt;

  // An application's Copy clears the pasteboard (which raises the change count) before its
  // data is there, so the copy has landed once the count moved and plain text can be read. The
  // text of the last look is the copy's result.
  std::optional<std::string> text;
  const auto landed = [&] {
    if (platform.pasteboardChangeCount() == before) return false;
    text = platform.pasteboardString(kPlainTextType);
    return text.has_value();
  };
  double deadline = platform.now() + kCopyWait;
  while (!landed()) {
    if (!(platform.now() < deadline)) break;
    platform.sleep(kCopyPollInterval);
  }
  // Nothing arrived, so nothing of ours is on the pasteboard to undo.
  if (platform.pasteboardChangeCount() == before) return std::nullopt;

  std::int64_t afterCopy = platform.pasteboardChangeCount();
  bool sameApplication = isFrontmost(platform, pid);
  // A newer write by someone else is theirs to keep.
  if (platform.pasteboardChangeCount() == afterCopy) restore(platform, saved);
  if (!sameApplication) return std::nullopt;
  return text;
}

}  // namespace textport
