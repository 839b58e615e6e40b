#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "base/moveall.h"

namespace mirel {

/// The number of a process that is no more.
inline pid_t goneProcess() {
  const pid_t child = fork();
  if (child == 0) _exit(0);
  waitpid(child, nullptr, 0);
  return child;
}

/// The name that a process would have given to a hidden folder of its own.
inline std::string hiddenNameOf(pid_t process) {
  const std::string mine = hiddenName(), number = "-" + std::to_string(getpid()) + "-";
  const std::size_t at = mine.find(number);
  return mine.substr(0, at + 1) + std::to_string(process) + mine.substr(at + number.size() - 1);
}

}  // namespace mirel
