// SPDX-License-Identifier: MIT
#include "app/SingleInstance.h"

#include <fcntl.h>
#include <poll.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <QLocalSocket>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace vorrik {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::string_view kLockName = "/vorrik.lock";
constexpr std::string_view kSocketName = "/vorrik.socket";
// While an instance starts or ends, its lock and its socket do not change together.
constexpr auto kClaimFor = std::chrono::seconds(3);
constexpr auto kRetryEvery = std::chrono::milliseconds(20);
// Start-up under a sanitizer can take seconds before the instance reads its socket.
constexpr int kAnswerMs = 10000;
// A line longer than this is not a command.
constexpr qint64 kMaxLine = 64;
constexpr std::size_t kMaxSocketPath = sizeof(sockaddr_un::sun_path) - 1;

constexpr std::array<std::pair<Command, std::string_view>, 4> kWords{{
    {Command::Show, "show"},
    {Command::Toggle, "toggle"},
    {Command::Start, "start"},
    {Command::Stop, "stop"},
}};

std::string lastError() {
  return std::error_code(errno, std::generic_category()).message();
}

std::optional<DirFacts> lstatProbe(const std::string& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) {
    return std::nullopt;
  }
  return DirFacts{S_ISDIR(info.st_mode), info.st_uid, info.st_mode & 07777U};
}

std::optional<std::string> realEnv(const char* name) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): read before any thread starts
  const char* value = std::getenv(name);
  if (value == nullptr) {
    return std::nullopt;
  }
  return std::string(value);
}

std::string passwordHome(uid_t uid) {
  passwd entry{};
  passwd* found = nullptr;
  std::vector<char> buffer(16384);
  if (::getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr ||
      entry.pw_dir == nullptr) {
    return {};
  }
  return entry.pw_dir;
}

// mkdir -p with 0700 for what it creates; the last folder made private if it is ours.
void makePrivateDir(const std::string& dir) {
  for (std::size_t slash = dir.find('/', 1); slash != std::string::npos;
       slash = dir.find('/', slash + 1)) {
    ::mkdir(dir.substr(0, slash).c_str(), 0700);
  }
  ::mkdir(dir.c_str(), 0700);
  const auto facts = lstatProbe(dir);
  if (facts && facts->directory && facts->uid == ::getuid() && (facts->mode & 077U) != 0) {
    ::chmod(dir.c_str(), 0700);
  }
}

bool fillAddress(sockaddr_un& address, const std::string& path) {
  address = {};
  address.sun_family = AF_UNIX;
  if (path.size() > kMaxSocketPath) {
    return false;
  }
  std::memcpy(static_cast<void*>(address.sun_path), path.data(), path.size());
  return true;
}

bool samePeerUser(int fd) {
  ucred peer{};
  socklen_t size = sizeof peer;
  return ::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::getuid();
}

std::string lockHolder(int fd) {
  std::array<char, 32> text{};
  const ssize_t got = ::pread(fd, text.data(), text.size() - 1, 0);
  std::string pid(text.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
  while (!pid.empty() && (pid.back() == '\n' || pid.back() == ' ')) {
    pid.pop_back();
  }
  return pid.empty() ? std::string("another process") : "process " + pid;
}

SingleInstance::Claim unguarded(std::string_view why) {
  return {SingleInstance::Outcome::Unguarded,
          "cannot set up the guard against a second Vorrik (" + std::string(why) + ")"};
}

}  // namespace

std::string_view commandWord(Command command) {
  for (const auto& [known, word] : kWords) {
    if (known == command) {
      return word;
    }
  }
  return {};
}

std::optional<Command> commandFromWord(std::string_view word) {
  for (const auto& [command, known] : kWords) {
    if (known == word) {
      return command;
    }
  }
  return std::nullopt;
}

std::string privacyProblem(const std::optional<DirFacts>& facts, unsigned uid) {
  if (!facts) {
    return "does not exist";
  }
  if (!facts->directory) {
    return "is not a directory";
  }
  if (facts->uid != uid) {
    return "belongs to another user";
  }
  if ((facts->mode & 077U) != 0) {
    return "is open to other users";
  }
  return {};
}

