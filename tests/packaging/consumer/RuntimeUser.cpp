// A program on the entity runtime alone.

#include <cstdio>

#include "runtime/vunda/Node.h"
#include "runtime/vunda/Ptr.h"
#include "runtime/vunda/RangeException.h"
#include "runtime/vunda/String.h"

namespace {

struct Station : Vunda::Node {
  explicit Station(Vunda::String const& name) : name_(name) {}
  Vunda::String name_;
};

bool exceptionsPassTheLibrary() {
  try {
    Vunda::RangeException::throwException("out of range");
  } catch (Vunda::RangeException const&) {
    return true;
  }
}

}  // namespace

int main() {
  auto const station = Vunda::makeNode<Station>("Central");
  auto const second = station;
  bool const works = station->useCount() == 2 && second->name_ == Vunda::String("Central");
  std::puts(works ? "works" : "broken");
  return works && exceptionsPassTheLibrary() ? 0 : 1;
}
