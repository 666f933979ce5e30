#include "state/StateTypes.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "runtime/kesh/Dir.h"
#include "state/ChipConfig.h"
#include "state/ChipStatus.h"
#include "state/ResetRequestDir.h"
#include "state/ResetStatusDir.h"
#include "state/SliceHwConfig.h"
#include "state/SliceHwStatus.h"
#include "state/SystemStatus.h"

namespace {

using namespace Oru::Central;
using Vunda::makeNode;
using Vunda::String;

// Who subscribes relies on these.
static_assert(ResetRequestDir::resetRequestField.value() == 258);
static_assert(SliceHwConfig::genTimeField.value() == 259);
static_assert(ChipStatus::genTimeField.value() == 260);
static_assert(ChipStatus::intfToPortIdField.value() == 261);
static_assert(ResetEntry::genTimeField.value() == 261);
static_assert(Kesh::Dir::entityPtrField.value() == 266);

template <class T>
void expectCreatable(char const* typeName) {
  EXPECT_EQ(std::string(T::typeName), typeName);
  auto const dir = makeNode<Kesh::Dir>("dir");
  auto const entity = dir->createEntity(typeName, "entity");
  EXPECT_NE(Vunda::ptrCast<T>(entity), nullptr) << typeName;
  EXPECT_EQ(entity->name(), String("entity"));
  EXPECT_EQ(std::string(entity->typeData()->name), typeName);
  EXPECT_NE(entity->publisher(), nullptr);
}

TEST(StateTypes, EveryEntityOfADirectoryIsCreatableByName) {
  registerStateTypes();
  registerStateTypes();
  expectCreatable<SliceHwConfig>("Oru::Central::SliceHwConfig");
  expectCreatable<SliceHwStatus>("Oru::Central::SliceHwStatus");
  expectCreatable<ChipConfig>("Oru::Central::ChipConfig");
  expectCreatable<ChipStatus>("Oru::Central::ChipStatus");
  expectCreatable<SystemStatus>("Oru::Central::SystemStatus");
  expectCreatable<ResetRequestDir>("Oru::Central::ResetRequestDir");
  expectCreatable<ResetStatusDir>("Oru::Central::ResetStatusDir");
}

TEST(StateTypes, MembersOfEntitiesSayTheirType) {
  EXPECT_EQ(std::string(makeNode<ChipHwConfig>("Chip1")->typeData()->name),
            "Oru::Central::ChipHwConfig");
  EXPECT_EQ(std::string(makeNode<PortHwConfig>("Ethernet1")->typeData()->name),
            "Oru::Central::PortHwConfig");
  EXPECT_EQ(std::string(makeNode<ResetEntry>(ResetKey())->typeData()->name),
            "Oru::Central::ResetEntry");
}

TEST(StateTypes, NoOtherMemberSharesAFieldThatMachinesReactTo) {
  std::set<std::uint16_t> ids{258, 259, 260, 261, 266};
  for (Vunda::FieldId field :
       {SliceHwConfig::chipConfigField, ChipHwConfig::deviceIdField, ChipHwConfig::portConfigField,
        SliceHwStatus::genTimeField, ChipConfig::deviceIdField, ChipConfig::enabledField,
        ChipConfig::genTimeField, ChipConfig::syncGenTimeField, SystemStatus::chipInfoField,
        SystemStatus::intfToChipPortField, SystemStatus::sliceToChipMapField,
        ResetStatusDir::resetStatusField, ResetEntry::resetCauseField,
        ResetEntry::resetReasonField}) {
    EXPECT_TRUE(ids.insert(field.value()).second) << field.value();
  }
}

}  // namespace
