// The X11 desktop behind the seam: accessibility through AT-SPI2, the CLIPBOARD selection as the
// pasteboard, XInput2 and XTest for input. Each part may be missing (no display, no
// accessibility bus); the platform then answers like a desktop where that part is unavailable.
#pragma once

#include <memory>

#include "platform/linux/atspi_accessibility.h"
#include "platform/linux/x11_clipboard.h"
#include "platform/linux/x11_desktop.h"
#include "platform/platform.h"

namespace textport::x11 {

class LinuxPlatform final : public Platform {
 public:
  // Connects to the display named by DISPLAY and to the accessibility bus.
  LinuxPlatform();
  LinuxPlatform(const LinuxPlatform&) = delete;
  LinuxPlatform& operator=(const LinuxPlatform&) = delete;
  ~LinuxPlatform() override;

  bool isProcessTrusted() override;
  Element createApplicationElement(Pid pid) override;
  Element createSystemWideElement() override;
  AXError setMessagingTimeout(const Element& element, float seconds) override;
  AXResult copyAttributeValue(const Element& element, const std::string& attribute) override;
  AXResult copyParameterizedAttributeValue(const Element& element, const std::string& attribute,
                                           const Value& parameter) override;
  AXError setAttributeValue(const Element& element, const std::string& attribute,
                            const Value& value) override;
  AXError performAction(const Element& element, const std::string& action) override;
  std::optional<Pid> pidOfElement(const Element& element) override;

  std::optional<RunningApp> frontmostApplication() override;
  std::optional<RunningApp> runningApplication(Pid pid) override;

  std::vector<PasteboardItemReading> pasteboardItems() override;
  std::int64_t pasteboardChangeCount() override;
  std::int64_t clearPasteboard() override;
  bool setPasteboardString(const std::string& text, const std::string& type) override;
  bool setPasteboardData(const Bytes& data, const std::string& type) override;
  std::optional<std::string> pasteboardString(const std::string& type) override;
  std::optional<Bytes> pasteboardData(const std::string& type) override;
  bool writePasteboardItems(const std::vector<PasteboardItem>& items) override;
  bool setWatchedPasteboardString(const std::string& text) override;
  std::uint64_t watchedTextReads() override;
  bool markPasteboardTransient() override;

  std::uint32_t eventCounter(EventType type) override;
  EventSource createEventSource() override;
  Event createKeyboardEvent(const EventSource& source, std::uint16_t keyCode,
                            bool keyDown) override;
  Event createMouseEvent(const EventSource& source, EventType type, Point location,
                         MouseButton button) override;
  std::optional<Point> pointerLocation() override;
  void setEventType(const Event& event, EventType type) override;
  void setEventFlags(const Event& event, std::uint64_t flags) override;
  void postEvent(const Event& event) override;
  bool postPasteShortcut() override;
  bool mayPostEvents() override;

  double now() override;
  void sleep(double seconds) override;
  void runLoop(double seconds) override;
  std::string newUuid() override;
  void requestStarted() override {}
  void requestEnded() override {}

 private:
  std::unique_ptr<X11Desktop> desktop_;
  std::unique_ptr<X11Clipboard> clipboard_;
  std::unique_ptr<AtspiAccessibility> accessibility_;
};

}  // namespace textport::x11