DirChoice chooseInstanceDir(const EnvLookup& env, const std::string& home, unsigned uid,
                            const DirProbe& probe) {
  const std::size_t room = kMaxSocketPath - kSocketName.size();
  DirChoice choice;
  if (const auto runtime = env("XDG_RUNTIME_DIR"); runtime && !runtime->empty()) {
    std::string problem;
    if (runtime->front() != '/') {
      problem = "is not an absolute path";
    } else if (runtime->size() > room) {
      problem = "is too long for a socket's name";
    } else {
      problem = privacyProblem(probe(*runtime), uid);
    }
    if (problem.empty()) {
      choice.dir = *runtime;
      return choice;
    }
    choice.note = "XDG_RUNTIME_DIR " + *runtime + " " + problem;
  }
  std::string cache;
  if (const auto xdg = env("XDG_CACHE_HOME"); xdg && !xdg->empty() && xdg->front() == '/') {
    cache = *xdg;
  } else {
    const auto fromEnv = env("HOME");
    std::string base = fromEnv && !fromEnv->empty() && fromEnv->front() == '/' ? *fromEnv : home;
    while (base.size() > 1 && base.back() == '/') {
      base.pop_back();
    }
    if (!base.empty()) {
      cache = (base == "/" ? std::string() : base) + "/.cache";
    }
  }
  const auto addNote = [&choice](const std::string& text) {
    choice.note += (choice.note.empty() ? "" : "; ") + text;
  };
  if (cache.empty()) {
    addNote("no home directory for a private folder");
    return choice;
  }
  std::string dir = cache + "/vorrik";
  if (dir.size() > room) {
    addNote(dir + " is too long for a socket's name");
    return choice;
  }
  choice.dir = std::move(dir);
  choice.create = true;
  return choice;
}

SingleInstance::SingleInstance(std::string dir, QObject* parent)
    : QObject(parent), dir_(std::move(dir)) {}

SingleInstance::~SingleInstance() {
  // The socket goes before the lock, so no later instance ever loses its own socket to us.
  server_.close();
  if (listenFd_ >= 0) {
    ::close(listenFd_);
    ::unlink((dir_ + std::string(kSocketName)).c_str());
  }
  releaseLock();
}

SingleInstance::Claim SingleInstance::claim(Command command, bool mayStart) {
  std::string note;
  if (dir_.empty()) {
    const DirChoice choice =
        chooseInstanceDir(realEnv, passwordHome(::getuid()), ::getuid(), lstatProbe);
    if (choice.dir.empty()) {
      return unguarded(choice.note);
    }
    if (choice.create) {
      makePrivateDir(choice.dir);
    }
    if (const auto problem = privacyProblem(lstatProbe(choice.dir), ::getuid()); !problem.empty()) {
      return unguarded((choice.note.empty() ? "" : choice.note + "; ") + choice.dir + " " +
                       problem);
    }
    dir_ = choice.dir;
    if (!choice.note.empty()) {
      note = choice.note + "; using " + dir_;
    }
  }
  const std::string lockPath = dir_ + std::string(kLockName);
  lockFd_ = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (lockFd_ < 0) {
    return unguarded("cannot open " + lockPath + ": " + lastError());
  }
  const auto deadline = Clock::now() + kClaimFor;
  for (;;) {
    if (::flock(lockFd_, LOCK_EX | LOCK_NB) == 0) {
      if (!mayStart) {
        releaseLock();
        return {Outcome::NoneRunning, "Vorrik is not running"};
      }
      const std::string pid = std::to_string(::getpid()) + "\n";
      if (::ftruncate(lockFd_, 0) != 0 || ::pwrite(lockFd_, pid.data(), pid.size(), 0) < 0) {
        // Only the messages of later launches lose the number.
      }
      std::string error;
      if (!listenHere(error)) {
        releaseLock();
        return unguarded(error);
      }
      return {Outcome::Primary, note};
    }
    if (errno != EWOULDBLOCK && errno != EINTR) {
      Claim result = unguarded("cannot lock " + lockPath + ": " + lastError());
      releaseLock();
      return result;
    }
    std::string display;
    switch (handOver(command, display)) {
      case HandOver::Taken: {
        releaseLock();
        // NOLINTNEXTLINE(concurrency-mt-unsafe): read before any thread starts
        const char* ours = std::getenv("DISPLAY");
        if (command == Command::Show && display != (ours == nullptr ? "" : ours)) {
          return {Outcome::HandedOver, "Vorrik already runs on display " +
                                           (display.empty() ? std::string("(none)") : display) +
                                           " and shows its panel there"};
        }
        return {Outcome::HandedOver, {}};
      }
      case HandOver::Silent: {
        Claim result{Outcome::NoAnswer,
                     "Vorrik already runs (" + lockHolder(lockFd_) + ") but does not answer"};
        releaseLock();
        return result;
      }
      case HandOver::Foreign: {
        releaseLock();
        return unguarded("the socket in " + dir_ + " answers for another user");
      }
      case HandOver::Unreachable:
        break;
    }
    if (Clock::now() >= deadline) {
      Claim result{Outcome::NoAnswer, "Vorrik already runs (" + lockHolder(lockFd_) +
                                          ") but its socket in " + dir_ + " is closed"};
      releaseLock();
      return result;
    }
    std::this_thread::sleep_for(kRetryEvery);
  }
}

