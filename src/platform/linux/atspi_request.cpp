#include "platform/linux/atspi_request.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace textport::x11 {

namespace {

// libatspi waits for a reply over an application's own connection for up to about twice the
// timeout it is given (measured: a stopped application answered after 2T, sometimes T), so each
// call gets half of the time left. A call that lasted as long as the timeout it was given, less
// a little for the clock's rounding to milliseconds, has timed out: libatspi does not always
// say so (a name then reads as empty, the states as DEFUNCT).
constexpr double kTimeoutShare = 0.5;
constexpr double kTimedOutShare = 0.9;

bool mentions(const char* message, std::initializer_list<std::string_view> words) {
  const std::string_view text = message != nullptr ? message : "";
  for (std::string_view word : words) {
    if (text.find(word) != std::string_view::npos) return true;
  }
  return false;
}

std::optional<std::string> takeString(gchar* text) {
  if (text == nullptr) return std::nullopt;
  std::string out(text);
  g_free(text);
  return out;
}

}  // namespace

AtspiRequest::AtspiRequest(double timeoutSeconds)
    : deadline_(Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                   std::chrono::duration<double>(timeoutSeconds))) {}

bool AtspiRequest::timeLeft() const {
  return Clock::now() < deadline_;
}

double AtspiRequest::secondsLeft() const {
  return std::chrono::duration<double>(deadline_ - Clock::now()).count();
}

bool AtspiRequest::begin() {
  if (!ok()) return false;
  const auto left = std::chrono::duration<double, std::milli>(deadline_ - Clock::now()).count();
  if (!(left > 0)) {
    fail(kAXErrorCannotComplete);
    return false;
  }
  const int milliseconds = std::max(1, static_cast<int>(std::ceil(left * kTimeoutShare)));
  // The setting is process-wide, so it is made before every call. The same value for an
  // application met for the first time, which libatspi would otherwise give 15 s.
  atspi_set_timeout(milliseconds, milliseconds);
  callLimit_ = std::chrono::milliseconds(milliseconds);
  callStart_ = Clock::now();
  return true;
}

bool AtspiRequest::finish(GError* error) {
  const auto now = Clock::now();
  const bool timedOut = now - callStart_ >= std::chrono::duration_cast<Clock::duration>(
                                                callLimit_ * kTimedOutShare) ||
                        now > deadline_;
  if (timedOut) {
    fail(kAXErrorCannotComplete);
  } else if (error != nullptr) {
    if (mentions(error->message, {"timeout", "Timeout", "reply", "Reply"})) {
      fail(kAXErrorCannotComplete);
    } else if (mentions(error->message,
                        {"does not exist", "no longer exists", "defunct", "not provided by"})) {
      fail(kAXErrorInvalidUIElement);
    } else {
      fail(kAXErrorFailure);
    }
  }
  if (error != nullptr) g_error_free(error);
  return ok();
}

template <class F>
auto AtspiRequest::call(F&& f) -> std::optional<decltype(f(nullptr))> {
  if (!begin()) return std::nullopt;
  GError* error = nullptr;
  auto result = f(&error);
  if (!finish(error)) return std::nullopt;
  return result;
}

std::optional<States> AtspiRequest::states(AtspiAccessible* accessible) {
  return call([&](GError**) {
    return States(GObjectRef<AtspiStateSet>::adopt(atspi_accessible_get_state_set(accessible)));
  });
}

std::optional<States> AtspiRequest::liveStates(AtspiAccessible* accessible) {
  auto states = this->states(accessible);
  if (states && states->has(ATSPI_STATE_DEFUNCT)) {
    fail(kAXErrorInvalidUIElement);
    return std::nullopt;
  }
  return states;
}

std::optional<AtspiRole> AtspiRequest::role(AtspiAccessible* accessible) {
  return call([&](GError** error) { return atspi_accessible_get_role(accessible, error); });
}

std::optional<std::string> AtspiRequest::name(AtspiAccessible* accessible) {
  auto name = call(
      [&](GError** error) { return takeString(atspi_accessible_get_name(accessible, error)); });
  return name ? *name : std::nullopt;
}

std::optional<std::string> AtspiRequest::accessibleId(AtspiAccessible* accessible) {
  auto id = call([&](GError** error) {
    return takeString(atspi_accessible_get_accessible_id(accessible, error));
  });
  return id ? *id : std::nullopt;
}

std::optional<int> AtspiRequest::childCount(AtspiAccessible* accessible) {
  auto count =
      call([&](GError** error) { return atspi_accessible_get_child_count(accessible, error); });
  if (count && *count < 0) {
    fail(kAXErrorFailure);
    return std::nullopt;
  }
  return count;
}

std::optional<AccessibleRef> AtspiRequest::child(AtspiAccessible* accessible, int index) {
  return call([&](GError** error) {
    return AccessibleRef::adopt(atspi_accessible_get_child_at_index(accessible, index, error));
  });
}

std::optional<std::vector<AccessibleRef>> AtspiRequest::children(AtspiAccessible* accessible) {
  auto count = childCount(accessible);
  if (!count) return std::nullopt;
  std::vector<AccessibleRef> children;
  for (int i = 0; i < *count; ++i) {
    auto child = this->child(accessible, i);
    if (!child) return std::nullopt;
    // A child that went away meanwhile is left out.
    if (*child) children.push_back(std::move(*child));
  }
  return children;
}

