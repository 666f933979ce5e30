#include "mount/ResetKeyName.h"

namespace Oru::Mount {

namespace {

// The separator, and what escapes it, do not stand for themselves.
void append(std::string& name, std::string_view part) {
  name += ',';
  for (char const c : part) {
    if (c == '%')
      name += "%25";
    else if (c == ',')
      name += "%2C";
    else
      name += c;
  }
}

}  // namespace

std::string resetKeyName(std::string_view type, std::string_view slice, std::string_view chip) {
  std::string name(type);
  if (type == "chip" || type == "slice") append(name, slice);
  if (type == "chip") append(name, chip);
  return name;
}

}  // namespace Oru::Mount
