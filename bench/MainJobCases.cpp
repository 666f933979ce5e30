// The main job, event by event; each figure is per chip.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>

#include "bench/Case.h"
#include "bench/MainJob.h"
#include "bench/Tracing.h"

namespace Bench {

namespace {

using Make = std::unique_ptr<MainJob> (*)(DeviceSize);

void eachSlice(DeviceSize size, MainJob& job, void (MainJob::*event)(int)) {
  for (int slice = 0; slice < size.slices; ++slice) (job.*event)(slice);
}

// Does the whole life of the device again and again; `metered` says in which of its events the
// meter runs.
enum class Event { insertion, publication, withdrawal, reset, removal };

class Life {
 public:
  Life(DeviceSize size, Make make, Event event) : size_(size), event_(event), job_(make(size)) {}

  void run(Meter& meter, std::uint64_t chips) {
    tracingIs(Tracing::ring);
    std::uint64_t const perLife =
        static_cast<std::uint64_t>(size_.slices) * static_cast<std::uint64_t>(size_.chips);
    for (std::uint64_t done = 0; done < chips; done += perLife) {
      step(meter, Event::insertion, [this] { eachSlice(size_, *job_, &MainJob::insertSlice); });
      step(meter, Event::publication, [this] { eachSlice(size_, *job_, &MainJob::publishSlice); });
      expectPublished(perLife);
      step(meter, Event::withdrawal, [this] { job_->resetEverything(); });
      expectPublished(0);
      eachSlice(size_, *job_, &MainJob::publishSlice);
      step(meter, Event::reset, [this] {
        job_->resetEverything();
        eachSlice(size_, *job_, &MainJob::publishSlice);
      });
      step(meter, Event::removal, [this] { eachSlice(size_, *job_, &MainJob::removeSlice); });
    }
  }

 private:
  template <class Action>
  void step(Meter& meter, Event event, Action action) {
    if (event == event_) meter.start();
    action();
    if (event == event_) meter.stop();
  }

  // Every chip stands in two places, its ports in one: whoever did less is not to be compared with.
  void expectPublished(std::uint64_t chips) const {
    if (job_->published() == chips * static_cast<std::uint64_t>(2 + size_.ports)) return;
    std::fprintf(stderr, "oru-bench: the job did not do its work\n");
    std::abort();
  }

  DeviceSize const size_;
  Event const event_;
  std::shared_ptr<MainJob> job_;
};

// Lives in one repetition of the time mode: about as many ports for every device, a second or two
// at most for the slowest.
std::int64_t lives(DeviceSize size) {
  int const ports = size.slices * size.chips * size.ports;
  return std::max(9, 150'000 / ports);
}

struct RegisterJobs {
  RegisterJobs() {
    for (DeviceSize const size : devices) {
      for (auto [name, event] : {std::pair{"insertion", Event::insertion},
                                 {"publication", Event::publication},
                                 {"withdrawal", Event::withdrawal},
                                 {"reset", Event::reset},
                                 {"removal", Event::removal}}) {
        add(size, name, event);
      }
    }
  }

  static void add(DeviceSize size, std::string const& what, Event event) {
    for (auto [who, make] : {std::pair{"ours", &libraryJob},
                             {"floorA", &floorA},
                             {"floorB", &floorB},
                             {"floorC", &floorC},
                             {"commodity", &commodityJob}}) {
      Register(
          "job." + what + "/" + size.name() + "/" + who,
          static_cast<std::uint64_t>(size.slices * size.chips),
          [size, event, make = make]() -> Body {
            Life life(size, make, event);
            return [life](Meter& meter, std::uint64_t chips) mutable { life.run(meter, chips); };
          },
          lives(size));
    }
  }
} const registerJobs;

}  // namespace

}  // namespace Bench
