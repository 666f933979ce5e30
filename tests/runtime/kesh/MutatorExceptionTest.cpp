#include "runtime/kesh/MutatorException.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "runtime/kesh/Dir.h"
#include "tests/runtime/vunda/SampleNodes.h"

namespace {

using OruTest::Sample;

// The text of the exception that an action raises, which must be of that type.
template <class Raised, class Action>
std::string textOf(Action&& action) {
  try {
    action();
  } catch (Raised const& raised) {
    return raised.what();
  } catch (...) {
    return "another exception";
  }
  return "nothing was raised";
}

std::string addressOf(void const* object) {
  std::ostringstream text;
  text << object;
  return text.str();
}

TEST(MutatorException, ANullArgumentIsNamed) {
  EXPECT_EQ(textOf<Kesh::MutatorArgNullPointerException>(
                [] { Kesh::throwMutatorArgNullPointerException("Ns::ParentSm", "chipConfig"); }),
            "Ns::ParentSm: chipConfig must not be null");
}

TEST(MutatorException, AnotherTextIsShownBesideTheExistingOne) {
  EXPECT_EQ(textOf<Kesh::MutatorReinstantiatingException>(
                [] { Kesh::throwMutatorReinstantiating("Ns::ParentSm", "name", "old", "new"); }),
            "Ns::ParentSm: re-instantiated with another name: existing \"old\", given \"new\"");
}

TEST(MutatorException, NodesAreShownByTypeNameAndIdentity) {
  auto const dir = Vunda::makeNode<Kesh::Dir>("hwConfig");
  auto const other = Vunda::makeNode<Sample>();
  EXPECT_EQ(
      textOf<Kesh::MutatorReinstantiatingException>([&] {
        Kesh::Impl::throwMutatorReinstantiating("Ns::ParentSm", "dir", dir.ptr(), other.ptr());
      }),
      "Ns::ParentSm: re-instantiated with another dir: existing Kesh::Dir \"hwConfig\" at " +
          addressOf(static_cast<Vunda::Node const*>(dir.ptr())) + ", given OruTest::Sample at " +
          addressOf(static_cast<Vunda::Node const*>(other.ptr())));
}

TEST(MutatorException, ANullNodeIsShownAsNull) {
  auto const other = Vunda::makeNode<Sample>();
  auto const text = textOf<Kesh::MutatorReinstantiatingException>(
      [&] { Kesh::Impl::throwMutatorReinstantiating("T", "a", nullptr, other.ptr()); });
  EXPECT_EQ(
      text.rfind("T: re-instantiated with another a: existing null, given OruTest::Sample", 0), 0U)
      << text;
}

TEST(MutatorException, AnUnknownTypeIsNamed) {
  EXPECT_EQ(textOf<Kesh::UnknownTypeException>([] { Kesh::throwUnknownType("Ns::Type", "chip1"); }),
            "Kesh::Dir: no type is registered under the name \"Ns::Type\" (asked for entity "
            "\"chip1\")");
}

TEST(MutatorException, AllAreMutatorExceptionsAndLogicErrors) {
  EXPECT_THROW(Kesh::throwMutatorArgNullPointerException("T", "a"), Kesh::MutatorException);
  EXPECT_THROW(Kesh::throwMutatorReinstantiating("T", "a", "b", "c"), Kesh::MutatorException);
  EXPECT_THROW(Kesh::throwUnknownType("T", "a"), Kesh::MutatorException);
  EXPECT_THROW(Kesh::throwUnknownType("T", "a"), std::logic_error);
}

}  // namespace
