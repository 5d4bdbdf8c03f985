// The log: levelled one-line messages with time and process id, lazy
// opening, line-period flushing, size rotation with numbered old copies, and
// a queue for error messages that arrive while no log can take them.
#ifndef INSTALLER_LIB_LOG_H_
#define INSTALLER_LIB_LOG_H_

#include <cstdint>
#include <cstdio>
#include <string>

#include "lib/format.h"

namespace inst {

enum LogLevel { LogNone = 0, LogError = 1, LogInfo = 2, LogDebug = 3 };

// "None", "Error", "Info", "Debug", indexed by level.
extern const char* const LevelNames[4];

struct Log {
  std::string File;           // the file's path, at most kMessageMax characters; empty until chosen
  LogLevel Level = LogNone;   // messages of this level or lower are written
  int32_t DoFlush = 0;        // flush period in lines; 0 never flushes on its own
  int32_t Lines = 0;          // lines written since creation, never reset
  int32_t Rotations = 4;      // rotation keeps <File>0 .. <File><Rotations>
  uint32_t Size = 0;          // bytes in the current file
  uint32_t Rotate = 1048576;  // size at which the file is rotated
  FILE* F = nullptr;          // the open stream, opened for appending; closed by log_free

  ~Log();
};

// A new log at `level`, with no file chosen; it is neither opened nor made
// current.
Log* log_init(LogLevel level);
// Closes and releases *log and sets *log to null. A log that is still the
// current one stops being current, so later errors are queued instead.
void log_free(Log** log);
// Chooses <dir>/<file> as the log file without opening it. Returns 0 when
// log is null or dir is given and not writable; else 1. Makes the log
// current (and drains the error queue into it) when no log is current.
int log_setup(Log* log, const char* dir, const char* file);
// Opens path for appending (path may be the log's own File). Returns 0 when
// the open fails (File unchanged); else sets File and Size, makes the log
// current when none is (draining the error queue) and returns 1.
int log_open(Log* log, const char* path);
// Closes the stream; File is kept, so the next line reopens it.
void log_close(Log* log);
// Makes log the current log (null: none). Does not drain the queue.
void log_set(Log* log);
void log_set_level(Log* log, LogLevel level);
// Sets the level named "None", "Error", "Info" or "Debug" (any case); an
// unknown name changes nothing.
void log_set_level_name(Log* log, const char* name);
// The level, or LogNone for a null log.
LogLevel log_level(const Log* log);
// The level's name, or null for a null log or an out-of-range level.
const char* log_level_name(const Log* log);
void log_doflush(Log* log, int period);
void log_dorotate(Log* log, int rotations, uint32_t size);
// Flushes log's stream, or the current log's when log is null.
void log_flush(Log* log);
// Writes "<time> [<pid>] <level>: <text>\n" when level is not above the
// log's Level, opening File first when no stream is open; rotates or
// flushes as configured. A file that cannot be opened loses the line.
void log_line(Log* log, const char* text, LogLevel level);
// Rotates the file now; returns what reopening the fresh file returned.
int log_rotate(Log* log);
// The message calls with an unchecked format, behind the checked ones below.
namespace unchecked {
void log_raw(const char* format, ...);
void emsg(const char* format, ...);
void imsg(const char* format, ...);
void dmsg(const char* format, ...);
}  // namespace unchecked

// Writes formatted text to the current log as it stands: no prefix, no line
// break, no level test.
template <typename... Args>
void log_raw(FormatFor<Args...> format, Args... args) {
  unchecked::log_raw(format.text(), args...);
}

// Error, information and debug messages to the current log, one line each,
// bodies cut to kMessageMax characters. Errors with no log to take them are
// queued. A null format does nothing.
template <typename... Args>
void emsg(FormatFor<Args...> format, Args... args) {
  unchecked::emsg(format.text(), args...);
}
template <typename... Args>
void imsg(FormatFor<Args...> format, Args... args) {
  unchecked::imsg(format.text(), args...);
}
template <typename... Args>
void dmsg(FormatFor<Args...> format, Args... args) {
  unchecked::dmsg(format.text(), args...);
}

// Writes the queued errors to the current log in arrival order and empties
// the queue; does nothing without a queue or a current log.
void check_emsglog();

// The body of the latest error message and the number of error messages so
// far, whether a log took them or not, so that a caller can tell whether an
// operation reported an error, and which ("" before the first).
const char* emsg_latest();
unsigned long emsg_count();

}  // namespace inst

#endif  // INSTALLER_LIB_LOG_H_
