#include "runtime/kesh/TypeRegistry.h"

#include <gtest/gtest.h>

#include "runtime/kesh/Dir.h"

namespace {

using Kesh::Entity;
using Kesh::TypeRegistry;
using Vunda::makeNode;
using Vunda::Ptr;
using Vunda::ptrCast;
using Vunda::String;

struct First : Kesh::Typed<First, Entity> {
  static constexpr char const* typeName = "OruTest::First";
  using Typed::Typed;
};
struct Second : Kesh::Typed<Second, Entity> {
  static constexpr char const* typeName = "OruTest::Second";
  using Typed::Typed;
};

TEST(TypeRegistry, DirectoriesAreAlwaysRegistered) {
  ASSERT_NE(TypeRegistry::factory("Kesh::Dir"), nullptr);
  Ptr<Entity> const made = TypeRegistry::factory("Kesh::Dir")("name");
  EXPECT_TRUE(ptrCast<Kesh::Dir>(made));
  EXPECT_EQ(made->name(), String("name"));
}

TEST(TypeRegistry, ATypeThatIsNotRegisteredHasNoFactory) {
  EXPECT_EQ(TypeRegistry::factory("OruTest::Nobody"), nullptr);
}

TEST(TypeRegistry, RegistersAClassUnderItsTypeName) {
  TypeRegistry::typeIs<First>();
  Ptr<Entity> const made = TypeRegistry::factory("OruTest::First")("name");
  EXPECT_TRUE(ptrCast<First>(made));
  EXPECT_EQ(made->useCount(), 1U);
}

TEST(TypeRegistry, RegisteringANameAgainReplacesItsFactory) {
  auto const makeSecond = [](String const& name) -> Ptr<Entity> { return makeNode<Second>(name); };
  TypeRegistry::typeIs<First>();
  TypeRegistry::typeIs("OruTest::First", makeSecond);
  EXPECT_TRUE(ptrCast<Second>(TypeRegistry::factory("OruTest::First")("name")));
}

}  // namespace
