#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Oru::Mount {

// What is wrong with the tree now, as one program sees it: at most one problem for each file and
// activity. A problem stands until it is cleared; reporting it again with the same words is no
// news.
class ProblemList {
 public:
  enum class Activity { read, write, watch };

  struct Problem {
    std::string file;  // relative to the tree's root; empty for the root itself
    Activity activity = Activity::read;
    // Field inside the file, such as "chips.Chip1.deviceId"; empty for the whole file.
    std::string place;
    std::string reason;
    double since = 0.0;  // seconds since the epoch
  };

  // Hears of every problem that is new or has new words (`present`), and of every one that is gone.
  using Listener = std::function<void(Problem const& problem, bool present)>;

  void listenerIs(Listener listener) { listener_ = std::move(listener); }

  void report(Activity activity, std::string file, std::string place, std::string reason);
  void clear(Activity activity, std::string const& file);
  // The system lost word of changes. That is over once everything is read anew, so it is told to
  // the listener alone.
  void wordLost();
  // All problems, in the order of files.
  std::vector<Problem> problems() const;
  bool empty() const noexcept { return problems_.empty(); }

 private:
  std::map<std::pair<std::string, Activity>, Problem> problems_;
  Listener listener_;
};

// "read", "write", "watch".
char const* textOf(ProblemList::Activity activity) noexcept;
// One line: "cannot read hw/config/Slice1.json: chips.Chip1.deviceId is not a whole number from 0
// to 64".
std::string textOf(ProblemList::Problem const& problem);

// What a program's problem file (`problems/<program>.json`) tells.
struct ProblemReport {
  std::vector<ProblemList::Problem> problems;
  std::size_t more = 0;  // problems that there was no room for
};
// Room for problems in such a file, in bytes, the spaces that make it readable not counted. With
// them it is well below the limit of the tree's files.
inline constexpr std::size_t problemFileRoom = 256U << 10;
// The file's text: the first problems, as many as there is room for.
std::string jsonOf(std::vector<ProblemList::Problem> const& problems);
// Raises JsonError.
ProblemReport problemReportOf(std::string const& text);

}  // namespace Oru::Mount
