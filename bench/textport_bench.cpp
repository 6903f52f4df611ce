// In-process benchmarks on the simulated desktop: one request through the loop per action,
// the target comparison, and saving and restoring a 10 MiB pasteboard with a count of the
// byte copies made.
#include <benchmark/benchmark.h>

#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "capture/target_comparison.h"
#include "clipboard/pasteboard_snapshot.h"
#include "json/json_value.h"
#include "platform/sim/sim_desktop.h"
#include "request/request_loop.h"
#include "session/session.h"

namespace {

using textport::sim::SimDesktop;

constexpr std::string_view kEditorWorld = R"json({
  "frontmost": 501,
  "pasteboard": [[{"type": "public.utf8-plain-text", "text": "user clip"},
                  {"type": "public.png", "hex": "89504e470d0a1a0a"}]],
  "apps": [{
    "pid": 501, "bundle": "com.apple.TextEdit", "name": "TextEdit",
    "paste": {"read_delay": 0.05}, "copy": {"writes": "selection", "delay": 0.05},
    "focused": "body",
    "tree": {"children": [{"id": "doc", "frame": [100, 80, 800, 600], "window_number": 7,
      "children": [{"id": "body", "role": "AXTextArea", "identifier": "body",
                    "frame": [100, 120, 800, 560], "value": "hello world", "selected_range": [6, 5]}]}]},
    "menu_bar": {"id": "menus", "children": [{"id": "edit", "role": "AXMenuBarItem", "children": [
      {"id": "copy", "role": "AXMenuItem", "cmd_char": "c", "enabled": true, "copies": true}]}]}
  }]
})json";

std::unique_ptr<SimDesktop> editorDesktop() {
  auto loaded = SimDesktop::fromJson(kEditorWorld, "bench.json");
  loaded.desktop->setRecordLimit(0);
  return std::move(loaded.desktop);
}

// Answers one request line through the real loop.
std::string serveLine(textport::Session& session, const std::string& line) {
  std::istringstream input(line);
  std::ostringstream output;
  textport::serve(input, output, session);
  return output.str();
}

void requestBenchmark(benchmark::State& state, const std::string& line) {
  auto desktop = editorDesktop();
  textport::Session session(*desktop, {"textport", "--daemon", "--verify-selection"});
  for (auto _ : state) benchmark::DoNotOptimize(serveLine(session, line));
  state.SetItemsProcessed(state.iterations());
}

void BM_SelfTest(benchmark::State& state) {
  requestBenchmark(state, "{\"action\":\"self_test\"}\n");
}
void BM_Permissions(benchmark::State& state) {
  requestBenchmark(state, "{\"action\":\"permissions\"}\n");
}
void BM_Copy(benchmark::State& state) {
  requestBenchmark(state, "{\"action\":\"copy\",\"text\":\"result text\"}\n");
}
void BM_TargetWithSelection(benchmark::State& state) {
  requestBenchmark(state, "{\"action\":\"target\",\"selection\":true}\n");
}
void BM_InvalidRequest(benchmark::State& state) {
  requestBenchmark(state, "not json\n");
}
void BM_InspectApp(benchmark::State& state) {
  requestBenchmark(state, "{\"action\":\"inspect_app\",\"pid\":501}\n");
}

// A capture followed by its delivery: the pair is one iteration.
void BM_CaptureAndDeliver(benchmark::State& state) {
  auto desktop = editorDesktop();
  textport::Session session(*desktop, {"textport", "--daemon"});
  for (auto _ : state) {
    std::string target = serveLine(session, "{\"action\":\"target\",\"selection\":true}\n");
    target.pop_back();
    benchmark::DoNotOptimize(
        serveLine(session, "{\"action\":\"deliver\",\"text\":\"x\",\"target\":" + target + "}\n"));
    state.PauseTiming();
    // The paste inserted "x" over the selection; put the field back for the next round.
    desktop->schedule(R"({"edit": {"element": "body", "value": "hello world", "range": [6, 5]}})");
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_SameTarget(benchmark::State& state) {
  const textport::JsonObject a{{"pid", 501},  {"role", "AXTextArea"}, {"identifier", "body"},
                               {"window", 7}, {"offset", 6},          {"length", 5}};
  const textport::JsonObject b = a;
  for (auto _ : state) benchmark::DoNotOptimize(textport::sameTarget(a, b));
}

// Saving and restoring a 10 MiB pasteboard. The counters say how many times its bytes crossed
// the platform boundary: one read for the snapshot and one write for the restore is the least
// possible; anything more is a copy the core made on its own.
void BM_Snapshot10MiB(benchmark::State& state) {
  constexpr std::size_t kSize = 10 * 1024 * 1024;
  SimDesktop desktop;
  desktop.setRecordLimit(0);
  desktop.pasteboard().load({{{"public.utf8-plain-text", textport::Bytes(kSize / 2, 'a')},
                              {"public.png", textport::Bytes(kSize / 2, 0x89)}}},
                            1);
  const auto start = desktop.pasteboardTraffic();
  for (auto _ : state) {
    const textport::PasteboardSnapshot saved = textport::snapshotPasteboard(desktop);
    textport::restore(desktop, saved);
  }
  const auto end = desktop.pasteboardTraffic();
  const double rounds = static_cast<double>(state.iterations()) * kSize;
  state.counters["snapshot_copies"] = static_cast<double>(end.bytesRead - start.bytesRead) / rounds;
  state.counters["restore_copies"] =
      static_cast<double>(end.bytesWritten - start.bytesWritten) / rounds;
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kSize));
}

BENCHMARK(BM_SelfTest);
BENCHMARK(BM_Permissions);
BENCHMARK(BM_Copy);
BENCHMARK(BM_InvalidRequest);
BENCHMARK(BM_TargetWithSelection);
BENCHMARK(BM_InspectApp);
BENCHMARK(BM_CaptureAndDeliver);
BENCHMARK(BM_SameTarget);
BENCHMARK(BM_Snapshot10MiB)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
