#include "support/ordinary_user.h"

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tsly {
namespace {

constexpr unsigned kNobody = 65534;
constexpr int kNotDropped = 254;

bool DropRights() {
  if (geteuid() != 0) return true;
  return setgroups(0, nullptr) == 0 && setgid(kNobody) == 0 && setuid(kNobody) == 0;
}

}  // namespace

int AsOrdinaryUser(const std::function<int()>& body) {
  const pid_t child = fork();
  if (child == 0) _exit(DropRights() ? body() : kNotDropped);
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status) == kNotDropped ? -1 : WEXITSTATUS(status);
}

}  // namespace tsly
