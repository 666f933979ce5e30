#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include "runtime/ringlog/TraceFile.h"
#include "runtime/vunda/Export.h"

namespace Ringlog {

// What the call sites of a process write through: owns the trace file that is the default one.
class Handle {
 public:
  explicit Handle(std::unique_ptr<TraceFile> file) noexcept : file_(std::move(file)) {}
  TraceFile& file() const noexcept { return *file_; }

 private:
  std::unique_ptr<TraceFile> file_;
};

// The process's default handle; null while there is none, and in a forked child. Set by
// defaultRinglogHandleIs().
ORU_EXPORT extern constinit std::atomic<Handle*> defaultRinglogHandle;

// The default handle's trace file, or null.
ORU_EXPORT TraceFile* defaultRinglogFile() noexcept;

// Makes all call sites write to another trace file from now on (null: to none) and returns the
// handle that was there before; each site registers its message in the new file when it next
// writes. A failed assertion flushes the file. No other thread may be tracing meanwhile. A process
// that ends with a handle set needs no clean-up.
ORU_EXPORT std::unique_ptr<Handle> defaultRinglogHandleIs(std::unique_ptr<Handle> handle);

}  // namespace Ringlog
