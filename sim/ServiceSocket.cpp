#include "sim/ServiceSocket.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <system_error>

namespace Oru::Sim {

namespace {

[[noreturn]] void raise(char const* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

pid_t senderOf(msghdr& message) {
  for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
       part = CMSG_NXTHDR(&message, part)) {
    if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_CREDENTIALS) continue;
    ucred sender{};
    std::memcpy(&sender, CMSG_DATA(part), sizeof sender);
    return sender.pid;
  }
  return 0;
}

}  // namespace

ServiceSocket::ServiceSocket(Mount::EventLoop& loop, OnMessage onMessage)
    : onMessage_(std::move(onMessage)),
      socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
  int const on = 1;
  if (!socket_ || ::setsockopt(socket_.get(), SOL_SOCKET, SO_PASSCRED, &on, sizeof on) < 0) {
    raise("socket");
  }
  // Without a name of its own the kernel gives one that is free.
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  socklen_t size = sizeof(sa_family_t);
  if (::bind(socket_.get(), reinterpret_cast<sockaddr*>(&address), size) < 0) raise("bind");
  size = sizeof address;
  if (::getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&address), &size) < 0) {
    raise("getsockname");
  }
  address_.assign(address.sun_path, size - offsetof(sockaddr_un, sun_path));
  address_[0] = '@';
  ready_ = loop.io(socket_.get(), EPOLLIN, [this](std::uint32_t) { receive(); });
}

void ServiceSocket::receive() {
  std::array<char, 4096> text;
  alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(ucred))> control;
  iovec part{text.data(), text.size()};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control.data();
  message.msg_controllen = control.size();
  ssize_t const size = ::recvmsg(socket_.get(), &message, MSG_CMSG_CLOEXEC);
  if (size <= 0) return;
  onMessage_(senderOf(message), {text.data(), static_cast<std::size_t>(size)});
}

}  // namespace Oru::Sim
