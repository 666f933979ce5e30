#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <string>

namespace OruTest {

// Fails every test that ends with another number of live nodes of some tracked type than it began
// with. A program that links `oru-allocation-guard` has it installed; it needs no code for that.
class AllocationGuard : public testing::EmptyTestEventListener {
 public:
  void OnTestStart(testing::TestInfo const& test) override;
  void OnTestEnd(testing::TestInfo const& test) override;

 private:
  std::map<std::string, std::size_t> atStart_;
};

}  // namespace OruTest
