#pragma once

#include "mount/Backend.h"
#include "mount/EventLoop.h"
#include "mount/ProblemList.h"
#include "mount/TreeWriter.h"
#include "mount/WriteQueue.h"

namespace Oru::Mount {

// What the mounts of one tree share. Everything outlives them.
struct MountContext {
  EventLoop& loop;
  Backend& backend;
  ProblemList& problems;
  WriteQueue& queue;
  TreeWriter& writer;
};

}  // namespace Oru::Mount
