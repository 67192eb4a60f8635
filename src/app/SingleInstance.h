// SPDX-License-Identifier: MIT
#pragma once

#include <QLocalServer>
#include <QObject>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace vorrik {

// What one launch can ask of the running instance.
enum class Command { Show, Toggle, Start, Stop };

// The word that carries command over the channel, and back.
std::string_view commandWord(Command command);
std::optional<Command> commandFromWord(std::string_view word);

// What lstat reports for a path that exists.
struct DirFacts {
  bool directory = false;  // a real directory, not a symlink to one
  unsigned uid = 0;
  unsigned mode = 0;  // the permission bits
};
// Looks a path up without following a final symlink; nothing when the path does not exist.
using DirProbe = std::function<std::optional<DirFacts>(const std::string&)>;
// Reads an environment variable; nothing when it is unset.
using EnvLookup = std::function<std::optional<std::string>(const char*)>;

// Why a directory cannot hold the channel, or empty when it is private to uid.
std::string privacyProblem(const std::optional<DirFacts>& facts, unsigned uid);

// Where the lock file and the socket live.
struct DirChoice {
  // Empty when there is no place at all.
  std::string dir;
  // The fallback under the cache directory: made 0700 when missing, then checked again.
  bool create = false;
  // For stderr: why the runtime directory was passed over, or why there is no place.
  std::string note;
};

// The user's runtime directory when it is an absolute path private to uid, else a "vorrik"
// folder in the cache directory ($XDG_CACHE_HOME, or home's .cache); home comes from the
// password database and is used when HOME is unset.
DirChoice chooseInstanceDir(const EnvLookup& env, const std::string& home, unsigned uid,
                            const DirProbe& probe);

// One running copy per user: the first launch takes a lock file in a directory only its user
// can enter and listens on a local socket beside it; a later launch hands its command to that
// copy over the socket and ends.
class SingleInstance final : public QObject {
  Q_OBJECT

 public:
  enum class Outcome {
    Primary,      // this process is now the instance
    HandedOver,   // the running instance took the command
    NoneRunning,  // only for a hand-over that may not start an instance: nobody runs
    Unguarded,    // no guard could be set up; this process runs without one
    NoAnswer,     // an instance holds the lock but does not answer
  };
  struct Claim {
    Outcome outcome = Outcome::Unguarded;
    // A line for stderr, or empty.
    std::string message;
  };

  // dir empty: the directory chooseInstanceDir picks for this user.
  explicit SingleInstance(std::string dir = {}, QObject* parent = nullptr);
  ~SingleInstance() override;
  SingleInstance(const SingleInstance&) = delete;
  SingleInstance& operator=(const SingleInstance&) = delete;

  // Needs no application object: becomes the instance, or hands command to the one that runs;
  // with mayStart false never becomes the instance.
  Claim claim(Command command, bool mayStart = true);
  // Answers other launches from the event loop; call once, after a Primary claim.
  void serve();

 signals:
  // Another launch of the same user asked for command.
  void commandReceived(vorrik::Command command);

 private:
  enum class HandOver { Taken, Unreachable, Silent, Foreign };
  HandOver handOver(Command command, std::string& display) const;
  bool listenHere(std::string& error);
  void accept();
  void releaseLock();

  std::string dir_;
  int lockFd_ = -1;
  int listenFd_ = -1;
  QLocalServer server_;
};

}  // namespace vorrik
