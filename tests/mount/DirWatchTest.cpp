#include "mount/DirWatch.h"

#include <gtest/gtest.h>

namespace {

using namespace Oru::Mount;
using Kesh::Dir;
using Told = std::vector<std::string>;

class DirWatchTest : public testing::Test {
 protected:
  Vunda::Ptr<Dir> child(char const* name) const { return Vunda::makeNode<Dir>(name); }

  Vunda::Ptr<Dir> const dir = Vunda::makeNode<Dir>("dir");
  Told told;
  DirWatch::Reactions const reactions{
      [this](std::string const& name, Vunda::Ptr<Kesh::Entity> const&) {
        told.push_back('+' + name);
      },
      [this](std::string const& name) { told.push_back('-' + name); }};
};

TEST_F(DirWatchTest, TellsOfThoseThatAreThereAndThoseThatComeAndGo) {
  dir->entityIs(child("a"));
  DirWatch const watch(dir, reactions);
  dir->entityIs(child("b"));
  dir->deleteEntity("a");
  EXPECT_EQ((Told{"+a", "+b", "-a"}), told);
}

TEST_F(DirWatchTest, OneThatIsAnnouncedAgainIsNoNewsOneThatIsReplacedIs) {
  auto const a = child("a");
  DirWatch const watch(dir, reactions);
  dir->entityIs(a);
  dir->entityIs(a);
  dir->entityIs(child("a"));
  EXPECT_EQ((Told{"+a", "-a", "+a"}), told);
}

TEST_F(DirWatchTest, EndsWithTheObject) {
  { DirWatch const watch(dir, reactions); }
  dir->entityIs(child("a"));
  EXPECT_EQ(Told{}, told);
  EXPECT_EQ(1u, dir->useCount());
}

}  // namespace
