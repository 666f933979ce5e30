#include "runtime/vunda/Signature.h"

#include <gtest/gtest.h>

#include <string>

#include "runtime/vunda/Duration.h"
#include "runtime/vunda/Ptr.h"
#include "runtime/vunda/String.h"

using Vunda::String;

// Functions of every kind that is traced; each returns its own signature, or leaves it in `seen`.
namespace Oru::Sample {

char const* seen = nullptr;

struct ResetKey {};

struct SampleSm {
  virtual ~SampleSm() = default;
  void handleResetRequestDir(Vunda::String const&) { seen = ORU_SIGNATURE; }
  void handleChipResetRequest(Vunda::String const&, Vunda::String const&, Kesh::Seconds) {
    seen = ORU_SIGNATURE;
  }
  void oruAssert(Vunda::String const&) const { seen = ORU_SIGNATURE; }
  void handleKey(Oru::Sample::ResetKey const&) { seen = ORU_SIGNATURE; }
  void handleDestroyed() { seen = ORU_SIGNATURE; }
  virtual void sliceDetected(Vunda::String const&) { seen = ORU_SIGNATURE; }
  static void registered(char const*, int&) { seen = ORU_SIGNATURE; }
  constexpr char const* constant() const { return ORU_SIGNATURE; }
  template <class T>
  void each(T const&) {
    seen = ORU_SIGNATURE;
  }
  void aliased(String const&) { seen = ORU_SIGNATURE; }
  Vunda::String name() { return ORU_SIGNATURE; }

  struct Nested {
    void handleEntry() { seen = ORU_SIGNATURE; }
  };
};

namespace {
void unnamed() { seen = ORU_SIGNATURE; }
}  // namespace

}  // namespace Oru::Sample

namespace {

using Oru::Sample::SampleSm;
using Oru::Sample::seen;

TEST(Signature, OfAHandlerReadsTheSameUnderEveryCompiler) {
  SampleSm sm;
  sm.handleResetRequestDir("");
  EXPECT_STREQ(seen, "void Oru::Sample::SampleSm::handleResetRequestDir(const String&)");
  sm.handleChipResetRequest("", "", {});
  EXPECT_STREQ(seen,
               "void Oru::Sample::SampleSm::handleChipResetRequest(const String&, const String&, "
               "Kesh::Seconds)");
  sm.handleKey({});
  EXPECT_STREQ(seen, "void Oru::Sample::SampleSm::handleKey(const Oru::Sample::ResetKey&)");
  sm.handleDestroyed();
  EXPECT_STREQ(seen, "void Oru::Sample::SampleSm::handleDestroyed()");
  SampleSm::Nested().handleEntry();
  EXPECT_STREQ(seen, "void Oru::Sample::SampleSm::Nested::handleEntry()");
}

TEST(Signature, KeepsATrailingConst) {
  SampleSm().oruAssert("");
  EXPECT_STREQ(seen, "void Oru::Sample::SampleSm::oruAssert(const String&) const");
}

TEST(Signature, DropsVirtualStaticAndConstexpr) {
  SampleSm().sliceDetected("");
  EXPECT_STREQ(seen, "void Oru::Sample::SampleSm::sliceDetected(const String&)");
  int number = 0;
  SampleSm::registered("", number);
  EXPECT_STREQ(seen, "void Oru::Sample::SampleSm::registered(const char*, int&)");
  EXPECT_STREQ(SampleSm().constant(), "const char* Oru::Sample::SampleSm::constant() const");
}

TEST(Signature, DropsTheArgumentsOfATemplate) {
  SampleSm().each(1);
  EXPECT_STREQ(seen, "void Oru::Sample::SampleSm::each(const T&)");
}

TEST(Signature, CallsTheStringByItsShortNameHoweverItIsSpelled) {
  SampleSm().aliased("");
  EXPECT_STREQ(seen, "void Oru::Sample::SampleSm::aliased(const String&)");
  EXPECT_STREQ(SampleSm().name().data(), "String Oru::Sample::SampleSm::name()");
}

TEST(Signature, NamesAnUnnamedNamespace) {
  Oru::Sample::unnamed();
  EXPECT_STREQ(seen, "void Oru::Sample::{anonymous}::unnamed()");
}

TEST(Signature, InsideALambdaIsTheLambdas) {
  auto const inside = [] { return ORU_SIGNATURE; };
  EXPECT_NE(std::string(inside()), ORU_SIGNATURE);
}

TEST(Signature, IsMadeOnce) {
  auto const again = [] { return ORU_SIGNATURE; };
  EXPECT_EQ(again(), again());
}

}  // namespace
