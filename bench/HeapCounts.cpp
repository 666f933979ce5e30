// What a device with all chips published keeps on the heap, per port and per chip, the allocator's
// own words included. A port's share is what a device with ports has beyond one without.

#include <malloc.h>

#include <memory>
#include <string>

#include "bench/Case.h"
#include "bench/MainJob.h"
#include "bench/Tracing.h"

namespace Bench {

namespace {

double heapInUse() {
  auto const now = mallinfo2();
  return static_cast<double>(now.uordblks + now.hblkhd);
}

std::unique_ptr<MainJob> running(DeviceSize size, std::unique_ptr<MainJob> (*make)(DeviceSize)) {
  std::unique_ptr<MainJob> job = make(size);
  for (int slice = 0; slice < size.slices; ++slice) job->insertSlice(slice);
  for (int slice = 0; slice < size.slices; ++slice) job->publishSlice(slice);
  return job;
}

// Between two devices, in this order: what is kept for the whole process (names, messages of the
// trace) is counted with the device that first has it.
double heapBetween(DeviceSize small, DeviceSize big, std::unique_ptr<MainJob> (*make)(DeviceSize)) {
  tracingIs(Tracing::ring);
  double const before = heapInUse();
  auto const first = running(small, make);
  double const between = heapInUse();
  auto const second = running(big, make);
  return (heapInUse() - between) - (between - before);
}

struct RegisterHeap {
  RegisterHeap() {
    for (DeviceSize const size : devices) {
      for (auto const& [who, make] :
           {std::pair{"ours", &libraryJob}, {"floorA", &floorA}, {"commodity", &commodityJob}}) {
        add(size, who, make);
      }
    }
  }

  static void add(DeviceSize size, std::string const& who,
                  std::unique_ptr<MainJob> (*make)(DeviceSize)) {
    int const chips = size.slices * size.chips;
    RegisterCount("heap.port/" + size.name() + "/" + who, [=] {
      DeviceSize const bare{size.slices, size.chips, 0};
      return heapBetween(bare, size, make) / (chips * size.ports);
    });
    RegisterCount("heap.chip/" + size.name() + "/" + who, [=] {
      DeviceSize const bare{size.slices, 0, 0};
      return heapBetween(bare, {size.slices, size.chips, 0}, make) / chips;
    });
  }
} const registerHeap;

}  // namespace

}  // namespace Bench
