// AT-SPI in macOS's vocabulary: the role table, menu shortcuts and UTF-16 offsets as tables; and
// on the session's GTK test application, ranges around an emoji, password refusals, and a menu
// press that leaves GTK's focus tracking working.
#include "platform/linux/atspi_accessibility.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <string_view>
#include <thread>
#include <tuple>

#include "platform/linux/atspi_vocabulary.h"

namespace textport::x11 {
namespace {

// A string, range or integer answer as text; failures as their code.
std::string show(const AXResult& result) {
  if (const auto* s = result.value.as<std::string>()) return *s;
  if (const auto* r = result.value.as<Range>()) {
    return "[" + std::to_string(r->location) + ", " + std::to_string(r->length) + "]";
  }
  if (const auto* i = result.value.as<std::int64_t>()) return std::to_string(*i);
  return "error " + std::to_string(result.error);
}

TEST(AtspiVocabulary, RolesFollowOneTable) {
  const std::tuple<AtspiRole, bool, std::string_view, std::string_view> rows[] = {
      {ATSPI_ROLE_TEXT, false, "AXTextField", ""},
      {ATSPI_ROLE_TEXT, true, "AXTextArea", ""},  // multi-line
      {ATSPI_ROLE_PASSWORD_TEXT, true, "AXTextField", "AXSecureTextField"},
      {ATSPI_ROLE_TERMINAL, false, "AXTextArea", ""},
      {ATSPI_ROLE_FRAME, false, "AXWindow", "AXStandardWindow"},
      {ATSPI_ROLE_DIALOG, false, "AXWindow", "AXDialog"},
      {ATSPI_ROLE_FILLER, false, "AXGroup", ""},
      {ATSPI_ROLE_CANVAS, false, "AXUnknown", ""},
  };
  for (const auto& [atspi, multiLine, role, subrole] : rows) {
    const MacRole mac = macRole(atspi, multiLine);
    EXPECT_EQ(mac.role, role) << atspi;
    EXPECT_EQ(mac.subrole.value_or(""), subrole) << atspi;
  }
}

TEST(AtspiVocabulary, MenuShortcutsComeFromTheAccelerator) {
  const std::pair<const char*, const char*> rows[] = {
      {"c;<Alt>e:c;<Primary>c", "C 0"},
      {"s;<Alt>e:s;<Primary><Shift>c", "C 1"},
      {"a;<Alt>e:a;<Alt>a", "A 10"},  // Option, no Command
      {";;<Control><Super>c", "C 4"},
      {"<Control>comma", ", 0"},
      {"Ctrl++", "+ 0"},
      {"<Alt>e;<Alt>e;", "none"},  // a menu's title: a mnemonic only
      {"x;;<Primary>F5", "none"},
  };
  for (const auto& [binding, expected] : rows) {
    const auto shortcut = menuShortcut(binding);
    EXPECT_EQ(shortcut ? shortcut->character + " " + std::to_string(shortcut->modifiers) : "none",
              expected)
        << binding;
  }
}

TEST(AtspiVocabulary, OffsetsConvertBetweenCodePointsAndUtf16) {
  const std::string text = "a\xF0\x9F\x98\x80 b";  // a, U+1F600, space, b: 5 UTF-16 units
  EXPECT_EQ(utf16Range(text, 1, 2), (Range{1, 2}));
  EXPECT_EQ(utf16Range(text, 2, 4), (Range{3, 2}));
  EXPECT_EQ(utf16Range(text, 4, 6), (Range{5, 2}));        // past the end: a unit per code point
  EXPECT_EQ(utf16Range("\xFF\x62", 1, 2), (Range{1, 1}));  // a stray byte counts as one
  using Points = std::optional<std::pair<std::int64_t, std::int64_t>>;
  EXPECT_EQ(codePointRange(text, Range{3, 2}), Points({2, 4}));
  EXPECT_EQ(codePointRange(text, Range{2, 1}), Points({1, 2}));  // both ends inside the pair
  EXPECT_EQ(codePointRange(text, Range{4, 2}), std::nullopt);
}

// The session's GTK test application, driven over its control socket.
class TestApplication : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* path = std::getenv("TEXTPORT_TEST_APP_SOCKET");
    const char* pid = std::getenv("TEXTPORT_TEST_APP_PID");
    if (std::getenv("DISPLAY") == nullptr || path == nullptr || pid == nullptr) {
      GTEST_SKIP() << "runs in the headless desktop session, with its test application";
    }
    socket_ = ::socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(::connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    const Pid app = std::atoi(pid);
    ax_ = AtspiAccessibility::connect({[app] { return std::optional<Pid>(app); }, {}});
    ASSERT_TRUE(ax_ && ax_->available());
    application_ = ax_->applicationElement(app);
  }
  void TearDown() override { ::close(socket_); }

