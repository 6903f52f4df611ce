// Accessibility requests on the simulated desktop: who answers, how long it takes, and the
// messaging timeouts that bound it.
#include <algorithm>
#include <cmath>
#include <limits>

#include "platform/sim/sim_desktop.h"

namespace textport::sim {
namespace {

std::string describe(const SimElement& element) {
  switch (element.kind) {
    case ElementKind::systemWide:
      return "system-wide";
    case ElementKind::application:
      return "application";
    case ElementKind::node:
      return element.nodeId;
  }
  return {};
}

}  // namespace

Element SimDesktop::createApplicationElement(Pid pid) {
  return makeElement(ElementKind::application, pid);
}

Element SimDesktop::createSystemWideElement() {
  return makeElement(ElementKind::systemWide, 0);
}

AXError SimDesktop::setMessagingTimeout(const Element& element, float seconds) {
  SimElement* e = simElement(element);
  if (!e || !(seconds >= 0)) return kAXErrorIllegalArgument;
  record_.add(record_.timeouts, TimeoutEntry{clock_.now(), e->pid, describe(*e), seconds});
  // Zero takes the setting away, as on the platform.
  const std::optional<float> setting = seconds > 0 ? std::optional<float>(seconds) : std::nullopt;
  // On the system-wide element the setting is the process-wide default of every element
  // that has none of its own.
  if (e->kind == ElementKind::systemWide) {
    processTimeout_ = setting;
  } else {
    e->timeout = setting;
  }
  return kAXErrorSuccess;
}

std::optional<Pid> SimDesktop::pidOfElement(const Element& element) {
  const SimElement* e = simElement(element);
  if (!e || e->kind == ElementKind::systemWide) return std::nullopt;
  const SimApp* app = world_.app(e->pid);
  return app && app->reportedPid ? *app->reportedPid : e->pid;
}

double SimDesktop::latencyOf(const SimElement& element) const {
  if (element.kind == ElementKind::systemWide) return world_.system.latency;
  const SimApp* app = world_.app(element.pid);
  if (!app) return 0;
  if (element.kind == ElementKind::node) {
    const SimNode* node = world_.node(element.nodeId);
    if (node && node->latency) return *node->latency;
  }
  return app->latency;
}

bool SimDesktop::hungFor(const SimElement& element) const {
  // The system-wide element answers by itself, except for the focused element, which it has
  // to ask the frontmost application for.
  const Pid pid = element.kind == ElementKind::systemWide ? frontmost_.value_or(0) : element.pid;
  const SimApp* app = world_.app(pid);
  return app && app->hung;
}

SimDesktop::Request SimDesktop::beginRequest(const Element& element, const char* operation,
                                             const std::string& name) {
  Request request;
  request.element = simElement(element);
  RequestEntry entry;
  entry.time = clock_.now();
  entry.operation = operation;
  entry.name = name;
  if (request.element && request.element->timeout) {
    entry.timeout = *request.element->timeout;
    entry.timeoutSource = TimeoutSource::element;
  } else if (processTimeout_) {
    entry.timeout = *processTimeout_;
    entry.timeoutSource = TimeoutSource::process;
  } else {
    entry.timeout = kPlatformDefaultTimeout;
    entry.timeoutSource = TimeoutSource::platform;
  }
  if (request.element) {
    entry.pid = request.element->pid;
    entry.element = describe(*request.element);
  }
  const double timeout = entry.timeout;
  record_.add(record_.requests, std::move(entry));
  request.recorded = record_.recording();
  request.recordIndex = record_.requests.size() - (request.recorded ? 1 : 0);

  if (!request.element) {
    request.admitted = kAXErrorIllegalArgument;
  } else if (!trusted_) {
    request.admitted = kAXErrorAPIDisabled;
  } else if (request.element->kind != ElementKind::systemWide &&
             !world_.app(request.element->pid)) {
    request.admitted = kAXErrorCannotComplete;  // no such process
  } else {
    const SimElement& e = *request.element;
    const bool hung =
        (e.kind != ElementKind::systemWide || name == "AXFocusedUIElement") && hungFor(e);
    double cost = hung ? std::numeric_limits<double>::infinity() : latencyOf(e);
    if (const SimApp* app = world_.app(e.pid); app && std::string_view(operation) == "action") {
      cost += app->actionLatency;
    }
    if (e.kind == ElementKind::systemWide && name == "AXFocusedUIElement") {
      // Answered by the frontmost application, so it is as slow as that application.
      const SimApp* front = frontmost_ ? world_.app(*frontmost_) : nullptr;
      if (front) cost = std::max(cost, front->latency);
    }
    if (cost > timeout) {
      advance(timeout);  // the caller waits exactly the timeout, then gives up
      request.admitted = kAXErrorCannotComplete;
      if (!hung) request.lateBy = cost - timeout;
    } else {
      advance(cost);
    }
  }
  return request;
}

void SimDesktop::finishRequest(const Request& request, AXError result) {
  if (request.recorded) record_.requests[request.recordIndex].result = result;
  fireDue();  // a reaction without delay (a copy, a focus change) is visible right away
}

AXResult SimDesktop::copyAttributeValue(const Element& element, const std::string& attribute) {
  const Request request = beginRequest(element, "attribute", attribute);
  AXResult result{request.admitted, {}};
  if (request.admitted == kAXErrorSuccess) result = readAttribute(*request.element, attribute);
  if (!result.ok()) result.value = {};
  finishRequest(request, result.error);
  return result;
}

AXResult SimDesktop::copyParameterizedAttributeValue(const Element& element,
                                                     const std::string& attribute,
                                                     const Value& parameter) {
  const Request request = beginRequest(element, "parameterized", attribute);
  AXResult result{request.admitted, {}};
  if (request.admitted == kAXErrorSuccess) {
    result = readParameterized(*request.element, attribute, parameter);
  }
  if (!result.ok()) result.value = {};
  finishRequest(request, result.error);
  return result;
}

AXError SimDesktop::setAttributeValue(const Element& element, const std::string& attribute,
                                      const Value& value) {
  const Request request = beginRequest(element, "set", attribute);
  AXError result = request.admitted;
  if (result == kAXErrorSuccess) result = writeAttribute(*request.element, attribute, value);
  finishRequest(request, result);
  return result;
}

AXError SimDesktop::performAction(const Element& element, const std::string& action) {
  const Request request = beginRequest(element, "action", action);
  AXError result = request.admitted;
  if (result == kAXErrorSuccess) result = act(*request.element, action);
  const SimApp* app = request.element ? world_.app(request.element->pid) : nullptr;
  if (request.lateBy > 0 && app && app->lateActionsHappen) {
    timeline_.add({clock_.now() + request.lateBy, std::nullopt, LateAction{element, action}});
  }
  finishRequest(request, result);
  return result;
}

}  // namespace textport::sim
