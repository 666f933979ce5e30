#include "sim/Stage.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "sim/LauncherConfiguration.h"
#include "sim/NumberedText.h"
#include "sim/ResetRequestFile.h"

namespace Oru::Sim {

namespace {

namespace fs = std::filesystem;
using Mount::TreePath;
using nlohmann::json;

void require(std::error_code error, std::string const& what) {
  if (error) throw std::system_error(error, what);
}

void writeFile(std::string const& file, std::string_view text) {
  std::ofstream stream(file, std::ios::binary);
  stream << text;
  stream.close();
  if (!stream) throw std::system_error(errno, std::generic_category(), file);
}

Situation::Programs pointersTo(std::map<std::string, std::unique_ptr<Program>> const& programs) {
  Situation::Programs pointers;
  for (auto const& [name, program] : programs) pointers[name] = program.get();
  return pointers;
}

}  // namespace

Stage::Stage(Mount::EventLoop& loop, Device const& device, Setting setting, Listener listener)
    : device_(device),
      setting_(std::move(setting)),
      listener_(std::move(listener)),
      loop_(loop),
      tree_(setting_.tree),
      control_(setting_.folder + "/control"),
      socket_(loop,
              [this](pid_t sender, std::string_view message) {
                for (auto& [name, program] : programs_) {
                  if (program->pid() == sender) program->told(message);
                }
              }),
      watched_(loop, (prepareTree(), tree_.root())),
      picture_(watched_, listener_.treeChanged),
      situation_(picture_, [this] {
        std::string const config = setting_.folder + "/launcher.json";
        programs_["oru-launcher"] =
            makeProgram("oru-launcher", setting_.launcher, {"--config", config});
        programs_["oru-agent"] = makeProgram("oru-agent", setting_.agent,
                                             {"--ringlog", setting_.folder + "/oru-agent.ring"});
        return pointersTo(programs_);
      }()) {
  // Agents whose launcher was killed come to us, and end with us.
  ::prctl(PR_SET_CHILD_SUBREAPER, 1);
  childEnded_ = loop.signal(SIGCHLD, [this](auto const&) { reapOrphans(); });
}

void Stage::prepareTree() {
  require(tree_.makeRoot(), tree_.root());
  require(control_.makeRoot(), control_.root());
  writeFile(setting_.folder + "/launcher.json",
            launcherConfigurationOf(device_, setting_.sim, control_.root()));
  for (auto const& slice : device_.slices) {
    behaveAsDescribed({"slice", slice.name});
    for (auto const& chip : slice.chips) behaveAsDescribed({"chip", chip.name});
  }
}

std::unique_ptr<Program> Stage::makeProgram(std::string const& name, std::string const& file,
                                            std::vector<std::string> arguments) {
  std::vector<std::string> argv{file, "--tree", tree_.root()};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  Program::Command command{std::move(argv),
                           {"NOTIFY_SOCKET=" + socket_.address()},
                           setting_.folder + '/' + name + ".log"};
  return std::make_unique<Program>(loop_, name, std::move(command), listener_.programChanged);
}

Program& Stage::program(std::string const& name) { return *programs_.at(name); }

std::string Stage::surprise() const {
  for (auto const& [name, program] : programs_) {
    if (program->endedBySurprise()) return name + ' ' + program->end();
  }
  return {};
}

void Stage::insert(std::string const& slice) {
  put({"hw", "config", slice}, hwConfigOf(*device_.slice(slice), now()));
}

void Stage::pull(std::string const& slice) {
  TreePath const file{"hw", "config", slice};
  require(tree_.remove(file), file.valueText());
}

void Stage::reset(Step::Reset const& reset) {
  double const genTime = now() - reset.age;
  std::string const key = resetKeyOf(reset.target);
  put({"reset", "request", reset.who, key}, jsonOf(reset, genTime));
  situation_.requested(reset.target, {{"reset", "status", reset.who, key}, genTime});
}

void Stage::withdraw(Step::Withdraw const& withdraw) {
  TreePath const file{"reset", "request", withdraw.who, resetKeyOf(withdraw.target)};
  require(tree_.remove(file), file.valueText());
}

void Stage::feature(Step::Feature const& feature) {
  TreePath const file{"features", feature.name};
  if (!feature.enabled) return require(tree_.remove(file), file.valueText());
  put(file, json{{"enabled", *feature.enabled}}.dump() + '\n');
}

void Stage::behave(AgentName const& agent, AgentBehaviour const& behaviour) {
  require(control_.put({agent.kind, agent.name}, jsonOf(behaviour)), agent.text());
}

void Stage::behaveAsDescribed(AgentName const& agent) {
  auto const* slice = device_.slice(agent.name);
  auto const* chip = device_.chip(agent.name);
  if (agent.kind == "slice" && slice != nullptr) behave(agent, slice->agent);
  if (agent.kind == "chip" && chip != nullptr) behave(agent, chip->agent);
}

void Stage::report(Step::Report const& report) {
  using Generation = Step::Report::Generation;
  json const& config = situation_.config(report.chip);
  if (!config.is_object()) throw std::runtime_error("chip " + report.chip + " is not configured");
  json genTime = config.value("genTime", json());
  if (report.generation == Generation::older) genTime = genTime.get<double>() - 10;
  if (report.generation == Generation::newer) genTime = genTime.get<double>() + 1000;
  json interfaces = json::object();
  for (auto const& [port, name] : device_.chip(report.chip)->ports) interfaces[name] = port;
  put({"status", situation_.sliceOfConfig(report.chip), report.chip},
      json{{"genTime", genTime}, {"intfToPortId", interfaces}}.dump() + '\n');
}

void Stage::kill(Step::Kill const& kill) {
  bool const deadly = kill.signal != SIGSTOP && kill.signal != SIGCONT;
  if (auto const* name = std::get_if<std::string>(&kill.victim)) {
    if (deadly) program(*name).expectEnd();
    return program(*name).signal(kill.signal);
  }
  auto const& agent = std::get<AgentName>(kill.victim);
  json const process = situation_.process(agent);
  if (process.is_null()) throw std::runtime_error("agent " + agent.text() + " does not run");
  if (::kill(process[0].get<pid_t>(), kill.signal) < 0) {
    throw std::system_error(errno, std::generic_category(), "agent " + agent.text());
  }
}

std::string Stage::withFolders(std::string text) const {
  std::pair<std::string_view, std::string> const folders[]{
      {"{tree}", tree_.root()},
      {"{state}", setting_.folder},
      {"{programs}", fs::path(setting_.agent).parent_path().string()}};
  for (auto const& [word, folder] : folders) text = replaced(std::move(text), word, folder);
  return text;
}

void Stage::run(Step::Run const& run) {
  Program::Command command;
  for (std::string const& argument : run.argv) command.argv.push_back(withFolders(argument));
  command.logFile = outputFile();
  fs::remove(command.logFile);
  other_ = std::make_unique<Program>(loop_, run.argv[0], command, listener_.programChanged);
  other_->start();
}

void Stage::checkRun(Step::Run const& run) const {
  std::ifstream stream(outputFile());
  std::string const output{std::istreambuf_iterator<char>(stream), {}};
  bool const asWanted = other_->end() == "exited with status " + std::to_string(run.exits);
  bool const said = output.find(run.says) != std::string::npos;
  if (!asWanted || !said) {
    throw std::runtime_error(run.argv[0] + ' ' + other_->end() + " and said: " + output);
  }
}

void Stage::write(Step::Write const& write) {
  using What = Step::Write::What;
  fs::path const place = placeOf(write.file);
  fs::create_directories(place.parent_path());
  bool const isDirectory = fs::is_directory(fs::symlink_status(place));
  if (write.what == What::directory) {
    if (!isDirectory) fs::remove(place);
    fs::create_directory(place);
    return;
  }
  if (isDirectory) fs::remove_all(place);
  fs::path const temporary = place.parent_path() / ".scenario";
  for (unsigned i = 0; i < write.times; ++i) {
    if (write.what == What::link)
      fs::create_symlink(write.text, temporary);
    else
      writeFile(temporary, write.text);
    fs::rename(temporary, place);
  }
}

void Stage::remove(TreeFile const& file) { fs::remove_all(placeOf(file)); }

void Stage::tree(Step::Tree::Move move) {
  using Move = Step::Tree::Move;
  std::string const away = tree_.root() + ".away";
  switch (move) {
    case Move::away:
      return fs::rename(tree_.root(), away);
    case Move::back:
      return fs::rename(away, tree_.root());
    case Move::remove:  // moved first: those who write there do not get in its way
      fs::rename(tree_.root(), away);
      return static_cast<void>(fs::remove_all(away));
    case Move::make:
      return require(tree_.makeRoot(), tree_.root());
  }
}

void Stage::removeLauncherEntries() {
  for (auto const* kind : {"slice", "chip", "feature"}) {
    for (auto const& member : tree_.list({"launcher", kind}).members) {
      require(tree_.remove({"launcher", kind, member.name}), "launcher entries");
    }
  }
}

std::vector<pid_t> Stage::orphans() const {
  std::vector<pid_t> children;
  std::ifstream list("/proc/self/task/" + std::to_string(::getpid()) + "/children");
  for (pid_t pid = 0; list >> pid;) {
    bool const isOther = other_ && other_->pid() == pid && runs();
    bool const ours =
        isOther || std::ranges::any_of(programs_, [&](auto const& each) {
          return each.second->pid() == pid && each.second->state() != Program::State::ended;
        });
    if (!ours) children.push_back(pid);
  }
  return children;
}

void Stage::reapOrphans() {
  for (pid_t const pid : orphans()) ::waitpid(pid, nullptr, WNOHANG);
}

void Stage::killOrphans() {
  // What is killed may leave children of its own to us.
  for (auto left = orphans(); !left.empty(); left = orphans()) {
    for (pid_t const pid : left) ::kill(pid, SIGKILL);
    for (pid_t const pid : left) ::waitpid(pid, nullptr, 0);
  }
}

void Stage::put(TreePath const& file, std::string const& text) {
  require(tree_.put(file, text), file.valueText());
}

double Stage::now() {
  std::chrono::duration<double> const time = std::chrono::system_clock::now().time_since_epoch();
  latest_ = std::max(time.count(), std::nextafter(latest_, INFINITY));
  return latest_;
}

}  // namespace Oru::Sim
