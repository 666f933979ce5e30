#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstdlib>
#include <string>

#include "mount/UniqueFd.h"
#include "tests/support/TemporaryFolder.h"

namespace OruTest {

// The service manager's side of the notification protocol: while it is there, this process and
// those that it starts tell it.
class NotifySocket {
 public:
  NotifySocket() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path_.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(0, ::bind(socket_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address));
    ::setenv("NOTIFY_SOCKET", path_.c_str(), 1);
  }
  ~NotifySocket() { ::unsetenv("NOTIFY_SOCKET"); }
  NotifySocket(NotifySocket const&) = delete;
  NotifySocket& operator=(NotifySocket const&) = delete;

  int fd() const { return socket_.get(); }
  // Whether a message is there to be taken.
  bool isPending() const {
    pollfd ready{fd(), POLLIN, 0};
    return ::poll(&ready, 1, 0) == 1;
  }
  // The next message; empty when none comes within half a minute.
  std::string take() const {
    pollfd ready{fd(), POLLIN, 0};
    if (::poll(&ready, 1, 30000) != 1) return {};
    char text[512];
    auto const length = ::recv(fd(), text, sizeof text, 0);
    return length < 0 ? std::string() : std::string(text, static_cast<std::size_t>(length));
  }
  // Takes messages up to this one; false when it does not come.
  bool awaits(std::string const& message) const {
    for (;;) {
      auto const taken = take();
      if (taken == message) return true;
      if (taken.empty()) return false;
    }
  }

 private:
  TemporaryFolder const folder_;
  std::string const path_ = folder_ / "notify";
  Oru::Mount::UniqueFd const socket_{::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
};

}  // namespace OruTest
