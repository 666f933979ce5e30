#include "launcher/EntryWatch.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "mount/JsonError.h"
#include "mount/LauncherEntry.h"

namespace Oru::Launcher {

namespace {

using Mount::Backend;
using Mount::TreePath;
using Activity = Mount::ProblemList::Activity;

TreePath const root{"launcher"};

TreePath pathOf(AgentKind kind) { return root / toString(kind); }

TreePath pathOf(AgentId const& id) { return pathOf(id.kind) / id.name; }

}  // namespace

EntryWatch::EntryWatch(Backend& backend, Mount::ProblemList& problems, Clock& clock,
                       ProcessTable& table)
    : backend_(backend), problems_(problems), clock_(clock), table_(table) {
  for (AgentKind const kind : agentKinds) directories_[kind];
}

void EntryWatch::start() {
  watch_ = backend_.watch(root, *this);
  lookAtAll();
}

void EntryWatch::changed(std::vector<Backend::Change> const& changes) {
  std::set<AgentKind> kinds;
  bool isAboutRoot = false;
  for (Backend::Change const& change : changes) {
    if (change.path.size() < 2) {
      settleAll();
      return lookAtAll();
    }
    auto const kind = agentKind(change.path[1]);
    isAboutRoot |= !kind;
    if (!kind) continue;
    if (change.wasGone && change.path.size() == 2) settle(*kind);
    bool const isEntry = change.path.size() == 3 && change.kind == Backend::Kind::value;
    // An entry may be missing because all are: the directory knows.
    if (!isEntry || !lookAt(AgentId{*kind, change.path[2]})) kinds.insert(*kind);
  }
  if (isAboutRoot) lookAtRoot();
  for (AgentKind const kind : kinds) lookAt(kind);
}

void EntryWatch::rootLost(std::string const& reason) {
  problems_.report(Activity::watch, {}, {}, reason);
  settleAll();
}

void EntryWatch::rootBack() { problems_.clear(Activity::watch, {}); }

void EntryWatch::watchLost(TreePath const& path, std::string const& reason) {
  problems_.report(Activity::watch, path.text(), {}, reason);
}

void EntryWatch::watchBack(TreePath const& path) { problems_.clear(Activity::watch, path.text()); }

void EntryWatch::lookAtAll() {
  lookAtRoot();
  for (AgentKind const kind : agentKinds) lookAt(kind);
}

void EntryWatch::lookAtRoot() {
  Listing const listing = backend_.list(root);
  if (listing.state == Listing::State::refused) return;  // so is every kind
  std::map<std::string, std::string> strays;
  for (Backend::Stray const& stray : listing.strays) strays[stray.fileName] = stray.reason;
  for (Backend::Member const& member : listing.members) {
    if (member.kind == Backend::Kind::value)
      strays[Mount::encodedName(member.name) + ".json"] = "is in no directory of a kind";
    else
      strays[Mount::encodedName(member.name)] = "is no kind of agents";
  }
  // What stands in the place of a kind's directory is reported there.
  for (AgentKind const kind : agentKinds) strays.erase(std::string(toString(kind)));
  for (std::string const& file : std::exchange(strays_, {})) {
    if (!strays.contains(file)) problems_.clear(Activity::read, root.text() + '/' + file);
  }
  for (auto const& [file, reason] : strays) {
    strays_.insert(file);
    problems_.report(Activity::read, root.text() + '/' + file, {}, reason);
  }
}

void EntryWatch::lookAt(AgentKind kind) {
  Listing const listing = backend_.list(pathOf(kind));
  std::string const file = pathOf(kind).text();
  if (listing.state == Listing::State::absent) {
    settle(kind);
    problems_.clear(Activity::read, file);
  } else if (listing.state == Listing::State::present) {
    problems_.clear(Activity::read, file);
    apply(kind, listing);
  } else {
    problems_.report(Activity::read, file, {}, listing.reason);
    if (listing.transient) lookAgainLater();
  }
}

void EntryWatch::lookAgainLater() {
  if (again_ != nullptr) return;
  std::chrono::duration<double> const delay = againDelay_.next();
  again_ = clock_.after(delay.count(), [this] {
    again_.reset();
    lookAtAll();
    if (again_ == nullptr) againDelay_.reset();
  });
}

void EntryWatch::apply(AgentKind kind, Listing const& listing) {
  Directory& directory = directories_.at(kind);
  auto const badBefore = std::exchange(directory.badFiles, {});
  reportStrays(kind, listing);
  for (Backend::Member const& member : listing.members) {
    if (member.kind == Backend::Kind::value) lookAt(AgentId{kind, member.name});
  }
  for (std::string const& file : badBefore) {
    if (!directory.badFiles.contains(file)) problems_.clear(Activity::read, file);
  }
  if (directory.settling) return settleLater(kind);
  agentsOfMissingEntriesEnd(kind, listing);
}

void EntryWatch::reportStrays(AgentKind kind, Listing const& listing) {
  for (Backend::Stray const& stray : listing.strays) {
    bad(kind, pathOf(kind).text() + '/' + stray.fileName, {}, stray.reason);
  }
  for (Backend::Member const& member : listing.members) {
    if (member.kind != Backend::Kind::directory) continue;
    bad(kind, (pathOf(kind) / member.name).text(), {}, "is a directory");
  }
}

bool EntryWatch::lookAt(AgentId const& id) {
  Backend::Reading const reading = backend_.read(pathOf(id));
  if (reading.state == Backend::Reading::State::absent) return false;
  if (reading.state != Backend::Reading::State::present) {
    refused(id, {}, reading.reason);
    if (reading.transient) lookAgainLater();
    return true;
  }
  try {
    auto const restart = Mount::restartOfEntry(reading.text);
    good(id.kind, pathOf(id).valueText());
    table_.entryIs(id, restart);
  } catch (Mount::JsonError const& error) {
    refused(id, error.place(), error.reason());
  }
  return true;
}

void EntryWatch::refused(AgentId const& id, std::string const& place, std::string const& reason) {
  bad(id.kind, pathOf(id).valueText(), place, reason);
  table_.entryRefused(id);
}

void EntryWatch::agentsOfMissingEntriesEnd(AgentKind kind, Listing const& listing) {
  for (std::string const& name : table_.names(kind)) {
    Backend::Member const entry{name, Backend::Kind::value};
    bool const isThere =
        std::find(listing.members.begin(), listing.members.end(), entry) != listing.members.end();
    if (!isThere) table_.entryDel({kind, name});
  }
}

void EntryWatch::settle(AgentKind kind) {
  directories_.at(kind).settling = !table_.names(kind).empty();
  directories_.at(kind).settled.reset();
}

void EntryWatch::settleAll() {
  for (AgentKind const kind : agentKinds) settle(kind);
}

void EntryWatch::settleLater(AgentKind kind) {
  Directory& directory = directories_.at(kind);
  if (directory.settled != nullptr) return;
  directory.settled = clock_.after(settlingTime, [this, kind] {
    directories_.at(kind).settling = false;
    directories_.at(kind).settled.reset();
    lookAt(kind);
  });
}

void EntryWatch::bad(AgentKind kind, std::string const& file, std::string const& place,
                     std::string const& reason) {
  directories_.at(kind).badFiles.insert(file);
  problems_.report(Activity::read, file, place, reason);
}

void EntryWatch::good(AgentKind kind, std::string const& file) {
  if (directories_.at(kind).badFiles.erase(file) > 0) problems_.clear(Activity::read, file);
}

}  // namespace Oru::Launcher
