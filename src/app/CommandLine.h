// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/SingleInstance.h"

namespace vorrik {

class AppDelegate;

// What the arguments after the program's name ask for.
struct Arguments {
  enum class Kind { Run, Help, Version, Bad };
  Kind kind = Kind::Run;
  // For Run: what to hand to the running instance, or to do once this one has started.
  Command command = Command::Show;
  // For Bad: the offending argument, said in a few words.
  std::string error;
};

// Reads the arguments; --help and --version win over everything else.
Arguments parseArguments(const std::vector<std::string>& args);
// The usage text, one option a line, ending with a newline.
std::string usageText();

// Answers --help, --version and bad arguments, and settles which launch is the instance: the
// exit status when this launch is done, or nothing when it should run Vorrik and then perform
// *command. Call it before the application object exists.
std::optional<int> handleCommandLine(int argc, char** argv, SingleInstance& instance,
                                     Command& command);

// Does command in the running instance: Show brings up the panel, the others drive the panel's
// run like its Start button.
void perform(AppDelegate& delegate, Command command);

}  // namespace vorrik
