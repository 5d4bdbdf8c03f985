// The log and the message calls.
#include "lib/log.h"

#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "lib/format.h"
#include "lib/limits.h"
#include "lib/paths.h"
#include "lib/strings.h"

namespace inst {

const char* const LevelNames[4] = {"None", "Error", "Info", "Debug"};

namespace {

// Size at which a raw write rotates, whatever the log's Rotate says.
constexpr uint32_t kRawRotate = 1048576;

// The log that the message calls write to; not owned.
Log* CurrentLog = nullptr;

// Error texts waiting for a log, in arrival order.
std::vector<std::string> EmsgLog;

// The latest error text and the number of error messages sent.
std::string LatestError;
unsigned long ErrorCount = 0;

// At most the first kMessageMax characters of path.
std::string bounded_path(const char* path) { return std::string(path, strnlen(path, kMessageMax)); }

// Adds n written bytes to the log's size, stopping at the largest value.
void grow_size(Log* log, size_t n) {
  const uint32_t room = UINT32_MAX - log->Size;
  log->Size += n < room ? static_cast<uint32_t>(n) : room;
}

void count_line(Log* log) {
  if (log->Lines < INT32_MAX) log->Lines++;
}

// Opens the log's own File when no stream is open. Returns whether a stream
// is open afterwards.
bool ensure_open(Log* log) {
  if (log->F) return true;
  if (log->File.empty()) return false;
  return log_open(log, log->File.c_str()) == 1;
}

// "%s%d" of the log's file and n, built as the rotation names are.
void numbered_name(char* buffer, int size, const std::string& file, int64_t n) {
  lprintf(buffer, size, "%s%d", file.c_str(), static_cast<int>(n));
}

// Makes log current when no log is, draining the error queue into it.
void adopt_if_none(Log* log) {
  if (CurrentLog) return;
  CurrentLog = log;
  check_emsglog();
}

// The start of every line, "<time> [<pid>] ": asctime's text cut to 20
// characters (it ends with the blank after the seconds), then the process
// id. Formatting it for every line would cost more than the rest of the
// line, so it is made again only when the second or the process changes.
struct LinePrefix {
  bool made = false;
  time_t second = 0;
  pid_t pid = 0;
  char text[64] = "";
  size_t length = 0;
};

LinePrefix prefix;

// A forked child has a process id of its own and makes its prefix afresh.
void forget_prefix() { prefix.made = false; }

const LinePrefix& line_prefix() {
  // Asking for the process id is a system call: it is asked for only when
  // the prefix is made, since every fork is noticed. Should the watch not be
  // set up, it is asked for every line.
  static const bool watching_forks = pthread_atfork(nullptr, nullptr, forget_prefix) == 0;
  const time_t now = std::time(nullptr);
  if (prefix.made && prefix.second == now && (watching_forks || prefix.pid == getpid())) {
    return prefix;
  }
  const pid_t pid = getpid();
  struct tm local;
  char stamp[64];
  const char* when = "";
  if (localtime_r(&now, &local) && asctime_r(&local, stamp)) when = stamp;
  const int n =
      std::snprintf(prefix.text, sizeof prefix.text, "%.20s [%d] ", when, static_cast<int>(pid));
  prefix.length = n > 0 ? static_cast<size_t>(n) : 0;
  prefix.second = now;
  prefix.pid = pid;
  prefix.made = true;
  return prefix;
}

// Writes "<prefix><level name>: <text>\n" to the stream in one piece;
// returns the number of characters written.
size_t write_line(FILE* f, LogLevel level, const char* text) {
  const LinePrefix& start = line_prefix();
  const std::string_view name = LevelNames[level];
  const std::string_view body = text;
  char line[kLineSize + 128];
  const size_t total = start.length + name.size() + 2 + body.size() + 1;
  // Message bodies are at most kMessageMax characters and always fit; a
  // longer text handed to log_line() directly is put together on the heap.
  std::string long_line;
  char* out = line;
  if (total > sizeof line) {
    long_line.resize(total);
    out = long_line.data();
  }
  char* at = out;
  at = std::copy_n(start.text, start.length, at);
  at = std::copy(name.begin(), name.end(), at);
  *at++ = ':';
  *at++ = ' ';
  at = std::copy(body.begin(), body.end(), at);
  *at++ = '\n';
  return std::fwrite(out, 1, total, f);
}

// Information and debug messages: the level is tested before formatting,
// and nothing is queued when no log takes them.
void write_message(LogLevel level, const char* format, va_list args) {
  if (!CurrentLog || !format || CurrentLog->Level < level) return;
  char body[kLineSize];
  vlprintf(body, kLineSize, format, args);
  log_line(CurrentLog, body, level);
}

}  // namespace

Log::~Log() {
  if (F) std::fclose(F);
}

Log* log_init(LogLevel level) {
  Log* log = new Log();
  log->Level = level;
  return log;
}

void log_free(Log** log) {
  if (!log || !*log) return;
  if (CurrentLog == *log) CurrentLog = nullptr;
  delete *log;
  *log = nullptr;
}

int log_setup(Log* log, const char* dir, const char* file) {
  if (!log) return 0;
  if (dir && access(dir, W_OK) != 0) return 0;
  log_close(log);
  char path[kLineSize];
  scpy(path, dir, kLineSize);
  attach_path(path, file, kLineSize);
  log->File = path;
  adopt_if_none(log);
  return 1;
}

int log_open(Log* log, const char* path) {
  if (!log || !path) return 0;
  const std::string name = bounded_path(path);  // path may be log->File
  log_close(log);
  struct stat st;
  if (stat(path, &st) == 0) {
    log->Size = st.st_size > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(st.st_size);
  } else {
    log->Size = 0;
  }
  log->F = s_fopen(path, "a");
  if (!log->F) return 0;
  log->File = name;
  adopt_if_none(log);
  return 1;
}

void log_close(Log* log) {
  if (log) s_fclose(&log->F);
}

void log_set(Log* log) { CurrentLog = log; }

void log_set_level(Log* log, LogLevel level) {
  if (log) log->Level = level;
}

void log_set_level_name(Log* log, const char* name) {
  if (!log || !name) return;
  for (int level = LogNone; level <= LogDebug; ++level) {
    if (s_stricmp(name, LevelNames[level]) == 0) {
      log->Level = static_cast<LogLevel>(level);
      return;
    }
  }
}

LogLevel log_level(const Log* log) { return log ? log->Level : LogNone; }

const char* log_level_name(const Log* log) {
  if (!log || log->Level < LogNone || log->Level > LogDebug) return nullptr;
  return LevelNames[log->Level];
}

void log_doflush(Log* log, int period) {
  if (log) log->DoFlush = period;
}

void log_dorotate(Log* log, int rotations, uint32_t size) {
  if (!log) return;
  log->Rotations = rotations;
  log->Rotate = size;
}

void log_flush(Log* log) {
  Log* target = log ? log : CurrentLog;
  if (target && target->F) std::fflush(target->F);
}

void log_line(Log* log, const char* text, LogLevel level) {
  if (!log || !text || level < LogNone || level > LogDebug || log->Level < level) return;
  if (!ensure_open(log)) return;
  grow_size(log, write_line(log->F, level, text));
  if (log->Size >= log->Rotate) {
    log_rotate(log);
  } else if (log->DoFlush != 0 && log->Lines % log->DoFlush == 0) {
    std::fflush(log->F);
  }
  count_line(log);
}

int log_rotate(Log* log) {
  if (!log || log->File.empty()) return 0;
  const std::string file = log->File;
  char temp[kLineSize];
  lprintf(temp, kLineSize, "%s.%05d%05d", file.c_str(), std::rand(), std::rand());
  log_close(log);
  std::rename(file.c_str(), temp);
  const int reopened = log_open(log, file.c_str());

  // Shift <File>0 .. <File><Rotations-1> up by one, dropping the oldest,
  // then the file just closed becomes <File>0.
  char newer[kMessageMax];
  char older[kMessageMax];
  int64_t rotations = log->Rotations;
  numbered_name(newer, kMessageMax, file, rotations);
  rotations--;
  while (rotations >= 0) {
    numbered_name(older, kMessageMax, file, rotations);
    std::remove(newer);
    std::rename(older, newer);
    numbered_name(newer, kMessageMax, file, rotations);
    rotations--;
  }
  std::rename(temp, newer);
  return reopened;
}

void check_emsglog() {
  if (EmsgLog.empty() || !CurrentLog) return;
  // Detached first, so that errors raised while draining start a new queue.
  std::vector<std::string> texts;
  texts.swap(EmsgLog);
  for (const std::string& text : texts) log_line(CurrentLog, text.c_str(), LogError);
}

const char* emsg_latest() { return LatestError.c_str(); }

unsigned long emsg_count() { return ErrorCount; }

namespace unchecked {

void log_raw(const char* format, ...) {
  Log* log = CurrentLog;
  if (!log || !format || !ensure_open(log)) return;
  char body[kLineSize];
  va_list args;
  va_start(args, format);
  const int len = vlprintf(body, kLineSize, format, args);
  va_end(args);
  // Differs from a message line on purpose: no level test, a fixed rotation
  // size and a bitwise flush test.
  grow_size(log, std::fwrite(body, 1, static_cast<size_t>(len), log->F));
  if (log->Size >= kRawRotate) {
    log_rotate(log);
  } else if (log->DoFlush != 0 && (log->Lines & log->DoFlush) == 0) {
    std::fflush(log->F);
  }
  count_line(log);
}

void emsg(const char* format, ...) {
  if (!format) return;
  char body[kLineSize];
  va_list args;
  va_start(args, format);
  vlprintf(body, kLineSize, format, args);
  va_end(args);
  LatestError = body;
  ++ErrorCount;
  if (CurrentLog && CurrentLog->Level != LogNone) {
    log_line(CurrentLog, body, LogError);
    return;
  }
  EmsgLog.emplace_back(body);
}

void imsg(const char* format, ...) {
  va_list args;
  va_start(args, format);
  write_message(LogInfo, format, args);
  va_end(args);
}

void dmsg(const char* format, ...) {
  va_list args;
  va_start(args, format);
  write_message(LogDebug, format, args);
  va_end(args);
}

}  // namespace unchecked
}  // namespace inst
