// The AT-SPI accessibility backend: requests in macOS's vocabulary answered through libatspi.
// Applications are the desktop's children, matched to processes through the bus; a node's
// attributes come from its states, role, text, component and action interfaces.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/atspi_accessibility.h"
#include "platform/linux/atspi_elements.h"
#include "platform/linux/atspi_request.h"

namespace textport::x11 {

class AtspiDesktop final : public AtspiAccessibility {
 public:
  AtspiDesktop(WindowSystem windowSystem, AccessibleRef desktop);

  bool available() override;
  Element applicationElement(Pid pid) override;
  Element systemWideElement() override;
  AXError setMessagingTimeout(const Element& element, float seconds) override;
  AXResult copyAttributeValue(const Element& element, const std::string& attribute) override;
  AXResult copyParameterizedAttributeValue(const Element& element, const std::string& attribute,
                                           const Value& parameter) override;
  AXError setAttributeValue(const Element& element, const std::string& attribute,
                            const Value& value) override;
  AXError performAction(const Element& element, const std::string& action) override;
  std::optional<Pid> pidOfElement(const Element& element) override;
  bool focusedElementIsTerminal(Pid pid) override;

 private:
  // The timeout in force for requests on the element, in seconds.
  double timeoutOf(const AtspiElement& element) const;

  // The application's root object, found once per element. Fails the request with
  // kAXErrorCannotComplete when the process has no accessible application, and with
  // kAXErrorInvalidUIElement when the application found has quit since.
  AtspiAccessible* rootOf(AtspiElement& application, AtspiRequest& request);
  // The root object of the process's accessible application, or an empty reference.
  AccessibleRef findRoot(Pid pid, AtspiRequest& request);
  // An element for an object of the process `pid` (when known): the application element for a
  // root object.
  std::optional<Element> wrap(AccessibleRef accessible, std::optional<Pid> pid,
                              AtspiRequest& request);
  std::optional<Value> wrapAll(const std::vector<AccessibleRef>& accessibles,
                               std::optional<Pid> pid, AtspiRequest& request);

  // Application-level searches; an empty reference when there is no such object.
  std::optional<std::vector<AccessibleRef>> windows(AtspiAccessible* root, AtspiRequest& request);
  std::optional<AccessibleRef> activeWindow(AtspiAccessible* root, AtspiRequest& request);
  std::optional<AccessibleRef> focusedIn(AtspiAccessible* root, AtspiRequest& request);
  std::optional<AccessibleRef> menuBarIn(AtspiAccessible* root, AtspiRequest& request);
  std::optional<AccessibleRef> firstInside(AtspiAccessible* scope, AtspiMatchRule* rule,
                                           AtspiStateType state, AtspiRole role,
                                           AtspiRequest& request);

  AXResult readSystemWide(const std::string& attribute, AtspiRequest& request);
  AXResult readApplication(AtspiElement& application, const std::string& attribute,
                           AtspiRequest& request);
  AXResult readNode(AtspiElement& node, const std::string& attribute, AtspiRequest& request);
  AXResult readNodeText(AtspiAccessible* accessible, AtspiRole role, const std::string& attribute,
                        AtspiRequest& request);
  AXResult readWindowOf(AtspiAccessible* accessible, std::optional<Pid> pid, AtspiRequest& request);
  AXResult readWindowNumber(AtspiElement& node, AtspiRole role, AtspiRequest& request);
  AXResult readMenuShortcut(AtspiAccessible* accessible, AtspiRole role,
                            const std::string& attribute, AtspiRequest& request);
  AXResult stringForRange(AtspiAccessible* accessible, const Value& parameter,
                          AtspiRequest& request);
  AXError setSelectedRange(AtspiAccessible* accessible, const Value& value, AtspiRequest& request);
  AXError press(AtspiAccessible* accessible, AtspiRequest& request);
  // Opens the menus around a menu item that are closed, outermost first, waiting until each
  // shows what it holds.
  bool openEnclosingMenus(AtspiAccessible* item, AtspiRequest& request);

  WindowSystem windowSystem_;
  AccessibleRef desktop_;
  MatchRuleRef focusedRule_;
  MatchRuleRef menuBarRule_;
  // Set through the system-wide element: the timeout of elements that have none of their own.
  std::optional<double> defaultTimeout_;
  // Root objects found so far, by process; checked against the bus before each use.
  std::map<Pid, AccessibleRef> roots_;
};

}  // namespace textport::x11
