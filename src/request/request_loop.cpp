#include "request/request_loop.h"

#include <string>

#include "request/dispatch.h"
#include "request/json_reader.h"
#include "request/json_writer.h"
#include "request/messages.h"

namespace textport {

namespace {

// One request inside the platform's per-request scope (an autorelease pool on macOS).
std::string answer(Session& session, std::string_view data) {
  const RequestScope scope(session.platform);
  return respond(session, data);
}

// The answer to one request. Whatever an action throws ends that request only: the parent
// gets an answer line and the loop goes on.
JsonObject handle(Session& session, std::string_view data) {
  try {
    std::optional<JsonValue> parsed = parseJson(data);
    const JsonObject* request = parsed ? parsed->as<JsonObject>() : nullptr;
    return request != nullptr ? run(session, *request) : errorAnswer(messages::kInvalidRequest);
  } catch (...) {
    return errorAnswer(messages::kInternalError);
  }
}

// Writes one answer line and hands it to the reader at once. False once output has failed,
// for example because the parent closed its end of the pipe.
bool send(std::ostream& output, const std::string& line) {
  output.write(line.data(), static_cast<std::streamsize>(line.size()));
  output.flush();
  return static_cast<bool>(output);
}

std::string readAll(std::istream& input) {
  std::string data;
  char buffer[1 << 16];
  while (input.read(buffer, sizeof buffer) || input.gcount() > 0) {
    data.append(buffer, static_cast<std::size_t>(input.gcount()));
  }
  return data;
}

}  // namespace

std::string respond(Session& session, std::string_view data) {
  std::optional<std::string> written = writeJson(handle(session, data));
  std::string line = written ? std::move(*written) : std::string("{}");
  line += '\n';
  return line;
}

void serve(std::istream& input, std::ostream& output, Session& session) {
  if (!session.hasArgument("--daemon")) {
    // One-shot: every byte of input, unchanged, is the one request.
    send(output, answer(session, readAll(input)));
    return;
  }
  // Line by line: getline also yields a last line without a line feed, and fails only when
  // nothing at all is left, so input that ends right after a line feed adds no answer.
  std::string line;
  while (std::getline(input, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const bool valid = isValidUtf8(line);
    const std::string reply = valid ? answer(session, line) : answer(session, repairUtf8(line));
    if (!send(output, reply)) return;
  }
}

}  // namespace textport
