#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>

#include "mount/EventLoop.h"
#include "mount/UniqueFd.h"

namespace Oru::Sim {

// Hears what programs tell their service manager: "READY=1", "STATUS=...".
class ServiceSocket {
 public:
  // Called with the sender's process number and one message, which may have several lines.
  using OnMessage = std::function<void(pid_t sender, std::string_view message)>;

  // Raises std::system_error.
  ServiceSocket(Mount::EventLoop& loop, OnMessage onMessage);

  // For the environment variable NOTIFY_SOCKET.
  std::string const& address() const { return address_; }

 private:
  void receive();

  OnMessage const onMessage_;
  std::string address_;
  Mount::UniqueFd socket_;
  Mount::EventSource ready_;
};

}  // namespace Oru::Sim
