// A common logger on the same messages: into a sink that drops them, and into one that keeps the
// latest in memory; and, beside our lines of text, into one that counts bytes.

#include <spdlog/details/null_mutex.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/sinks/ringbuffer_sink.h>
#include <spdlog/spdlog.h>

#include <memory>
#include <string>

#include "bench/Case.h"

namespace Bench {

namespace {

// As ours is given: the text alone, formatted, with the time, the level and the place beside it.
class CountingSink : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
 protected:
  void sink_it_(spdlog::details::log_msg const& message) override {
    bytes_ += message.payload.size();
  }
  void flush_() override {}

 private:
  std::size_t bytes_ = 0;
};

template <class Message>
Body logged(spdlog::sink_ptr const& sink, spdlog::level::level_enum level, Message message) {
  auto const logger = std::make_shared<spdlog::logger>("bench", sink);
  logger->set_level(level);
  return metered([=](std::uint64_t n) {
    double value = 1.5;
    for (std::uint64_t i = 0; i < n; ++i) {
      hide(value);
      message(*logger, value);
    }
  });
}

void add(std::string const& who, spdlog::sink_ptr (*sink)()) {
  Register("record.none/1/" + who, 1000, [=] {
    return logged(sink(), spdlog::level::info,
                  [](spdlog::logger& to, double) { to.info("Something happened"); });
  });
  Register("record.double/1/" + who, 1000, [=] {
    return logged(sink(), spdlog::level::info, [](spdlog::logger& to, double value) {
      to.info("Something happened {}", value);
    });
  });
  Register("record.text-double/1/" + who, 1000, [=] {
    return logged(sink(), spdlog::level::info,
                  [name = std::string("Ethernet12/3/4")](spdlog::logger& to, double value) {
                    to.info("Something happened to {} at {}", name, value);
                  });
  });
}

struct RegisterSpdlog {
  RegisterSpdlog() {
    add("spdlog-null",
        []() -> spdlog::sink_ptr { return std::make_shared<spdlog::sinks::null_sink_st>(); });
    add("spdlog-ring", []() -> spdlog::sink_ptr {
      return std::make_shared<spdlog::sinks::ringbuffer_sink_st>(1024);
    });
    Register("record.text/1/spdlog", 1000, [] {
      return logged(std::make_shared<CountingSink>(), spdlog::level::info,
                    [name = std::string("Ethernet12/3/4")](spdlog::logger& to, double value) {
                      SPDLOG_LOGGER_INFO(&to, "Something happened to {} at {}", name, value);
                    });
    });
    Register("record.disabled/1/spdlog", 1000, [] {
      return logged(
          std::make_shared<spdlog::sinks::null_sink_st>(), spdlog::level::off,
          [](spdlog::logger& to, double value) { to.info("Something happened {}", value); });
    });
  }
} const registerSpdlog;

}  // namespace

}  // namespace Bench
