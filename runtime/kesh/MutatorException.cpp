#include "runtime/kesh/MutatorException.h"

#include <sstream>

#include "runtime/kesh/Entity.h"

namespace Kesh {

MutatorException::~MutatorException() = default;
MutatorArgNullPointerException::~MutatorArgNullPointerException() = default;
MutatorReinstantiatingException::~MutatorReinstantiatingException() = default;
UnknownTypeException::~UnknownTypeException() = default;

namespace {

// A node as a message shows it: its type, its name if it has one, and which object it is.
std::string described(Vunda::Node const* node) {
  if (!node) return "null";
  std::ostringstream text;
  text << node->typeData()->name;
  if (auto const* const entity = dynamic_cast<Entity const*>(node))
    text << " \"" << entity->name() << '"';
  text << " at " << static_cast<void const*>(node);
  return text.str();
}

[[noreturn]] void throwReinstantiating(char const* type, char const* attribute,
                                       std::string const& existing, std::string const& given) {
  throw MutatorReinstantiatingException(std::string(type) + ": re-instantiated with another " +
                                        attribute + ": existing " + existing + ", given " + given);
}

std::string quoted(Vunda::String const& text) { return '"' + std::string(text.view()) + '"'; }

}  // namespace

void throwMutatorArgNullPointerException(char const* type, char const* attribute) {
  throw MutatorArgNullPointerException(std::string(type) + ": " + attribute + " must not be null");
}

void throwMutatorReinstantiating(char const* type, char const* attribute,
                                 Vunda::String const& existing, Vunda::String const& given) {
  throwReinstantiating(type, attribute, quoted(existing), quoted(given));
}

void throwUnknownType(char const* typeName, Vunda::String const& entityName) {
  throw UnknownTypeException("Kesh::Dir: no type is registered under the name \"" +
                             std::string(typeName) + "\" (asked for entity " + quoted(entityName) +
                             ")");
}

void Impl::throwMutatorReinstantiating(char const* type, char const* attribute,
                                       Vunda::Node const* existing, Vunda::Node const* given) {
  throwReinstantiating(type, attribute, described(existing), described(given));
}

}  // namespace Kesh
