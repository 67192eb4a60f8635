// SPDX-License-Identifier: MIT
#include "platform/wayland/SwayIpc.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace vorrik::wayland {
namespace {

constexpr std::array<char, 6> kMagic{'i', '3', '-', 'i', 'p', 'c'};
constexpr int kTimeoutMs = 2000;

bool writeAll(int fd, const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t n = ::send(fd, data, size, MSG_NOSIGNAL);
    if (n <= 0) {
      return false;
    }
    data += n;
    size -= static_cast<std::size_t>(n);
  }
  return true;
}

bool readAll(int fd, char* data, std::size_t size) {
  while (size > 0) {
    pollfd p{fd, POLLIN, 0};
    if (::poll(&p, 1, kTimeoutMs) <= 0) {
      return false;
    }
    const ssize_t n = ::read(fd, data, size);
    if (n <= 0) {
      return false;
    }
    data += n;
    size -= static_cast<std::size_t>(n);
  }
  return true;
}

}  // namespace

std::optional<std::string> swayRequest(const std::string& socketPath, std::uint32_t type,
                                       const std::string& payload) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (socketPath.empty() || socketPath.size() >= sizeof(address.sun_path)) {
    return std::nullopt;
  }
  std::memcpy(address.sun_path, socketPath.c_str(), socketPath.size() + 1);
  const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    return std::nullopt;
  }
  std::optional<std::string> reply;
  if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) {
    std::string message(kMagic.begin(), kMagic.end());
    const auto length = static_cast<std::uint32_t>(payload.size());
    message.append(reinterpret_cast<const char*>(&length), sizeof(length));
    message.append(reinterpret_cast<const char*>(&type), sizeof(type));
    message += payload;
    std::array<char, 14> header{};
    if (writeAll(fd, message.data(), message.size()) && readAll(fd, header.data(), header.size()) &&
        std::equal(kMagic.begin(), kMagic.end(), header.begin())) {
      std::uint32_t size = 0;
      std::memcpy(&size, header.data() + kMagic.size(), sizeof(size));
      constexpr std::uint32_t kLimit = 16U << 20U;
      std::string body(std::min(size, kLimit), '\0');
      if (size <= kLimit && readAll(fd, body.data(), body.size())) {
        reply = std::move(body);
      }
    }
  }
  ::close(fd);
  return reply;
}

bool swaySucceeded(const std::string& reply) {
  return reply.find("\"success\": false") == std::string::npos &&
         reply.find("\"success\":false") == std::string::npos &&
         reply.find("\"success\"") != std::string::npos;
}

}  // namespace vorrik::wayland
