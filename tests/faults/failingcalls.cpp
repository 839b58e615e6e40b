// Preloaded into the program: lets the Nth call of one kind fail, or kills the process there.
//
//   MIREL_FAULT=KIND:N:ERROR   KIND  open read write close rename fsync mkdir alloc, or any
//                              N     counted from 1
//                              ERROR a number, "kill" (SIGKILL before the call), or a number with
//                                    "+" behind it: this call and all later ones of the kind
//   MIREL_FAULT_COUNT=FILE     writes there how many calls of each kind a whole run made
//
// Calls that only read system files (libraries, /proc) count as well: a fault there must do no harm
// either.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

enum Kind { opening, reading, writing, closing, renaming, synchronising, folders, memory, kinds };
constexpr std::array<const char*, kinds> names = {"open",   "read",  "write", "close",
                                                  "rename", "fsync", "mkdir", "alloc"};

// Memory runs out at something large; of the smallest pieces the C++ library itself needs some
// where it cannot report their lack.
constexpr std::size_t smallestFailing = 4096;

struct Plan {
  int kind = -1;
  long when = 0;
  int error = 0;
  bool kills = false, stays = false;
};

Plan plan;
std::atomic<bool> ready{false};
std::array<std::atomic<long>, kinds> counts{};

void readPlan() {
  const char* text = std::getenv("MIREL_FAULT");
  if (text == nullptr) return;
  for (int k = 0; k < kinds; ++k)
    if (std::strncmp(text, names[k], std::strlen(names[k])) == 0) plan.kind = k;
  const char* number = std::strchr(text, ':');
  const char* error = number == nullptr ? nullptr : std::strchr(number + 1, ':');
  if (plan.kind < 0 || error == nullptr) std::abort();
  plan.when = std::strtol(number + 1, nullptr, 10);
  plan.kills = std::strcmp(error + 1, "kill") == 0;
  plan.error = static_cast<int>(std::strtol(error + 1, nullptr, 10));
  plan.stays = error[std::strlen(error) - 1] == '+';
}

__attribute__((constructor)) void start() {
  readPlan();
  ready = true;
}

__attribute__((destructor)) void finish() {
  ready = false;
  const char* file = std::getenv("MIREL_FAULT_COUNT");
  if (file == nullptr) return;
  char text[200];
  int used = 0;
  for (int k = 0; k < kinds; ++k)
    used += std::snprintf(text + used, sizeof text - static_cast<std::size_t>(used), "%s %ld\n",
                          names[k], counts[k].load());
  const int out = open(file, O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (out >= 0 && write(out, text, static_cast<std::size_t>(used)) == used) close(out);
}

/// Whether this call is to fail; errno is set then.
bool fails(Kind kind) {
  if (!ready) return false;
  const long number = ++counts[kind];
  if (plan.kind != kind || (plan.stays ? number < plan.when : number != plan.when)) return false;
  if (plan.kills) raise(SIGKILL);
  errno = plan.error;
  return true;
}

template <typename Function>
Function* next(Function* /*type*/, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}
#define NEXT(function) next(&function, #function)

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
  mode_t mode = 0;
  if ((flags & O_CREAT) != 0) {
    va_list arguments;
    va_start(arguments, flags);
    mode = static_cast<mode_t>(va_arg(arguments, int));
    va_end(arguments);
  }
  static auto* const real = NEXT(open);
  return fails(opening) ? -1 : real(path, flags, mode);
}

// Files are as large either way on the systems that the tests run on.
int open64(const char* path, int flags, ...) __attribute__((alias("open")));

FILE* fopen(const char* path, const char* mode) {
  static auto* const real = NEXT(fopen);
  return fails(opening) ? nullptr : real(path, mode);
}

FILE* fopen64(const char* path, const char* mode) {
  static auto* const real = NEXT(fopen64);
  return fails(opening) ? nullptr : real(path, mode);
}

ssize_t read(int file, void* bytes, size_t count) {
  static auto* const real = NEXT(read);
  return fails(reading) ? -1 : real(file, bytes, count);
}

size_t fread(void* bytes, size_t size, size_t count, FILE* file) {
  static auto* const real = NEXT(fread);
  if (!fails(reading)) return real(bytes, size, count, file);
  file->_flags |= 0x20;  // as the C library marks a stream whose read has failed
  return 0;
}

ssize_t write(int file, const void* bytes, size_t count) {
  static auto* const real = NEXT(write);
  return file > 2 && fails(writing) ? -1 : real(file, bytes, count);
}

ssize_t writev(int file, const struct iovec* parts, int count) {
  static auto* const real = NEXT(writev);
  return file > 2 && fails(writing) ? -1 : real(file, parts, count);
}

size_t fwrite(const void* bytes, size_t size, size_t count, FILE* file) {
  static auto* const real = NEXT(fwrite);
  if (file == stdout || file == stderr || !fails(writing)) return real(bytes, size, count, file);
  file->_flags |= 0x20;
  return 0;
}

int close(int file) {
  static auto* const real = NEXT(close);
  const bool failing = fails(closing);
  const int error = errno;
  const int result = real(file);  // it is closed all the same, as the system does
  if (!failing) return result;
  errno = error;
  return -1;
}

int fclose(FILE* file) {
  static auto* const real = NEXT(fclose);
  const bool failing = fails(closing);
  const int error = errno;
  const int result = real(file);
  if (!failing) return result;
  errno = error;
  return EOF;
}

int rename(const char* from, const char* to) {
  static auto* const real = NEXT(rename);
  return fails(renaming) ? -1 : real(from, to);
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
  static auto* const real = NEXT(renameat2);
  return fails(renaming) ? -1 : real(fromFolder, from, toFolder, to, flags);
}

int fsync(int file) {
  static auto* const real = NEXT(fsync);
  return fails(synchronising) ? -1 : real(file);
}

int mkdir(const char* path, mode_t mode) {
  static auto* const real = NEXT(mkdir);
  return fails(folders) ? -1 : real(path, mode);
}

void* malloc(size_t size) {
  static auto* const real = NEXT(malloc);
  return size >= smallestFailing && fails(memory) ? nullptr : real(size);
}
}
