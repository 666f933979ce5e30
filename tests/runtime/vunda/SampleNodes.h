#pragma once

#include "runtime/kesh/AllocTrackTypeInfo.h"
#include "runtime/vunda/Node.h"
#include "runtime/vunda/Publisher.h"

namespace OruTest {

// A node that tells of its end: sets a flag, if it was given one.
class Sample : public Kesh::Typed<Sample, Vunda::Node> {
 public:
  static constexpr char const* typeName = "OruTest::Sample";

  explicit Sample(bool* gone = nullptr) : gone_(gone) {}
  ~Sample() override {
    if (gone_) *gone_ = true;
  }

 private:
  bool* gone_;
};

// A sample that announces changes.
class Announcer : public Kesh::Typed<Announcer, Sample> {
 public:
  static constexpr char const* typeName = "OruTest::Announcer";
  static constexpr Vunda::FieldId field{7};

  using Typed::Typed;

  Vunda::Publisher* publisher() const override { return &publisher_; }
  void announce() { publisher_.publishChange(field, nullptr, nullptr); }

 private:
  mutable Vunda::Publisher publisher_{*this};
};

}  // namespace OruTest
