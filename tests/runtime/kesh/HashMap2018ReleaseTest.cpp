// Values whose release looks at the collection that held them, or changes it.

#include "runtime/kesh/HashMap2018.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <utility>
#include <vector>

#include "tests/runtime/kesh/HashMap2018Samples.h"

namespace {

using Kesh::HashMap2018;
using OruTest::HN_Test;
using testing::ElementsAre;
using Vunda::makeNode;
using Vunda::Ptr;

struct Looker : Kesh::Typed<Looker, Vunda::Node> {
  static constexpr char const* typeName = "OruTest::Looker";
  explicit Looker(std::function<void()> action) : atEnd(std::move(action)) {}
  ~Looker() override { atEnd(); }
  std::function<void()> atEnd;
};
using Lookers = HashMap2018<HN_Test, std::uint32_t, Ptr<Looker>>;

TEST(HashMap2018, AReleasedValueSeesACollectionWithoutIt) {
  Lookers map;
  int ends = 0;
  auto const looking = [&](std::uint32_t key) {
    return makeNode<Looker>([&map, &ends, key] {
      ++ends;
      EXPECT_FALSE(map.has(key));
      map.verify();
    });
  };
  map.newMember(1, looking(1));
  map.newMember(2, looking(2));
  map.newMember(3, looking(3));
  map.deleteMember(2);
  EXPECT_EQ(ends, 1);
  map.memberDelAll();
  EXPECT_EQ(ends, 3);
}

TEST(HashMap2018, TheEndOfACollectionReleasesOneValueAfterTheOtherAndNoneFindsItself) {
  std::vector<std::uint32_t> sizes;
  {
    Lookers map;
    for (std::uint32_t key : {1U, 2U, 3U}) {
      map.newMember(key, makeNode<Looker>([&map, &sizes, key] {
                      EXPECT_FALSE(map.has(key));
                      EXPECT_EQ(map.value(key), nullptr);
                      sizes.push_back(map.size());
                      map.deleteMember(3);
                      map.verify();
                    }));
    }
  }
  EXPECT_THAT(sizes, ElementsAre(2U, 1U, 0U));
}

TEST(HashMap2018, AssignmentReleasesTheOldValuesAfterTheNewOnesStand) {
  Lookers map;
  bool stands = false;
  map.newMember(1, makeNode<Looker>([&] { stands = map.size() == 2 && map.has(5); }));
  Lookers next;
  next.newMember(5, nullptr);
  next.newMember(6, nullptr);
  map = next;
  EXPECT_TRUE(stands);
}

TEST(HashMap2018, ReleasesTheOverwrittenValueAfterTheNewOneStands) {
  Lookers map;
  Looker const* seen = nullptr;
  map.newMember(1, makeNode<Looker>([&] { seen = map.value(1).ptr(); }));
  auto const next = makeNode<Looker>([] {});
  map.memberIs(1, next);
  EXPECT_EQ(seen, next.ptr());
  map.memberDelAll();
}

TEST(HashMap2018, IsWholeAgainBeforeDeletionReleasesWhatTheOutputHeld) {
  Lookers map;
  std::uint32_t sizeThen = 99;
  map.newMember(1, nullptr);
  Ptr<Looker> out = makeNode<Looker>([&] {
    sizeThen = map.size();
    map.newMember(2, nullptr);
    map.verify();
  });
  EXPECT_TRUE(map.deleteMember(1, out));
  EXPECT_EQ(sizeThen, 0U);
  EXPECT_TRUE(map.has(2));
}

TEST(HashMap2018, RemovingAllGoesOnUntilNoneIsLeftWhateverReleasesInsertAndRemove) {
  Lookers map;
  std::vector<std::uint32_t> ends;
  auto const noting = [&ends](std::uint32_t key) {
    return makeNode<Looker>([&ends, key] { ends.push_back(key); });
  };
  map.newMember(1, makeNode<Looker>([&] {
                  ends.push_back(1);
                  map.deleteMember(3);
                  for (std::uint32_t key = 10; key < 20; ++key) map.newMember(key, noting(key));
                }));
  map.newMember(2, makeNode<Looker>([&] {
                  ends.push_back(2);
                  map.memberDelAll();
                }));
  map.newMember(3, noting(3));
  map.newMember(4, noting(4));
  map.memberDelAll();
  EXPECT_THAT(ends, ElementsAre(1, 3, 2, 4, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19));
  EXPECT_TRUE(map.empty());
  map.verify();
}

}  // namespace
