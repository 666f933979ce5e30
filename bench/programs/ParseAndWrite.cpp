// The floor of oru-agent's boot: parses the files that it reads, writes the files that it writes,
// each in the form and number in which they stand in the tree. Prints the processor time of that in
// nanoseconds.
//
//   oru-bench-parse-write OUTPUT-DIRECTORY < LIST     lines: "read PATH" or "write PATH"
//
// What is written is loaded before the clock starts.

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace {

using Json = nlohmann::json;

long long processorTime() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return now.tv_sec * 1000000000LL + now.tv_nsec;
}

Json jsonOf(std::string const& path) {
  static std::string buffer(65536, '\0');
  int const file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  ssize_t const size = file < 0 ? -1 : read(file, buffer.data(), buffer.size());
  if (size < 0) throw std::runtime_error(path + " cannot be read");
  close(file);
  return Json::parse(buffer.data(), buffer.data() + size);
}

void write(std::string const& path, std::string const& text) {
  std::string const other = path + ".new";
  int const file = open(other.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0640);
  if (file < 0 || ::write(file, text.data(), text.size()) < 0 || close(file) < 0 ||
      std::rename(other.c_str(), path.c_str()) != 0)
    throw std::runtime_error(path + " cannot be written");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  std::vector<std::string> inputs;
  std::vector<Json> outputs;
  for (std::string kind, path; std::cin >> kind >> path;) {
    if (kind == "read") {
      inputs.push_back(path);
    } else {
      outputs.push_back(jsonOf(path));
    }
  }
  long long const before = processorTime();
  std::size_t fields = 0;
  for (std::string const& path : inputs) fields += jsonOf(path).size();
  for (std::size_t i = 0; i < outputs.size(); ++i)
    write(argv[1] + ("/" + std::to_string(i)), outputs[i].dump());
  long long const spent = processorTime() - before;
  std::cout << spent << "\n";
  return fields == 0;
}
