#include "state/ChipStatus.h"

namespace Oru::Central {

ChipStatus::~ChipStatus() = default;

void ChipStatus::genTimeIs(Vunda::Duration genTime) {
  attributeIs(genTimeField, genTime_, genTime);
}

void ChipStatus::intfToPortIdIs(Lanko::IntfId intf, PortId port) {
  memberIs(intfToPortIdField, intfToPortId_, intf, port);
}

void ChipStatus::intfToPortIdDel(Lanko::IntfId intf) {
  memberDel(intfToPortIdField, intfToPortId_, intf);
}

}  // namespace Oru::Central
