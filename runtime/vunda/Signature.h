#pragma once

#include <cstddef>
#include <initializer_list>

// ORU_SIGNATURE: the signature of the enclosing function as the compiler knows it, brought at
// compile time to one form that is the same under every supported compiler: "void
// Ns::Class::handler(const String&, Kesh::Seconds)".
//
//   - leading "virtual ", "static " and "constexpr " are dropped, and so is a template's trailing
//     "[with T = ...]";
//   - there is no blank before '&' and '*', and one between them and a word;
//   - the runtime's string is called "String", without its namespace;
//   - an unnamed namespace is called "{anonymous}".
//
// One compiler prints parameter types fully qualified, the other as they are spelled in the
// definition. A function whose signature is traced therefore spells the types of its parameters
// with their full names (`Oru::Central::ResetKey const&`, `Vunda::String const&`, `Kesh::Seconds`).
// Inside a lambda the signature is the lambda's.
#define ORU_SIGNATURE (::Vunda::signatureText<::Vunda::Signature(__PRETTY_FUNCTION__)>)

namespace Vunda {

template <std::size_t N>
struct Signature {
  char text[N]{};

  constexpr Signature(char const (&raw)[N]) {
    std::size_t from = leadingWords(raw);
    std::size_t to = 0;
    while (from < N && raw[from] != '\0' && !startsWith(raw, from, " [")) {
      if (startsWith(raw, from, "Vunda::String")) {
        from += sizeof("Vunda::") - 1;
      } else if (startsWith(raw, from, "(anonymous namespace)")) {
        for (char c : {'{', 'a', 'n', 'o', 'n', 'y', 'm', 'o', 'u', 's', '}'}) text[to++] = c;
        from += sizeof("(anonymous namespace)") - 1;
      } else if (startsWith(raw, from, " &") || startsWith(raw, from, " *")) {
        ++from;
      } else {
        char const last = text[to++] = raw[from++];
        if ((last == '&' || last == '*') && isWord(raw[from])) text[to++] = ' ';
      }
    }
  }

 private:
  static constexpr bool startsWith(char const (&raw)[N], std::size_t at, char const* word) {
    for (; *word != '\0'; ++at, ++word) {
      if (at >= N || raw[at] != *word) return false;
    }
    return true;
  }

  static constexpr bool isWord(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
  }

  static constexpr std::size_t leadingWords(char const (&raw)[N]) {
    std::size_t at = 0;
    for (bool found = true; found;) {
      found = false;
      for (char const* word : {"virtual ", "static ", "constexpr "}) {
        if (!startsWith(raw, at, word)) continue;
        while (raw[at] != ' ') ++at;
        ++at;
        found = true;
      }
    }
    return at;
  }
};

template <Signature S>
inline constexpr char const* signatureText = S.text;

}  // namespace Vunda
