#include "tests/support/AllocationGuard.h"

#include "runtime/kesh/AllocTrackTypeInfo.h"

namespace OruTest {

namespace {

// Live nodes by type. Types without any are left out, so that a type's first use makes no
// difference.
std::map<std::string, std::size_t> liveCounts() {
  std::map<std::string, std::size_t> counts;
  for (auto const* type = Kesh::AllocTrackTypeInfo::first(); type; type = type->next()) {
    if (type->liveCount() != 0) counts[type->name] += type->liveCount();
  }
  return counts;
}

bool const installed = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new AllocationGuard);
  return true;
}();

}  // namespace

void AllocationGuard::OnTestStart(testing::TestInfo const&) { atStart_ = liveCounts(); }

void AllocationGuard::OnTestEnd(testing::TestInfo const&) {
  EXPECT_EQ(liveCounts(), atStart_) << "live nodes by type, after and before the test";
}

}  // namespace OruTest
