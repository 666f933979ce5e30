#include "sim/Program.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <system_error>

namespace Oru::Sim {

namespace {

void require(int error, std::string const& what) {
  if (error != 0) throw std::system_error(error, std::generic_category(), what);
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

// Its own process group, no blocked signals, outputs to the log.
class SpawnSettings {
 public:
  explicit SpawnSettings(std::string const& logFile) {
    require(posix_spawnattr_init(&attributes_), "posix_spawnattr_init");
    require(posix_spawn_file_actions_init(&files_), "posix_spawn_file_actions_init");
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setpgroup(&attributes_, 0);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
    posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files_, STDOUT_FILENO, logFile.c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0640);
    posix_spawn_file_actions_adddup2(&files_, STDOUT_FILENO, STDERR_FILENO);
  }
  SpawnSettings(SpawnSettings const&) = delete;
  SpawnSettings& operator=(SpawnSettings const&) = delete;
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&files_);
    posix_spawnattr_destroy(&attributes_);
  }

  posix_spawnattr_t const* attributes() const { return &attributes_; }
  posix_spawn_file_actions_t const* files() const { return &files_; }

 private:
  posix_spawnattr_t attributes_{};
  posix_spawn_file_actions_t files_{};
};

}  // namespace

Program::Program(Mount::EventLoop& loop, std::string name, Command command,
                 std::function<void()> onChange)
    : loop_(loop),
      name_(std::move(name)),
      command_(std::move(command)),
      onChange_(std::move(onChange)) {}

void Program::start() {
  std::vector<std::string> argv = command_.argv;
  std::vector<std::string> environment = command_.environment;
  for (char** variable = environ; *variable != nullptr; ++variable)
    environment.push_back(*variable);
  SpawnSettings const settings(command_.logFile);
  require(posix_spawnp(&pid_, argv[0].c_str(), settings.files(), settings.attributes(),
                       pointersTo(argv).data(), pointersTo(environment).data()),
          argv[0]);
  pidfd_ = Mount::UniqueFd(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
  if (!pidfd_) require(errno, "pidfd_open");
  state_ = State::starting;
  status_.clear();
  end_.clear();
  endExpected_ = false;
  child_ = loop_.child(pidfd_.get(), [this](siginfo_t const& info) { ended(info); });
}

void Program::signal(int number) {
  if (state_ != State::ended) ::syscall(SYS_pidfd_send_signal, pidfd_.get(), number, nullptr, 0);
}

std::uint64_t Program::sleeps() const {
  std::ifstream status("/proc/" + std::to_string(pid_) + "/status");
  std::uint64_t count = 0;
  for (std::string word; status >> word;) {
    if (word == "voluntary_ctxt_switches:") status >> count;
  }
  return count;
}

void Program::told(std::string_view message) {
  constexpr std::string_view statusWord = "STATUS=";
  for (;;) {
    auto const newline = message.find('\n');
    auto const line = message.substr(0, newline);
    if (line == "READY=1" && state_ == State::starting) state_ = State::running;
    if (line.starts_with(statusWord)) status_ = line.substr(statusWord.size());
    if (newline == std::string_view::npos) break;
    message.remove_prefix(newline + 1);
  }
  onChange_();
}

void Program::ended(siginfo_t const& info) {
  state_ = State::ended;
  end_ = textOfEnd(info);
  child_.reset();
  onChange_();
}

std::string textOfEnd(siginfo_t const& info) {
  if (info.si_code == CLD_EXITED) return "exited with status " + std::to_string(info.si_status);
  return "killed by signal " + std::to_string(info.si_status) + " (" + strsignal(info.si_status) +
         ')';
}

}  // namespace Oru::Sim
