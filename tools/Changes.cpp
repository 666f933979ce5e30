#include "tools/Changes.h"

#include <algorithm>
#include <utility>

#include "launcher/AgentStatusJson.h"
#include "mount/Json.h"
#include "mount/LauncherEntry.h"
#include "tools/Chassis.h"
#include "tools/Show.h"
#include "tools/Times.h"

namespace Oru::Tools {

namespace {

using Launcher::AgentStatus;
using Mount::TreePath;
namespace Codec = Mount::Codec;
using Events = std::vector<Event>;

template <class Read>
auto decoded(std::optional<std::string> const& text, Read read)
    -> std::optional<decltype(read(*text))> {
  if (!text) return std::nullopt;
  return read(*text);
}

std::string countOf(std::size_t count, char const* what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

Events one(char const* name, Tone tone, std::string text, Json fields) {
  return {{name, tone, std::move(text), std::move(fields)}};
}

Events hwConfigEvents(std::string const& slice, std::optional<Codec::SliceHwData> const& before,
                      std::optional<Codec::SliceHwData> const& after) {
  std::string const subject = "slice " + slice;
  if (!after) return one("slice-removed", Tone::busy, subject + " removed", {{"slice", slice}});
  Json fields{
      {"slice", slice}, {"genTime", after->genTime.seconds()}, {"chips", after->chips.size()}};
  std::string const chips = ", " + countOf(after->chips.size(), "chip");
  if (!before)
    return one("slice-inserted", Tone::good, subject + " inserted" + chips, std::move(fields));
  bool const anew = before->genTime != after->genTime;
  return one(anew ? "slice-inserted" : "slice-changed", Tone::busy,
             subject + (anew ? " inserted anew" : " changed") + chips, std::move(fields));
}

Events hwStatusEvents(std::string const& slice, std::optional<Vunda::Duration> before,
                      std::optional<Vunda::Duration> after) {
  if (!after)
    return one("slice-released", Tone::quiet, "slice " + slice + " let go", {{"slice", slice}});
  if (!*after || before == after) return {};
  return one("slice-taken-over", Tone::plain, "slice " + slice + " taken over",
             {{"slice", slice}, {"genTime", after->seconds()}});
}

Events configEvents(TreePath const& path, std::optional<Codec::ChipConfigData> const& before,
                    std::optional<Codec::ChipConfigData> const& after) {
  std::string const subject = "chip " + path[1] + '/' + path[2];
  Json fields{{"slice", path[1]}, {"chip", path[2]}};
  if (!after) return one("chip-forgotten", Tone::quiet, subject + " forgotten", std::move(fields));
  auto const genTime = after->genTime.seconds();
  fields.update({{"enabled", after->enabled}, {"genTime", genTime}});
  double const last = before ? before->genTime.seconds() : 0.0;
  if (after->enabled && genTime != last)
    return one("chip-started", Tone::busy, subject + " is to run generation " + timeText(genTime),
               std::move(fields));
  if (before && before->enabled && !after->enabled)
    return one("chip-stopped", Tone::busy, subject + " is to stop", std::move(fields));
  if (!before) return one("chip-known", Tone::quiet, subject + " known", std::move(fields));
  return one("chip-changed", Tone::quiet, subject + " configured otherwise", std::move(fields));
}

Events statusEvents(TreePath const& path, std::optional<Codec::ChipStatusData> const& before,
                    std::optional<Codec::ChipStatusData> const& after) {
  std::string const subject = "agent of chip " + path[1] + '/' + path[2];
  Json fields{{"slice", path[1]}, {"chip", path[2]}};
  if (!after)
    return one("chip-report-gone", Tone::quiet, subject + " reports no more", std::move(fields));
  double const genTime = after->genTime.seconds();
  fields.update({{"genTime", genTime}, {"interfaces", after->intfToPortId.size()}});
  if (genTime == 0.0) {
    bool const known = before && !before->genTime;
    if (known) return {};
    return one("chip-reported", Tone::quiet, subject + " reports that it does not run",
               std::move(fields));
  }
  return one("chip-reported", Tone::plain,
             subject + " reports generation " + timeText(genTime) + ", " +
                 countOf(after->intfToPortId.size(), "interface"),
             std::move(fields));
}

Events chipEvents(std::optional<Central::ChipInfo> const& before,
                  std::optional<Central::ChipInfo> const& after) {
  auto const& info = after ? *after : *before;
  std::string const slice = textOf(info.sliceName()), chip = textOf(info.name());
  std::string const subject = "chip " + slice + '/' + chip;
  Json fields{{"slice", slice}, {"chip", chip}, {"deviceId", info.deviceId().value()}};
  if (!after) return one("chip-withdrawn", Tone::bad, subject + " withdrawn", std::move(fields));
  fields["genTime"] = info.genTime().seconds();
  return one("chip-published", Tone::good,
             subject + " published: device " + std::to_string(info.deviceId().value()) + ", " +
                 countOf(info.intfId().size(), "interface"),
             std::move(fields));
}

Events featureEvents(std::string const& name, std::optional<bool> after) {
  Json fields{{"feature", name}};
  if (!after)
    return one("feature-removed", Tone::busy, "feature " + name + " removed", std::move(fields));
  fields["enabled"] = *after;
  return one("feature-switched", *after ? Tone::good : Tone::busy,
             "feature " + name + " is " + (*after ? "on" : "off"), std::move(fields));
}

Events resetEvents(TreePath const& path, bool answer, std::optional<Codec::ResetData> const& before,
                   std::optional<Codec::ResetData> const& after) {
  auto const& data = after ? *after : *before;
  std::string const what = "reset of " + textOf(data.key) + " for " + path[2];
  Json fields{{"requester", path[2]},
              {"type", stringValue(data.key.resetType()).view()},
              {"slice", data.key.sliceName().view()},
              {"chip", data.key.chipName().view()},
              {"cause", data.cause.view()},
              {"reason", static_cast<std::uint32_t>(data.reason)},
              {"genTime", data.genTime.seconds()}};
  if (answer) {
    if (!after) return {};  // goes with the request
    return one("reset-answered", Tone::good, what + " answered", std::move(fields));
  }
  if (!after) return one("reset-withdrawn", Tone::quiet, what + " withdrawn", std::move(fields));
  if (!after->genTime) return {};
  return one("reset-requested", Tone::busy, what + " requested: " + textOf(data.cause),
             std::move(fields));
}

Json agentFields(Launcher::AgentId const& id) {
  return {{"kind", toString(id.kind)}, {"agent", id.name}};
}

std::string subjectOf(Launcher::AgentId const& id) {
  return std::string(toString(id.kind)) + " agent " + id.name;
}

Events entryEvents(TreePath const& path, std::optional<double> before,
                   std::optional<double> after) {
  auto const id = agentIdOf(path);
  if (!after)
    return one("agent-unwanted", Tone::busy, subjectOf(id) + " is to end", agentFields(id));
  if (!before)
    return one("agent-wanted", Tone::plain, subjectOf(id) + " is to run", agentFields(id));
  return one("agent-restart", Tone::busy, subjectOf(id) + " is to be restarted", agentFields(id));
}

std::string processText(AgentStatus const& status) {
  std::string text(toString(status.state));
  if (status.process) text += ", pid " + std::to_string(status.process->pid);
  if (status.process) return text;
  if (!status.problem.empty()) return text + ": " + status.problem;
  return status.lastExit ? text + ": " + status.lastExit->end.reason() : text;
}

Events agentEvents(TreePath const& path, std::optional<AgentStatus> const& before,
                   std::optional<AgentStatus> const& after) {
  auto const id = agentIdOf(path);
  auto fields = agentFields(id);
  if (!after) return one("agent-gone", Tone::quiet, subjectOf(id) + " gone", std::move(fields));
  if (before && before->state == after->state && before->process == after->process) return {};
  fields["process"] = jsonOf(&*after);
  return one("agent-state", toneOf(&*after), subjectOf(id) + ' ' + processText(*after),
             std::move(fields));
}

Event problemEvent(std::string const& program, Problem const& problem, bool present) {
  Json fields{{"program", program}, {"problem", jsonOf(problem)}};
  if (present) return {"problem", Tone::bad, program + ": " + Mount::textOf(problem), fields};
  return {"problem-cleared", Tone::good,
          program + ", in order again: " + (problem.file.empty() ? "the tree" : problem.file),
          std::move(fields)};
}

bool holds(std::vector<Problem> const& problems, Problem const& wanted) {
  return std::ranges::any_of(problems, [&](Problem const& problem) {
    return problem.file == wanted.file && problem.activity == wanted.activity &&
           problem.place == wanted.place && problem.reason == wanted.reason;
  });
}

// A problem whose words changed is another one; that of the same file before it is then no news.
Events problemEvents(std::string const& program, std::vector<Problem> const& before,
                     std::vector<Problem> const& after) {
  Events events;
  for (auto const& problem : before)
    if (std::ranges::none_of(after, [&](Problem const& other) {
          return other.file == problem.file && other.activity == problem.activity;
        }))
      events.push_back(problemEvent(program, problem, false));
  for (auto const& problem : after)
    if (!holds(before, problem)) events.push_back(problemEvent(program, problem, true));
  return events;
}

}  // namespace

std::vector<Event> eventsOf(Area area, TreePath const& path,
                            std::optional<std::string> const& before,
                            std::optional<std::string> const& after) {
  auto const with = [&](auto read, auto describe) {
    return describe(decoded(before, read), decoded(after, read));
  };
  auto const& leaf = path.leaf();
  switch (area) {
    case Area::hwConfig:
      return with(Codec::sliceHwConfigOf,
                  [&](auto const& a, auto const& b) { return hwConfigEvents(leaf, a, b); });
    case Area::hwStatus:
      return with(Codec::sliceHwStatusOf,
                  [&](auto a, auto b) { return hwStatusEvents(leaf, a, b); });
    case Area::config:
      return with(Codec::chipConfigOf,
                  [&](auto const& a, auto const& b) { return configEvents(path, a, b); });
    case Area::status:
      return with(Codec::chipStatusOf,
                  [&](auto const& a, auto const& b) { return statusEvents(path, a, b); });
    case Area::chips:
      return with([&](std::string const& text) { return Codec::chipInfoOf(text, leaf); },
                  chipEvents);
    case Area::slices:
      return with(Codec::sliceChipsOf, [](auto const&, auto const&) { return Events(); });
    case Area::interfaces:
      return with(Codec::interfacesOf, [](auto const&, auto const&) { return Events(); });
    case Area::features:
      return with(Codec::featureOf,
                  [&](auto const&, auto const& b) { return featureEvents(leaf, b); });
    case Area::requests:
    case Area::answers:
      return with([&](std::string const& text) { return Codec::resetOf(text, leaf); },
                  [&](auto const& a, auto const& b) {
                    return resetEvents(path, area == Area::answers, a, b);
                  });
    case Area::entries:
      return with([](std::string const& text) { return Mount::restartOfEntry(text).value_or(0.0); },
                  [&](auto a, auto b) { return entryEvents(path, a, b); });
    case Area::agents:
      return with([](std::string const& text) { return Launcher::agentStatusOf(text); },
                  [&](auto const& a, auto const& b) { return agentEvents(path, a, b); });
    case Area::problems:
      return with([](std::string const& text) { return Mount::problemReportOf(text).problems; },
                  [&](auto const& a, auto const& b) {
                    std::vector<Problem> const none;
                    return problemEvents(leaf, a.value_or(none), b.value_or(none));
                  });
  }
  return {};
}

Event statusDirectoryEvent(std::string const& slice, bool present) {
  std::string const subject = "slice agent of " + slice;
  Json fields{{"slice", slice}};
  if (present) return {"slice-reported", Tone::plain, subject + " reports", std::move(fields)};
  return {"slice-report-gone", Tone::busy, subject + " reports no more", std::move(fields)};
}

Event unreadableEvent(Problem const& problem, bool present) {
  return problemEvent("oructl", problem, present);
}

}  // namespace Oru::Tools
