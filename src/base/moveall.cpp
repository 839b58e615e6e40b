#include "base/moveall.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <optional>
#include <thread>

#include "base/error.h"

namespace mirel {

namespace fs = std::filesystem;

namespace {

constexpr const char* journalName = ".moves";

/// A descriptor that is closed with its scope.
class Descriptor {
 public:
  Descriptor(const fs::path& file, int flags) : number(open(file.c_str(), flags | O_CLOEXEC)) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (number >= 0) close(number);
  }
  int get() const { return number; }

 private:
  int number;
};

/// Held while files move into a folder. Where folders cannot be locked, nobody waits.
class FolderLock {
 public:
  explicit FolderLock(const fs::path& folder) : descriptor(folder, O_RDONLY | O_DIRECTORY) {
    while (descriptor.get() >= 0 && flock(descriptor.get(), LOCK_EX) != 0 && errno == EINTR)
      continue;
  }

 private:
  Descriptor descriptor;  // closing it opens the lock
};

void synchronise(const fs::path& path) {
  const Descriptor descriptor(path, O_RDONLY);
  if (descriptor.get() >= 0) fsync(descriptor.get());
}

std::optional<ino_t> inodeOf(const fs::path& file) {
  struct stat status {};
  if (lstat(file.c_str(), &status) != 0) return std::nullopt;
  return status.st_ino;
}

struct Move {
  std::string name;
  ino_t file = 0;  ///< the new one's inode
};

[[noreturn]] void fail(const fs::path& target, int systemError) {
  throw Error(target.string(), std::string("cannot be written: ") + std::strerror(systemError));
}

void writeJournal(const fs::path& hidden, const std::vector<Move>& moves) {
  std::string text;
  for (const Move& move : moves)
    text += std::to_string(move.file) + " " + move.name + '\0';  // as no name holds
  const fs::path started = hidden / (std::string(journalName) + ".part");
  std::ofstream os(started, std::ios::binary);
  os << text;
  os.close();
  if (!os) throw Error(started.string(), "cannot be written");
  synchronise(started);
  if (std::rename(started.c_str(), (hidden / journalName).c_str()) != 0) fail(started, errno);
  synchronise(hidden);
}

std::vector<Move> readJournal(const fs::path& hidden) {
  std::vector<Move> moves;
  std::ifstream is(hidden / journalName, std::ios::binary);
  Move move;
  while (is >> move.file && is.get() == ' ' && std::getline(is, move.name, '\0'))
    if (move.name.find('/') == std::string::npos) moves.push_back(move);
  return moves;
}

/// Lets two files change places, or moves `from` where there is none at `to`. The system's error,
/// 0 for none.
int exchange(const fs::path& from, const fs::path& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_EXCHANGE) == 0) return 0;
  if (errno == ENOENT) return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // A file system without exchange: by way of a third name.
  const fs::path aside = from.string() + ".old";
  if (std::rename(to.c_str(), aside.c_str()) != 0 && errno != ENOENT) return errno;
  if (std::rename(from.c_str(), to.c_str()) != 0) {
    const int failure = errno;
    std::rename(aside.c_str(), to.c_str());
    return failure;
  }
  std::rename(aside.c_str(), from.c_str());
  return 0;
}

/// Whether the old state is back.
bool undo(const fs::path& folder, const fs::path& hidden, const std::vector<Move>& moves,
          std::size_t done) {
  bool good = true;
  while (done-- > 0) {
    const fs::path from = hidden / moves[done].name, to = folder / moves[done].name;
    const bool replaced = inodeOf(from).has_value();
    good = (replaced ? exchange(from, to) : std::rename(to.c_str(), from.c_str())) == 0 && good;
  }
  return good;
}

void finishMoves(const fs::path& folder, const fs::path& hidden) {
  const FolderLock lock(folder);
  for (const Move& move : readJournal(hidden)) {
    const fs::path from = hidden / move.name;
    if (inodeOf(from) == move.file && exchange(from, folder / move.name) != 0) return;
  }
  synchronise(folder);
  std::error_code ignored;
  fs::remove(hidden / journalName, ignored);
}

std::string machineText() {
  char name[256] = "";
  gethostname(name, sizeof name - 1);
  char text[20];
  std::snprintf(text, sizeof text, "%08zx", std::hash<std::string>()(name) & 0xffffffffU);
  return text;
}

