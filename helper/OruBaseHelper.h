#pragma once

#include "runtime/kesh/Entity.h"

namespace Oru {

// Base of the helpers through which platform code plugs into the library.
class ORU_EXPORT OruBaseHelper : public Kesh::Typed<OruBaseHelper, Kesh::Entity> {
 public:
  static constexpr char const* typeName = "Oru::OruBaseHelper";

  using Typed::Typed;
  ~OruBaseHelper() override;

  // For an operation that the platform had to override and did not: writes the message and a
  // newline to standard error, then fails an assertion, which ends the process.
  [[noreturn]] void oruAssert(Vunda::String const& message) const;
};

}  // namespace Oru
