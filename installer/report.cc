#include "installer/report.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>

#include "installer/installer.h"
#include "lib/log.h"

namespace inst {
namespace {

using json = nlohmann::ordered_json;

json optional_text(const std::optional<std::string>& text) {
  return text ? json(*text) : json(nullptr);
}

// "2024-05-01T12:00:00Z".
std::string utc(std::time_t t) {
  struct tm parts = {};
  char text[32] = "";
  if (gmtime_r(&t, &parts) != nullptr) {
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  }
  return text;
}

json copy_part(const RunRecord& run) {
  json commands = json::array();
  for (const CFailure& failure : run.failed_commands) {
    commands.push_back({{"line", failure.line}, {"error", failure.error}});
  }
  json files = json::array();
  for (const FileFailure& failure : run.failed_files) {
    files.push_back({{"path", failure.path}, {"error", failure.error}});
  }
  return {{"ran", run.copied},
          {"files", run.files},
          {"bytes", run.bytes},
          {"failed_commands", commands},
          {"failed_files", files}};
}

// Makes a new file with a fresh name beside path (path and six more
// characters), readable by its owner only, and stores its name in *temp.
// Returns its descriptor open for writing, or -1 with errno set.
int make_beside(const char* path, std::string* temp) {
  *temp = std::string(path) + ".XXXXXX";
  return mkstemp(temp->data());
}

bool write_all(int fd, const std::string& text) {
  for (size_t done = 0; done < text.size();) {
    const ssize_t n = write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
  }
  return true;
}

}  // namespace

Ending report_ending(bool started, const RunRecord& run, int signal) {
  if (signal != 0) return {"interrupted", 128 + signal};
  if (!started) return {"failed", 1};
  if (run.action == nullptr || run.result == QUIT) return {"quit", 3};
  if (run.result == FAILED) return {"failed", 2};
  if (!run.copy_ok) return {"copy-failed", 4};
  return {"succeeded", 0};
}

std::vector<std::pair<std::string, std::string>> report_answers(
    Ini* ini, const std::vector<std::string>& names) {
  std::vector<std::pair<std::string, std::string>> answers;
  const bool masking = ini != nullptr && (ini->mode & Ini_UsePass) != 0;
  for (const std::string& name : names) {
    const char* value = ini_value_name(ini, name.c_str());
    const bool secret = masking && (ini_setting_mode_name(ini, name.c_str()) & Ini_Pass) != 0;
    answers.emplace_back(name, secret ? "xxxx" : value != nullptr ? value : "");
  }
  return answers;
}

std::string report_json(const Report& report) {
  json answers = json::array();
  for (const auto& [name, value] : report.answers) {
    answers.push_back({{"name", name}, {"value", value}});
  }
  const json document = {
      {"version", report.version},
      {"product", optional_text(report.product)},
      {"action", report.run.action != nullptr ? json(report.run.action) : json(nullptr)},
      {"tag", optional_text(report.tag)},
      {"outcome", report.outcome},
      {"status", report.status},
      {"error", optional_text(report.error)},
      {"answers", answers},
      {"copy", copy_part(report.run)},
      {"started", utc(report.started)},
      {"ended", utc(report.ended)},
      {"log", report.log},
  };
  return document.dump(2, ' ', false, json::error_handler_t::replace) + "\n";
}

int report_write(const Report& report, const char* path) {
  if (path == nullptr) return 0;
  std::string temp;
  const int fd = make_beside(path, &temp);
  bool ok = fd >= 0 && write_all(fd, report_json(report)) && fsync(fd) == 0;
  if (fd >= 0 && close(fd) != 0) ok = false;
  if (ok && std::rename(temp.c_str(), path) == 0) return 1;
  const int saved = errno;
  if (fd >= 0) unlink(temp.c_str());
  emsg("Error writing report '%s', %s", path, std::strerror(saved));
  errno = saved;
  return 0;
}

int report_writable(const char* path) {
  if (path == nullptr) return 0;
  std::string temp;
  const int fd = make_beside(path, &temp);
  if (fd < 0) return 0;
  close(fd);
  unlink(temp.c_str());
  return 1;
}

}  // namespace inst
