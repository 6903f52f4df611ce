// The whole process, through the textport-sim binary: argument handling, exit status, the
// silence of standard error, and a parent that stops reading.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

extern char** environ;

namespace {

// A running textport-sim with pipes on its three standard streams.
class Child {
 public:
  explicit Child(const std::vector<std::string>& arguments) {
    int in[2], out[2], err[2];
    if (pipe(in) != 0 || pipe(out) != 0 || pipe(err) != 0) return;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_adddup2(&actions, err[1], 2);
    for (int fd : {in[0], in[1], out[0], out[1], err[0], err[1]}) {
      posix_spawn_file_actions_addclose(&actions, fd);
    }
    std::vector<std::string> all{TEXTPORT_SIM_BINARY};
    all.insert(all.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (auto& a : all) argv.push_back(a.data());
    argv.push_back(nullptr);
    if (posix_spawn(&pid_, TEXTPORT_SIM_BINARY, &actions, nullptr, argv.data(), environ) != 0) {
      pid_ = -1;
    }
    posix_spawn_file_actions_destroy(&actions);
    close(in[0]), close(out[1]), close(err[1]);
    stdin_ = in[1], stdout_ = out[0], stderr_ = err[0];
  }
  ~Child() {
    for (int fd : {stdin_, stdout_, stderr_}) {
      if (fd >= 0) close(fd);
    }
  }

  bool started() const { return pid_ > 0; }
  // Writes all of the input (small enough for the pipe while the child is reading).
  void write(const std::string& bytes) const {
    ASSERT_EQ(::write(stdin_, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }
  void closeInput() { closeFd(stdin_); }
  void closeOutput() { closeFd(stdout_); }

  // Reads standard output up to and including the first line feed.
  std::string readLine() const {
    std::string line;
    char c;
    while (::read(stdout_, &c, 1) == 1) {
      line += c;
      if (c == '\n') break;
    }
    return line;
  }
  // Reads whatever of standard output and error is left until both end.
  void drain() {
    pollfd fds[2] = {{stdout_, POLLIN, 0}, {stderr_, POLLIN, 0}};
    std::string* sinks[2] = {&out, &err};
    while ((fds[0].fd >= 0 || fds[1].fd >= 0) && poll(fds, 2, -1) > 0) {
      for (int i = 0; i < 2; ++i) {
        if (fds[i].fd < 0 || fds[i].revents == 0) continue;
        char buffer[4096];
        const ssize_t n = ::read(fds[i].fd, buffer, sizeof buffer);
        if (n > 0) {
          sinks[i]->append(buffer, static_cast<std::size_t>(n));
        } else {
          fds[i].fd = -1;
        }
      }
    }
  }
  // The exit status, or -1 when the child did not exit normally.
  int wait() const {
    int status = 0;
    if (waitpid(pid_, &status, 0) != pid_ || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
  }

  std::string out, err;

 private:
  void closeFd(int& fd) {
    close(fd);
    fd = -1;
  }
  pid_t pid_ = -1;
  int stdin_ = -1, stdout_ = -1, stderr_ = -1;
};

constexpr const char* kTwoRequests = "{\"action\":\"permissions\"}\n{\"action\":\"self_test\"}\n";
constexpr const char* kTwoAnswers =
    "{\"accessibility\":true}\n"
    "{\"differentCursorRejected\":true,\"differentPIDRejected\":true,"
    "\"missingTargetRejected\":true,\"same\":true}\n";
constexpr const char* kInvalid = "{\"error\":\"invalid request\"}\n";

TEST(Process, SelectsLineModeOnlyForAnExactDaemonArgumentAnywhere) {
  const struct {
    std::vector<std::string> arguments;
    std::string input;
    std::string output;
  } cases[] = {
      {{"--daemon"}, kTwoRequests, kTwoAnswers},
      {{"--verify-selection", "--daemon"}, kTwoRequests, kTwoAnswers},
      {{"--daemon", "--verify-selection"}, kTwoRequests, kTwoAnswers},
      {{}, kTwoRequests, kInvalid},
      {{"--daemonx"}, kTwoRequests, kInvalid},
      {{"-daemon"}, kTwoRequests, kInvalid},
      {{"daemon"}, kTwoRequests, kInvalid},
      {{}, "", kInvalid},
      {{}, "{\"action\":\"permissions\"}", "{\"accessibility\":true}\n"},
  };
  for (const auto& c : cases) {
    const std::string label = ::testing::PrintToString(c.arguments) + " " + c.input;
    Child child(c.arguments);
    ASSERT_TRUE(child.started());
    child.write(c.input);
    child.closeInput();
    child.drain();
    EXPECT_EQ(child.out, c.output) << label;
    EXPECT_EQ(child.err, "") << label;
    EXPECT_EQ(child.wait(), 0) << label;
  }
}

TEST(Process, ParentClosingTheOutputEndsTheProcessQuietlyWithStatusZero) {
  Child child({"--daemon"});
  ASSERT_TRUE(child.started());
  child.write("{\"action\":\"self_test\"}\n");
  EXPECT_EQ(child.readLine().back(), '\n');
  child.closeOutput();
  child.write("{\"action\":\"self_test\"}\n{\"action\":\"self_test\"}\n");
  child.closeInput();
  child.drain();
  EXPECT_EQ(child.err, "");
  EXPECT_EQ(child.wait(), 0);
}

}  // namespace
