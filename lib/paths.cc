// Path texts in caller buffers, and the program's name and directories.
#include "lib/paths.h"

#include <unistd.h>

#include <cstdarg>
#include <cstring>
#include <string>

#include "lib/strings.h"

namespace inst {
namespace {

char Sep = '/';

// The position of the last separator in s, or null when there is none.
char* last_sep(char* s) { return const_cast<char*>(last_separator(s)); }

// The file-name part of s: what follows its last separator.
const char* file_part(const char* s) {
  const char* sep = last_separator(s);
  return sep ? sep + 1 : s;
}

// Length of the text in buf, looking at no more than limit characters.
int bounded_length(const char* buf, int limit) {
  int n = 0;
  while (n < limit && buf[n]) ++n;
  return n;
}

// Removes the dot components of an absolute path written with '/': "/."
// goes away, "/.." takes the component before it along.
void resolve_dots(char* buf) {
  size_t i = 0;
  while (buf[i]) {
    if (buf[i] != '/' || buf[i + 1] != '.') {
      ++i;
      continue;
    }
    char after = buf[i + 2];
    if (after == '/' || after == '\0') {
      std::memmove(buf + i, buf + i + 2, std::strlen(buf + i + 2) + 1);
    } else if (after == '.' && (buf[i + 3] == '/' || buf[i + 3] == '\0')) {
      size_t start = i;
      while (start > 0 && buf[start - 1] != '/') --start;
      if (start > 0) --start;
      std::memmove(buf + start, buf + i + 3, std::strlen(buf + i + 3) + 1);
      i = start;
    } else {
      ++i;
    }
  }
}

}  // namespace

bool is_separator(char c) { return c == '/' || c == '\\'; }

const char* last_separator(const char* path) {
  if (path == nullptr) return nullptr;
  const char* found = nullptr;
  for (; *path; ++path) {
    if (is_separator(*path)) found = path;
  }
  return found;
}

char usesep(char sep) {
  Sep = sep;
  return sep;
}

char* setsep(char* path, char sep) {
  if (path == nullptr) return nullptr;
  for (char* p = path; *p; ++p) {
    if (is_separator(*p)) *p = sep;
  }
  return path;
}

char* attach_path(char* path, const char* name, int size) {
  if (path == nullptr || size < 1) return nullptr;
  int n = 0;
  for (; n < size - 1 && path[n]; ++n) {
    if (is_separator(path[n])) path[n] = Sep;
  }
  if (name == nullptr) return path;
  bool path_ends_sep = n > 0 && (is_separator(path[n - 1]) || path[n - 1] == Sep);
  if (is_separator(*name)) {
    if (path_ends_sep) ++name;
  } else if (n > 0 && !path_ends_sep && n < size - 1) {
    path[n++] = Sep;
  }
  for (; n < size - 1 && *name; ++name) path[n++] = is_separator(*name) ? Sep : *name;
  path[n] = '\0';
  return n == 0 ? nullptr : path;
}

char* attach_pathx(char* path, int size, ...) {
  if (path == nullptr || size < 1) return path;
  va_list args;
  va_start(args, size);
  int n = 0;
  path[0] = '\0';
  for (const char* name = va_arg(args, const char*); name; name = va_arg(args, const char*)) {
    if (n > 0) {
      bool ends_sep = is_separator(path[n - 1]);
      if (ends_sep && is_separator(*name)) {
        ++name;
      } else if (!ends_sep && !is_separator(*name) && n < size - 1) {
        path[n++] = Sep;
      }
    }
    // Each name gets the room left less one place, on purpose: size 6 holds
    // "abcd" of "abcdef", and "ab/c" of "ab" and "cd".
    n += scpy(path + n, name, size - n - 1);
  }
  va_end(args);
  path[n] = '\0';
  return path;
}

char* attach_ext(char* path, const char* ext, int size) {
  if (path == nullptr || size < 1) return nullptr;
  if (ext == nullptr) return path;
  int n = bounded_length(path, size - 1);
  for (; n < size - 1 && *ext; ++ext) path[n++] = *ext;
  path[n] = '\0';
  return path;
}

char* strip_file(char* path, char* name, int size) {
  if (path == nullptr) return nullptr;
  char* sep = last_sep(path);
  char* cut = sep ? sep : path;
  if (name) scpy(name, sep ? sep + 1 : path, size);
  *cut = '\0';
  return path;
}

char* strip_path(char* path) {
  if (path == nullptr) return nullptr;
  char* sep = last_sep(path);
  if (sep) std::memmove(path, sep + 1, std::strlen(sep + 1) + 1);
  return path;
}

char* strip_ext(char* path) {
  if (path == nullptr) return nullptr;
  char* dot = nullptr;
  for (char* p = path; *p; ++p) {
    if (*p == '.') {
      dot = p;
    } else if (is_separator(*p)) {
      dot = nullptr;
    }
  }
  // A dot that opens the whole text (".profile") is a name, not an extension.
  if (dot && dot != path) *dot = '\0';
  return path;
}

int get_ext(char* ext, const char* path, int size) {
  if (ext == nullptr || path == nullptr) return 0;
  const char* dot = std::strchr(file_part(path), '.');
  if (dot == nullptr) return 0;
  return scpy(ext, dot + 1, size);
}

char* exename(char* buf, const char* argv0, int size) {
  if (buf == nullptr || size < 1) return buf;
  const char* name = file_part(str(argv0));
  int n = 0;
  for (; n < size - 1 && name[n] && name[n] != '.'; ++n) buf[n] = name[n];
  buf[n] = '\0';
  return buf;
}

char* exepath(char* buf, const char* argv0, int size) {
  if (buf == nullptr || size < 1) return buf;
  const char* arg = str(argv0);
  int n = 0;
  if (is_separator(arg[0]) || (arg[0] && arg[1] == ':')) {
    buf[0] = '\0';
  } else {
    if (currentdir(buf, size) == nullptr) buf[0] = '\0';
    n = bounded_length(buf, size - 1);
    if (n < size - 1) buf[n++] = '/';
  }
  for (; n < size - 1 && *arg; ++arg) buf[n++] = is_separator(*arg) ? '/' : *arg;
  buf[n] = '\0';
  char* sep = last_sep(buf);
  if (sep) *sep = '\0';
  resolve_dots(buf);
  n = static_cast<int>(std::strlen(buf));
  if (n > 0 && buf[n - 1] == ':') {
    if (n < size - 1) {
      buf[n++] = '/';
      buf[n] = '\0';
    }
  } else if (n > 0 && buf[n - 1] == '/') {
    buf[n - 1] = '\0';
  }
  return buf;
}

char* currentdir(char* buf, int size) {
  if (buf == nullptr || size < 1) return nullptr;
  // Read into a buffer of our own of the same size, so that a directory too
  // deep for the caller's buffer leaves that buffer untouched.
  std::string dir(static_cast<size_t>(size), '\0');
  if (getcwd(dir.data(), dir.size()) == nullptr) return nullptr;
  std::memcpy(buf, dir.c_str(), std::strlen(dir.c_str()) + 1);
  return buf;
}

char* systemdir(char* buf, int size) {
  if (buf == nullptr) return nullptr;
  scpy(buf, "/etc", size);
  return buf;
}

char* windir(char* buf, int size) { return systemdir(buf, size); }

}  // namespace inst
