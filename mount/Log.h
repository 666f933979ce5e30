#pragma once

#include <string>
#include <string_view>

namespace Oru::Mount {

// A program's text log, on standard error: a line each, with the priority in front where the
// system's journal reads it, elsewhere with the time, the program's name and what is urgent.
// Control characters, which names may hold, are written \xNN.
class Log {
 public:
  // As the system's log counts.
  enum class Priority : int { error = 3, warning = 4, notice = 5, info = 6 };

  explicit Log(std::string program);

  void operator()(Priority priority, std::string_view text) const;
  void error(std::string_view text) const { (*this)(Priority::error, text); }
  void warning(std::string_view text) const { (*this)(Priority::warning, text); }
  void notice(std::string_view text) const { (*this)(Priority::notice, text); }
  void info(std::string_view text) const { (*this)(Priority::info, text); }

 private:
  std::string const program_;
  bool const toJournal_;
};

}  // namespace Oru::Mount
