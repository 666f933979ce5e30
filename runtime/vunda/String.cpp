#include "runtime/vunda/String.h"

#include <cstddef>
#include <limits>
#include <new>
#include <ostream>

#include "runtime/kordo/HashMix.h"
#include "runtime/vunda/RangeException.h"

namespace Vunda {

namespace {

constexpr std::size_t headerSize = offsetof(Impl::StrB, chars);

// Four bytes at a time, the rest padded with zeros, then the length.
std::uint32_t mixText(std::string_view text) noexcept {
  Kordo::HashMix hash;
  std::size_t at = 0;
  std::uint32_t word = 0;
  for (; at + sizeof word <= text.size(); at += sizeof word) {
    std::memcpy(&word, text.data() + at, sizeof word);
    hash.mix(word);
  }
  word = 0;
  std::memcpy(&word, text.data() + at, text.size() - at);
  return hash.mix(word).mix(static_cast<std::uint32_t>(text.size())).value();
}

}  // namespace

Impl::StrB* Impl::StrB::make(std::string_view text) {
  if (text.empty()) return nullptr;
  if (text.size() > std::numeric_limits<std::uint32_t>::max() - sizeof(StrB)) {
    RangeException::throwException("Vunda::String longer than 4294967279 bytes not allowed");
  }
  std::size_t const room = (text.size() / wordSize + 1) * wordSize;
  void* const memory = ::operator new(headerSize + room);
  StrB* const rep = static_cast<StrB*>(memory);
  rep->use = 1;
  rep->length = static_cast<std::uint32_t>(text.size());
  rep->hash = mixText(text);
  char* const chars = static_cast<char*>(memory) + headerSize;
  std::memset(chars + room - wordSize, 0, wordSize);
  std::memcpy(chars, text.data(), text.size());
  return rep;
}

void Impl::StrB::destroy(StrB* rep) noexcept { ::operator delete(rep); }

constinit std::uint32_t const String::emptyHash = Kordo::HashMix().mix(0).mix(0).value();

std::uint32_t String::hashOf(std::string_view text) noexcept { return mixText(text); }

int String::compare(String const& other) const noexcept { return view().compare(other.view()); }

std::ostream& operator<<(std::ostream& out, String const& text) { return out << text.view(); }

}  // namespace Vunda