SingleInstance::HandOver SingleInstance::handOver(Command command, std::string& display) const {
  sockaddr_un address{};
  if (!fillAddress(address, dir_ + std::string(kSocketName))) {
    return HandOver::Unreachable;
  }
  const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    return HandOver::Unreachable;
  }
  struct Closer {
    int fd;
    ~Closer() { ::close(fd); }
  } closer{fd};
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): the sockets API's own cast
  if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return HandOver::Unreachable;
  }
  if (!samePeerUser(fd)) {
    return HandOver::Foreign;
  }
  const std::string line = std::string(commandWord(command)) + "\n";
  if (::send(fd, line.data(), line.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(line.size())) {
    return HandOver::Unreachable;
  }
  std::string reply;
  const auto until = Clock::now() + std::chrono::milliseconds(kAnswerMs);
  while (reply.find('\n') == std::string::npos) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
    if (left <= 0) {
      return HandOver::Silent;
    }
    pollfd readable{fd, POLLIN, 0};
    const int ready = ::poll(&readable, 1, static_cast<int>(left));
    if (ready < 0 && errno == EINTR) {
      continue;
    }
    if (ready <= 0) {
      return ready == 0 ? HandOver::Silent : HandOver::Unreachable;
    }
    std::array<char, 256> chunk{};
    const ssize_t got = ::read(fd, chunk.data(), chunk.size());
    if (got <= 0) {
      // Closed unanswered: the instance is ending, so the lock is about to be free.
      return HandOver::Unreachable;
    }
    reply.append(chunk.data(), static_cast<std::size_t>(got));
  }
  reply.erase(reply.find('\n'));
  if (reply.rfind("ok", 0) != 0) {
    return HandOver::Unreachable;
  }
  display = reply.size() > 3 ? reply.substr(3) : std::string();
  return HandOver::Taken;
}

bool SingleInstance::listenHere(std::string& error) {
  const std::string path = dir_ + std::string(kSocketName);
  sockaddr_un address{};
  if (!fillAddress(address, path)) {
    error = path + " is too long for a socket's name";
    return false;
  }
  // We hold the lock, so whatever is there was left by an instance that has ended.
  ::unlink(path.c_str());
  const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): the sockets API's own cast
  if (fd < 0 || ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      ::chmod(path.c_str(), 0600) != 0 || ::listen(fd, SOMAXCONN) != 0) {
    error = "cannot listen on " + path + ": " + lastError();
    if (fd >= 0) {
      ::close(fd);
    }
    return false;
  }
  listenFd_ = fd;
  return true;
}

void SingleInstance::serve() {
  if (listenFd_ < 0) {
    return;
  }
  connect(&server_, &QLocalServer::newConnection, this, &SingleInstance::accept);
  // Launches that came before the event loop wait in the socket's backlog until now.
  if (server_.listen(listenFd_)) {
    listenFd_ = -1;
  }
}

void SingleInstance::accept() {
  const QByteArray display = qgetenv("DISPLAY");
  while (QLocalSocket* socket = server_.nextPendingConnection()) {
    connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    if (!samePeerUser(static_cast<int>(socket->socketDescriptor()))) {
      socket->abort();
      continue;
    }
    const auto read = [this, socket, display] {
      while (socket->canReadLine()) {
        const QByteArray line = socket->readLine().trimmed();
        const auto command =
            commandFromWord(std::string_view(line.constData(), static_cast<size_t>(line.size())));
        if (!command) {
          socket->abort();
          return;
        }
        socket->write("ok " + display + "\n");
        socket->flush();
        emit commandReceived(*command);
      }
      if (socket->bytesAvailable() > kMaxLine) {
        socket->abort();
      }
    };
    connect(socket, &QLocalSocket::readyRead, this, read);
    read();
  }
}

void SingleInstance::releaseLock() {
  if (lockFd_ >= 0) {
    ::close(lockFd_);
    lockFd_ = -1;
  }
}

}  // namespace vorrik
