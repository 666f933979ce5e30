#include "launcher/StatusFiles.h"

#include <system_error>
#include <utility>

#include "launcher/AgentStatusJson.h"
#include "mount/Json.h"

namespace Oru::Launcher {

namespace {

using Mount::Backend;
using Mount::TreePath;

TreePath const root{"launcher-status"};

TreePath pathOf(AgentId const& id) { return root / toString(id.kind) / id.name; }

}  // namespace

StatusFiles::StatusFiles(Backend& backend, Mount::WriteQueue& queue, ProcessTable& table,
                         std::function<void()> onTreeChange)
    : backend_(backend), queue_(queue), table_(table), onTreeChange_(std::move(onTreeChange)) {}

std::map<AgentId, AgentStatus> StatusFiles::records() const {
  std::map<AgentId, AgentStatus> records;
  for (AgentId const& id : filesThere()) {
    Backend::Reading const reading = backend_.read(pathOf(id));
    try {
      records.emplace(id, agentStatusOf(reading.text));
    } catch (Mount::JsonError const&) {
      // Written over or removed by start(); its process, if it runs, is found by its mark.
    }
  }
  return records;
}

void StatusFiles::start() {
  watch_ = backend_.watch(root, *this);
  putAllRight();
}

void StatusFiles::tell(AgentId const& id) {
  queue_.wish(Backend::Kind::value, pathOf(id), [this, id] { return write(id); });
}

void StatusFiles::changed(std::vector<Backend::Change> const& changes) {
  for (Backend::Change const& change : changes) {
    auto const kind = change.path.size() == 3 ? agentKind(change.path[1]) : std::nullopt;
    if (!kind) {
      // The word for the whole directory also comes when the tree was away and is back.
      onTreeChange_();
      return putAllRight();
    }
    putRight({*kind, change.path[2]});
  }
}

// What stands as it should is not written again: a word of this launcher's own writing would be
// answered by writing, for ever.
void StatusFiles::putRight(AgentId const& id) {
  AgentStatus const* status = table_.status(id);
  Backend::Reading const reading = backend_.read(pathOf(id));
  bool const isRight = status == nullptr ? reading.state == Backend::Reading::State::absent
                                         : reading.text == jsonOf(*status);
  if (!isRight) tell(id);
}

std::vector<AgentId> StatusFiles::filesThere() const {
  std::vector<AgentId> files;
  for (AgentKind const kind : agentKinds) {
    for (Backend::Member const& member : backend_.list(root / toString(kind)).members) {
      if (member.kind == Backend::Kind::value) files.push_back({kind, member.name});
    }
  }
  return files;
}

void StatusFiles::putAllRight() {
  for (AgentId const& id : filesThere()) putRight(id);
  for (AgentKind const kind : agentKinds) {
    for (std::string const& name : table_.names(kind)) putRight({kind, name});
  }
}

std::error_code StatusFiles::write(AgentId const& id) {
  AgentStatus const* status = table_.status(id);
  if (status != nullptr) return backend_.put(pathOf(id), jsonOf(*status));
  table_.forgetIfGone(id);
  return backend_.remove(pathOf(id));
}

}  // namespace Oru::Launcher
