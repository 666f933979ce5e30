#include "state/ResetKey.h"

#include "runtime/kordo/HashMix.h"

namespace Oru::Central {

std::uint32_t ResetKey::hash() const noexcept {
  Kordo::HashMix mix(0);
  mix.mix(static_cast<std::uint32_t>(resetType_));
  mix.mix(chipName_.hash());
  mix.mix(sliceName_.hash());
  return mix.value();
}

std::string ringText(ResetKey const& key) {
  std::string text(stringValue(key.resetType()).view());
  text.append(",").append(key.chipName().view());
  text.append(",").append(key.sliceName().view());
  return text;
}

std::string valueToStrep(ResetKey const& key) {
  std::string text("{resetType=");
  text.append(stringValue(key.resetType()).view());
  text.append(" chipName=").append(key.chipName().view());
  text.append(" sliceName=").append(key.sliceName().view());
  return text.append("}");
}

}  // namespace Oru::Central
