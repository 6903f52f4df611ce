// Happenings on the simulated desktop: the user's actions from the timeline, the
// applications' reactions to Copy presses and Command-V, and what posted input does.
#include <cstdio>

#include "platform/sim/sim_desktop.h"
#include "platform/sim/sim_text.h"

namespace textport::sim {
namespace {

// The image an image-only copy writes: a PNG signature is enough to be "not text".
const Bytes kImageBytes = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr const char* kImageType = "public.png";

template <class... F>
struct Overloaded : F... {
  using F::operator()...;
};
template <class... F>
Overloaded(F...) -> Overloaded<F...>;

std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

}  // namespace

void SimDesktop::happened(std::string what, std::string detail) {
  record_.add(record_.happenings, HappeningEntry{clock_.now(), std::move(what), std::move(detail)});
}

void SimDesktop::insertText(SimNode& node, const std::string& text) {
  std::u16string value = toUtf16(node.value.value_or(""));
  const Range range =
      node.selectedRange.value_or(Range{static_cast<std::int64_t>(value.size()), 0});
  const std::u16string inserted = toUtf16(text);
  const auto loc = std::min<std::size_t>(static_cast<std::size_t>(range.location), value.size());
  value.replace(loc, static_cast<std::size_t>(range.length), inserted);
  node.value = toUtf8(value);
  node.selectedRange = Range{static_cast<std::int64_t>(loc + inserted.size()), 0};
}

void SimDesktop::press(PostedEvent event, bool byUser) {
  if (!byUser) record_.add(record_.posted, PostedEvent(event));
  input_.apply(event);
  // The keystroke goes to the application with keyboard focus: the frontmost one.
  if (isPasteShortcut(event) && frontmost_) {
    const SimApp* app = world_.app(*frontmost_);
    if (app && app->paste) {
      timeline_.add({clock_.now() + app->paste->readDelay, std::nullopt, AppPasteReads{app->pid}});
    }
  }
}

void SimDesktop::fire(const SimAction& action) {
  std::visit(
      Overloaded{
          [&](const KeyPress& key) {
            happened("key", std::to_string(key.keyCode));
            PostedEvent down{clock_.now(),     EventType::keyDown,         true,
                             key.keyCode,      key.flags | keyboard_.held, input_.pointer(),
                             MouseButton::left};
            press(down, true);
            PostedEvent up = down;
            up.type = EventType::keyUp;
            press(up, true);
          },
          [&](const Click& click) {
            const Point at = click.at.value_or(input_.pointer());
            happened("click", number(at.x) + "," + number(at.y));
            EventType downType = EventType::leftMouseDown;
            if (click.button == MouseButton::right) downType = EventType::rightMouseDown;
            if (click.button == MouseButton::center) downType = EventType::otherMouseDown;
            press({clock_.now(), downType, false, 0, 0, at, click.button}, true);
            if (click.button == MouseButton::left) {
              press({clock_.now(), EventType::leftMouseUp, false, 0, 0, at, click.button}, true);
            }
          },
          [&](const FocusMove& move) {
            happened("focus", move.element);
            SimNode* node = world_.node(move.element);
            SimApp* app = node ? world_.app(node->pid) : nullptr;
            if (!app) return;
            app->focused = node->id;
            if (auto window = world_.windowOf(node->id)) app->focusedWindow = window;
          },
          [&](const FrontmostSwitch& change) {
            happened("frontmost", change.pid ? std::to_string(*change.pid) : "none");
            frontmost_ = change.pid;
          },
          [&](const WindowSwitch& change) {
            happened("focused_window", change.window);
            SimNode* node = world_.node(change.window);
            if (SimApp* app = node ? world_.app(node->pid) : nullptr) {
              app->focusedWindow = node->id;
            }
          },
          [&](const SelectionMove& move) {
            happened("select", move.element);
            if (SimNode* node = world_.node(move.element)) node->selectedRange = move.range;
          },
          [&](const TextEdit& edit) {
            happened("edit", edit.element);
            SimNode* node = world_.node(edit.element);
            if (!node) return;
            node->value = edit.value;
            node->selectedRange = edit.range.value_or(
                Range{static_cast<std::int64_t>(toUtf16(edit.value).size()), 0});
          },
          [&](const PasteboardChange& change) {
            happened("pasteboard", std::to_string(change.items.size()) + " items");
            pasteboard_.clear();
            pasteboard_.write(change.items);
            recordWrite("timeline", "write");
          },
          [&](const TrustChange& change) {
            happened("trusted", change.trusted ? "true" : "false");
            trusted_ = change.trusted;
          },
          [&](const PostPermissionChange& change) {
            happened("post_denied", change.denied ? "true" : "false");
            input_.failures().postDenied = change.denied;
          },
          [&](const AppCopyLands& copy) { landCopy(copy.pid); },
          [&](const AppCopyData& copy) {
            happened("app_copy_data", copy.type);
            pasteboard_.setData(copy.type, copy.data);
            recordWrite("app_copy", "write");
          },
          [&](const LateAction& late) {
            if (const SimElement* element = simElement(late.element)) {
              happened("late_action", late.action);
              act(*element, late.action);
            }
          },
          [&](const AppPasteReads& paste) { readPaste(paste.pid); },
          [&](const HoldModifiers& hold) { holdModifiers(hold.flags); },
          [&](const ManagerLooks&) { managerLooks(); },
          [&](const InputEvent& input) {
            happened("input", eventTypeName(input.type));
            const bool keyboard =
                input.type == EventType::keyUp || input.type == EventType::flagsChanged;
            press({clock_.now(), input.type, keyboard, input.keyCode, keyboard_.held,
                   input.at.value_or(input_.pointer()), MouseButton::left},
                  true);
          },
          [&](const FocusLoss& loss) {
            happened(loss.window ? "window_lost" : "focus_lost", std::to_string(loss.pid));
            if (SimApp* app = world_.app(loss.pid)) {
              app->focused.reset();
              if (loss.window) app->focusedWindow.reset();
            }
          },
          [&](const AppHealth& health) {
            happened("app_health", std::to_string(health.pid));
            if (SimApp* app = world_.app(health.pid)) {
              if (health.hung) app->hung = *health.hung;
              if (health.latency) app->latency = *health.latency;
            }
          },
          [&](const AttributeFailure& failure) {
            happened("fails", failure.attribute);
            SimApp* app = world_.app(failure.pid);
            SimNode* node = failure.element ? world_.node(*failure.element) : nullptr;
            auto& errors = node ? node->errors : app->errors;
            if (failure.error) {
              errors[failure.attribute] = *failure.error;
            } else {
              errors.erase(failure.attribute);
            }
          },
          [&](const PasteboardRefusal& refusal) {
            happened("pasteboard_refuses_writes", refusal.refuse ? "true" : "false");
            pasteboard_.refuseWrites(refusal.refuse);
          },
      },
      action);
}

void SimDesktop::landCopy(Pid pid) {
  const SimApp* app = world_.app(pid);
  if (!app) return;
  const CopyBehaviour copy = app->copy.value_or(CopyBehaviour{});
  // Clears the pasteboard and writes the data, at once or in two steps.
  const auto write = [&](const std::string& type, Bytes data) {
    pasteboard_.clear();
    if (copy.dataAfterClear > 0) {
      recordWrite("app_copy", "clear");
      timeline_.add(
          {clock_.now() + copy.dataAfterClear, std::nullopt, AppCopyData{type, std::move(data)}});
      for (const auto& [extra, bytes] : copy.also) {
        timeline_.add(
            {clock_.now() + copy.dataAfterClear, std::nullopt, AppCopyData{extra, bytes}});
      }
      return;
    }
    pasteboard_.setData(type, std::move(data));
    for (const auto& [extra, bytes] : copy.also) pasteboard_.setData(extra, bytes);
    recordWrite("app_copy", "write");
  };
  std::optional<Bytes> text;
  switch (copy.writes) {
    case CopyBehaviour::Writes::selection: {
      const SimNode* node = app->focused ? world_.node(*app->focused) : nullptr;
      const auto selected = node ? selectedTextOf(*node) : std::nullopt;
      // Like a real application, an empty selection copies nothing.
      if (selected && !selected->empty()) text = toBytes(*selected);
      break;
    }
    case CopyBehaviour::Writes::text:
      text = toBytes(copy.text);
      break;
    case CopyBehaviour::Writes::image:
      happened("app_copy", "image");
      write(kImageType, kImageBytes);
      return;
    case CopyBehaviour::Writes::nothing:
      break;
  }
  if (!text) {
    happened("app_copy", "nothing");
    return;
  }
  happened("app_copy", toString(*text));
  write(kPlainTextType, std::move(*text));
}

void SimDesktop::readPaste(Pid pid) {
  SimApp* app = world_.app(pid);
  if (!app) return;
  const auto text = pasteboard_.read(kPlainTextType);
  happened("app_reads", text ? toString(*text) : "");
  SimNode* node = app->focused ? world_.node(*app->focused) : nullptr;
  if (!text || !node || !node->value) {
    happened("app_paste", "nothing");
    return;
  }
  happened("app_paste", toString(*text));
  insertText(*node, toString(*text));
}

// Applications paste plain on Command and the key that gives "v"; with another modifier as well it
// is another command (Paste and Match Style, Paste Special) or none, so nothing is pasted here.
bool SimDesktop::isPasteShortcut(const PostedEvent& event) const {
  return event.type == EventType::keyDown && keyboard_.character(event.keyCode) == U'v' &&
         (event.flags & kModifierFlags) == kEventFlagMaskCommand;
}

// Each modifier key that goes down or comes up is one flags-changed event, which is not a key
// press.
void SimDesktop::holdModifiers(std::uint64_t flags) {
  happened("hold", std::to_string(flags));
  for (std::uint64_t bit : {kFlagShift, kFlagControl, kFlagOption, kEventFlagMaskCommand}) {
    if ((keyboard_.held & bit) == (flags & bit)) continue;
    keyboard_.held ^= bit;
    press({clock_.now(), EventType::flagsChanged, true, 0, keyboard_.held, input_.pointer(),
           MouseButton::left},
          true);
  }
}

// Like the common macOS managers, it skips an item that carries one of the nspasteboard.org
// markers without reading its text; otherwise it reads the plain text into its history.
void SimDesktop::managerLooks() {
  manager_->looking = false;
  if (manager_->seen == pasteboard_.changeCount()) return;
  manager_->seen = pasteboard_.changeCount();
  const auto& items = pasteboard_.items();
  if (items.empty()) return;
  for (const auto& representation : items.front()) {
    for (const char* marker : {kTransientType, kConcealedType, kAutoGeneratedType}) {
      if (representation.type == marker) {
        happened("clipboard_manager", "skipped");
        return;
      }
    }
  }
  const auto text = pasteboard_.read(kPlainTextType);
  if (!text) return;
  happened("clipboard_manager", toString(*text));
  manager_->history.push_back(toString(*text));
}

}  // namespace textport::sim
