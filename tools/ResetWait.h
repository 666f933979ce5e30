#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "mount/EventLoop.h"
#include "tools/Context.h"
#include "tools/Reset.h"
#include "tools/ResetOutcome.h"
#include "tools/TreeFollower.h"

namespace Oru::Tools {

// Waits until reset requests are answered and what they reset runs again, and says one line for
// each chip as soon as its outcome is known. Looks at the tree whenever it changes.
class ResetWait {
 public:
  // `before` is the tree before the requests; all references outlive this.
  ResetWait(Context const& context, std::vector<MadeRequest> const& requests,
            TreeData const& before)
      : context_(context), requests_(requests), before_(before) {}

  // To be called before the requests are written, so that no answer is missed.
  void watch();
  // exitOk when everything that was asked for was reset and runs again, exitNo when something could
  // not be reset, exitTimeout after so many seconds.
  int run(double timeout);

 private:
  struct Waiting {
    ResetOutcome outcome;
    double requested = 0;
  };

  void look();
  std::vector<MadeRequest const*> answeredIn(TreeData const& data) const;
  void takeReturns(TreeData const& data);
  void say(Waiting const& waiting, Tone tone, std::string const& text);
  void judge(MadeRequest const& request, TreeData const& data);
  bool done() const { return waiting_.empty() && unanswered_.empty(); }
  int tellTimeout(double timeout);

  Context const& context_;
  std::vector<MadeRequest> const& requests_;
  TreeData const& before_;
  Mount::EventLoop loop_;
  std::unique_ptr<TreeFollower> follower_;
  std::vector<MadeRequest const*> unanswered_;
  std::vector<Waiting> waiting_;  // reset, and not yet running again
  bool allReset_ = true;
  double began_ = 0;  // by the clock; requests may be dated ahead of it
};

}  // namespace Oru::Tools
