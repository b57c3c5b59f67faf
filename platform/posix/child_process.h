// Starts programs and reports how they ended, without a command interpreter and without SIGCHLD. One thread.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace tsly {

struct StartedProcess {
  pid_t id = -1;                 // -1: not started
  int error = 0;                 // errno
  bool made_no_process = false;  // the system couldn't create a process
};

// Starts the program at the path argv[0] in its own session, with default signals, only standard error open, and the
// current environment and working folder. Returns when it runs or couldn't be started. The caller must call ExitOf
// until it returns a status.
StartedProcess StartProcess(const std::vector<std::string>& argv);

// The exit status of a child as in a shell (128 plus the signal's number if it was killed); nothing while it runs. Must
// not be called again after that.
std::optional<int> ExitOf(pid_t id);

// Searches $PATH for a program by its exact name, never in the working folder. "" if not found.
std::string FindInPath(const std::string& name);

// Whether the path can be started: 0, or the platform's code (2 not found, 5 no permission or a folder, 193 no
// program).
int JudgeProgram(const std::string& path);

}  // namespace tsly
