#pragma once

#include <stdexcept>

#include "runtime/vunda/Export.h"
#include "runtime/vunda/Node.h"
#include "runtime/vunda/String.h"

namespace Kesh {

// What instantiating mutators and directories raise when the caller broke their rules. Every
// message names the type, the attribute and the values; the state is as it was before the call.
class ORU_EXPORT MutatorException : public std::logic_error {
 public:
  using std::logic_error::logic_error;
  ~MutatorException() override;
};

// A null pointer was given for an argument that must not be null.
class ORU_EXPORT MutatorArgNullPointerException : public MutatorException {
 public:
  using MutatorException::MutatorException;
  ~MutatorArgNullPointerException() override;
};

// A member with that key exists, and was built with another value of the named construction
// argument.
class ORU_EXPORT MutatorReinstantiatingException : public MutatorException {
 public:
  using MutatorException::MutatorException;
  ~MutatorReinstantiatingException() override;
};

// An entity was to be created with a type name under which no type is registered.
class ORU_EXPORT UnknownTypeException : public MutatorException {
 public:
  using MutatorException::MutatorException;
  ~UnknownTypeException() override;
};

// `type` is the class that has the mutator, `attribute` the attribute or argument that is wrong.
[[noreturn]] ORU_EXPORT void throwMutatorArgNullPointerException(char const* type,
                                                                 char const* attribute);
[[noreturn]] ORU_EXPORT void throwMutatorReinstantiating(char const* type, char const* attribute,
                                                         Vunda::String const& existing,
                                                         Vunda::String const& given);
[[noreturn]] ORU_EXPORT void throwUnknownType(char const* typeName,
                                              Vunda::String const& entityName);

namespace Impl {

[[noreturn]] ORU_EXPORT void throwMutatorReinstantiating(char const* type, char const* attribute,
                                                         Vunda::Node const* existing,
                                                         Vunda::Node const* given);

}  // namespace Impl

}  // namespace Kesh
