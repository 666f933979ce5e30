#include "runtime/kesh/TraceHelper.h"

#include <locale>

namespace Kesh {

TraceHelper::TraceHelper(TraceHandle& handle, unsigned level, char const* file, unsigned line,
                         char const* function)
    : handle_(handle), level_(level), file_(file), line_(line), function_(function) {
  stream_.imbue(std::locale::classic());
  stream_ << std::boolalpha;
}

TraceHelper::~TraceHelper() {
  if (handle_.isEnabled(level_)) handle_.write(level_, file_, line_, function_, stream_.view());
}

}  // namespace Kesh
