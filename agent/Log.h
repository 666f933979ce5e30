#pragma once

#include <string_view>

namespace Oru::Agent {

// The program's text log, on standard error: a line with the time each, or with the priority that
// the journal understands where standard error leads there.
class Log {
 public:
  enum class Priority : int { error = 3, warning = 4, info = 6 };

  Log();

  void operator()(Priority priority, std::string_view text) const;
  void error(std::string_view text) const { (*this)(Priority::error, text); }
  void warning(std::string_view text) const { (*this)(Priority::warning, text); }
  void info(std::string_view text) const { (*this)(Priority::info, text); }

 private:
  bool const toJournal_;
};

}  // namespace Oru::Agent
