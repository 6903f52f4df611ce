// The real macOS desktop behind the seam. Each method converts its arguments, makes the one
// platform call its comment in platform.h names, and converts the answer back; the rules of
// when and why to call belong to the core. The definitions are split by framework.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/platform.h"

namespace textport::mac {

class MacPlatform final : public Platform {
 public:
  MacPlatform() = default;
  MacPlatform(const MacPlatform&) = delete;
  MacPlatform& operator=(const MacPlatform&) = delete;
  ~MacPlatform() override;

  // mac_accessibility.mm
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

  // mac_workspace.mm
  std::optional<RunningApp> frontmostApplication() override;
  std::optional<RunningApp> runningApplication(Pid pid) override;

  // mac_pasteboard.mm
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

  // mac_events.mm
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

  // mac_time.mm
  double now() override;
  void sleep(double seconds) override;
  void runLoop(double seconds) override;
  std::string newUuid() override;
  void requestStarted() override;
  void requestEnded() override;

 private:
  // The key that gives "v" with Command in the shortcut layout (mac_keyboard_layout.mm).
  std::uint16_t pasteKey();
  // Lets go of the provider of the last watched text (mac_pasteboard.mm).
  void releaseWatchedProvider();

  // Autorelease pools opened by requestStarted, innermost last.
  std::vector<void*> pools_;
  // The pasteboard's change count as last read, the answer when reading it raises.
  std::int64_t lastChangeCount_ = 0;
  // Reads of watched text: the data provider counts here each time it is asked for the text.
  std::uint64_t watchedReads_ = 0;
  // The provider of the last watched text, retained (a Core Foundation reference) while its item
  // may still be asked.
  const void* watchedProvider_ = nullptr;
};

}  // namespace textport::mac
