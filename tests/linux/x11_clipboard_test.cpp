// The X11 clipboard where the end-to-end tests do not reach: the type strings, the text targets
// of staged text, an owner that is stopped, and requestors that vanish while the owner child
// answers them (before its reply, or in the middle of an INCR transfer). Runs in the desktop
// session; the desktop tests' clipboard tool plays the other application.
#include "platform/linux/x11_clipboard.h"

// GoogleTest comes before Xlib, whose None and Bool macros would rename its own.
// clang-format off
#include <gtest/gtest.h>
#include <X11/Xlib.h>
// clang-format on
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "platform/linux/x11_clipboard_types.h"

namespace textport::x11 {
namespace {

Bytes bytes(const std::string& text) {
  return Bytes(text.begin(), text.end());
}

// tests/desktop/clipboard_tool.py, owning the clipboard with UTF8_STRING "theirs" while it lives.
struct OtherOwner {
  OtherOwner() {
    const std::string test = __FILE__;
    const std::string tool = test.substr(0, test.rfind('/')) + "/../desktop/clipboard_tool.py";
    const char* python = std::getenv("TEXTPORT_TEST_PYTHON");
    const char* argv[] = {python ? python : "python3", tool.c_str(), nullptr};
    char quiet[] = "NO_AT_BRIDGE=1";  // the tool stays out of the accessibility tree
    std::vector<char*> env = {quiet};
    for (char** variable = environ; *variable; ++variable) env.push_back(*variable);
    env.push_back(nullptr);
    int in[2], out[2];
    if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) return;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawnp(&pid, argv[0], &actions, nullptr, const_cast<char**>(argv), env.data());
    posix_spawn_file_actions_destroy(&actions);
    close(in[0]);
    close(out[1]);
    input = in[1];  // kept open: the tool quits at the end of its input
    const std::string request = "{\"own\": {\"UTF8_STRING\": \"dGhlaXJz\"}}\n";
    char answer[64] = {};
    owns = write(input, request.data(), request.size()) > 0 &&
           read(out[0], answer, sizeof answer - 1) > 0 && std::strstr(answer, "true");
    close(out[0]);
  }
  ~OtherOwner() {
    if (pid > 0 && kill(pid, SIGKILL) == 0) waitpid(pid, nullptr, 0);
    close(input);
  }
  pid_t pid = 0;
  int input = -1;
  bool owns = false;
};

class X11ClipboardTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!clip) GTEST_SKIP() << "no X display";
  }
  std::unique_ptr<X11Clipboard> clip = X11Clipboard::connect();
};

