#include "tools/Top.h"

#include <signal.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>

#include "tools/Chassis.h"
#include "tools/Failure.h"
#include "tools/Show.h"
#include "tools/Table.h"
#include "tools/Text.h"
#include "tools/Times.h"
#include "tools/TreeFollower.h"

namespace Oru::Tools {

namespace {

using Launcher::AgentKind;
using Launcher::AgentState;
using std::chrono::milliseconds;

constexpr milliseconds tick{1000};     // ages and processor shares
constexpr milliseconds together{100};  // changes that are drawn at once

using Serves = std::map<Launcher::AgentId, std::string>;

Serves servesOf(TreeData const& data) {
  Serves serves;
  for (auto const& row : slicesOf(data))
    serves[{AgentKind::slice, row.name}] = "slice " + std::string(wordOf(row.state)) + ", " +
                                           std::to_string(row.chipsUp) + " of " +
                                           std::to_string(row.chips) + " chips up";
  for (auto const& row : chipsOf(data))
    serves[{AgentKind::chip, row.name}] = "chip " + std::string(wordOf(row.state)) + ", " +
                                          std::to_string(row.interfaces) + " interfaces";
  for (auto const& row : featuresOf(data))
    serves[{AgentKind::feature, row.name}] = row.enabled ? "feature on" : "feature off";
  return serves;
}

bool isInTrouble(AgentRow const& row) {
  return row.status &&
         (row.status->state == AgentState::backoff || row.status->state == AgentState::failed);
}

std::string countText(char const* what, std::size_t good, std::size_t all) {
  return std::to_string(good) + " of " + std::to_string(all) + ' ' + what;
}

std::string countLine(TreeData const& data, double time) {
  auto const slices = slicesOf(data);
  auto const chips = chipsOf(data);
  auto const upSlices =
      std::ranges::count(slices, SliceState::up, [](auto const& row) { return row.state; });
  auto const upChips =
      std::ranges::count(chips, ChipState::up, [](auto const& row) { return row.state; });
  return timeText(time).substr(0, 19) + "   " +
         countText("slices up", static_cast<std::size_t>(upSlices), slices.size()) + ", " +
         countText("chips up", static_cast<std::size_t>(upChips), chips.size()) + ", " +
         std::to_string(problemCount(data)) + " problems";
}

std::string percentText(std::optional<double> share) {
  if (!share) return "-";
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", *share);
  return text;
}

std::string memoryText(ProcessUsage const& usage) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f MB", static_cast<double>(usage.residentBytes) / 1e6);
  return text;
}

std::vector<Table::Cell> cellsOf(AgentRow const& row, TopSurroundings const& surroundings,
                                 Serves const& serves) {
  auto const* const status = row.status;
  std::string pid = "-", cpu = "-", memory = "-";
  if (status && status->process) {
    pid = std::to_string(status->process->pid);
    if (auto const usage = surroundings.usage(*status->process)) {
      cpu = percentText(surroundings.share(status->process->pid, *usage));
      memory = memoryText(*usage);
    }
  }
  auto const served = serves.find(row.id);
  return {{std::string(toString(row.id.kind))},
          {row.id.name},
          {wordOf(status), toneOf(status)},
          {status ? durationText(surroundings.time - status->since) : "-"},
          {pid},
          {cpu},
          {memory},
          {status ? std::to_string(status->wantedRestarts) : "-"},
          {status ? std::to_string(status->crashes) : "-",
           status && status->crashes > 0 ? Tone::bad : Tone::plain},
          {served == serves.end() ? std::string() : served->second}};
}

// The terminal's live picture.
class Live {
 public:
  explicit Live(Context const& context)
      : context_(context),
        follower_(
            loop_, context.tree, [this](auto const&) { drawSoon(together); },
            [this](std::string const& reason) {
              away_ = reason;
              drawSoon(together);
            }),
        interrupted_(loop_.signal(SIGINT, [this](auto const&) { loop_.exit(exitOk); })),
        terminated_(loop_.signal(SIGTERM, [this](auto const&) { loop_.exit(exitOk); })),
        resized_(loop_.signal(SIGWINCH, [this](auto const&) { draw(); })),
        screen_(context.out) {}

  int run() {
    Mount::EventSource keys;
    if (screen_.hasKeys()) keys = loop_.io(STDIN_FILENO, EPOLLIN, [this](auto) { readKey(); });
    draw();
    return loop_.run();
  }

 private:
  void readKey() {
    char key = 0;
    if (::read(STDIN_FILENO, &key, 1) != 1 || key == 'q' || key == 'Q') loop_.exit(exitOk);
  }

  void drawSoon(milliseconds delay) {
    if (soon_) return;
    soon_ = loop_.timer(delay, [this] { draw(); });
  }

  void draw() {
    soon_.reset();
    Screen::Size const size = screen_.size();
    try {
      TreeData const data(scanTree(follower_.tree()));
      double const time = now();
      TopSurroundings const surroundings{
          time, ProcessUsage::read,
          [&](pid_t pid, auto const& usage) { return shares_.share(pid, usage, time); }};
      screen_.draw(topPicture(data, surroundings, context_.style, size));
    } catch (Failure const& failure) {
      screen_.draw({fitted(shown(away_.empty() ? failure.what() : "the tree is away: " + away_),
                           size.columns)});
    }
    next_ = loop_.timer(tick, [this] { draw(); });
  }

  Context const& context_;
  Mount::EventLoop loop_;
  TreeFollower follower_;
  // Before the screen: however it ends, the terminal is given back as it was.
  Mount::EventSource interrupted_, terminated_, resized_;
  Screen screen_;
  CpuShares shares_;
  std::string away_;
  Mount::EventSource soon_, next_;
};

}  // namespace

std::vector<std::string> topPicture(TreeData const& data, TopSurroundings const& surroundings,
                                    Style const& style, Screen::Size size) {
  using enum Table::Align;
  Table table({{"KIND"},
               {"AGENT"},
               {"STATE"},
               {"FOR", right},
               {"PID", right},
               {"CPU %", right},
               {"MEMORY", right},
               {"RESTARTS", right},
               {"CRASHES", right},
               {"SERVES"}});
  auto const serves = servesOf(data);
  auto agents = agentsOf(data);
  std::stable_partition(agents.begin(), agents.end(), isInTrouble);
  for (auto const& row : agents) table.add(cellsOf(row, surroundings, serves));
  std::string const counts = countLine(data, surroundings.time);
  std::vector<std::string> lines{size.columns == 0 ? counts : fitted(counts, size.columns), {}};
  for (auto& line : table.lines(style, size.columns)) lines.push_back(std::move(line));
  if (size.rows > 0 && lines.size() > size.rows) {
    std::size_t const more = lines.size() - size.rows + 1;
    lines.resize(size.rows - 1);
    lines.push_back("... " + std::to_string(more) + " more");
  }
  return lines;
}

int top(Context const& context) {
  TreeData const data(scanTree(Mount::FileTree(context.tree)));
  if (Screen::isThere()) return Live(context).run();
  TopSurroundings const surroundings{now(), ProcessUsage::read,
                                     [](pid_t, auto const&) { return std::optional<double>(); }};
  for (auto const& line : topPicture(data, surroundings, context.style, {0, 0}))
    context.out << line << '\n';
  return exitOk;
}

}  // namespace Oru::Tools
