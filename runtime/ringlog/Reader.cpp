#include "runtime/ringlog/Reader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "runtime/ringlog/FileView.h"
#include "runtime/ringlog/RingView.h"

namespace Ringlog {

ReadError::ReadError(std::string const& file, std::uint64_t offset, std::string const& reason)
    : std::runtime_error("trace file \"" + file + "\", offset " + std::to_string(offset) + ": " +
                         reason),
      offset_(offset) {}

namespace {

// A file descriptor that is closed at the end, or somebody else's.
class OpenFile {
 public:
  OpenFile(int fd, bool own) noexcept : fd_(fd), own_(own) {}
  explicit OpenFile(std::string const& path)
      : OpenFile(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK), true) {
    if (fd_ < 0) throw ReadError(path, 0, std::string("cannot open: ") + std::strerror(errno));
  }
  ~OpenFile() {
    if (own_ && fd_ >= 0) close(fd_);
  }
  OpenFile(OpenFile const&) = delete;
  OpenFile& operator=(OpenFile const&) = delete;

  int fd() const noexcept { return fd_; }

 private:
  int fd_;
  bool own_;
};

}  // namespace

class Reader::Impl {
 public:
  explicit Impl(std::string path) : open_(path), file_(open_.fd(), std::move(path)) { start(); }
  Impl(int fd, std::string name) : open_(fd, false), file_(fd, std::move(name)) { start(); }

  bool next(Record& record) {
    if (next_ == order_.size()) return false;
    auto const& [ring, found] = order_[next_++];
    rings_[ring].decode(found, record);
    record.level = ring + 1;
    record.wallNanoseconds = file_.wallNanoseconds(found.ticks);
    return true;
  }

  void refresh() {
    if (next_ < order_.size()) return;
    next_ = 0;
    order_.clear();
    damage_.clear();
    for (RingView& ring : rings_) ring.copy();
    file_.refresh();
    for (unsigned ring = 0; ring < rings_.size(); ++ring) {
      for (auto const& found : rings_[ring].look(damage_)) order_.push_back({ring, found});
    }
    std::stable_sort(order_.begin(), order_.end(),
                     [](Entry const& a, Entry const& b) { return a.found.ticks < b.found.ticks; });
  }

  std::vector<Damage> const& damage() const noexcept { return damage_; }

  std::uint64_t bytesMissed() const noexcept {
    std::uint64_t bytes = 0;
    for (RingView const& ring : rings_) bytes += ring.bytesMissed();
    return bytes;
  }

  Layout::FileHeader const& header() const noexcept { return file_.header(); }

 private:
  struct Entry {
    unsigned ring;
    RingView::Found found;
  };

  void start() {
    for (unsigned ring = 0; ring < file_.header().ringCount; ++ring) {
      rings_.emplace_back(file_, ring);
    }
    refresh();
  }

  OpenFile open_;
  FileView file_;
  std::vector<RingView> rings_;
  std::vector<Entry> order_;
  std::size_t next_ = 0;
  std::vector<Damage> damage_;
};

Reader::Reader(std::string path) : impl_(std::make_unique<Impl>(std::move(path))) {}

Reader::Reader(int file, std::string name) : impl_(std::make_unique<Impl>(file, std::move(name))) {}

Reader::~Reader() = default;

bool Reader::next(Record& record) { return impl_->next(record); }

void Reader::refresh() { impl_->refresh(); }

std::vector<Damage> const& Reader::damage() const noexcept { return impl_->damage(); }

std::uint64_t Reader::bytesMissed() const noexcept { return impl_->bytesMissed(); }

std::uint64_t Reader::recordsDropped() const noexcept { return impl_->header().recordsDropped; }

std::uint32_t Reader::processId() const noexcept { return impl_->header().processId; }

}  // namespace Ringlog