TEST(X11ClipboardTypes, TypeStringsNameTheTargetAndAnyOtherReplyTypeOrFormat) {
  const struct {
    const char* target;
    const char* reply;
    int format;
    const char* type;
  } rows[] = {
      {"UTF8_STRING", "UTF8_STRING", 8, "public.utf8-plain-text"},
      {"text/plain;charset=utf-8", "text/plain;charset=utf-8", 8, "text/plain;charset=utf-8"},
      {"TEXT", "COMPOUND_TEXT", 8, "TEXT;x11-type=COMPOUND_TEXT"},
      {"UTF8_STRING", "STRING", 8, "public.utf8-plain-text;x11-type=STRING"},
      {"APP_NUMBERS", "INTEGER", 32, "APP_NUMBERS;x11-type=INTEGER;x11-format=32"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(typeForTarget(row.target, row.reply, row.format), row.type);
    const SelectionTarget served = targetForType(row.type);
    EXPECT_EQ(served.name, row.target) << row.type;
    EXPECT_EQ(served.replyType, row.reply) << row.type;
    EXPECT_EQ(served.format, row.format) << row.type;
  }
}

TEST_F(X11ClipboardTest, StagedTextIsServedUnderEveryTextTargetAndAsLatin1OnlyWhenItFits) {
  const std::string cafe = "caf\xC3\xA9", euro = "5 \xE2\x82\xAC";
  const Bytes latin1 = {'c', 'a', 'f', 0xE9};
  const struct {
    std::string text;
    PasteboardItemReading served;
  } rows[] = {
      {cafe,
       {{kPlainTextType, bytes(cafe)},
        {"text/plain;charset=utf-8", bytes(cafe)},
        {"STRING", latin1},
        {"TEXT;x11-type=STRING", latin1},
        {"text/plain", bytes(cafe)}}},
      {euro,
       {{kPlainTextType, bytes(euro)},
        {"text/plain;charset=utf-8", bytes(euro)},
        {"TEXT;x11-type=UTF8_STRING", bytes(euro)},
        {"text/plain", bytes(euro)}}},
  };
  for (const auto& row : rows) {
    clip->clear();
    ASSERT_TRUE(clip->setData(kPlainTextType, bytes(row.text)));
    EXPECT_EQ(clip->items(), std::vector<PasteboardItemReading>{row.served}) << row.text;
  }
}

TEST_F(X11ClipboardTest, StoppedOwnerGivesNothingAndSetDataTakesTheSelectionBack) {
  OtherOwner other;
  ASSERT_TRUE(other.owns);
  EXPECT_EQ(clip->data(kPlainTextType), bytes("theirs"));
  kill(other.pid, SIGSTOP);
  EXPECT_TRUE(clip->items().empty());
  EXPECT_EQ(clip->data(kPlainTextType), std::nullopt);
  ASSERT_TRUE(clip->setData(kPlainTextType, bytes("ours")));
  EXPECT_EQ(clip->data(kPlainTextType), bytes("ours"));
}

TEST_F(X11ClipboardTest, RequestorsThatVanishBeforeTheAnswerOrMidIncrLeaveTheOwnerServing) {
  Bytes large(1536 * 1024);  // several INCR chunks
  for (std::size_t i = 0; i < large.size(); ++i) large[i] = static_cast<std::uint8_t>(i * 7);
  clip->clear();
  ASSERT_TRUE(clip->setData("public.png", large));
  Display* display = XOpenDisplay(nullptr);
  ASSERT_NE(display, nullptr);
  const Window root = DefaultRootWindow(display);
  const Window early = XCreateSimpleWindow(display, root, 0, 0, 1, 1, 0, 0, 0);
  const Window late = XCreateSimpleWindow(display, root, 0, 0, 1, 1, 0, 0, 0);
  const Atom clipboard = XInternAtom(display, "CLIPBOARD", False);
  const Atom png = XInternAtom(display, "image/png", False);
  const Atom property = XInternAtom(display, "X11_CLIPBOARD_TEST", False);
  // Sent together: the owner answers a window that is gone.
  XConvertSelection(display, clipboard, png, property, early, CurrentTime);
  XDestroyWindow(display, early);
  XConvertSelection(display, clipboard, png, property, late, CurrentTime);
  XEvent event{};
  // Bounded: an owner that died of the first requestor would never answer.
  for (int i = 0; i < 5000 && event.xselection.requestor != late; ++i) {
    if (!XCheckTypedEvent(display, SelectionNotify, &event)) usleep(1000);
  }
  ASSERT_EQ(event.xselection.requestor, late) << "the owner stopped answering";
  Atom type = None;
  int format = 0;
  unsigned long count = 0, after = 0;
  unsigned char* announcement = nullptr;
  XGetWindowProperty(display, late, property, 0, 1, False, AnyPropertyType, &type, &format, &count,
                     &after, &announcement);
  XFree(announcement);
  EXPECT_EQ(type, XInternAtom(display, "INCR", False));
  // Sent together: the owner writes its first chunk to a window that is gone.
  XDeleteProperty(display, late, property);
  XDestroyWindow(display, late);
  XCloseDisplay(display);
  EXPECT_EQ(clip->data("public.png"), large);
}

}  // namespace
}  // namespace textport::x11
