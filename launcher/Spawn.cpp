#include "launcher/Spawn.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <system_error>
#include <vector>

#include "mount/UniqueFd.h"

namespace Oru::Launcher {

namespace {

using Mount::UniqueFd;

std::string errorText(int error) { return std::generic_category().message(error); }

void require(int error, char const* what) {
  if (error != 0) throw StartError(std::string(what) + ": " + errorText(error));
}

UniqueFd openDirectory(std::string const& path) {
  UniqueFd directory(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!directory) throw StartError("working directory " + path + ": " + errorText(errno));
  return directory;
}

// Empty when the file that was opened, or was not, is fit to be one.
std::string faultOfLog(UniqueFd const& log) {
  // A pipe that nobody reads, or a socket.
  if (!log) return errno == ENXIO ? "is no regular file" : errorText(errno);
  struct stat status {};
  if (::fstat(log.get(), &status) < 0) return errorText(errno);
  return S_ISREG(status.st_mode) ? std::string() : "is no regular file";
}

UniqueFd openLog(std::string const& path) {
  // Not to wait for the reader of a pipe; for a regular file it means nothing.
  constexpr int flags = O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  UniqueFd log(::open(path.c_str(), flags, 0640));
  if (std::string const fault = faultOfLog(log); !fault.empty()) {
    throw StartError("log file " + path + ": " + fault);
  }
  return log;
}

// What happens in the child between its birth and its program.
class FileActions {
 public:
  FileActions() { require(posix_spawn_file_actions_init(&actions_), "file actions"); }
  FileActions(FileActions const&) = delete;
  FileActions& operator=(FileActions const&) = delete;
  ~FileActions() { posix_spawn_file_actions_destroy(&actions_); }

  void input(char const* path) {
    require(posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, path, O_RDONLY, 0), path);
  }
  void outputs(UniqueFd const& fd) {
    for (int const standard : {STDOUT_FILENO, STDERR_FILENO}) {
      require(posix_spawn_file_actions_adddup2(&actions_, fd.get(), standard), "outputs");
    }
  }
  void workingDirectory(UniqueFd const& fd) {
    require(posix_spawn_file_actions_addfchdir_np(&actions_, fd.get()), "working directory");
  }
  void closeOthers() {
    require(posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1), "descriptors");
  }
  posix_spawn_file_actions_t const* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

// A process group of its own, no signal blocked or ignored.
class Attributes {
 public:
  Attributes() {
    require(posix_spawnattr_init(&attributes_), "attributes");
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setpgroup(&attributes_, 0);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setflags(
        &attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  Attributes(Attributes const&) = delete;
  Attributes& operator=(Attributes const&) = delete;
  ~Attributes() { posix_spawnattr_destroy(&attributes_); }

  posix_spawnattr_t const* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_{};
};

bool isForTheLauncherOnly(std::string_view variable) {
  static constexpr std::array<std::string_view, 6> names{"NOTIFY_SOCKET", "WATCHDOG_PID",
                                                         "WATCHDOG_USEC", "LISTEN_PID",
                                                         "LISTEN_FDS",    "LISTEN_FDNAMES"};
  for (std::string_view const name : names) {
    if (variable == name) return true;
  }
  return false;
}

// This process's environment, without what is meant for it alone.
std::map<std::string, std::string> ownEnvironment() {
  std::map<std::string, std::string> variables;
  for (char** at = environ; *at != nullptr; ++at) {
    std::string_view const text = *at;
    std::size_t const equals = text.find('=');
    if (equals == std::string_view::npos || isForTheLauncherOnly(text.substr(0, equals))) continue;
    variables.emplace(text.substr(0, equals), text.substr(equals + 1));
  }
  return variables;
}

// Texts as the system wants them: pointers, then null. The texts must outlive the result.
std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  result.reserve(texts.size() + 1);
  for (std::string& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

std::vector<std::string> environmentTexts(Command const& command,
                                          std::map<std::string, std::string> const& marks) {
  auto variables = ownEnvironment();
  for (auto const& [name, value] : command.environment) variables[name] = value;
  for (auto const& [name, value] : marks) variables[name] = value;

  std::vector<std::string> texts;
  texts.reserve(variables.size());
  for (auto const& [name, value] : variables) texts.push_back(name + '=' + value);
  return texts;
}

std::string reasonText(std::string const& program, int error) {
  std::string text = program + ": " + errorText(error);
  if (error != ENOENT) return text;
  return text + (program.find('/') == std::string::npos ? " in PATH"
                                                        : " (the program, or its interpreter)");
}

}  // namespace

pid_t spawn(Command const& command, std::map<std::string, std::string> const& marks) {
  FileActions actions;
  UniqueFd log;
  UniqueFd directory;
  actions.input("/dev/null");
  if (!command.logFile.empty()) {
    log = openLog(command.logFile);
    actions.outputs(log);
  }
  if (!command.workingDirectory.empty()) {
    directory = openDirectory(command.workingDirectory);
    actions.workingDirectory(directory);
  }
  actions.closeOthers();

  std::vector<std::string> arguments = command.argv;
  std::vector<std::string> environment = environmentTexts(command, marks);
  Attributes const attributes;
  pid_t pid = 0;
  int const error = posix_spawnp(&pid, arguments.front().c_str(), actions.get(), attributes.get(),
                                 pointers(arguments).data(), pointers(environment).data());
  if (error != 0) throw StartError(reasonText(arguments.front(), error));
  return pid;
}

}  // namespace Oru::Launcher
