// Starting programs, and knowing what became of them, without a shell and without SIGCHLD. One thread.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace tsly {

struct StartedProcess {
  pid_t id = -1;                 // -1: it doesn't run
  int error = 0;                 // why not
  bool made_no_process = false;  // not the program's fault: the system could make no process
};

// Starts the program at the path argv[0] in a session of its own, with default signals, no descriptor but standard
// error, and the present environment and working folder. Returns when it runs or could not be started. Who called must
// see to ExitOf until that tells the end.
StartedProcess StartProcess(const std::vector<std::string>& argv);

// How a child ended, as a shell numbers it (128 and the signal's number for one that was killed); nothing while it
// runs. Asked no more after that.
std::optional<int> ExitOf(pid_t id);

// A program without a folder in $PATH, by its exact name; never in the working folder. "" if it isn't there.
std::string FindInPath(const std::string& name);

// The path can be started: 0, or the platform's code (2 not there, 5 no right or a folder, 193 no program).
int JudgeProgram(const std::string& path);

}  // namespace tsly
