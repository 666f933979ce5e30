#include "tools/Reset.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

#include "mount/Json.h"
#include "runtime/vunda/Ptr.h"
#include "state/ResetEntry.h"
#include "tools/Chassis.h"
#include "tools/Failure.h"
#include "tools/KnownNames.h"
#include "tools/ResetWait.h"
#include "tools/Suggestion.h"
#include "tools/Times.h"

namespace Oru::Tools {

namespace {

using Central::ResetKey;
using Central::ResetReason;
using Central::ResetType;
using Mount::TreePath;
using Vunda::String;

constexpr std::array reasons{ResetReason::unspecified,    ResetReason::userRequest,
                             ResetReason::agentFailure,   ResetReason::hardwareFault,
                             ResetReason::softwareUpdate, ResetReason::configChange};

constexpr double longestTimeout = 7 * 86400.0;

String string(std::string const& text) { return String(std::string_view(text)); }

std::vector<ResetKey> keysOf(ResetOptions const& options, TreeData const& data) {
  if (options.kind == "all") return {ResetKey(ResetType::allSlices, {}, {})};
  if (options.kind == "features") return {ResetKey(ResetType::featureAgents, {}, {})};
  std::vector<ResetKey> keys;
  for (auto const& name : options.names) {
    if (options.kind == "slice") {
      requireSlice(data, name);
      keys.emplace_back(ResetType::slice, String(), string(name));
    } else {
      auto const slice = sliceOfChip(data, name, options.slice);
      keys.emplace_back(ResetType::chip, string(name), string(slice));
    }
  }
  return keys;
}

void check(ResetOptions const& options) {
  std::vector<std::string> const kinds{"chip", "slice", "all", "features"};
  if (std::ranges::find(kinds, options.kind) == kinds.end())
    throw Failure(exitUsage, '"' + shown(options.kind) +
                                 "\" is none of chip, slice, all, features" +
                                 didYouMean(options.kind, kinds));
  if (options.requester.empty())
    throw Failure(exitUsage, "--as: the name of a requester is not empty");
  if (!(options.timeout >= 0 && options.timeout <= longestTimeout))
    throw Failure(exitUsage, "--timeout: is not a time from 0 s to a week");
  bool const wantsNames = options.kind == "chip" || options.kind == "slice";
  if (wantsNames && options.names.empty())
    throw Failure(exitUsage, "reset " + options.kind + " needs the name of a " + options.kind);
  if (!wantsNames && !options.names.empty())
    throw Failure(exitUsage, "reset " + options.kind + " takes no names");
  if (!options.slice.empty() && options.kind != "chip")
    throw Failure(exitUsage, "--slice goes with reset chip only");
}

std::string textOf(Mount::Codec::ResetData const& data) {
  auto const entry = Vunda::makeNode<Central::ResetEntry>(data.key);
  Mount::Codec::apply(data, *entry);
  return Mount::Codec::jsonOf(*entry);
}

TreePath pathOf(MadeRequest const& request) {
  return {"reset", "request", request.id.first, request.id.second};
}

// The latest time in the tree that the request has to be newer than, in order to be carried out.
double latestBefore(MadeRequest const& request, TreeData const& data) {
  double latest = 0;
  auto const see = [&](double time) { latest = std::max(latest, time); };
  if (auto const last = data.requests.find(request.id); last != data.requests.end())
    see(last->second.genTime.seconds());
  if (request.data.key.resetType() == ResetType::featureAgents) {
    for (auto const& [agent, restart] : data.entries)
      if (agent.kind == Launcher::AgentKind::feature) see(restart);
    for (auto const& [id, answer] : data.answers)
      if (answer.key.resetType() == ResetType::featureAgents) see(answer.genTime.seconds());
  } else {
    for (auto const& [slice, chips] : data.config)
      for (auto const& [chip, config] : chips) see(config.genTime.seconds());
  }
  return latest;
}

double justAfter(double time) {
  return std::nextafter(time, std::numeric_limits<double>::infinity());
}

void write(Mount::FileTree const& tree, MadeRequest const& request) {
  requireWritten(tree.put(pathOf(request), textOf(request.data)), tree, pathOf(request));
}

}  // namespace

std::vector<std::string> reasonWords() {
  std::vector<std::string> words;
  for (auto const reason : reasons) words.push_back(Tools::textOf(stringValue(reason)));
  return words;
}

ResetReason reasonOf(std::string const& text) {
  for (auto const reason : reasons)
    if (stringValue(reason).view() == text) return reason;
  std::uint32_t number = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc() && end == text.data() + text.size() && !text.empty())
    return static_cast<ResetReason>(number);
  throw Failure(exitUsage, "--reason " + shown(text) +
                               ": is neither a number from 0 to 4294967295 "
                               "nor the word of a reason" +
                               didYouMean(text, reasonWords()));
}

std::vector<MadeRequest> requestsOf(ResetOptions const& options, TreeData const& data,
                                    double time) {
  check(options);
  auto const reason = reasonOf(options.reason);
  std::vector<MadeRequest> requests;
  for (auto const& key : keysOf(options, data)) {
    MadeRequest request;
    request.id = {options.requester, Mount::Codec::nameOf(key)};
    request.data = {key, string(options.cause), reason, {}};
    double const genTime = std::max(time, justAfter(latestBefore(request, data)));
    request.data.genTime = Vunda::Duration(std::min(genTime, Mount::latestTime));
    requests.push_back(std::move(request));
  }
  return requests;
}

int reset(Context const& context, ResetOptions const& options) {
  Mount::FileTree const tree(context.tree);
  TreeData const before(scanTree(tree));
  auto const requests = requestsOf(options, before, now());
  std::optional<ResetWait> wait;
  if (options.wait) {
    wait.emplace(context, requests, before);
    wait->watch();
  }
  for (auto const& request : requests) {
    write(tree, request);
    context.out << "requested: reset of " << shown(Tools::textOf(request.data.key)) << '\n';
  }
  context.out << std::flush;
  return wait ? wait->run(options.timeout) : exitOk;
}

}  // namespace Oru::Tools
