// SPDX-License-Identifier: MIT
// What a launch reads from its arguments, and where it keeps its lock and socket.
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <sstream>
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
      {{"toggle"}, Kind::Bad, Command::Show},
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

const std::string kCache = "/home/me/.cache/vorrik";

struct DirCase {
  const char* what;
  std::string env;                  // NAME=value pairs, separated by spaces
  std::optional<DirFacts> runtime;  // what is at XDG_RUNTIME_DIR
  std::string home;                 // from the password database
  std::string dir;                  // one under the cache directory is made when missing
  std::string note;                 // a part of it; empty: no note
};

TEST(CommandLine, KeepsTheChannelWhereOnlyTheUserCanReachIt) {
  const DirFacts mine{true, kMe, 0700};
  const std::vector<DirCase> cases = {
      {"private runtime dir", "XDG_RUNTIME_DIR=/run/user/1000", mine, "/home/me", "/run/user/1000",
       ""},
      {"runtime dir of another user", "XDG_RUNTIME_DIR=/run/user/0 HOME=/home/me",
       DirFacts{true, kOther, 0700}, "", kCache, "belongs to another user"},
      {"runtime dir others may enter", "XDG_RUNTIME_DIR=/tmp HOME=/home/me",
       DirFacts{true, kMe, 01777}, "", kCache, "is open to other users"},
      {"runtime path is a file", "XDG_RUNTIME_DIR=/run/f HOME=/home/me", DirFacts{false, kMe, 0600},
       "", kCache, "is not a directory"},
      {"runtime dir missing", "XDG_RUNTIME_DIR=/run/gone HOME=/home/me", std::nullopt, "", kCache,
       "does not exist"},
      {"runtime dir relative", "XDG_RUNTIME_DIR=run HOME=/home/me", mine, "", kCache,
       "not an absolute path"},
      {"runtime dir too long for a socket", "XDG_RUNTIME_DIR=" + kLong + " HOME=/home/me", mine, "",
       kCache, "too long"},
      {"no runtime dir, cache home set",
       "XDG_CACHE_HOME=/c HOME=/home/me",
       {},
       "",
       "/c/vorrik",
       ""},
      {"relative cache home ignored", "XDG_CACHE_HOME=c HOME=/home/me/", {}, "", kCache, ""},
      {"empty runtime dir is unset", "XDG_RUNTIME_DIR= HOME=/home/me", {}, "", kCache, ""},
      {"root without HOME", "", {}, "/root", "/root/.cache/vorrik", ""},
      {"home is the file system root", "HOME=/", {}, "", "/.cache/vorrik", ""},
      {"nowhere at all", "", {}, "", "", "no home directory"},
      {"cache too long for a socket", "XDG_CACHE_HOME=" + kLong, {}, "", "", "too long"},
  };
  for (const DirCase& c : cases) {
    std::map<std::string, std::string> env;
    std::istringstream pairs(c.env);
    for (std::string pair; pairs >> pair;) {
      env[pair.substr(0, pair.find('='))] = pair.substr(pair.find('=') + 1);
    }
    const auto lookup = [&env](const char* name) -> std::optional<std::string> {
      const auto found = env.find(name);
      return found == env.end() ? std::nullopt : std::optional<std::string>(found->second);
    };
    const auto runtime = lookup("XDG_RUNTIME_DIR");
    const auto probe = [&](const std::string& path) -> std::optional<DirFacts> {
      return path == runtime ? c.runtime : std::nullopt;
    };
    const DirChoice choice = chooseInstanceDir(lookup, c.home, kMe, probe);
    EXPECT_EQ(choice.dir, c.dir) << c.what;
    EXPECT_EQ(choice.create, c.dir.ends_with("/vorrik")) << c.what;
    if (c.note.empty()) {
      EXPECT_EQ(choice.note, "") << c.what;
    } else {
      EXPECT_NE(choice.note.find(c.note), std::string::npos) << c.what << ": " << choice.note;
    }
  }
}

}  // namespace
}  // namespace vorrik
