#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "bench/MainJob.h"
#include "central/OruCentralSm.h"

namespace Bench {

// A device that the library supervises, in its own entities: what stands around the root, and the
// boards that are inserted. The caller is the platform and the agents.
class LibraryDevice {
 public:
  // A slice's hardware, and what its agents report of it.
  struct Board {
    Vunda::Ptr<Oru::Central::SliceHwConfig> hwConfig;
    Vunda::Ptr<Kesh::Dir> statusDir;
    std::vector<Vunda::Ptr<Oru::Central::ChipStatus>> chips;
  };
  // The device id of a board's chip.
  using DeviceIds = std::function<int(int chip)>;

  LibraryDevice();

  static Board makeBoard(int slice, int chips, int ports, DeviceIds const& deviceId);
  // The platform announces the board, and its agents make their status entries.
  void insert(Board const& board);
  void remove(Board const& board);

  // What the system asks of a chip of a board that is inserted.
  Vunda::Ptr<Oru::Central::ChipConfig> configOf(Board const& board, std::size_t chip);
  // One more request of the only requester.
  Vunda::Ptr<Oru::Central::ResetEntry> request(Oru::Central::ResetKey const& key);

  Oru::Central::SystemStatus const& system() const { return *system_; }

 private:
  static Vunda::Ptr<Kesh::Dir> dir();

  Vunda::Ptr<Kesh::Dir> const hwConfig_ = dir(), config_ = dir(), status_ = dir();
  Vunda::Ptr<Kesh::Dir> const requests_ = dir();
  Vunda::Ptr<Oru::Central::SystemStatus> const system_;
  Vunda::Ptr<Oru::Central::ResetRequestDir> const requester_;
  Vunda::Ptr<Oru::Central::CentralSm> root_;
};

}  // namespace Bench
