// SPDX-License-Identifier: MIT
// What a launch reads from its arguments, and where it keeps its lock and socket.
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "app/CommandLine.h"
#include "app/SingleInstance.h"

namespace vorrik {
namespace {

using Kind = Arguments::Kind;

struct ParseCase {
  std::vector<std::string> args;
  Kind kind;
  Command command;
};

TEST(CommandLine, ReadsOneCommandAndRefusesEverythingElse) {
  const std::vector<ParseCase> cases = {
      {{}, Kind::Run, Command::Show},
      {{"--toggle"}, Kind::Run, Command::Toggle},
      {{"--start"}, Kind::Run, Command::Start},
      {{"--stop"}, Kind::Run, Command::Stop},
      {{"--help"}, Kind::Help, Command::Show},
      {{"-h"}, Kind::Help, Command::Show},
      {{"--version"}, Kind::Version, Command::Show},
      {{"--bogus", "--help"}, Kind::Help, Command::Show},
      {{"--stop", "--version"}, Kind::Version, Command::Show},
      {{"--start", "--stop"}, Kind::Bad, Command::Show},
      {{"--toggle", "--toggle"}, Kind::Bad, Command::Show},
      {{"--show"}, Kind::Bad, Command::Show},
      {{"toggle"}, Kind::Bad, Command::Show},
      {{"-toggle"}, Kind::Bad, Command::Show},
      {{"--"}, Kind::Bad, Command::Show},
      {{""}, Kind::Bad, Command::Show},
      {{"--Toggle"}, Kind::Bad, Command::Show},
  };
  for (const ParseCase& c : cases) {
    const Arguments parsed = parseArguments(c.args);
    const std::string shown = c.args.empty() ? "(none)" : c.args.front();
    EXPECT_EQ(parsed.kind, c.kind) << shown;
    EXPECT_EQ(parsed.command, c.command) << shown;
    EXPECT_EQ(parsed.error.empty(), c.kind != Kind::Bad) << shown;
  }
}

constexpr unsigned kMe = 1000;
constexpr unsigned kOther = 65534;
const std::string kLong = "/" + std::string(100, 'x');

struct DirCase {
  const char* what;
  std::map<std::string, std::string> env;
  std::string home;  // from the password database
  std::map<std::string, DirFacts> disk;
  std::string dir;
  bool create;
  std::string note;  // a part of it; empty: no note
};

TEST(CommandLine, KeepsTheChannelWhereOnlyTheUserCanReachIt) {
  const DirFacts mine{true, kMe, 0700};
  const std::vector<DirCase> cases = {
      {"private runtime dir",
       {{"XDG_RUNTIME_DIR", "/run/user/1000"}},
       "/home/me",
       {{"/run/user/1000", mine}},
       "/run/user/1000",
       false,
       ""},
      {"runtime dir of another user",
       {{"XDG_RUNTIME_DIR", "/run/user/0"}, {"HOME", "/home/me"}},
       "",
       {{"/run/user/0", {true, kOther, 0700}}},
       "/home/me/.cache/vorrik",
       true,
       "belongs to another user"},
      {"runtime dir others may enter",
       {{"XDG_RUNTIME_DIR", "/tmp"}, {"HOME", "/home/me"}},
       "",
       {{"/tmp", {true, kMe, 01777}}},
       "/home/me/.cache/vorrik",
       true,
       "is open to other users"},
      {"runtime path is a file",
       {{"XDG_RUNTIME_DIR", "/run/f"}, {"HOME", "/home/me"}},
       "",
       {{"/run/f", {false, kMe, 0600}}},
       "/home/me/.cache/vorrik",
       true,
       "is not a directory"},
      {"runtime dir missing",
       {{"XDG_RUNTIME_DIR", "/run/gone"}, {"HOME", "/home/me"}},
       "",
       {},
       "/home/me/.cache/vorrik",
       true,
       "does not exist"},
      {"runtime dir relative",
       {{"XDG_RUNTIME_DIR", "run"}, {"HOME", "/home/me"}},
       "",
       {{"run", mine}},
       "/home/me/.cache/vorrik",
       true,
       "not an absolute path"},
      {"runtime dir too long for a socket",
       {{"XDG_RUNTIME_DIR", kLong}, {"HOME", "/home/me"}},
       "",
       {{kLong, mine}},
       "/home/me/.cache/vorrik",
       true,
       "too long"},
      {"no runtime dir, cache home set",
       {{"XDG_CACHE_HOME", "/c"}, {"HOME", "/home/me"}},
       "",
       {},
       "/c/vorrik",
       true,
       ""},
      {"relative cache home ignored",
       {{"XDG_CACHE_HOME", "c"}, {"HOME", "/home/me/"}},
       "",
       {},
       "/home/me/.cache/vorrik",
       true,
       ""},
      {"empty runtime dir is unset",
       {{"XDG_RUNTIME_DIR", ""}, {"HOME", "/home/me"}},
       "",
       {},
       "/home/me/.cache/vorrik",
       true,
       ""},
      {"root without HOME", {}, "/root", {}, "/root/.cache/vorrik", true, ""},
      {"home is the file system root", {{"HOME", "/"}}, "", {}, "/.cache/vorrik", true, ""},
      {"nowhere at all", {}, "", {}, "", false, "no home directory"},
      {"cache too long for a socket", {{"XDG_CACHE_HOME", kLong}}, "", {}, "", false, "too long"},
  };
  for (const DirCase& c : cases) {
    const auto env = [&c](const char* name) -> std::optional<std::string> {
      const auto found = c.env.find(name);
      return found == c.env.end() ? std::nullopt : std::optional<std::string>(found->second);
    };
    const auto probe = [&c](const std::string& path) -> std::optional<DirFacts> {
      const auto found = c.disk.find(path);
      return found == c.disk.end() ? std::nullopt : std::optional<DirFacts>(found->second);
    };
    const DirChoice choice = chooseInstanceDir(env, c.home, kMe, probe);
    EXPECT_EQ(choice.dir, c.dir) << c.what;
    EXPECT_EQ(choice.create, c.create) << c.what;
    if (c.note.empty()) {
      EXPECT_EQ(choice.note, "") << c.what;
    } else {
      EXPECT_NE(choice.note.find(c.note), std::string::npos) << c.what << ": " << choice.note;
    }
  }
}

}  // namespace
}  // namespace vorrik