std::optional<AccessibleRef> AtspiRequest::parent(AtspiAccessible* accessible) {
  return call([&](GError** error) {
    return AccessibleRef::adopt(atspi_accessible_get_parent(accessible, error));
  });
}

std::optional<Pid> AtspiRequest::processId(AtspiAccessible* accessible) {
  auto pid = call([&](GError** error) {
    return static_cast<Pid>(atspi_accessible_get_process_id(accessible, error));
  });
  if (pid && *pid <= 0) {
    fail(kAXErrorInvalidUIElement);
    return std::nullopt;
  }
  return pid;
}

std::optional<TextRef> AtspiRequest::text(AtspiAccessible* accessible) {
  return call(
      [&](GError**) { return TextRef::adopt(atspi_accessible_get_text_iface(accessible)); });
}

std::optional<ComponentRef> AtspiRequest::component(AtspiAccessible* accessible) {
  return call([&](GError**) {
    return ComponentRef::adopt(atspi_accessible_get_component_iface(accessible));
  });
}

std::optional<ActionRef> AtspiRequest::action(AtspiAccessible* accessible) {
  return call(
      [&](GError**) { return ActionRef::adopt(atspi_accessible_get_action_iface(accessible)); });
}

std::optional<CollectionRef> AtspiRequest::collection(AtspiAccessible* accessible) {
  return call([&](GError**) {
    return CollectionRef::adopt(atspi_accessible_get_collection_iface(accessible));
  });
}

std::optional<int> AtspiRequest::characterCount(AtspiText* text) {
  return call([&](GError** error) { return atspi_text_get_character_count(text, error); });
}

std::optional<std::string> AtspiRequest::textBetween(AtspiText* text, int start, int end) {
  auto content = call(
      [&](GError** error) { return takeString(atspi_text_get_text(text, start, end, error)); });
  return content ? *content : std::nullopt;
}

std::optional<std::pair<int, int>> AtspiRequest::selectionOrCaret(AtspiText* text) {
  auto selections = call([&](GError** error) { return atspi_text_get_n_selections(text, error); });
  if (!selections) return std::nullopt;
  if (*selections <= 0) {
    auto caret = call([&](GError** error) { return atspi_text_get_caret_offset(text, error); });
    if (!caret) return std::nullopt;
    const int at = std::max(*caret, 0);
    return std::make_pair(at, at);
  }
  auto range = call([&](GError** error) {
    AtspiRange* range = atspi_text_get_selection(text, 0, error);
    std::optional<std::pair<int, int>> out;
    if (range != nullptr) {
      out = std::minmax(range->start_offset, range->end_offset);
      g_free(range);
    }
    return out;
  });
  return range ? *range : std::nullopt;
}

bool AtspiRequest::select(AtspiText* text, int start, int end) {
  std::optional<gboolean> done;
  if (start == end) {
    done = call([&](GError** error) { return atspi_text_set_caret_offset(text, start, error); });
  } else {
    auto selections =
        call([&](GError** error) { return atspi_text_get_n_selections(text, error); });
    if (!selections) return false;
    done = call([&](GError** error) {
      return *selections > 0 ? atspi_text_set_selection(text, 0, start, end, error)
                             : atspi_text_add_selection(text, start, end, error);
    });
  }
  if (done && !*done) fail(kAXErrorFailure);
  return ok();
}

std::optional<AtspiRect> AtspiRequest::screenExtents(AtspiComponent* component) {
  auto extents = call([&](GError** error) {
    AtspiRect* rect = atspi_component_get_extents(component, ATSPI_COORD_TYPE_SCREEN, error);
    std::optional<AtspiRect> out;
    if (rect != nullptr) {
      out = *rect;
      g_free(rect);
    }
    return out;
  });
  return extents ? *extents : std::nullopt;
}

bool AtspiRequest::grabFocus(AtspiComponent* component) {
  auto done = call([&](GError** error) { return atspi_component_grab_focus(component, error); });
  if (done && !*done) fail(kAXErrorFailure);
  return ok();
}

std::optional<int> AtspiRequest::actionCount(AtspiAction* action) {
  return call([&](GError** error) { return atspi_action_get_n_actions(action, error); });
}

std::optional<std::string> AtspiRequest::keyBinding(AtspiAction* action, int index) {
  auto binding = call([&](GError** error) {
    return takeString(atspi_action_get_key_binding(action, index, error));
  });
  return binding ? *binding : std::nullopt;
}

bool AtspiRequest::doAction(AtspiAction* action, int index) {
  auto done = call([&](GError** error) { return atspi_action_do_action(action, index, error); });
  if (done && !*done) fail(kAXErrorFailure);
  return ok();
}

std::optional<AccessibleRef> AtspiRequest::firstMatch(AtspiCollection* scope,
                                                      AtspiMatchRule* rule) {
  return call([&](GError** error) {
    GArray* matches = atspi_collection_get_matches(
        scope, rule, ATSPI_Collection_SORT_ORDER_CANONICAL, 1, TRUE, error);
    AccessibleRef first;
    if (matches != nullptr) {
      for (guint i = 0; i < matches->len; ++i) {
        auto match = AccessibleRef::adopt(g_array_index(matches, AtspiAccessible*, i));
        if (i == 0) first = std::move(match);
      }
      g_array_free(matches, TRUE);
    }
    return first;
  });
}

}  // namespace textport::x11
