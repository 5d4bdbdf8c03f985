// Copy scripts: loading one section into command records, expanding their
// setting references, and running the commands against the file layer and
// the settings store.
#include "copy/copy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "ini/ini.h"
#include "lib/interrupt.h"
#include "lib/limits.h"
#include "lib/lines.h"
#include "lib/log.h"
#include "lib/paths.h"
#include "lib/strings.h"
#include "lib/wild.h"

namespace inst {
namespace {

constexpr size_t kVarsSize = 10000;     // work size of replace_vars, terminator included
constexpr size_t kVarsPieceMax = 8999;  // longest value or tail replace_vars copies
constexpr char kFieldSeparators[] = " \t";

// The message of the last Error command that fired.
std::string last_error;

struct Keyword {
  const char* word;
  CType type;
};

constexpr Keyword kKeywords[] = {
    {"CopyFile", CpyFile}, {"CopyDir", CpyDir}, {"MkDir", MkDir}, {"Ini", CpyIni},
    {"Rename", Rename},    {"RmFile", RmFile},  {"RmDir", RmDir}, {"Exist", Exist},
    {"Chown", Chown},      {"Chmod", Chmod},    {"Error", Error}, {"WFile", WFile},
    {"RFile", RFile},
};

// The command's type for a keyword of any case, or 0 for an unknown one.
int keyword_type(const char* word) {
  for (const Keyword& k : kKeywords) {
    if (s_stricmp(word, k.word) == 0) return k.type;
  }
  return 0;
}

bool takes_not(int type) {
  return type != MkDir && type != CpyIni && type != Rename && type != Exist && type != Error &&
         type != WFile && type != RFile;
}

bool takes_dest(int type) {
  return type != MkDir && type != RmDir && type != RmFile && type != Error;
}

std::unique_ptr<char[]> dup(const char* text) { return std::unique_ptr<char[]>(s_strdup(text)); }

// The command at index, or null when there is none.
const CCmd* command(const Copy* copy, int index) {
  if (copy == nullptr || index < 0 || static_cast<uint32_t>(index) >= copy->count ||
      static_cast<size_t>(index) >= copy->list.size()) {
    return nullptr;
  }
  return &copy->list[static_cast<size_t>(index)];
}

// One text field of the command at index, or null.
const char* field(const Copy* copy, int index, std::unique_ptr<char[]> CCmd::*member) {
  const CCmd* cmd = command(copy, index);
  return cmd == nullptr ? nullptr : (cmd->*member).get();
}

int has_type(const Copy* copy, int index, CType type) {
  const CCmd* cmd = command(copy, index);
  return cmd != nullptr && cmd->type == type ? 1 : 0;
}

// The words a command of this type takes after its keyword, for problems.
std::string usage(int type) {
  if (type == Error) return "setting message";
  std::string words = "source";
  if (takes_not(type)) words += " not";
  if (takes_dest(type)) words += " dest";
  return words + " [control [compare]]";
}

// Fills cmd from one trimmed script line (cut in place into words). Returns
// false when the line is to be dropped: no words, or a field its keyword
// needs is missing (each missing field logged). An unknown keyword or a
// dropped line is described in *problem.
bool parse_line(char* line, CCmd* cmd, std::string* problem) {
  char* next = nullptr;
  const char* word = s_strtok(line, kFieldSeparators, &next);
  if (word == nullptr) return false;
  const int type = keyword_type(word);
  if (type == 0) {
    cerror("Unknown copy type '%s'", word);
    *problem = std::string("unknown command '") + word + "'";
  }
  dmsg("Copy line 'type' is [%d]", type);
  cmd->type = static_cast<CType>(type);

  bool missing = false;
  auto take = [&](std::unique_ptr<char[]>* field, FormatFor<> missing_text,
                  FormatFor<const char*> found_text) {
    const char* w = s_strtok(nullptr, kFieldSeparators, &next);
    if (w == nullptr) {
      cerror(missing_text);
      missing = true;
      return;
    }
    *field = dup(w);
    dmsg(found_text, w);
  };
  take(&cmd->source, "Missing copy source path", "Copy line 'source' is [%s]");
  if (takes_not(type)) take(&cmd->not_, "Missing not wildcard", "Copy line 'not' is [%s]");
  if (takes_dest(type)) {
    take(&cmd->dest, "Missing copy destination path", "Copy line 'destination' is [%s]");
  }
  if (missing) {
    if (type == 0) {
      *problem += ": the line is dropped";
    } else {
      *problem = std::string("too few words for ") + copy_keyword(type) + " (" + usage(type) +
                 "): the line is dropped";
    }
    return false;
  }
  if (type == 0) *problem += ": the line is kept and fails when it runs";

  if (type == Error) {
    // The message is the rest of the line after the one separator that
    // ended the setting name, inner and leading blanks kept.
    cmd->dest = dup(next);
    dmsg("Copy list error string is '%s'", str(cmd->dest.get()));
    return true;
  }
  const char* w = s_strtok(nullptr, kFieldSeparators, &next);
  if (w != nullptr) {
    cmd->control = dup(w);
    dmsg("Copy line 'control' is [%s]", w);
    w = s_strtok(nullptr, kFieldSeparators, &next);
    if (w != nullptr) {
      cmd->control_cmp = dup(w);
      dmsg("Copy line 'control_cmp' is [%s]", w);
    }
  }
  return true;
}

// Whether text refers to a setting that has no value, or an empty one: its
// expansion leaves no trace of it.
bool loses_reference(const Copy* copy, const char* text) {
  for (const char* at = text; at != nullptr && (at = std::strstr(at, "$(")) != nullptr;) {
    const char* close = std::strchr(at + 2, ')');
    if (close == nullptr) break;
    const std::string name(at + 2, close);
    const char* value = ini_value_name(copy->ini, name.c_str());
    if (value == nullptr || *value == '\0') return true;
    at = close + 1;
  }
  return false;
}

// The load-time substitution of one accepted command: "-" as the exclusion
// list means none, and the source and destination get their references
// expanded. The other fields stay as written.
void substitute(const Copy* copy, CCmd* cmd) {
  if (cmd->not_ && std::strcmp(cmd->not_.get(), "-") == 0) cmd->not_.reset();
  cmd->lost_reference = loses_reference(copy, cmd->source.get());
  for (std::unique_ptr<char[]>* field : {&cmd->source, &cmd->dest}) {
    if (char* expanded = replace_vars(copy, field->get())) field->reset(expanded);
  }
}

// The directory part of text (up to and including its last separator, or
// the current directory) into buffer; null when there is no text.
char* path_part(const char* text, char* buffer, int bfsz) {
  if (text == nullptr || buffer == nullptr || bfsz < 1) return nullptr;
  const char* sep = last_separator(text);
  if (sep == nullptr) return currentdir(buffer, bfsz);
  lprintf(buffer, bfsz, "%.*s", static_cast<int>(sep - text + 1), text);
  return buffer;
}

// The text after the last separator of text into buffer. Without a
// separator that is all of text, or nothing when whole is false; with
// nothing after the separator it is `empty`, or nothing when that is null.
char* file_part(const char* text, char* buffer, int bfsz, bool whole, const char* empty) {
  if (text == nullptr || buffer == nullptr || bfsz < 1) return nullptr;
  const char* sep = last_separator(text);
  if (sep == nullptr && !whole) return nullptr;
  const char* name = sep == nullptr ? text : sep + 1;
  if (sep != nullptr && *name == '\0') name = empty;
  if (name == nullptr) return nullptr;
  scpy(buffer, name, bfsz);
  return buffer;
}

// One directory scan, closed when it goes out of scope. entry() is the
// current entry, null when nothing matched.
class Scan {
 public:
  Scan(const char* dir, const char* wild) : entry_(file_first(&handle_, dir, wild)) {}
  ~Scan() {
    file_free(&entry_);
    file_last(&handle_);
  }
  Scan(const Scan&) = delete;
  Scan& operator=(const Scan&) = delete;