std::string hiddenPrefix() { return ".mirel-" + machineText() + "-"; }

/// The process that a hidden name of this machine tells; 0 for other names.
long processOf(const std::string& name) {
  const std::string prefix = hiddenPrefix();
  if (!name.starts_with(prefix) || !name.ends_with(".part")) return 0;
  return std::strtol(name.c_str() + prefix.size(), nullptr, 10);
}

/// Whether a process is dead, and has a number only until its parent asks how it ended. Where a
/// container's first process never asks, that is for good.
bool isZombie(long process) {
  std::ifstream is("/proc/" + std::to_string(process) + "/stat");
  std::string status;
  std::getline(is, status, '\0');
  // "1234 (name) Z ...", of which the name may hold anything.
  const std::size_t name = status.rfind(") ");
  return name != std::string::npos && status.find_first_of("ZX", name + 2) == name + 2;
}

bool isGone(long process) {
  if (process <= 0) return false;
  return (kill(static_cast<pid_t>(process), 0) != 0 && errno == ESRCH) || isZombie(process);
}

/// Hidden files and folders that processes of this machine made for which `isMeant` holds.
std::vector<fs::path> hiddenIn(const fs::path& folder, const std::function<bool(long)>& isMeant) {
  std::error_code ignored;
  std::vector<fs::path> found;
  for (fs::directory_iterator entry(folder, ignored), end; !ignored && entry != end;
       entry.increment(ignored)) {
    const long process = processOf(entry->path().filename().string());
    if (process != 0 && isMeant(process)) found.push_back(entry->path());
  }
  return found;
}

}  // namespace

void moveAll(const fs::path& folder, const fs::path& hidden,
             const std::vector<std::string>& names) {
  std::vector<Move> moves;
  for (const std::string& name : names) {
    const std::optional<ino_t> inode = inodeOf(hidden / name);
    if (!inode) fail(folder / name, ENOENT);
    moves.push_back({name, *inode});
  }
  const FolderLock lock(folder);
  writeJournal(hidden, moves);
  for (std::size_t n = 0; n < moves.size(); ++n) {
    const int failure = exchange(hidden / moves[n].name, folder / moves[n].name);
    if (failure == 0) continue;
    std::error_code ignored;
    if (undo(folder, hidden, moves, n)) fs::remove(hidden / journalName, ignored);
    fail(folder / moves[n].name, failure);
  }
  synchronise(folder);
  std::error_code ignored;
  fs::remove(hidden / journalName, ignored);
}

bool movesAreLeft(const fs::path& hidden) { return inodeOf(hidden / journalName).has_value(); }

// Short: the final name with something before and behind could exceed the longest file name.
std::string hiddenName() {
  static std::atomic<unsigned> counter{0};
  return hiddenPrefix() + std::to_string(getpid()) + "-" + std::to_string(counter++) + ".part";
}

bool isHiddenName(const std::string& name) { return processOf(name) != 0; }

void removeOwnHidden(const fs::path& folder) {
  using Clock = std::chrono::steady_clock;
  // What a busy disk may need for what is being moved, and what removing may.
  constexpr auto moving = std::chrono::minutes(1);
  constexpr auto removing = std::chrono::seconds(2);
  constexpr auto step = std::chrono::milliseconds(1);
  std::error_code ignored;
  for (const fs::path& path : hiddenIn(folder, [](long process) { return process == getpid(); })) {
    for (const auto end = Clock::now() + moving; movesAreLeft(path) && Clock::now() < end;)
      std::this_thread::sleep_for(step);
    // The process goes on meanwhile: removing fails where it renames a file in the folder just
    // then; and it never succeeds where the file system keeps open files under other names.
    for (const auto end = Clock::now() + removing;
         inodeOf(path) && !movesAreLeft(path) && Clock::now() < end;) {
      fs::remove_all(path, ignored);
      if (inodeOf(path)) std::this_thread::sleep_for(step);
    }
  }
}

void clearLeftovers(const fs::path& folder) {
  std::error_code ignored;
  for (const fs::path& path : hiddenIn(folder, isGone)) {
    if (movesAreLeft(path)) finishMoves(folder, path);
    if (!movesAreLeft(path)) fs::remove_all(path, ignored);
  }
}

}  // namespace mirel
