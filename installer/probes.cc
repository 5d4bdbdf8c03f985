#include "installer/probes.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include "file/file.h"
#include "lib/limits.h"
#include "lib/log.h"
#include "lib/strings.h"

namespace inst {
namespace {

// The value of the setting `name`, or the text of `name` itself when the
// setting has no value.
const char* value_or_text(Ini* ini, const char* name) {
  const char* value = ini_value_name(ini, name);
  return value ? value : name;
}

}  // namespace

bool probe_applies(Ini* ini, const IItem* probe) {
  if (!probe) return false;
  if (!probe->compare) return true;
  const char* value = value_or_text(ini, probe->control.get());
  // Without a control the compare text alone decides.
  if (!value) return istrue(probe->compare.get());
  return std::strcmp(probe->compare.get(), value) == 0;
}

namespace {

// The probe's first argument with setting references expanded, as a path.
void expand_path(Ini* ini, const IItem* probe, char (&path)[kPathSize]) {
  path[0] = '\0';
  ini_replace(ini, probe->a.get(), path, kPathSize);
}

void probe_http(Ini* ini, const IItem* probe, HttpFinder find, std::string* failure) {
  char result[kLineSize] = "";
  char error[kLineSize] = "";
  const IItemMode mode = probe->mode;
  if (find(mode == IHTTP_User ? result : nullptr, mode == IHTTP_Group ? result : nullptr,
           mode == IHTTP_Root ? result : nullptr, mode == IHTTP_Scripts ? result : nullptr,
           error)) {
    ini_add_name(ini, probe->a.get(), result);
  } else {
    // The second argument is an error flag: set on failure only.
    if (failure) {
      *failure = error;
    } else {
      std::printf("ERROR: %s\n", error);
    }
    ini_add_name(ini, probe->b.get(), "true");
  }
}

// Formats the local time by `format`, cut to kMessageMax characters.
std::string format_time(const char* format) {
  const time_t now = std::time(nullptr);
  struct tm local = {};
  if (localtime_r(&now, &local) == nullptr) return {};
  // strftime gives 0 when the text does not fit, so the buffer grows until
  // it does; only a field width in the millions exhausts the last size.
  constexpr size_t kMostRoom = size_t{1} << 20;
  std::string text;
  for (size_t room = kLineSize; room <= kMostRoom; room *= 2) {
    text.resize(room);
    const size_t length = std::strftime(text.data(), room, format, &local);
    if (length > 0) {
      text.resize(length < static_cast<size_t>(kMessageMax) ? length : kMessageMax);
      return text;
    }
  }
  return {};
}

void probe_timedate(Ini* ini, const IItem* probe) {
  const char* format = ini_value_name(ini, probe->a.get());
  if (!format) {
    emsg("TimeDate '%s' is NULL", probe->a.get());
    return;
  }
  ini_add_name(ini, probe->b.get(), format_time(format).c_str());
}

// Writes all or nothing: a failed write leaves the file as it was.
void probe_wfile(Ini* ini, const IItem* probe) {
  char path[kPathSize];
  expand_path(ini, probe, path);
  const char* text = str(value_or_text(ini, probe->b.get()));
  Replacement out;
  if (!out.open(path) || !out.write(text, std::strlen(text)) || !out.commit()) {
    emsg("Failed to write (%s), %s", path, std::strerror(errno));
  }
}

void probe_rfile(Ini* ini, const IItem* probe) {
  char path[kPathSize];
  expand_path(ini, probe, path);
  OpenFile in(s_fopen(path, "r"));
  std::string text;
  if (in.f) {
    char piece[kCopyChunk];
    for (size_t n; (n = std::fread(piece, 1, sizeof piece, in.f)) > 0;) text.append(piece, n);
  }
  if (!in.f || std::ferror(in.f)) {
    emsg("Failed to read (%s), %s", path, std::strerror(errno));
    return;
  }
  // An empty file gives no value, which the store refuses.
  if (!text.empty()) ini_add_name(ini, probe->b.get(), text.c_str());
}

}  // namespace

void run_probe(Ini* ini, const IItem* probe, HttpFinder find, std::string* failure) {
  if (!ini || !probe || !find) return;
  const IItemMode mode = probe->mode;
  if (mode == IExist) {
    char path[kPathSize];
    expand_path(ini, probe, path);
    ini_add_name(ini, probe->b.get(), file_exist(path) ? "true" : "false");
  } else if (mode == ICopy) {
    ini_add_name(ini, probe->a.get(), value_or_text(ini, probe->b.get()));
  } else if (mode & IHTTP) {
    probe_http(ini, probe, find, failure);
  } else if (mode == ITimeDate) {
    probe_timedate(ini, probe);
  } else if (mode == IWFile) {
    probe_wfile(ini, probe);
  } else if (mode == IRFile) {
    probe_rfile(ini, probe);
  }
}

void evaluate_probes(Ini* ini, Init* probes, HttpFinder find) {
  if (!ini || !find) return;
  for (IItem* probe = init_get_num(probes, 0); probe; probe = init_get(probes)) {
    if (probe_applies(ini, probe)) run_probe(ini, probe, find);
  }
}

int load_probes(Ini* ini, const char* path) {
  Init* probes = init_init();
  if (!init_load(probes, path)) {
    std::printf("Error: Failed to load init file '%s', %s\n", str(path), init_error());
    init_free(&probes);
    return 0;
  }
  evaluate_probes(ini, probes);
  init_free(&probes);
  return 1;
}

}  // namespace inst
