#include "state/ChipStatus.h"

namespace Oru::Central {

ChipStatus::~ChipStatus() = default;

void ChipStatus::genTimeIs(Vunda::Duration genTime) {
  publisher_.attributeIs(genTimeField, genTime_, genTime);
}

void ChipStatus::intfToPortIdIs(Lanko::IntfId intf, PortId port) {
  publisher_.memberIs(intfToPortIdField, intfToPortId_, intf, port);
}

void ChipStatus::intfToPortIdDel(Lanko::IntfId intf) {
  publisher_.memberDel(intfToPortIdField, intfToPortId_, intf);
}

}  // namespace Oru::Central
