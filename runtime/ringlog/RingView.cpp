#include "runtime/ringlog/RingView.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "runtime/ringlog/MessageText.h"

namespace Ringlog {

namespace {

constexpr std::uint64_t positionMask = (std::uint64_t{1} << Layout::idShift) - 1;

// Reads a record's arguments one after the other.
class Arguments {
 public:
  Arguments(std::byte const* at, std::byte const* end) noexcept : at_(at), end_(end) {}

  // False when they run over the record's end or the code is unknown.
  bool skip(char code) noexcept {
    switch (static_cast<TypeCode>(code)) {
      case TypeCode::Double:
      case TypeCode::Unsigned:
      case TypeCode::Signed:
        return advance(sizeof(std::uint64_t));
      case TypeCode::Bool:
        return advance(sizeof(bool));
      case TypeCode::String:
        return left() >= sizeof(std::uint16_t) && advance(sizeof(std::uint16_t) + stringBytes());
    }
    return false;
  }

  // For codes that skip() accepts.
  Argument take(char code) {
    switch (static_cast<TypeCode>(code)) {
      case TypeCode::Double:
        return take<double>();
      case TypeCode::Unsigned:
        return take<std::uint64_t>();
      case TypeCode::Signed:
        return take<std::int64_t>();
      case TypeCode::Bool:
        return take<std::uint8_t>() != 0;
      case TypeCode::String:
        break;
    }
    std::size_t const bytes = take<std::uint16_t>();
    auto const* const text = reinterpret_cast<char const*>(at_);
    at_ += bytes;
    return std::string(text, bytes);
  }

  std::byte const* at() const noexcept { return at_; }

 private:
  std::size_t left() const noexcept { return static_cast<std::size_t>(end_ - at_); }

  std::size_t stringBytes() const noexcept {
    std::uint16_t bytes;
    std::memcpy(&bytes, at_, sizeof bytes);
    return bytes;
  }

  bool advance(std::size_t bytes) noexcept {
    if (bytes > left()) return false;
    at_ += bytes;
    return true;
  }

  template <typename T>
  T take() noexcept {
    T value;
    std::memcpy(&value, at_, sizeof value);
    at_ += sizeof value;
    return value;
  }

