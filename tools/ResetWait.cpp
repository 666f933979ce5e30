#include "tools/ResetWait.h"

#include <algorithm>
#include <chrono>

#include "tools/Chassis.h"
#include "tools/Failure.h"
#include "tools/Times.h"

namespace Oru::Tools {

namespace {

// What became of what was not reset, and why.
std::string reasonOf(ResetOutcome const& outcome, double requested) {
  std::string const word = wordOf(outcome.kind);
  if (outcome.kind != ResetOutcome::Kind::outdated) return word;
  std::string const request = ", requested " + timeText(requested);
  return outcome.feature.empty()
             ? word + ": configured " + timeText(outcome.configured) + request
             : word + ": last restarted for " + timeText(outcome.configured) + request;
}

}  // namespace

void ResetWait::watch() {
  follower_ = std::make_unique<TreeFollower>(
      loop_, context_.tree, [this](auto const&) { look(); },
      [this](std::string const& reason) {
        if (!reason.empty())
          context_.err << "oructl: the tree is away (" << reason << "), waiting for it\n";
      });
}

int ResetWait::run(double timeout) {
  began_ = now();
  for (auto const& request : requests_) unanswered_.push_back(&request);
  bool late = false;
  auto const timer =
      loop_.timer(std::chrono::microseconds(static_cast<long long>(timeout * 1e6)), [&] {
        late = true;
        loop_.exit();
      });
  look();
  if (!done()) loop_.run();
  if (late && !done()) return tellTimeout(timeout);
  return allReset_ ? exitOk : exitNo;
}

void ResetWait::look() {
  try {
    TreeData const seen(scanTree(follower_->tree()));
    auto const answered = answeredIn(seen);
    if (answered.empty()) {
      takeReturns(seen);
    } else {
      // What an answer tells of stands before it does, but not when the rest of the tree was read
      // before the answer: it is read again.
      TreeData const data(scanTree(follower_->tree()));
      for (auto const* const request : answered) {
        judge(*request, data);
        std::erase(unanswered_, request);
      }
      takeReturns(data);
    }
  } catch (Failure const&) {
    return;  // the tree is away; it is looked at again when it is back
  }
  context_.out << std::flush;
  if (done()) loop_.exit();
}

std::vector<MadeRequest const*> ResetWait::answeredIn(TreeData const& data) const {
  std::vector<MadeRequest const*> answered;
  for (auto const* const request : unanswered_)
    if (isAnswered(data, request->id, request->data.genTime.seconds())) answered.push_back(request);
  return answered;
}

void ResetWait::judge(MadeRequest const& request, TreeData const& data) {
  double const requested = request.data.genTime.seconds();
  auto const outcomes = outcomesOf(request.data, before_, data);
  if (outcomes.empty())
    context_.out << shown(textOf(request.data.key)) << ": nothing there to be reset\n";
  for (auto const& outcome : outcomes) {
    Waiting const waiting{outcome, requested};
    if (outcome.kind == ResetOutcome::Kind::reset) {
      waiting_.push_back(waiting);
      continue;
    }
    allReset_ = false;
    say(waiting, Tone::bad, reasonOf(outcome, requested));
  }
}

void ResetWait::takeReturns(TreeData const& data) {
  std::erase_if(waiting_, [&](Waiting const& waiting) {
    auto const back = returnOf(waiting.outcome, waiting.requested, data);
    if (back == Return::running)
      say(waiting, Tone::good, "reset, runs again after " + durationText(now() - began_));
    if (back == Return::gone) {
      allReset_ = false;
      say(waiting, Tone::busy, "reset, and taken away since");
    }
    return back != Return::pending;
  });
}

void ResetWait::say(Waiting const& waiting, Tone tone, std::string const& text) {
  context_.out << shown(subjectOf(waiting.outcome)) << ": " << context_.style(tone, text) << '\n';
}

int ResetWait::tellTimeout(double timeout) {
  std::string const within = " within " + durationText(timeout);
  for (auto const* const request : unanswered_)
    context_.err << "oructl: no answer to the reset of " << shown(textOf(request->data.key))
                 << within << "; does oru-agent run?\n";
  for (auto const& waiting : waiting_)
    context_.err << "oructl: " << shown(subjectOf(waiting.outcome))
                 << " was reset and does not run again" << within << '\n';
  return exitTimeout;
}

}  // namespace Oru::Tools