  const File* entry() const { return entry_; }
  bool next() { return file_next(entry_, handle_) != 0; }
  bool is_dir() const { return S_ISDIR(entry_->info.st_mode); }
  // The current entry's name without its directory.
  const char* base() {
    file_filename(entry_, base_, kPathSize);
    return base_;
  }

 private:
  FHandle* handle_ = nullptr;
  File* entry_;
  char base_[kPathSize];
};

// Copies the plain file src to target. A target that does not fit in 255
// characters is not written: that is logged as the copy's opening failure
// and reported through the failure callback. Returns file_copy's result, or
// 0 for such a target.
int copy_file_to(const char* src, const char* target, unsigned long* bytes) {
  if (std::strlen(target) < static_cast<size_t>(kPathSize)) return file_copy(src, target, 1, bytes);
  errno = ENAMETOOLONG;
  cerror("Error opening '%s' for write", target);
  FSInf callbacks;
  file_old_setup(&callbacks);
  if (callbacks.xfail != nullptr) callbacks.xfail(src, target, 1);
  return 0;
}

// The copy commands (and a failed MkDir, Ini or Rename): copies the
// source's matching entries into every destination directory. Returns the
// number of files copied and directories created.
int copy_files(Copy* copy, int index, unsigned long* bytes) {
  const CCmd& cmd = *command(copy, index);
  const char* exclude = cmd.not_.get();
  std::vector<std::string> dirs;
  char path[kPathSize];
  char wild[kPathSize];
  if (copy_dst_file(copy, index, wild, kPathSize) != nullptr) {
    Scan scan(copy_dst_path(copy, index, path, kPathSize), wild);
    for (bool more = scan.entry() != nullptr; more; more = scan.next()) {
      if (scan.is_dir() && !wild_ilist(scan.base(), exclude)) dirs.emplace_back(scan.entry()->name);
    }
  }
  if (dirs.empty()) {
    cerror("No destination directories found");
    return 0;
  }

  const char* src_path = copy_src_path(copy, index, path, kPathSize);
  const char* src_wild = copy_src_file(copy, index, wild, kPathSize);
  int count = 0;
  for (const std::string& dir : dirs) {
    Scan scan(src_path, src_wild);
    if (scan.entry() == nullptr) {
      imsg("No files found to copy in '%s' matching '%s'", str(src_path), str(src_wild));
    }
    for (bool more = scan.entry() != nullptr; more && interrupt_signal() == 0; more = scan.next()) {
      const char* base = scan.base();
      if (wild_ilist(base, exclude)) continue;
      // Room for the whole joined path: one too long for a path buffer is
      // refused whole rather than cut into another name.
      char target[2 * kPathSize];
      scpy(target, dir.c_str(), sizeof target);
      attach_path(target, base, sizeof target);
      if (!scan.is_dir()) {
        if (copy_file_to(scan.entry()->name, target, bytes) == 1) ++count;
      } else if (cmd.type == CpyDir) {
        // The directory creation refuses a target that is too long.
        count += file_xcopy(scan.entry()->name, "*", exclude, target, 1, bytes);
      }
    }
  }
  return count;
}

// Whether the name holds a wildcard character.
bool has_wildcard(const char* name) { return std::strpbrk(name, "*?") != nullptr; }

// Whether name (one path component) is a top-level system directory's.

// The absolute path dir with "//", "." and ".." collapsed, as components;
// false when dir is not absolute.
bool components(const char* dir, std::vector<std::string>* parts) {
  if (!is_separator(dir[0])) return false;
  std::string part;
  for (const char* c = dir;; ++c) {
    if (*c != '\0' && !is_separator(*c)) {
      part += *c;
      continue;
    }
    if (part == "..") {
      if (!parts->empty()) parts->pop_back();
    } else if (!part.empty() && part != ".") {
      parts->push_back(part);
    }
    part.clear();
    if (*c == '\0') return true;
  }
}

// The refusal of copy_rm_forbidden for one absolute directory.
bool forbidden_in(const char* dir, const char* wild) {
  std::vector<std::string> parts;
  if (!components(dir, &parts)) return false;
  if (parts.empty()) return *wild == '\0' || has_wildcard(wild) || copy_system_dir(wild);
  return parts.size() == 1 && copy_system_dir(parts[0].c_str()) && std::strcmp(wild, "*") == 0;
}

// Refuses a removal: logs "Refusing to remove '%s', <why>" and reports the
// source through the failure callback. Returns 0, the command's result.
int refuse_removal(const char* source, FormatFor<const char*> why) {
  errno = EPERM;
  cerror(why, source);
  FSInf callbacks;
  file_old_setup(&callbacks);
  if (callbacks.xfail != nullptr) callbacks.xfail(source, nullptr, 0);
  return 0;
}

// RmFile and RmDir: removes the source's matching plain files, and for
// RmDir its matching directories with their contents. A source that lost a
// reference at load, or that copy_rm_forbidden refuses, is a failure and
// nothing is removed. Returns the number of entries removed.
int remove_files(Copy* copy, int index) {
  const CCmd& cmd = *command(copy, index);
  const char* exclude = cmd.not_.get();
  const char* source = str(cmd.source.get());
  char path[kPathSize];
  char wild[kPathSize];
  const char* dir = copy_src_path(copy, index, path, kPathSize);
  const char* pattern = copy_src_file(copy, index, wild, kPathSize);
  if (cmd.lost_reference) {
    return refuse_removal(source,
                          "Refusing to remove '%s', a setting it names is missing or empty");
  }
  if (copy_rm_forbidden(dir, pattern)) {
    return refuse_removal(source, "Refusing to remove '%s', the root or a system directory");
  }
  DirWalk walk(dir, pattern, true);
  int count = 0;
  for (bool more = walk.next(); more && interrupt_signal() == 0; more = walk.next()) {
    if (wild_ilist(walk.base(), exclude)) continue;
    if (!walk.is_dir()) {
      count += walk.remove();
    } else if (cmd.type == RmDir) {
      count += walk.remove_tree(exclude);
    }
  }
  return count;
}

// Opens a template for reading without waiting on a FIFO. Returns the
// stream, or null with errno set: EINVAL for anything but a regular file
// or a directory (which fails as unreadable), since a device or a FIFO may
// never end.
FILE* open_template(const char* path) {
  if (path == nullptr) return nullptr;
  const int fd = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return nullptr;
  struct stat st;
  if (fstat(fd, &st) != 0 || !(S_ISREG(st.st_mode) || S_ISDIR(st.st_mode))) {
    close(fd);
    errno = EINVAL;
    return nullptr;
  }
  FILE* stream = fdopen(fd, "r");
  if (stream == nullptr) close(fd);
  return stream;
}

// The debug texts of one walk: chown's or chmod's.
struct WalkTexts {
  Format<> none;
  Format<const char*> not_doing;
  Format<> all;
  Format<> failed;
  Format<const char*> skipping;
  Format<int> finished;
};

constexpr WalkTexts kChownTexts = {
    "No files found to chown",
    "Found files to chown, not doing '%s'",
    "Found files to chown, doing all of them",
    "file_chown failed",
    "Not chown'ing '%s'",
    "Finished chown'ing, %d files done",
};

// "chmod'ding" and "chmod'ing" are both the texts as they have always been.
constexpr WalkTexts kChmodTexts = {
    "No files found to chmod",
    "Found files to chmod, not doing '%s'",
    "Found files to chmod, doing all of them",
    "file_chmod failed",
    "Not chmod'ding '%s'",
    "Finished chmod'ing, %d files done",
};

// The walk behind dochown and dochmod; change(walk, follow) makes one
// change to the walk's current entry, through a link only when follow is
// set, and returns non-zero on success. Entries reached through a wildcard
// or below a directory are inside the tree (`inside`); only an entry the
// command names exactly is changed through a link.
template <typename Change>
int walk(DirWalk* dir, bool inside, const char* exclude, const WalkTexts& texts,
         const Change& change) {
  int count = 0;
  bool more = dir->next();
  if (!more) {
    dmsg(texts.none);
  } else if (exclude != nullptr) {
    dmsg(texts.not_doing, exclude);
  } else {
    dmsg(texts.all);
  }
  for (; more && interrupt_signal() == 0; more = dir->next()) {
    // Exclusions are matched against the whole path here, unlike the copy
    // and remove commands, which match the base name.
    if (exclude != nullptr && wild_ilist(dir->path(), exclude)) {
      dmsg(texts.skipping, dir->path());
      continue;
    }
    if (inside && dir->is_link()) {
      dmsg("Not following link '%s'", dir->path());
      continue;
    }
    if (dir->is_dir()) {
      DirWalk below(dir, true);
      count += walk(&below, true, exclude, texts, change);
    }
    if (!change(dir, !inside)) {
      dmsg(texts.failed);
      break;
    }
    ++count;
  }
  dmsg(texts.finished, count);
  return count;
}

// Starts the walk of the entries of path that match wild.
template <typename Change>
int walk_top(const char* path, const char* wild, const char* exclude, const WalkTexts& texts,
             const Change& change) {
  DirWalk top(path, wild, true);
  return walk(&top, wild != nullptr && has_wildcard(wild), exclude, texts, change);
}

}  // namespace

const char* copy_keyword(int type) {
  for (const Keyword& k : kKeywords) {
    if (k.type == type) return k.word;
  }
  return nullptr;
}

Copy* copy_init(Ini* ini) {
  Copy* copy = new Copy();
  copy->ini = ini;
  return copy;
}

void copy_setup(Copy* copy, FileFn ok, FileFn fail) {
  if (copy != nullptr) file_setup_fn(ok, fail);
}

int copy_load(Copy* copy, const char* file, const char* section) {
  if (copy == nullptr || file == nullptr || section == nullptr) return 0;
  OpenFile in(s_fopen(file, "r"));
  if (in.f == nullptr) {
    cerror("Error opening '%s'", file);
    return 0;
  }
  // Whatever failed before the load must not be appended to its messages.
  errno = 0;
  copy->list.clear();
  copy->count = 0;
  copy->problems.clear();
  bool in_section = false;
  LineReader reader(in.f);
  while (char* piece = reader.next()) {
    char* line = s_strtrm(piece);
    if (*line == '\0' || *line == '#') continue;
    if (*line == '[') {
      if (in_section) break;
      in_section = s_stricmp(section_name(line), section) == 0;
      continue;
    }
    if (!in_section) continue;
    if (reader.tail()) note_tail(&copy->problems, reader);
    dmsg("Process .cpy file line [%s]", line);
    CCmd cmd;
    cmd.line = reader.line();
    std::string problem;
    const bool kept = parse_line(line, &cmd, &problem);
    if (!problem.empty()) copy->problems.push_back({reader.line(), true, problem});
    if (!kept) continue;
    if (copy->ini != nullptr) substitute(copy, &cmd);
    copy->list.push_back(std::move(cmd));
    copy->count = static_cast<uint32_t>(copy->list.size());
  }
  return in_section ? 1 : 0;
}

void copy_free(Copy** copy) {
  if (copy == nullptr) return;
  delete *copy;
  *copy = nullptr;
}

int copy_count(const Copy* copy) { return copy == nullptr ? 0 : static_cast<int>(copy->count); }

const char* copy_src(const Copy* copy, int index) { return field(copy, index, &CCmd::source); }

const char* copy_dst(const Copy* copy, int index) { return field(copy, index, &CCmd::dest); }

const char* copy_not(const Copy* copy, int index) { return field(copy, index, &CCmd::not_); }

const char* copy_control(const Copy* copy, int index) { return field(copy, index, &CCmd::control); }

const char* copy_control_cmp(const Copy* copy, int index) {
  return field(copy, index, &CCmd::control_cmp);
}

int copy_cpyfile(const Copy* copy, int index) { return has_type(copy, index, CpyFile); }
int copy_cpydir(const Copy* copy, int index) { return has_type(copy, index, CpyDir); }
int copy_mkdir(const Copy* copy, int index) { return has_type(copy, index, MkDir); }
int copy_rmdir(const Copy* copy, int index) { return has_type(copy, index, RmDir); }
int copy_rmfile(const Copy* copy, int index) { return has_type(copy, index, RmFile); }
int copy_ini(const Copy* copy, int index) { return has_type(copy, index, CpyIni); }

char* copy_src_path(const Copy* copy, int index, char* buffer, int bfsz) {
  return path_part(copy_src(copy, index), buffer, bfsz);
}

char* copy_src_file(const Copy* copy, int index, char* buffer, int bfsz) {
  return file_part(copy_src(copy, index), buffer, bfsz, true, "*");
}

char* copy_dst_path(const Copy* copy, int index, char* buffer, int bfsz) {
  return path_part(copy_dst(copy, index), buffer, bfsz);
}

char* copy_dst_file(const Copy* copy, int index, char* buffer, int bfsz) {
  return file_part(copy_dst(copy, index), buffer, bfsz, false, nullptr);
}

const char* copy_error() { return last_error.c_str(); }

namespace unchecked {

void cerror(const char* format, ...) {
  if (format == nullptr) return;
  const int saved = errno;
  char text[kLineSize];
  va_list args;
  va_start(args, format);
  vlprintf(text, kLineSize, format, args);
  va_end(args);
  if (saved != 0) {
    emsg("%s, %s", text, std::strerror(saved));
  } else {
    emsg("%s", text);
  }
  errno = saved;
}

}  // namespace unchecked

char* replace_vars(const Copy* copy, const char* text) {
  if (copy == nullptr || text == nullptr || std::strstr(text, "$(") == nullptr) return nullptr;
  std::string out;
  auto append = [&out](std::string_view piece, size_t limit) {
    out.append(piece.substr(0, std::min({piece.size(), limit, kVarsSize - 1 - out.size()})));
  };
  const char* scan = text;
  for (const char* start; (start = std::strstr(scan, "$(")) != nullptr;) {
    const char* name = start + 2;
    const char* close = std::strchr(name, ')');
    // Without a closing parenthesis the rest is copied as it stands.
    if (close == nullptr) break;
    append(std::string_view(scan, static_cast<size_t>(start - scan)), kVarsSize);
    const std::string wanted(name, close);
    scan = close + 1;
    if (const char* value = ini_value_name(copy->ini, wanted.c_str())) append(value, kVarsPieceMax);
  }
  append(scan, kVarsPieceMax);
  return s_strdup(out.c_str());
}

int copy_process(Copy* copy, unsigned long* files, unsigned long* bytes, int stop_on_fail) {
  if (copy == nullptr) return 0;
  if (files != nullptr) *files = 0;
  if (bytes != nullptr) *bytes = 0;
  copy->failed.clear();
  imsg("Processing copy script...");
  for (int i = 0; const CCmd* cmd = command(copy, i); ++i) {
    dmsg("Processing [%d:%s->%s,%s,%s,%s]", static_cast<int>(cmd->type), str(cmd->source.get()),
         str(cmd->dest.get()), str(cmd->not_.get()), str(cmd->control.get()),
         str(cmd->control_cmp.get()));
    const unsigned long errors_before = emsg_count();
    const int result = copy_do(copy, i, bytes);
    if (const int signal = interrupt_signal()) {
      errno = 0;
      cerror("Interrupted by signal %d (%s), stopping...", signal, strsignal(signal));
      return 0;
    }
    if (result == 0) {
      copy->failed.push_back(
          {i, cmd->line, emsg_count() != errors_before ? emsg_latest() : "No files handled"});
      if (stop_on_fail) {
        imsg("Stop on fail set, stopping...");
        return 0;
      }
      imsg("Stop on fail NOT set, continuing...");
    } else if (result > 0 && files != nullptr) {
      *files += static_cast<unsigned long>(result);
    }
  }
  imsg("Copy script completed successfully");
  return 1;
}

const std::vector<CFailure>& copy_failures(const Copy* copy) {
  static const std::vector<CFailure> none;
  return copy == nullptr ? none : copy->failed;
}

int copy_gate_open(const Copy* copy, int index) {
  const CCmd* cmd = command(copy, index);
  if (cmd == nullptr) return 0;
  const char* ctl = ini_value_name(copy->ini, cmd->control.get());
  if (ctl == nullptr) return 1;
  const char* cmp = ini_value_name(copy->ini, cmd->control_cmp.get());
  if (cmp == nullptr) cmp = cmd->control_cmp.get();
  if (cmp == nullptr) return istrue(ctl) != 0 ? 1 : 0;
  return s_stricmp(cmp, ctl) == 0 ? 1 : 0;
}

int copy_do(Copy* copy, int index, unsigned long* bytes) {
  const CCmd* cmd = command(copy, index);
  if (cmd == nullptr) return 0;
  if (!copy_gate_open(copy, index)) {
    dmsg("Doing nothing due to controlling setting");
    return -1;
  }
  // Each command's messages carry only the system errors it meets itself.
  errno = 0;
  const int type = cmd->type;
  if ((type & Cpy) != 0) {
    if (type == MkDir && file_mkdir(cmd->source.get(), 1)) return 1;
    if (type == CpyIni && copy_write_ini(copy, index)) return 1;
    if (type == Rename && copy_rename(copy, index)) return 1;
    return copy_files(copy, index, bytes);
  }
  if ((type & Rm) != 0) return remove_files(copy, index);
  switch (type) {
    case Exist:
      return copy_exist(copy, index);
    case Chown:
      return copy_chown(copy, index);
    case Chmod:
      return copy_chmod(copy, index);
    case Error:
      return copy_seterror(copy, index);
    case WFile:
      return copy_wfile(copy, index);
    case RFile:
      return copy_rfile(copy, index);
    default:
      cerror("How did we get here!");
      return 0;
  }
}

int copy_write_ini(Copy* copy, int index) {
  const CCmd* cmd = command(copy, index);
  if (cmd == nullptr) return 0;
  const char* source = cmd->source.get();
  const char* dest = cmd->dest.get();
  Replacement out;
  if (!out.open(dest)) {
    cerror("Error creating ini file '%s'", str(dest));
    return 0;
  }
  OpenFile in(open_template(source));
  if (in.f == nullptr) {
    if (errno == EINVAL) {
      cerror("Refusing to read '%s', not a regular file", str(source));
    } else {
      cerror("Error reading ini file '%s'", str(source));
    }
    return 0;
  }
  imsg("Writing INI file '%s' to '%s'", source, dest);
  std::string text;
  const int expanded_all = copy_expand_template(copy, in.f, &text);
  if (std::ferror(in.f)) {
    cerror("Error reading ini file '%s'", source);
    return 0;
  }
  if (!expanded_all || !out.write(text.data(), text.size()) || !out.commit()) {
    cerror("Error writing ini file '%s'", dest);
    return 0;
  }
  return 1;
}

int copy_expand_template(const Copy* copy, FILE* in, std::string* out) {
  if (in == nullptr || out == nullptr) return 0;
  bool expanded_all = true;
  char buffer[kTemplateLineSize];
  while (std::fgets(buffer, sizeof buffer, in) != nullptr) {
    const char* line = s_strtrm(buffer);
    if (std::strstr(line, "$(") != nullptr) {
      std::unique_ptr<char[]> expanded(replace_vars(copy, line));
      if (expanded == nullptr) expanded_all = false;
      *out += str(expanded.get());
    } else {
      // From the first character: the indentation stays.
      *out += buffer;
    }
    *out += '\n';
  }
  return expanded_all ? 1 : 0;
}

int copy_rename(Copy* copy, int index) {
  const CCmd* cmd = command(copy, index);
  if (cmd == nullptr) return 0;
  const char* source = cmd->source.get();
  const char* dest = cmd->dest.get();
  if (source != nullptr && dest != nullptr && std::rename(source, dest) == 0) return 1;
  if (source == nullptr || dest == nullptr) errno = EINVAL;
  // The third text has never had a value to show; the system error follows.
  cerror("Error renaming '%s'->'%s', %s", str(source), str(dest), "");
  return 0;
}

int copy_exist(Copy* copy, int index) {
  const CCmd* cmd = command(copy, index);
  if (cmd == nullptr) return 0;
  ini_add_name(copy->ini, cmd->dest.get(), file_exist(cmd->source.get()) ? "true" : "false");
  return 1;
}

int copy_seterror(Copy* copy, int index) {
  const CCmd* cmd = command(copy, index);
  if (cmd == nullptr) return 0;
  const char* value = ini_value_name(copy->ini, cmd->source.get());
  if (value == nullptr || !isfalse(value)) return 1;
  last_error = str(cmd->dest.get());
  cerror("%s", last_error.c_str());
  return 0;
}

int copy_wfile(Copy* copy, int index) {
  const CCmd* cmd = command(copy, index);
  if (cmd == nullptr) return 0;
  const char* file = cmd->source.get();
  const char* value = ini_value_name(copy->ini, cmd->dest.get());
  const char* text = str(value != nullptr ? value : cmd->dest.get());
  Replacement out;
  if (out.open(file) && out.write(text, std::strlen(text)) && out.commit()) return 1;
  cerror("Failed to write (%s)", str(file));
  return 0;
}

int copy_rfile(Copy* copy, int index) {
  const CCmd* cmd = command(copy, index);
  if (cmd == nullptr) return 0;
  // Opened for writing, as the command always has been: the file is created
  // or emptied, the reads below find nothing, and the store ignores the
  // null value, so the setting keeps what it held.
  OpenFile in(s_fopen(cmd->source.get(), "w"));
  if (in.f == nullptr) {
    cerror("Failed to read (%s)", str(cmd->source.get()));
    return 0;
  }
  char* value = nullptr;
  char piece[kLineSize];
  while (std::fgets(piece, sizeof piece, in.f) != nullptr) value = sadd(value, piece);
  ini_add_name(copy->ini, cmd->dest.get(), value);
  delete[] value;
  return 1;
}

int copy_chown(Copy* copy, int index) {
  const CCmd* cmd = command(copy, index);
  if (cmd == nullptr) return 0;
  char owner[kLineSize];
  scpy(owner, cmd->dest.get(), kLineSize);
  ini_replace(copy->ini, cmd->dest.get(), owner, kLineSize);
  const char* user = owner;
  const char* group = owner;
  if (char* colon = std::strchr(owner, ':')) {
    *colon = '\0';
    group = colon + 1;
  }
  const int uid = file_getuid(user);
  dmsg("Found user id for '%s'=%d", user, uid);
  const int gid = file_getgid(group);
  dmsg("Found group id for '%s'=%d", group, gid);
  char path[kPathSize];
  char wild[kPathSize];
  return dochown(copy_src_path(copy, index, path, kPathSize),
                 copy_src_file(copy, index, wild, kPathSize), cmd->not_.get(), uid, gid);
}

int dochown(const char* path, const char* file, const char* exclude, int uid, int gid) {
  return walk_top(path, file, exclude, kChownTexts, [uid, gid](DirWalk* entry, bool follow) {
    return entry->chown(uid, gid, follow);
  });
}

int copy_chmod(Copy* copy, int index) {
  const CCmd* cmd = command(copy, index);
  if (cmd == nullptr) return 0;
  char text[kLineSize];
  scpy(text, cmd->dest.get(), kLineSize);
  uint32_t mode = 0;
  for (const char* c = text; *c != '\0'; ++c) {
    mode = mode * 8 + (static_cast<unsigned char>(*c) - static_cast<uint32_t>('0'));
  }
  char path[kPathSize];
  char wild[kPathSize];
  return dochmod(copy_src_path(copy, index, path, kPathSize),
                 copy_src_file(copy, index, wild, kPathSize), cmd->not_.get(),
                 static_cast<int>(mode));
}

int dochmod(const char* path, const char* file, const char* exclude, int mode) {
  return walk_top(path, file, exclude, kChmodTexts,
                  [mode](DirWalk* entry, bool follow) { return entry->chmod(mode, follow); });
}

int copy_system_dir(const char* name) {
  static const char* const kSystemDirs[] = {"bin", "boot", "dev",  "etc", "home", "lib*",
                                            "opt", "proc", "root", "run", "sbin", "srv",
                                            "sys", "tmp",  "usr",  "var"};
  for (const char* dir : kSystemDirs) {
    if (wild_match(name, dir)) return 1;
  }
  return 0;
}

int copy_rm_forbidden(const char* dir, const char* wild) {
  if (dir == nullptr || wild == nullptr) return 0;
  if (forbidden_in(dir, wild)) return 1;
  char resolved[PATH_MAX];
  return realpath(dir, resolved) != nullptr && forbidden_in(resolved, wild) ? 1 : 0;
}

}  // namespace inst
