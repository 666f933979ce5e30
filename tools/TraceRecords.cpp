#include "tools/TraceRecords.h"

#include <sys/stat.h>

#include <utility>

#include "tools/Failure.h"

namespace Oru::Tools {

TraceRecords::TraceRecords(std::string path, std::uint32_t levels)
    : path_(std::move(path)), levels_(levels), open_(identity()) {
  try {
    reader_ = std::make_unique<Ringlog::Reader>(path_);
  } catch (Ringlog::ReadError const& error) {
    throw Failure(exitTree, error.what());
  }
}

void TraceRecords::handOut(Each const& each) {
  drain(each);
  auto const present = identity();
  if (present == open_ || present == Identity()) return;
  try {
    auto next = std::make_unique<Ringlog::Reader>(path_);
    drain(each);  // the last words of the one before
    reader_ = std::move(next);
    open_ = present;
  } catch (Ringlog::ReadError const&) {
    return;  // it is still being made
  }
  drain(each);
}

void TraceRecords::drain(Each const& each) {
  try {
    reader_->refresh();
    Ringlog::Record record;
    while (reader_->next(record))
      if ((levels_ >> record.level & 1U) != 0) each(record);
  } catch (Ringlog::ReadError const& error) {
    throw Failure(exitTree, error.what());
  }
}

std::string TraceRecords::gaps() const {
  std::string text;
  auto const add = [&](std::uint64_t count, char const* what) {
    if (count > 0) text += (text.empty() ? "" : "; ") + std::to_string(count) + what;
  };
  add(reader_->damage().size(), " damaged places");
  add(reader_->bytesMissed(), " bytes were overwritten before they were read");
  add(reader_->recordsDropped(), " records had no room for their description");
  return text;
}

TraceRecords::Identity TraceRecords::identity() const {
  struct ::stat status {};
  if (::stat(path_.c_str(), &status) != 0) return {};
  return {status.st_dev, status.st_ino};
}

}  // namespace Oru::Tools
