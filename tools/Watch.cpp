#include "tools/Watch.h"

#include <csignal>
#include <utility>

#include "mount/JsonError.h"
#include "tools/Failure.h"
#include "tools/Text.h"
#include "tools/Times.h"

namespace Oru::Tools {

namespace {

using Mount::Backend;
using Mount::TreePath;

// "13:42:19.371"
std::string clockText(double time) { return timeText(time).substr(11); }

}  // namespace

Watch::Watch(Mount::EventLoop& loop, Context const& context, bool json)
    : context_(context),
      json_(json),
      follower_(
          loop, context.tree, [this](auto const& changes) { take(changes); },
          [this](std::string const& reason) { treeIs(reason); }) {
  scan();
  quiet_ = false;
}

void Watch::take(std::vector<Backend::Change> const& changes) {
  bool whole = false;
  for (auto const& change : changes) {
    bool const isValue = change.kind == Backend::Kind::value;
    if (isValue && areaOf(change.path))
      valueIs(change.path, follower_.tree().read(change.path));
    else
      whole = true;
  }
  if (!whole) return;
  try {
    scan();
  } catch (Failure const&) {
    return;  // the tree is away; the look is taken when it is back
  }
}

void Watch::scan() {
  auto const found = scanTree(follower_.tree());
  for (auto const& [path, reading] : found.values) valueIs(path, reading);
  std::vector<TreePath> gone;
  for (auto const& [path, text] : texts_)
    if (!found.values.contains(path)) gone.push_back(path);
  for (auto const& path : gone) textIs(path, std::nullopt);
  directoriesAre(found.directories);

  std::set<std::string> strays;
  for (auto const& stray : found.strays) {
    strays.insert(stray.file);
    unreadableIs(stray.file, stray);
  }
  for (auto const& [path, reading] : found.values) strays.insert(path.valueText());
  std::vector<std::string> inOrder;
  for (auto const& [file, problem] : unreadable_)
    if (!strays.contains(file)) inOrder.push_back(file);
  for (auto const& file : inOrder) readable(file);
}

void Watch::valueIs(TreePath const& path, Backend::Reading const& reading) {
  std::string const file = path.valueText();
  if (reading.state == Backend::Reading::State::refused)
    return unreadableIs(file, problemOf(file, {}, reading.reason));
  bool const present = reading.state == Backend::Reading::State::present;
  try {
    textIs(path, present ? std::optional(reading.text) : std::nullopt);
    readable(file);
  } catch (Mount::JsonError const& error) {
    unreadableIs(file, problemOf(file, error.place(), error.reason()));
  }
}

void Watch::textIs(TreePath const& path, std::optional<std::string> const& text) {
  auto const known = texts_.find(path);
  auto const before =
      known == texts_.end() ? std::nullopt : std::optional<std::string>(known->second);
  if (before == text) return;
  for (auto const& event : eventsOf(*areaOf(path), path, before, text))
    say(event, path.valueText());
  if (text)
    texts_[path] = *text;
  else
    texts_.erase(path);
}

void Watch::directoriesAre(std::set<TreePath> const& directories) {
  auto const tellMissing = [this](auto const& all, auto const& others, bool present) {
    for (auto const& path : all)
      if (path[0] == "status" && !others.contains(path))
        say(statusDirectoryEvent(path[1], present), path.text());
  };
  tellMissing(directories_, directories, false);
  tellMissing(directories, directories_, true);
  directories_ = directories;
}

void Watch::unreadableIs(std::string const& file, Problem const& problem) {
  auto& known = unreadable_[file];
  if (known.reason == problem.reason && known.place == problem.place) return;
  known = problem;
  say(unreadableEvent(problem, true), file);
}

void Watch::readable(std::string const& file) {
  auto const known = unreadable_.extract(file);
  if (known) say(unreadableEvent(known.mapped(), false), file);
}

void Watch::treeIs(std::string const& reason) {
  bool const away = !reason.empty();
  if (std::exchange(away_, away) == away) return;
  if (away)
    say({"tree-away", Tone::bad, "the tree is away: " + reason, {{"reason", reason}}}, {});
  else
    say({"tree-back", Tone::good, "the tree is back", Json::object()}, {});
}

void Watch::say(Event const& event, std::string const& file) {
  if (quiet_) return;
  double const time = now();
  if (json_) {
    Json json = jsonFor("watch");
    json["time"] = time;
    json["event"] = event.name;
    json["file"] = file;
    json["text"] = event.text;
    json.update(event.fields);
    return printLine(context_.out, json);
  }
  context_.out << context_.style(Tone::quiet, clockText(time)) << "  "
               << context_.style(event.tone, shown(event.text)) << '\n'
               << std::flush;
}

int watch(Context const& context, bool json) {
  Mount::EventLoop loop;
  Watch const watch(loop, context, json);
  auto const stop = [&](auto const&) { loop.exit(exitOk); };
  auto const interrupted = loop.signal(SIGINT, stop);
  auto const terminated = loop.signal(SIGTERM, stop);
  context.err << "oructl: watching " << shown(context.tree) << ", end with Ctrl-C\n" << std::flush;
  return loop.run();
}

}  // namespace Oru::Tools