  // One request, answered once the application has carried it out.
  void tell(const std::string& request) {
    const std::string line = request + "\n";
    ASSERT_EQ(::write(socket_, line.data(), line.size()), static_cast<ssize_t>(line.size()));
    for (char c = 0; c != '\n';) ASSERT_EQ(::read(socket_, &c, 1), 1);
  }
  template <class Condition>
  static bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!condition() && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return condition();
  }
  AXResult read(const Element& element, const char* attribute) {
    return ax_->copyAttributeValue(element, attribute);
  }
  std::optional<Element> focus() {
    const AXResult result = read(application_, "AXFocusedUIElement");
    return result.ok() ? std::optional(*result.value.as<Element>()) : std::nullopt;
  }
  // The focused field once AT-SPI reports the kind asked for: GTK tells it in its own time.
  Element focusedField(bool password) {
    EXPECT_TRUE(eventually([&] {
      return focus() && (show(read(*focus(), "AXSubrole")) == "AXSecureTextField") == password;
    }));
    return focus().value_or(Element{});
  }

  int socket_ = -1;
  std::unique_ptr<AtspiAccessibility> ax_;
  Element application_;
};

TEST_F(TestApplication, RangesCountUtf16UnitsAroundAnEmoji) {
  tell(R"({"cmd": "focus", "widget": "entry"})");
  tell(R"({"cmd": "set", "widget": "entry", "text": "a😀 b", "selection": [1, 2]})");
  const Element entry = focusedField(false);
  EXPECT_EQ(show(read(entry, "AXSelectedTextRange")), "[1, 2]");
  EXPECT_EQ(show(read(entry, "AXSelectedText")), "😀");
  EXPECT_EQ(show(read(entry, "AXNumberOfCharacters")), "5");
  EXPECT_EQ(show(ax_->copyParameterizedAttributeValue(entry, "AXStringForRange", Range{1, 3})),
            "😀 ");
  ASSERT_EQ(ax_->setAttributeValue(entry, "AXSelectedTextRange", Range{3, 2}), kAXErrorSuccess);
  EXPECT_EQ(show(read(entry, "AXSelectedText")), " b");
}

TEST_F(TestApplication, PasswordTextIsNeverHandedOut) {
  tell(R"({"cmd": "focus", "widget": "password"})");
  tell(R"({"cmd": "set", "widget": "password", "text": "hunter2", "selection": [0, 7]})");
  const Element password = focusedField(true);
  EXPECT_EQ(read(password, "AXValue").error, kAXErrorAttributeUnsupported);
  EXPECT_EQ(read(password, "AXSelectedText").error, kAXErrorAttributeUnsupported);
  EXPECT_EQ(ax_->copyParameterizedAttributeValue(password, "AXStringForRange", Range{0, 7}).error,
            kAXErrorParameterizedAttributeUnsupported);
  EXPECT_EQ(show(read(password, "AXSelectedTextRange")), "[0, 7]");
}

TEST_F(TestApplication, PressingAnItemOfAClosedMenuKeepsTheFocusKnown) {
  tell(R"({"cmd": "focus", "widget": "entry"})");
  tell(R"({"cmd": "set", "widget": "entry", "text": "cut me", "selection": [0, 4]})");
  const Element entry = focusedField(false);
  std::deque<Element> queue{*read(application_, "AXMenuBar").value.as<Element>()};
  for (; !queue.empty() && show(read(queue.front(), "AXMenuItemCmdChar")) != "X";
       queue.pop_front()) {
    const AXResult children = read(queue.front(), "AXChildren");
    for (const Value& child : *children.value.as<ValueList>()) {
      queue.push_back(*child.as<Element>());
    }
  }
  ASSERT_FALSE(queue.empty());
  ASSERT_EQ(ax_->performAction(queue.front(), "AXPress"), kAXErrorSuccess);
  // Edit > Cut has run once the text changed; had the item been pressed in its closed menu, GTK
  // would report no focused element from then on.
  ASSERT_TRUE(eventually([&] { return show(read(entry, "AXValue")) == "me"; }));
  EXPECT_TRUE(focus() == entry);
}

}  // namespace
}  // namespace textport::x11
