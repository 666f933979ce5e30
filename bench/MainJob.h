#pragma once

#include <memory>
#include <string>

// The main job of the library, on a device of some size, done by different hands: the library
// itself, floors (the least code that does the same writes) and a peer (the same logic as one would
// write it with common libraries).
//
// A slice is inserted; its chips are started; their agents report the configured generation, and
// the chips are published with their interfaces; a reset of everything withdraws all chips, and
// they are published again; the slice is pulled.
namespace Bench {

struct DeviceSize {
  int slices;
  int chips;  // of a slice
  int ports;  // of a chip

  std::string name() const {
    return std::to_string(slices) + "x" + std::to_string(chips) + "x" + std::to_string(ports);
  }
};

inline constexpr DeviceSize devices[] = {{4, 4, 32}, {16, 4, 64}, {8, 8, 512}};

class MainJob {
 public:
  virtual ~MainJob() = default;

  // Each only after the one before, for every slice; resetEverything() any number of times while all are
  // published.
  virtual void insertSlice(int slice) = 0;
  virtual void publishSlice(int slice) = 0;
  // Withdraws all chips of the device, as a reset of everything does.
  virtual void resetEverything() = 0;
  virtual void removeSlice(int slice) = 0;
  // Brings the interfaces, chips and slices that are visible to the outside into one number, to
  // compare with others.
  virtual std::size_t published() const = 0;
};

inline std::string sliceName(int slice) { return "Slice" + std::to_string(slice + 1); }
inline std::string chipName(int slice, int chip) {
  return "Chip" + std::to_string(slice + 1) + "/" + std::to_string(chip + 1);
}
inline std::string intfName(int slice, int chip, int port) {
  return "Ethernet" + std::to_string(slice + 1) + "/" + std::to_string(chip + 1) + "/" +
         std::to_string(port + 1);
}

std::unique_ptr<MainJob> libraryJob(DeviceSize size);
// Plain structs and flat hash maps keyed by names.
std::unique_ptr<MainJob> floorA(DeviceSize size);
// The same, with interface and slice names interned before: maps keyed by ids.
std::unique_ptr<MainJob> floorB(DeviceSize size);
// Ids, sorted vectors and arrays.
std::unique_ptr<MainJob> floorC(DeviceSize size);
// Shared pointers, standard maps keyed by strings, a signal per attribute, a logger that is off.
std::unique_ptr<MainJob> commodityJob(DeviceSize size);

}  // namespace Bench
