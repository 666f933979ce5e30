#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "runtime/ringlog/Layout.h"
#include "runtime/ringlog/Reader.h"

namespace Ringlog {

// A message's text with its arguments filled in. What a "{:...}" asks for is ignored: the value
// prints as for "{}". A placeholder without an argument stays.
std::string messageText(TextStyle style, std::string_view text,
                        std::vector<Argument> const& arguments);

}  // namespace Ringlog
