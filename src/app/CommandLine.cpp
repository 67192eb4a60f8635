// SPDX-License-Identifier: MIT
#include "app/CommandLine.h"

#include <QMetaObject>
#include <QWidget>

#include <iostream>

#include "app/AppDelegate.h"

#ifndef VORRIK_SHORT_VERSION
#define VORRIK_SHORT_VERSION "1.1"
#endif

namespace vorrik {

Arguments parseArguments(const std::vector<std::string>& args) {
  Arguments result;
  bool commanded = false;
  for (const std::string& arg : args) {
    if (arg == "--help" || arg == "-h") {
      return {Arguments::Kind::Help, Command::Show, {}};
    }
    if (arg == "--version") {
      return {Arguments::Kind::Version, Command::Show, {}};
    }
  }
  for (const std::string& arg : args) {
    const auto command = arg.rfind("--", 0) == 0 ? commandFromWord(arg.substr(2)) : std::nullopt;
    if (!command || *command == Command::Show) {
      return {Arguments::Kind::Bad, Command::Show, "unknown argument '" + arg + "'"};
    }
    if (commanded) {
      return {Arguments::Kind::Bad, Command::Show, "only one of --toggle, --start, --stop"};
    }
    commanded = true;
    result.command = *command;
  }
  return result;
}

std::string usageText() {
  return "Usage: vorrik [--toggle | --start | --stop]\n"
         "Shows Vorrik's panel, starting Vorrik when it is not running yet.\n"
         "  --toggle   start a run, or stop the one in progress\n"
         "  --start    start a run unless one is in progress\n"
         "  --stop     stop the run in progress; fails when Vorrik is not running\n"
         "  --help     show this text\n"
         "  --version  show the version\n"
         "--toggle and --start start Vorrik first when it is not running.\n";
}

std::optional<int> handleCommandLine(int argc, char** argv, SingleInstance& instance,
                                     Command& command) {
  const Arguments args = parseArguments(std::vector<std::string>(argv + 1, argv + argc));
  switch (args.kind) {
    case Arguments::Kind::Help:
      std::cout << usageText();
      return 0;
    case Arguments::Kind::Version:
      std::cout << "vorrik " VORRIK_SHORT_VERSION "\n";
      return 0;
    case Arguments::Kind::Bad:
      std::cerr << "vorrik: " << args.error << "\n" << usageText();
      return 2;
    case Arguments::Kind::Run:
      break;
  }
  command = args.command;
  // Stopping never needs a new instance; toggling and starting launch one, as a desktop
  // shortcut bound to them would want.
  const SingleInstance::Claim claim = instance.claim(command, command != Command::Stop);
  const bool unguarded = claim.outcome == SingleInstance::Outcome::Unguarded;
  if (!claim.message.empty()) {
    std::cerr << "vorrik: " << claim.message;
    if (unguarded) {
      std::cerr << (command == Command::Stop ? "; so no running Vorrik can be reached"
                                             : "; running without it");
    }
    std::cerr << "\n";
  }
  switch (claim.outcome) {
    case SingleInstance::Outcome::Primary:
      return std::nullopt;
    case SingleInstance::Outcome::Unguarded:
      return command == Command::Stop ? std::optional<int>(1) : std::nullopt;
    case SingleInstance::Outcome::HandedOver:
      return 0;
    case SingleInstance::Outcome::NoneRunning:
    case SingleInstance::Outcome::NoAnswer:
      return 1;
  }
  return 1;
}

void perform(AppDelegate& delegate, Command command) {
  if (delegate.panel() == nullptr) {
    // A launch that waited in the socket's backlog can come before start-up has built the panel.
    QMetaObject::invokeMethod(
        &delegate, [&delegate, command] { perform(delegate, command); }, Qt::QueuedConnection);
    return;
  }
  // By name, like the menu's toggle: the delegate knows the panel only as a widget.
  switch (command) {
    case Command::Show:
      delegate.applicationShouldHandleReopen(delegate.panel()->isVisible());
      break;
    case Command::Toggle:
      QMetaObject::invokeMethod(delegate.panel(), "toggle");
      break;
    case Command::Start:
      QMetaObject::invokeMethod(delegate.panel(), "startRun");
      break;
    case Command::Stop:
      QMetaObject::invokeMethod(delegate.panel(), "stopRun");
      break;
  }
}

}  // namespace vorrik
