#include "sim/LiveView.h"

#include <sys/ioctl.h>

#include <algorithm>

namespace Oru::Sim {

namespace {

constexpr char const* plain = "\033[0m";
constexpr char const* green = "\033[32m";
constexpr char const* yellow = "\033[33m";
constexpr char const* red = "\033[31m";
constexpr char const* grey = "\033[90m";
constexpr char const* bold = "\033[1m";

char const* colourOf(Event::Tone tone) {
  switch (tone) {
    case Event::Tone::good:
      return green;
    case Event::Tone::bad:
      return red;
    case Event::Tone::quiet:
      return grey;
    case Event::Tone::plain:
      break;
  }
  return "";
}

std::string timeText(double time) {
  char text[32];
  std::snprintf(text, sizeof text, "%8.3f", time);
  return text;
}

struct Size {
  std::size_t columns = 80, rows = 24;
};

Size terminalSize(std::FILE* out) {
  winsize size{};
  if (::ioctl(::fileno(out), TIOCGWINSZ, &size) < 0 || size.ws_col == 0 || size.ws_row == 0) {
    return {};
  }
  return {size.ws_col, size.ws_row};
}

// The first columns of a line; colours take none.
std::string cut(std::string const& line, std::size_t columns) {
  std::string result;
  std::size_t used = 0;
  for (std::size_t at = 0; at < line.size();) {
    if (line[at] == '\033') {
      auto const end = line.find('m', at);
      result.append(line, at, end - at + 1);
      at = end + 1;
    } else {
      if (used++ < columns) result += line[at];
      ++at;
    }
  }
  return result;
}

}  // namespace

LiveView::LiveView(std::FILE* out, Device const& device, Situation const& situation)
    : out_(out), device_(device), situation_(situation) {}

void LiveView::event(double time, Event const& event) { line(time, event, "    "); }

void LiveView::step(double time, Event const& event) { line(time, event, "  "); }

void LiveView::line(double time, Event const& event, char const* indent) {
  erase();
  bool const isStep = indent[2] == '\0';
  std::string const text =
      timeText(time) + indent + (isStep ? bold : "") + colourOf(event.tone) + event.text + plain;
  std::fprintf(out_, "%s\n", cut(text, terminalSize(out_).columns).c_str());
}

void LiveView::refresh(double time) {
  erase();
  published_ = situation_.publishedChips();
  auto const [columns, rows] = terminalSize(out_);
  std::vector<std::string> lines = picture(time);
  lines.resize(std::min(lines.size(), rows - std::min<std::size_t>(rows, 2)));
  for (std::string const& each : lines) std::fprintf(out_, "%s\n", cut(each, columns).c_str());
  drawn_ = lines.size();
  std::fflush(out_);
}

void LiveView::end() {
  std::fflush(out_);
  drawn_ = 0;
}

void LiveView::erase() {
  if (drawn_ > 0) std::fprintf(out_, "\033[%zuA\033[J", drawn_);
  drawn_ = 0;
}

std::vector<std::string> LiveView::picture(double time) const {
  std::vector<std::string> lines{
      std::string(grey) + "--------" + timeText(time) + " s, " + std::to_string(published_.size()) +
      " of " + std::to_string(device_.chipCount()) + " chips published, " +
      std::to_string(situation_.publishedInterfaces()) + " interfaces --------" + plain};
  for (auto const& slice : device_.slices) lines.push_back(sliceRow(slice));
  lines.push_back(featureRow());
  lines.push_back("  " + programCell("oru-agent") + "   " + programCell("oru-launcher"));
  return lines;
}

std::string LiveView::sliceRow(Device::Slice const& slice) const {
  bool const inserted = !situation_.tree().value({"hw", "config", slice.name}).is_null();
  std::string const state = situation_.agentState({"slice", slice.name});
  char const* const colour = !inserted ? grey : state == "running" ? green : yellow;
  std::string row = std::string("  ") + colour + slice.name + plain + " ";
  for (auto const& chip : slice.chips) row += ' ' + chipCell(slice, chip);
  return row;
}

std::string LiveView::chipCell(Device::Slice const& slice, Device::Chip const& chip) const {
  static_cast<void>(slice);
  std::string const state = situation_.agentState({"chip", chip.name});
  bool const published = published_.contains(chip.name);
  char const* const colour = state == "backoff" || state == "failed" ? red
                             : published                             ? green
                             : state == "running"                    ? yellow
                                                                     : grey;
  return std::string(colour) + (published ? "[" : " ") + chip.name + (published ? "]" : " ") +
         plain;
}

std::string LiveView::featureRow() const {
  std::string row = "  features ";
  for (std::string const& feature : situation_.tree().names({"launcher-status", "feature"})) {
    auto const& file = situation_.tree().value({"features", feature});
    bool const on = file.is_object() && file.value("enabled", nlohmann::json()) == true;
    row += std::string(" ") + (on ? green : yellow) + feature + plain;
  }
  return row;
}

std::string LiveView::programCell(std::string const& name) const {
  Program const& program = situation_.program(name);
  if (program.state() == Program::State::ended) {
    char const* const colour = program.endedBySurprise() ? red : grey;
    return name + ' ' + colour + (program.end().empty() ? "not started" : program.end()) + plain;
  }
  return name + ' ' + green + "pid " + std::to_string(program.pid()) + plain + ' ' +
         program.status();
}

}  // namespace Oru::Sim
