#include "bench/Tracing.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "bench/TraceHandle.h"
#include "runtime/ringlog/Handle.h"

namespace Bench {

namespace {

class CountingSink : public Kesh::TraceSink {
 public:
  void write(Kesh::TraceLine const& line) noexcept override { bytes_ += line.text.size(); }

 private:
  std::size_t bytes_ = 0;
};

// In memory, where a trace lies in production and no record waits for a disk; on a system that has
// no such folder, where temporary files go.
std::string newFolder() {
  for (std::filesystem::path const& parent :
       {std::filesystem::path("/dev/shm"), std::filesystem::temp_directory_path()}) {
    std::string folder = parent / "oru-bench-XXXXXX";
    if (mkdtemp(folder.data()) != nullptr) return folder;
  }
  std::abort();
}

// Its name is removed at once: the file goes with the process.
std::unique_ptr<Ringlog::Handle> traceFile() {
  std::string const folder = newFolder();
  auto file = std::make_unique<Ringlog::TraceFile>(folder + "/trace");
  std::filesystem::remove_all(folder);
  return std::make_unique<Ringlog::Handle>(std::move(file));
}

}  // namespace

void tracingIs(Tracing wanted) {
  static Tracing present = Tracing::off;
  static std::unique_ptr<Ringlog::Handle> unused = traceFile();
  static CountingSink sink;
  if (wanted == present) return;
  bool const hasRing = present != Tracing::off;
  bool const wantsRing = wanted != Tracing::off;
  if (hasRing != wantsRing)
    unused = Ringlog::defaultRinglogHandleIs(wantsRing ? std::move(unused) : nullptr);
  _defaultTraceHandle().sinkIs(&sink);
  _defaultTraceHandle().levelsAre(wanted == Tracing::text ? 1U << 5 : 0U);
  present = wanted;
}

}  // namespace Bench
