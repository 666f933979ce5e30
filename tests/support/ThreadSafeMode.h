#pragma once

#include "runtime/vunda/ThreadControl.h"

namespace OruTest {

// Thread-safe mode while it lives.
class ThreadSafeMode {
 public:
  explicit ThreadSafeMode(bool on = true) : before_(Vunda::ThreadControl::tsp_) {
    Vunda::ThreadControl::tsp_ = on ? 1 : 0;
  }
  ThreadSafeMode(ThreadSafeMode const&) = delete;
  ThreadSafeMode& operator=(ThreadSafeMode const&) = delete;
  ~ThreadSafeMode() { Vunda::ThreadControl::tsp_ = before_; }

 private:
  unsigned char before_;
};

}  // namespace OruTest
