// The probe file and web server discovery.
#include "init/init.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "file/file.h"
#include "lib/format.h"
#include "lib/lines.h"
#include "lib/log.h"
#include "lib/strings.h"

namespace inst {

const char* const http_files[kHttpFiles] = {
    "/etc/apache/httpd.conf",
    "/etc/httpd/conf/httpd.conf",
    "/etc/httpd/httpd.conf",
    "/usr/local/apache/conf/httpd.conf",
    "/usr/local/httpd/conf/httpd.conf",
    "/usr/local/apache/etc/httpd.conf",
    "/usr/internet/httpd/public/conf/httpd.conf",
    "/opt/apache/conf/httpd.conf",
};

namespace {

// Tokens of probe lines and httpd.conf lines are separated by these alone.
const char kSeparators[] = " \t";
// A probe line is a keyword and four fields.
constexpr int kProbeTokens = 5;

const struct {
  const char* word;
  IItemMode mode;
} kKeywords[] = {
    {"Exist", IExist},           {"Copy", ICopy},           {"HTTP_User", IHTTP_User},
    {"HTTP_Group", IHTTP_Group}, {"HTTP_Root", IHTTP_Root}, {"HTTP_Scripts", IHTTP_Scripts},
    {"TimeDate", ITimeDate},     {"WFile", IWFile},         {"RFile", IRFile},
};

// The module's last error; empty until the first.
std::string last_error;

// Formats the message (cut to 999 characters), keeps it as the last error
// and logs it at error level as it stands: the callers put the system error
// text into the message themselves.
namespace unchecked {
void init_seterror(const char* format, ...) {
  if (!format) return;
  char text[kLineSize];
  va_list args;
  va_start(args, format);
  vlprintf(text, kLineSize, format, args);
  va_end(args);
  last_error = text;
  emsg("%s", text);
}
}  // namespace unchecked

template <typename... Args>
void init_seterror(FormatFor<Args...> format, Args... args) {
  unchecked::init_seterror(format.text(), args...);
}

// Sets the record's mode from the keyword and returns true; an unknown
// keyword is logged, leaves the mode as it was and gives false.
bool set_mode(IItem* item, const char* keyword) {
  for (const auto& known : kKeywords) {
    if (std::strcmp(keyword, known.word) == 0) {
      item->mode = known.mode;
      return true;
    }
  }
  emsg("Unknown init command '%s'", keyword);
  return false;
}

// Fills field `position` (1 to 4 after the keyword) from token; "-" clears
// the control and compare fields.
void set_field(IItem* item, int position, const char* token) {
  const bool absent = std::strcmp(token, "-") == 0;
  switch (position) {
    case 1:
      item->a.reset(s_strdup(token));
      break;
    case 2:
      item->b.reset(s_strdup(token));
      break;
    case 3:
      item->control.reset(absent ? nullptr : s_strdup(token));
      break;
    default:
      item->compare.reset(absent ? nullptr : s_strdup(token));
      break;
  }
}

// Stores a directory token: a token that starts with a double quote loses
// its first and last characters, whatever the last one is.
void store_dir(char* slot, const char* token) {
  if (*token != '"') {
    scpy(slot, token, kLineSize);
    return;
  }
  const size_t length = std::strlen(token);
  const int limit =
      length - 1 < static_cast<size_t>(kLineSize) ? static_cast<int>(length - 1) : kLineSize;
  if (limit < 1) {
    slot[0] = '\0';
    return;
  }
  scpy(slot, token + 1, limit);
}

// Records a user or group name whose id the system knows. For an unknown
// name (negative id) writes the failure into errmsg and returns false.
bool store_account(const char* name, int id, char* slot, int* done, char* errmsg,
                   FormatFor<const char*> found, FormatFor<const char*, int> bad) {
  if (id < 0) {
    if (errmsg) lprintf(errmsg, kLineSize, bad, name, id);
    return false;
  }
  dmsg(found, name);
  scpy(slot, name, kLineSize);
  *done = 1;
  return true;
}

// Opens the first candidate that can be read as a file, logging each try;
// null when none can.
FILE* open_http_conf(const char* const* files, int count) {
  for (int i = 0; i < count; ++i) {
    dmsg("Is Httpd conf?[%s]", files[i]);
    FILE* f = s_fopen(files[i], "r");
    if (!f) continue;
    struct stat st;
    if (fstat(fileno(f), &st) == 0 && S_ISDIR(st.st_mode)) {
      s_fclose(&f);
      continue;
    }
    dmsg("Httpd conf is [%s]", files[i]);
    return f;
  }
  return nullptr;
}

bool all_found(const HttpConf* c) {
  return c->done_user && c->done_group && c->done_root && c->done_scripts;
}

// Whether an item asked for (a non-null buffer) is not known yet.
bool asked_missing(const HttpConf* c, const char* user, const char* group, const char* root,
                   const char* scripts) {
  return (user && !c->done_user) || (group && !c->done_group) || (root && !c->done_root) ||
         (scripts && !c->done_scripts);
}

// Reads the directives of the open configuration into the cache, stopping
// once all four items are known. Returns false (with errmsg written) when a
// user or group is unknown.
bool read_http_conf(HttpConf* c, FILE* in, char* errmsg) {
  char line[kLineSize];
  while (std::fgets(line, sizeof line, in)) {
    char* next = nullptr;
    const char* directive = s_strtok(s_strtrm(line), kSeparators, &next);
    if (!directive || *directive == '#') continue;
    // Every directive of interest needs an argument.
    const char* value = s_strtok(nullptr, kSeparators, &next);
    if (!value) continue;
    if (s_stricmp(directive, "User") == 0) {
      if (!store_account(value, file_getuid(value), c->user, &c->done_user, errmsg,
                         "Found user [%s]", "User '%s' has bad uid '%d'")) {
        return false;
      }
    } else if (s_stricmp(directive, "Group") == 0) {
      // The message says uid for a group too, on purpose.
      if (!store_account(value, file_getgid(value), c->group, &c->done_group, errmsg,
                         "Found group [%s]", "Group '%s' has bad uid '%d'")) {
        return false;
      }
    } else if (s_stricmp(directive, "ScriptAlias") == 0) {
      const char* dir =
          std::strstr(value, "cgi-bin") ? s_strtok(nullptr, kSeparators, &next) : nullptr;
      if (dir) {
        store_dir(c->scripts, dir);
        c->done_scripts = 1;
      }
    } else if (s_stricmp(directive, "DocumentRoot") == 0) {
      store_dir(c->root, value);
      c->done_root = 1;
    }
    if (all_found(c)) break;
  }
  return true;
}

}  // namespace

const char* init_keyword(IItemMode mode) {
  for (const auto& known : kKeywords) {
    if (known.mode == mode) return known.word;
  }
  return nullptr;
}

Init::~Init() { array_free_fn(&list, init_item_free); }

Init* init_init() {
  Init* x = new Init;
  x->list = array_init<IItem>();
  return x;
}

void init_free(Init** x) {
  if (!x || !*x) return;
  delete *x;
  *x = nullptr;
}

int init_load(Init* x, const char* file) {
  if (!x || !x->list || !file) return 0;
  OpenFile in(s_fopen(file, "r"));
  if (!in.f) {
    init_seterror("Failed to read '%s', %s", file, std::strerror(errno));
    return 0;
  }
  // A short line leaves its record here for the next probe line to fill.
  std::unique_ptr<IItem> pending;
  LineReader reader(in.f);
  while (char* line = reader.next()) {
    char* next = nullptr;
    const char* keyword = s_strtok(s_strtrm(line), kSeparators, &next);
    if (!keyword || *keyword == '#') continue;
    if (reader.tail()) note_tail(&x->problems, reader);
    if (!pending) pending.reset(new IItem);
    if (!set_mode(pending.get(), keyword)) {
      x->problems.push_back(
          {reader.line(), true, std::string("unknown probe '") + keyword + "': it does nothing"});
    }
    int tokens = 1;
    for (const char* token;
         tokens < kProbeTokens && (token = s_strtok(nullptr, kSeparators, &next)) != nullptr;) {
      set_field(pending.get(), tokens++, token);
    }
    pending->line = reader.line();
    if (tokens < kProbeTokens) {
      x->problems.push_back({reader.line(), true,
                             std::string("too few words for ") + keyword +
                                 ": a probe takes 4 after its keyword ('-' for none); the next "
                                 "probe line is read into this one"});
    }
    if (tokens == kProbeTokens) {
      if (array_add(x->list, pending.get())) {
        pending.release();
      } else {
        pending.reset();
      }
    }
  }
  return 1;
}

const char* init_error() { return last_error.c_str(); }

IItem* init_get_num(Init* x, int index) { return x ? array_get_num(x->list, index) : nullptr; }
IItem* init_get(Init* x) { return x ? array_get(x->list) : nullptr; }
void init_goto(Init* x, int index) {
  if (x) array_goto(x->list, index);
}
void init_start(Init* x) {
  if (x) array_start(x->list);
}
void init_next(Init* x) {
  if (x) array_next(x->list);
}
void init_prev(Init* x) {
  if (x) array_prev(x->list);
}

void init_item_free(IItem** x) {
  if (!x) return;
  delete *x;
  *x = nullptr;
}

int init_find_http_conf_in(HttpConf* c, const char* const* files, int count, char* user,
                           char* group, char* root, char* scripts, char* errmsg) {
  if (!c) return 0;
  if (asked_missing(c, user, group, root, scripts)) {
    OpenFile in(files ? open_http_conf(files, count) : nullptr);
    if (!in.f) {
      if (errmsg) scpy(errmsg, "Cannot find httpd.conf file", kLineSize);
      return 0;
    }
    if (!read_http_conf(c, in.f, errmsg)) return 0;
  }
  if (asked_missing(c, user, group, root, scripts)) {
    // Every item missing from the cache is named, also those not asked for.
    if (errmsg) {
      scpy(errmsg, "Could not find", kLineSize);
      if (!c->done_group) scat(errmsg, ", Group", kLineSize);
      if (!c->done_user) scat(errmsg, ", User", kLineSize);
      if (!c->done_root) scat(errmsg, ", DocumentRoot", kLineSize);
      if (!c->done_scripts) scat(errmsg, ", ScriptAlias", kLineSize);
    }
    return 0;
  }
  if (user) scpy(user, c->user, kLineSize);
  if (group) scpy(group, c->group, kLineSize);
  if (root) scpy(root, c->root, kLineSize);
  if (scripts) scpy(scripts, c->scripts, kLineSize);
  return 1;
}

int init_find_http_conf(char* user, char* group, char* root, char* scripts, char* errmsg) {
  static HttpConf cache;
  return init_find_http_conf_in(&cache, http_files, kHttpFiles, user, group, root, scripts, errmsg);
}

}  // namespace inst
