#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <string_view>
#include <utility>

#include "runtime/vunda/Export.h"
#include "runtime/vunda/UseWord.h"

namespace Vunda {

namespace Impl {

// The shared representation of a string: one allocation that holds the use count, the length, the
// hash (computed once, when the string is made) and the characters, padded with NULs, one at least,
// to whole words of eight bytes: so that two strings are compared a word at a time.
struct StrB {
  std::uint32_t use;
  std::uint32_t length;
  std::uint32_t hash;
  char chars[4];

  static constexpr std::uint32_t wordSize = 8;
  // The first word, at 0, is length and hash, the others are the characters.
  std::uint64_t word(std::size_t at) const noexcept {
    std::uint64_t result = 0;
    std::memcpy(&result, reinterpret_cast<char const*>(this) + offsetof(StrB, length) + at,
                wordSize);
    return result;
  }

  ORU_EXPORT static StrB* make(std::string_view text);
  ORU_EXPORT static void destroy(StrB* rep) noexcept;
};

}  // namespace Impl

// Immutable string, one word: a handle to a shared representation. A copy shares it. The empty
// string has no representation. Equality is by content: identity is tested first, then hash and
// length, then the characters. Strings may be shared between threads under the rules of
// ThreadControl.
class ORU_EXPORT String {
 public:
  // The hash of a text, as hash() returns it for a string of that text.
  static std::uint32_t hashOf(std::string_view text) noexcept;

  constexpr String() noexcept = default;
  // A null pointer makes the empty string.
  String(char const* text) : rep_(text ? Impl::StrB::make(text) : nullptr) {}
  explicit String(std::string_view text) : rep_(Impl::StrB::make(text)) {}
  String(String const& other) noexcept : rep_(other.rep_) {
    if (rep_) Impl::useWordAdd(rep_->use);
  }
  String(String&& other) noexcept : rep_(std::exchange(other.rep_, nullptr)) {}
  ~String() {
    if (rep_ && Impl::useWordSubtract(rep_->use) == 0) Impl::StrB::destroy(rep_);
  }
  String& operator=(String other) noexcept {
    std::swap(rep_, other.rep_);
    return *this;
  }

  char const* data() const noexcept { return rep_ ? rep_->chars : ""; }
  std::uint32_t length() const noexcept { return rep_ ? rep_->length : 0; }
  bool empty() const noexcept { return rep_ == nullptr; }
  std::uint32_t hash() const noexcept { return rep_ ? rep_->hash : emptyHash; }
  std::string_view view() const noexcept { return {data(), length()}; }

  // Negative, zero or positive, by content as unsigned bytes.
  int compare(String const& other) const noexcept;
  bool operator==(String const& other) const noexcept {
    return rep_ == other.rep_ || (rep_ && other.rep_ && sameContent(*rep_, *other.rep_));
  }
  std::strong_ordering operator<=>(String const& other) const noexcept {
    return compare(other) <=> 0;
  }

 private:
  static std::uint32_t const emptyHash;
  static bool sameContent(Impl::StrB const& a, Impl::StrB const& b) noexcept {
    std::size_t at = 0;
    do {
      if (a.word(at) != b.word(at)) return false;
    } while ((at += Impl::StrB::wordSize) < Impl::StrB::wordSize + a.length);
    return true;
  }

  Impl::StrB* rep_ = nullptr;
};

static_assert(sizeof(String) == sizeof(void*));

ORU_EXPORT std::ostream& operator<<(std::ostream& out, String const& text);

}  // namespace Vunda