  std::byte const* at_;
  std::byte const* end_;
};

}  // namespace

RingView::RingView(FileView const& file, unsigned index) noexcept
    : file_(file),
      control_(file.sections().rings + index * file.sections().ringStride),
      data_(control_ + Layout::pageBytes),
      ringBytes_(file.header().ringBytes) {}

std::uint64_t RingView::oldest(std::uint64_t position) const noexcept {
  return position > ringBytes_ ? position - ringBytes_ : 0;
}

std::byte const* RingView::bytesAt(std::uint64_t position) const noexcept {
  return copy_.data() + (position - copiedFrom_);
}

void RingView::copy() {
  // A position that is read while it is written may come out as neither the old nor the new one.
  constexpr int tries = 3;
  impossible_ = true;
  for (int i = 0; impossible_ && i < tries; ++i) impossible_ = !tryToCopy();
}

bool RingView::tryToCopy() {
  auto const control = file_.read<Layout::RingControl>(control_);
  position_ = control.position;
  if (control.mask != ringBytes_ - 1 || position_ % Layout::recordAlignment != 0 ||
      position_ < seenUpTo_) {
    return false;
  }
  std::uint64_t const start = oldest(position_);
  copiedFrom_ = std::max(holes_.empty() ? seenUpTo_ : holes_.front().begin, start);
  copy_.resize(position_ - copiedFrom_);
  std::uint64_t const inRing = copiedFrom_ & (ringBytes_ - 1);
  std::size_t const untilEnd = std::min<std::size_t>(copy_.size(), ringBytes_ - inRing);
  file_.read(data_ + inRing, copy_.data(), untilEnd);
  file_.read(data_, copy_.data() + untilEnd, copy_.size() - untilEnd);
  std::uint64_t const now = file_.read<Layout::RingControl>(control_).position;
  intactFrom_ = oldest(now);
  return now >= position_;
}

std::vector<RingView::Found> RingView::look(std::vector<Damage>& damage) {
  std::vector<Found> found;
  if (impossible_) {
    if (damage.size() < Reader::maxDamage) {
      damage.push_back(
          {control_, sizeof(Layout::RingControl), "the ring's position is impossible"});
    }
    return found;
  }
  std::uint64_t const start = std::max({seenUpTo_, oldest(position_), intactFrom_});
  if (looked_) bytesMissed_ += start - seenUpTo_;
  giveUpHoles(intactFrom_);
  for (Span const& hole : std::exchange(holes_, {})) scan(hole, true, found);
  scan({start, position_}, start == seenUpTo_ && recordBeginsThere_, found);
  recordBeginsThere_ = start <= position_;
  seenUpTo_ = std::max(start, position_);
  looked_ = true;
  for (Span const& hole : holes_) addDamage(hole, damage);
  return found;
}

// Holes that begin before `from` are overwritten.
void RingView::giveUpHoles(std::uint64_t from) {
  auto const kept = std::find_if(holes_.begin(), holes_.end(),
                                 [from](Span const& hole) { return hole.begin >= from; });
  for (auto hole = holes_.begin(); hole != kept; ++hole) bytesMissed_ += hole->end - hole->begin;
  holes_.erase(holes_.begin(), kept);
}

// Takes record after record. Where there is none, looks for the next one in steps of the alignment;
// the hole between is kept, unless it is the rest of a record whose begin was overwritten.
void RingView::scan(Span span, bool beginsWithRecord, std::vector<Found>& found) {
  std::uint64_t at = span.begin;
  while (at < span.end) {
    std::uint64_t const expected = at;
    std::optional<Parsed> record;
    while (at < span.end && !(record = parse(at, span.end))) at += Layout::recordAlignment;
    if (at > expected && beginsWithRecord && holes_.size() < Reader::maxDamage) {
      holes_.push_back({expected, at});
    }
    if (!record) return;
    beginsWithRecord = true;
    Layout::RecordHeader header;
    std::memcpy(&header, bytesAt(at), sizeof header);
    found.push_back({header.ticks, at});
    at += record->size;
  }
}

std::optional<RingView::Parsed> RingView::parse(std::uint64_t position, std::uint64_t end) const {
  Layout::RecordHeader header;
  if (end - position < sizeof header) return std::nullopt;
  std::memcpy(&header, bytesAt(position), sizeof header);
  std::uint64_t const size = (header.tag - position) & positionMask;
  if (size < sizeof header || size > end - position || size % Layout::recordAlignment != 0) {
    return std::nullopt;
  }
  auto const message = file_.message((header.tag - position) >> Layout::idShift);
  if (!message) return std::nullopt;
  std::byte const* const record = bytesAt(position);
  Arguments arguments(record + sizeof header, record + size);
  for (char const code : message->codes) {
    if (!arguments.skip(code)) return std::nullopt;
  }
  auto const used = static_cast<std::uint64_t>(arguments.at() - record);
  if (Layout::roundUp(used, Layout::recordAlignment) != size) return std::nullopt;
  return Parsed{*message, size};
}

void RingView::decode(Found const& found, Record& record) const {
  auto const parsed = parse(found.position, copiedFrom_ + copy_.size());
  record.ticks = found.ticks;
  record.line = parsed->message.line;
  record.file = parsed->message.file;
  record.function = parsed->message.function;
  std::byte const* const bytes = bytesAt(found.position);
  Arguments arguments(bytes + sizeof(Layout::RecordHeader), bytes + parsed->size);
  record.arguments.clear();
  for (char const code : parsed->message.codes) record.arguments.push_back(arguments.take(code));
  record.text = messageText(parsed->message.style, parsed->message.text, record.arguments);
}

void RingView::addDamage(Span hole, std::vector<Damage>& damage) const {
  if (damage.size() >= Reader::maxDamage) return;
  damage.push_back({data_ + (hole.begin & (ringBytes_ - 1)), hole.end - hole.begin,
                    "no complete record where one was begun"});
}

}  // namespace Ringlog
