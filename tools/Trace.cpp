#include "tools/Trace.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "mount/EventLoop.h"
#include "runtime/kesh/TraceHandle.h"
#include "tools/ChromeTrace.h"
#include "tools/Failure.h"
#include "tools/Text.h"
#include "tools/TraceRecords.h"

namespace Oru::Tools {

namespace {

// A process writes its trace into mapped memory, of which the system tells nobody: following has to
// look from time to time.
constexpr std::chrono::milliseconds lookAgain{200};

constexpr std::int64_t second = 1'000'000'000;

std::string timeOf(std::int64_t nanoseconds) {
  std::int64_t seconds = nanoseconds / second, rest = nanoseconds % second;
  if (rest < 0) {
    --seconds;
    rest += second;
  }
  auto const time = static_cast<std::time_t>(seconds);
  std::tm parts{};
  char text[64] = "?";
  if (::gmtime_r(&time, &parts) != nullptr)
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
  char fraction[16];
  std::snprintf(fraction, sizeof fraction, ".%09lldZ", static_cast<long long>(rest));
  return std::string(text) + fraction;
}

Tone toneOf(unsigned level) {
  if (level == 1) return Tone::busy;
  return level == 3 ? Tone::plain : Tone::quiet;
}

std::uint32_t levelsOf(std::string const& text) try {
  return Kesh::traceLevels(text, "--level");
} catch (Kesh::TraceLevelsError const& error) {
  throw Failure(exitUsage, error.what());
}

class Printer {
 public:
  Printer(Context const& context, bool json) : context_(context), json_(json) {}

  void operator()(Ringlog::Record const& record) const {
    if (json_)
      printLine(context_.out, jsonOf(record));
    else
      context_.out << lineOf(record, context_.style) << '\n';
  }

 private:
  Context const& context_;
  bool json_;
};

void follow(Context const& context, TraceRecords& records, Printer const& print) {
  Mount::EventLoop loop;
  auto const stop = [&](auto const&) { loop.exit(); };
  auto const interrupted = loop.signal(SIGINT, stop);
  auto const terminated = loop.signal(SIGTERM, stop);
  Mount::EventSource timer;
  std::function<void()> const look = [&] {
    records.handOut(print);
    context.out << std::flush;
    if (!context.out) return loop.exit();  // nobody reads any more
    timer = loop.timer(lookAgain, look);
  };
  look();
  loop.run();
}

void writeChrome(TraceRecords& records, std::string const& path) {
  std::ofstream file(path, std::ios::trunc);
  ChromeTrace timeline(file, records.processId());
  records.handOut([&](Ringlog::Record const& record) { timeline.add(record); });
  timeline.finish();
  if (!file.flush())
    throw Failure(exitTree, "cannot write " + path + ": " +
                                std::error_code(errno, std::generic_category()).message());
}

}  // namespace

std::string lineOf(Ringlog::Record const& record, Style const& style) {
  std::string const where =
      record.file + ':' + std::to_string(record.line) + ' ' + record.function + ':';
  return style(Tone::quiet, timeOf(record.wallNanoseconds)) + ' ' + std::to_string(record.level) +
         ' ' + style(Tone::quiet, shown(where)) + ' ' +
         style(toneOf(record.level), shown(record.text));
}

Json jsonOf(Ringlog::Record const& record) {
  Json json = jsonFor("trace");
  json["time"] = timeOf(record.wallNanoseconds);
  json["nanoseconds"] = record.wallNanoseconds;
  json["level"] = record.level;
  json["file"] = record.file;
  json["line"] = record.line;
  json["function"] = record.function;
  json["text"] = record.text;
  json["arguments"] = Json::array();
  for (auto const& argument : record.arguments)
    std::visit([&](auto const& value) { json["arguments"].push_back(value); }, argument);
  return json;
}

int trace(Context const& context, TraceOptions const& options) {
  if (options.file.empty())
    throw Failure(exitUsage,
                  "which trace file? Give its name, or set ORU_RINGLOG in the environment.\n"
                  "oru-agent writes one when it is started with --ringlog FILE.");
  if (!options.chrome.empty() && (options.follow || options.json))
    throw Failure(exitUsage, "--chrome goes with neither --follow nor --json");
  // Opened to be written, it would be empty.
  std::error_code isNone;
  if (std::filesystem::equivalent(options.file, options.chrome, isNone))
    throw Failure(exitUsage, "--chrome names the trace itself");
  TraceRecords records(options.file, levelsOf(options.levels));
  if (!options.chrome.empty()) {
    writeChrome(records, options.chrome);
  } else {
    Printer const print(context, options.json);
    if (options.follow)
      follow(context, records, print);
    else
      records.handOut(print);
  }
  if (auto const gaps = records.gaps(); !gaps.empty())
    context.err << "oructl: the trace is not whole: " << gaps << '\n';
  return exitOk;
}

}  // namespace Oru::Tools
