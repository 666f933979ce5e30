#include "sim/ConditionCheck.h"

#include "sim/NumberedText.h"

namespace Oru::Sim {

namespace {

using Mount::TreePath;
using nlohmann::json;
using Since = Condition::Since;

char const* textOf(Since since) { return since == Since::same ? "the same" : "changed"; }

// Where a file of the tree stands; a file name that is no name stands nowhere.
std::optional<TreePath> placeOf(TreeFile const& file, bool& isDirectory) {
  TreePath path;
  std::string_view rest = file;
  for (;;) {
    auto const slash = rest.find('/');
    auto const meaning = Mount::TreeFileName::of(rest.substr(0, slash));
    if (!meaning.name) return std::nullopt;
    path = path / *meaning.name;
    isDirectory = meaning.form == Mount::TreeFileName::Form::other;
    if (slash == std::string_view::npos) return path;
    rest.remove_prefix(slash + 1);
  }
}

// The value at "chips.Chip1.deviceId".
json const* fieldOf(json const& value, std::string_view place) {
  auto const dot = place.find('.');
  std::string const name(place.substr(0, dot));
  if (!value.is_object() || !value.contains(name)) return nullptr;
  if (dot == std::string_view::npos) return &value[name];
  return fieldOf(value[name], place.substr(dot + 1));
}

// Collects what does not hold.
class Check {
 public:
  Check(Condition const& condition, Situation const& situation)
      : condition_(condition), situation_(situation) {}

  std::vector<std::string> run() {
    checkPublished();
    checkGenerations();
    checkAgents();
    checkProcesses();
    checkAnswers();
    for (auto const& file : condition_.files) checkFile(file);
    checkProblems();
    return std::move(unmet_);
  }

 private:
  void expect(bool holds, std::string text) {
    if (!holds) unmet_.push_back(std::move(text));
  }

  void checkPublished() {
    auto const chips = situation_.publishedChips();
    if (auto const& published = condition_.published) {
      if (published->all) checkAllPublished(chips);
      for (std::string const& chip : published->chips) {
        expect(chips.contains(chip), "chip " + chip + " is not published");
      }
      if (published->count) {
        expect(chips.size() == *published->count, counted(chips.size(), "chip") + " published");
      }
    }
    for (std::string const& chip : condition_.withdrawn) {
      expect(!chips.contains(chip), "chip " + chip + " is published");
    }
    if (condition_.interfaces) {
      auto const count = situation_.publishedInterfaces();
      expect(count == *condition_.interfaces, counted(count, "interface") + " published");
    }
  }

  void checkAllPublished(std::set<std::string> const& chips) {
    auto const wanted = situation_.insertedChips();
    expect(!wanted.empty(), "no slice is inserted");
    for (std::string const& chip : wanted) {
      expect(chips.contains(chip), "chip " + chip + " is not published");
    }
    for (std::string const& chip : chips) {
      expect(wanted.contains(chip), "chip " + chip + " is published and not inserted");
    }
  }

  void checkGenerations() {
    for (auto const& [chip, since] : condition_.generations) {
      json const& before = situation_.rememberedGeneration(chip);
      json const& config = situation_.config(chip);
      json const now = config.is_object() ? config.value("genTime", json()) : json();
      expect(!before.is_null() && (before == now) == (since == Since::same),
             "the generation of chip " + chip + " is not " + textOf(since));
    }
  }

  void checkAgents() {
    for (auto const& [name, state] : condition_.agents) {
      auto const is = situation_.agentState(name);
      expect(is == state, "agent " + name.text() + " is " + is);
    }
    for (auto const& [name, atLeast] : condition_.crashes) {
      json const* count = fieldOf(situation_.agent(name), "restarts.crashes");
      expect(count != nullptr && *count >= atLeast,
             "agent " + name.text() + " has ended by itself " +
                 (count == nullptr ? "0" : count->dump()) + " times");
    }
    for (auto const& [name, state] : condition_.programs) {
      bool const ended = situation_.program(name).state() == Program::State::ended;
      expect(ended == (state == "ended"), name + (ended ? " has ended" : " runs"));
    }
  }

  void checkProcesses() {
    if (condition_.allProcessesSame) {
      expect(!situation_.rememberedProcesses().empty(), "no process was remembered");
      for (auto const& [name, process] : situation_.rememberedProcesses()) {
        checkProcess(name, Since::same);
      }
    }
    for (auto const& [name, since] : condition_.processes) checkProcess(name, since);
  }

  void checkProcess(AgentName const& name, Since since) {
    auto const before = situation_.rememberedProcesses().find(name);
    json const now = situation_.process(name);
    bool const holds = before != situation_.rememberedProcesses().end() && !now.is_null() &&
                       (before->second == now) == (since == Since::same);
    expect(holds, "the process of agent " + name.text() + " is not " + textOf(since));
  }

  void checkAnswers() {
    for (ResetTarget const& target : condition_.answered) {
      auto const* request = situation_.request(target);
      json const* genTime = request == nullptr
                                ? nullptr
                                : fieldOf(situation_.tree().value(request->status), "genTime");
      expect(genTime != nullptr && *genTime == request->genTime,
             "the reset of " + target.text() + " is not answered");
    }
  }

  void checkFile(Condition::File const& file) {
    bool isDirectory = false;
    auto const path = placeOf(file.path, isDirectory);
    static json const none;
    json const& value = path && !isDirectory ? situation_.tree().value(*path) : none;
    bool const present =
        path && (isDirectory ? situation_.tree().hasDirectory(*path) : !value.is_null());
    expect(present == file.present, file.path + (present ? " is there" : " is not there"));
    if (!present) return;
    for (auto const& [place, wanted] : file.fields) {
      json const* is = fieldOf(value, place);
      expect(is != nullptr && *is == wanted,
             file.path + ": " + place + (is == nullptr ? " is not there" : " is " + is->dump()));
    }
  }

  // The reasons that oru-agent gives for a file, or nothing.
  std::string problemWith(TreeFile const& file) {
    std::string reasons;
    json const* list = fieldOf(situation_.tree().value({"problems", "oru-agent"}), "problems");
    if (list == nullptr) return reasons;
    auto const text = [](json const& problem, char const* name) {
      json const* const found = fieldOf(problem, name);
      return found != nullptr && found->is_string() ? found->get<std::string>() : std::string();
    };
    for (json const& problem : *list)
      if (text(problem, "file") == file)
        reasons += text(problem, "place") + ' ' + text(problem, "reason") + "; ";
    return reasons;
  }

  void checkProblems() {
    for (auto const& problem : condition_.problems) {
      std::string const found = problemWith(problem.file);
      expect(!found.empty() && found.find(problem.reason) != std::string::npos,
             "no such problem with " + problem.file + " is reported" +
                 (found.empty() ? "" : ", but: " + found));
    }
    for (TreeFile const& file : condition_.noProblems) {
      std::string const found = problemWith(file);
      expect(found.empty(), "a problem with " + file + " is reported: " + found);
    }
  }

  Condition const& condition_;
  Situation const& situation_;
  std::vector<std::string> unmet_;
};

}  // namespace

std::vector<std::string> unmet(Condition const& condition, Situation const& situation) {
  return Check(condition, situation).run();
}

}  // namespace Oru::Sim
