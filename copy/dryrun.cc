#include "copy/dryrun.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "ini/ini.h"
#include "lib/limits.h"
#include "lib/paths.h"
#include "lib/strings.h"
#include "lib/wild.h"

namespace inst {
namespace {

// The directory that holds key ("/" for a key directly in it).
std::string parent_of(const std::string& key) {
  const size_t slash = key.rfind('/');
  return slash == 0 || slash == std::string::npos ? "/" : key.substr(0, slash);
}

std::string join(const std::string& dir, const std::string& name) {
  return dir == "/" ? "/" + name : dir + "/" + name;
}

PlanKind real_kind(const std::string& path, uint64_t* size = nullptr, bool* link = nullptr) {
  struct stat st;
  if (path.empty() || lstat(path.c_str(), &st) != 0) return PlanKind::kNone;
  if (link != nullptr) *link = S_ISLNK(st.st_mode);
  if (S_ISDIR(st.st_mode)) return PlanKind::kDir;
  if (size != nullptr) {
    struct stat followed;
    *size = stat(path.c_str(), &followed) == 0 && S_ISREG(followed.st_mode)
                ? static_cast<uint64_t>(followed.st_size)
                : 0;
  }
  return PlanKind::kFile;
}

// Whether the file on disk at path (links followed) is not a regular file:
// a device, a FIFO or a socket, which a copy refuses to read.
bool irregular(const std::string& path) {
  struct stat st;
  return !path.empty() && stat(path.c_str(), &st) == 0 && !S_ISREG(st.st_mode) &&
         !S_ISDIR(st.st_mode);
}

// Whether two paths on disk (links followed) are one file.
bool same_file(const std::string& a, const std::string& b) {
  struct stat sa;
  struct stat sb;
  return !a.empty() && !b.empty() && stat(a.c_str(), &sa) == 0 && stat(b.c_str(), &sb) == 0 &&
         sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

bool has_wildcard(const char* wild) { return wild != nullptr && std::strpbrk(wild, "*?"); }

}  // namespace

PlanView::PlanView() {
  char dir[kPathSize];
  cwd_ = currentdir(dir, kPathSize) != nullptr ? dir : "/";
}

std::string PlanView::Key(const std::string& path) const {
  const std::string whole = !path.empty() && is_separator(path[0]) ? path : cwd_ + "/" + path;
  std::string key;
  size_t start = 0;
  while (start <= whole.size()) {
    size_t end = start;
    while (end < whole.size() && !is_separator(whole[end])) ++end;
    const std::string part = whole.substr(start, end - start);
    if (part == "..") {
      key.resize(key.empty() ? 0 : key.rfind('/'));
    } else if (!part.empty() && part != ".") {
      key += "/" + part;
    }
    start = end + 1;
  }
  return key.empty() ? "/" : key;
}

PlanView::Place PlanView::Locate(const std::string& key) const {
  const auto found = nodes_.find(key);
  if (found != nodes_.end()) return {&found->second, {}};
  for (std::string below = key; below != "/";) {
    const std::string above = parent_of(below);
    const auto node = nodes_.find(above);
    if (node != nodes_.end()) {
      // Below a planned directory: what its directory on disk holds there.
      if (node->second.kind != PlanKind::kDir || node->second.real.empty()) return {};
      return {nullptr, node->second.real + key.substr(above == "/" ? 0 : above.size())};
    }
    below = above;
  }
  return {nullptr, key};
}

PlanKind PlanView::Kind(const std::string& path) const {
  const Place place = Locate(Key(path));
  return place.node != nullptr ? place.node->kind : real_kind(place.real);
}

int PlanView::Exist(const std::string& path) const {
  const Place place = Locate(Key(path));
  if (place.node != nullptr) {
    return place.node->kind == PlanKind::kNone ? 0 : place.node->kind == PlanKind::kDir ? 2 : 1;
  }
  struct stat st;
  if (place.real.empty() || stat(place.real.c_str(), &st) != 0) return 0;
  return S_ISDIR(st.st_mode) ? 2 : 1;
}

uint64_t PlanView::Size(const std::string& path) const {
  const Place place = Locate(Key(path));
  if (place.node != nullptr) return place.node->kind == PlanKind::kFile ? place.node->size : 0;
  uint64_t size = 0;
  real_kind(place.real, &size);
  return size;
}

std::string PlanView::Content(const std::string& path) const {
  const Place place = Locate(Key(path));
  return place.node != nullptr ? place.node->real : place.real;
}

std::string PlanView::Untouched(const std::string& path) const {
  const Place place = Locate(Key(path));
  return place.node != nullptr ? std::string() : place.real;
}

bool PlanView::Writable(const std::string& dir) const {
  const Place place = Locate(Key(dir));
  if (place.node != nullptr) {
    if (place.node->kind != PlanKind::kDir) return false;
    if (place.node->real.empty()) return true;
    return access(place.node->real.c_str(), W_OK) == 0;
  }
  return !place.real.empty() && access(place.real.c_str(), W_OK) == 0;
}

std::vector<PlanView::Entry> PlanView::List(const std::string& dir, const char* wild) const {
  const std::string key = Key(dir);
  const Place place = Locate(key);
  std::map<std::string, Entry> entries;
  std::string real = place.real;
  if (place.node != nullptr) {
    if (place.node->kind != PlanKind::kDir) return {};
    real = place.node->real;
  } else if (real_kind(real) != PlanKind::kDir) {
    return {};
  }
  if (!real.empty()) {
    std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(real.c_str()), closedir);
    while (const dirent* d = stream ? readdir(stream.get()) : nullptr) {
      const std::string name = d->d_name;
      if (name == "." || name == "..") continue;
      uint64_t size = 0;
      bool link = false;
      const PlanKind kind = real_kind(real + "/" + name, &size, &link);
      if (kind != PlanKind::kNone) entries[name] = {join(key, name), name, kind, size, link};
    }
  }
  const std::string prefix = key == "/" ? "/" : key + "/";
  for (auto it = nodes_.lower_bound(prefix); it != nodes_.end(); ++it) {
    if (it->first.compare(0, prefix.size(), prefix) != 0) break;
    const std::string name = it->first.substr(prefix.size());
    if (name.find('/') != std::string::npos) continue;
    if (it->second.kind == PlanKind::kNone) {
      entries.erase(name);
    } else {
      entries[name] = {it->first, name, it->second.kind, it->second.size, false};
    }
  }
  std::vector<Entry> out;
  for (auto& [name, entry] : entries) {
    if (wild_match(name.c_str(), wild)) out.push_back(std::move(entry));
  }
  return out;
}

void PlanView::DropBelow(const std::string& key) {
  const std::string prefix = key == "/" ? "/" : key + "/";
  auto it = nodes_.lower_bound(prefix);
  while (it != nodes_.end() && it->first.compare(0, prefix.size(), prefix) == 0) {
    it = nodes_.erase(it);
  }
}

void PlanView::MakeDir(const std::string& path) { nodes_[Key(path)] = {PlanKind::kDir, 0, {}}; }

void PlanView::MakeFile(const std::string& path, uint64_t size, const std::string& content) {
  const std::string key = Key(path);
  DropBelow(key);
  nodes_[key] = {PlanKind::kFile, size, content};
}

void PlanView::Remove(const std::string& path) {
  const std::string key = Key(path);
  DropBelow(key);
  nodes_[key] = {};
}

void PlanView::Rename(const std::string& from, const std::string& to) {
  const std::string source = Key(from);
  const std::string target = Key(to);
  const Place place = Locate(source);
  Node moved;
  if (place.node != nullptr) {
    moved = *place.node;
  } else {
    moved.kind = real_kind(place.real, &moved.size);
    moved.real = place.real;
  }
  // What was planned below the source goes along, under its new name.
  std::vector<std::pair<std::string, Node>> below;
  const std::string prefix = source + "/";
  for (auto it = nodes_.lower_bound(prefix);
       it != nodes_.end() && it->first.compare(0, prefix.size(), prefix) == 0; ++it) {
    below.emplace_back(target + it->first.substr(source.size()), it->second);
  }
  Remove(source);
  DropBelow(target);
  nodes_[target] = moved;
  for (auto& [key, node] : below) nodes_[key] = std::move(node);
}

namespace {

// Plans one command. Each method mirrors the part of copy_do() of the same
// name in copy.cc and the file layer calls it makes.
class Planner {
 public:
  Planner(Copy* copy, int index, PlanView* view)
      : copy_(copy), index_(index), view_(*view), cmd_(copy->list[static_cast<size_t>(index)]) {}

  CommandPlan Run() {
    if (!copy_gate_open(copy_, index_)) {
      plan_.result = -1;
      return std::move(plan_);
    }
    plan_.result = Dispatch();
    return std::move(plan_);
  }

 private:
  int Dispatch() {
    const int type = cmd_.type;
    if ((type & Cpy) != 0) {
      // A MkDir, Ini or Rename that fails goes on as a copy, as it runs.
      if (type == MkDir && MakeDirs(str(cmd_.source.get()), true)) return 1;
      if (type == CpyIni && WriteIni()) return 1;
      if (type == Rename && RenameIt()) return 1;
      return CopyFiles();
    }
    if ((type & Rm) != 0) return RemoveFiles();
    switch (type) {
      case Exist:
        ini_add_name(copy_->ini, cmd_.dest.get(),
                     view_.Exist(str(cmd_.source.get())) != 0 ? "true" : "false");
        return 1;
      case Chown:
      case Chmod:
        return ChangeAll(type == Chown);
      case Error: {
        if (!isfalse(ini_value_name(copy_->ini, cmd_.source.get()))) return 1;
        Fail(str(cmd_.dest.get()));
        return 0;
      }
      case WFile:
      case RFile:
        return WriteFile(type == WFile);
      default:
        Fail("unknown command");
        return 0;
    }
  }

  void Fail(const std::string& why) {
    if (!plan_.failure.empty()) plan_.failure += "; then ";
    plan_.failure += why;
  }
  void Note(PlanChange::What what, const std::string& path, uint64_t bytes = 0,
            const std::string& detail = {}) {
    plan_.changes.push_back({what, path, detail, bytes, 0, 0, 0});
  }

  // Whether a file could be opened for writing at path: not a directory, in
  // a directory that takes new entries.
  bool CanWrite(const std::string& path) {
    if (view_.Exist(path) == 2) return false;
    const std::string dir = parent_of(view_.Key(path));
    return view_.Exist(dir) == 2 && (view_.Kind(path) != PlanKind::kNone || view_.Writable(dir));
  }

  // file_mkdir(dir, 1). With `noted` every directory made is a change of its
  // own; `made` counts them.
  bool MakeDirs(const std::string& dir, bool noted, int* made = nullptr) {
    std::string path = dir;
    if (!path.empty() && is_separator(path.back())) path.pop_back();
    if (path.size() >= static_cast<size_t>(kPathSize)) {
      Fail("Error creating directory '" + path + "'");
      return false;
    }
    bool any = false;
    bool there = false;  // the last attempt met something of that name
    auto make = [&](const std::string& part) {
      there = false;
      if (part.empty()) return;
      if (view_.Kind(part) != PlanKind::kNone) {
        there = true;
        return;
      }
      const std::string parent = parent_of(view_.Key(part));
      if (view_.Exist(parent) != 2 || !view_.Writable(parent)) return;
      view_.MakeDir(part);
      any = true;
      if (noted) Note(PlanChange::kMakeDir, view_.Key(part));
      if (made != nullptr) ++*made;
    };
    const size_t start = path.size() > 1 && path[1] == ':' ? 3 : 1;
    for (size_t i = start; i < path.size(); ++i) {
      if (is_separator(path[i])) make(path.substr(0, i));
    }
    make(path);
    if (any || there) return true;
    Fail("Error creating directory '" + path + "'");
    return false;
  }

  bool WriteIni() {
    const std::string source = str(cmd_.source.get());
    const std::string dest = str(cmd_.dest.get());
    if (!cmd_.dest || !CanWrite(dest)) {
      Fail("Error creating ini file '" + dest + "'");
      return false;
    }
    const bool replaced = view_.Kind(dest) != PlanKind::kNone;
    const PlanChange::What what = replaced ? PlanChange::kReplace : PlanChange::kNewFile;
    // A template that cannot be read leaves the file as it was.
    if (!cmd_.source || view_.Exist(source) != 1) {
      Fail("Error reading ini file '" + source + "'");
      return false;
    }
    if (irregular(view_.Content(source))) {
      Fail("Refusing to read '" + source + "', not a regular file");
      return false;
    }
    uint64_t size = 0;
    const std::string content = view_.Content(source);
    if (!content.empty()) {
      OpenFile in(s_fopen(content.c_str(), "r"));
      std::string text;
      if (in.f != nullptr) copy_expand_template(copy_, in.f, &text);
      size = text.size();
    }
    view_.MakeFile(dest, size, {});
    Note(what, view_.Key(dest), size);
    return true;
  }

  bool RenameIt() {
    const std::string source = str(cmd_.source.get());
    const std::string dest = str(cmd_.dest.get());
    const PlanKind from = view_.Kind(source);
    const PlanKind to = view_.Kind(dest);
    const std::string dir = parent_of(view_.Key(dest));
    const bool ok = cmd_.source && cmd_.dest && from != PlanKind::kNone && view_.Exist(dir) == 2 &&
                    view_.Writable(dir) &&
                    (to == PlanKind::kNone || (to == PlanKind::kDir) == (from == PlanKind::kDir)) &&
                    (to != PlanKind::kDir || view_.List(dest, "*").empty());
    if (!ok) {
      Fail("Error renaming '" + source + "'->'" + dest + "'");
      return false;
    }
    if (to == PlanKind::kFile) Note(PlanChange::kReplace, view_.Key(dest), view_.Size(source));
    Note(PlanChange::kRename, view_.Key(source), 0, view_.Key(dest));
    view_.Rename(source, dest);
    return true;
  }

  // file_copy(src, target, 1, bytes), with `tree` gathering what a tree
  // copy makes (null: a change of its own).
  bool CopyOne(const PlanView::Entry& src, const std::string& target, PlanChange* tree) {
    if (target.size() >= static_cast<size_t>(kPathSize) || !CanWrite(target)) {
      Fail("Error opening '" + target + "' for write");
      return false;
    }
    // A device or a FIFO is never read, and a file is never copied onto
    // itself (which would empty it).
    const std::string content = view_.Content(src.path);
    if (irregular(content)) {
      Fail("Refusing to read '" + src.path + "', not a regular file");
      return false;
    }
    if (view_.Key(target) == src.path ||
        same_file(view_.Untouched(src.path), view_.Untouched(target))) {
      Fail("Refusing to copy '" + src.path + "' onto the same file '" + target + "'");
      return false;
    }
    const bool there = view_.Kind(target) != PlanKind::kNone;
    const uint64_t size = src.size;
    const PlanChange::What what = there ? PlanChange::kReplace : PlanChange::kNewFile;
    view_.MakeFile(target, size, content);
    plan_.bytes += static_cast<unsigned long>(size);
    // A tree's new files are counted in it; any other file is a change of
    // its own.
    if (tree != nullptr && what == PlanChange::kNewFile) {
      ++tree->files;
      tree->bytes += size;
    } else {
      Note(what, view_.Key(target), size);
    }
    return true;
  }

  // file_xcopy(path, wild, not, dst, 1, bytes).
  int CopyTree(const std::string& path, const char* wild, const std::string& dst,
               PlanChange* tree) {
    int count = 0;
    if (view_.Exist(dst) == 0) {
      if (!MakeDirs(dst, false, &tree->dirs)) return 0;
      count = 1;
    }
    const char* exclude = cmd_.not_.get();
    for (const PlanView::Entry& e : view_.List(path, wild)) {
      if (wild_list(e.name.c_str(), exclude)) continue;
      const std::string target = join(view_.Key(dst), e.name);
      if (e.kind != PlanKind::kDir) {
        if (CopyOne(e, target, tree)) ++count;
      } else if (target.size() < static_cast<size_t>(kPathSize)) {
        count += CopyTree(e.path, "*", target, tree);
      }
    }
    return count;
  }

  // The copy commands, and a failed MkDir, Ini or Rename.
  int CopyFiles() {
    const char* exclude = cmd_.not_.get();
    char path[kPathSize];
    char wild[kPathSize];
    std::vector<std::string> dirs;
    if (copy_dst_file(copy_, index_, wild, kPathSize) != nullptr &&
        copy_dst_path(copy_, index_, path, kPathSize) != nullptr) {
      for (const PlanView::Entry& e : view_.List(path, wild)) {
        if (e.kind == PlanKind::kDir && !wild_ilist(e.name.c_str(), exclude))
          dirs.push_back(e.path);
      }
    }
    if (dirs.empty()) {
      Fail("No destination directories found");
      return 0;
    }
    const char* src_path = copy_src_path(copy_, index_, path, kPathSize);
    const char* src_wild = copy_src_file(copy_, index_, wild, kPathSize);
    int count = 0;
    for (const std::string& dir : dirs) {
      const std::vector<PlanView::Entry> entries =
          src_path != nullptr ? view_.List(src_path, src_wild) : std::vector<PlanView::Entry>();
      if (entries.empty()) {
        Fail("No files found to copy in '" + std::string(str(src_path)) + "' matching '" +
             str(src_wild) + "'");
      }
      for (const PlanView::Entry& e : entries) {
        if (wild_ilist(e.name.c_str(), exclude)) continue;
        const std::string target = join(dir, e.name);
        if (e.kind != PlanKind::kDir) {
          if (CopyOne(e, target, nullptr)) ++count;
        } else if (cmd_.type == CpyDir) {
          PlanChange tree{PlanChange::kCopyTree, target, {}, 0, 0, 0, 0};
          const size_t at = plan_.changes.size();
          const int copied = CopyTree(e.path, "*", target, &tree);
          count += copied;
          if (tree.files > 0 || tree.dirs > 0) {
            plan_.changes.insert(plan_.changes.begin() + static_cast<long>(at), tree);
          }
        }
      }
    }
    if (count == 0 && plan_.failure.empty()) Fail("nothing is copied");
    return count;
  }

  // file_rmdir(dir, not, 1).
  int RemoveTree(const std::string& dir, PlanChange* tree) {
    int count = 0;
    for (const PlanView::Entry& e : view_.List(dir, "*")) {
      if (wild_list(e.name.c_str(), cmd_.not_.get())) {
        ++tree->kept;
      } else if (e.kind == PlanKind::kDir) {
        count += RemoveTree(e.path, tree);
      } else {
        view_.Remove(e.path);
        ++count;
        ++tree->files;
        tree->bytes += e.size;
      }
    }
    if (view_.List(dir, "*").empty()) {
      view_.Remove(dir);
      ++count;
      ++tree->dirs;
    }
    return count;
  }

  int RemoveFiles() {
    char path[kPathSize];
    char wild[kPathSize];
    const char* src_path = copy_src_path(copy_, index_, path, kPathSize);
    const char* src_wild = copy_src_file(copy_, index_, wild, kPathSize);
    const std::string source = str(cmd_.source.get());
    if (cmd_.lost_reference) {
      Fail("Refusing to remove '" + source + "', a setting it names is missing or empty");
      return 0;
    }
    if (copy_rm_forbidden(src_path, src_wild)) {
      Fail("Refusing to remove '" + source + "', the root or a system directory");
      return 0;
    }
    int count = 0;
    if (src_path != nullptr) {
      for (const PlanView::Entry& e : view_.List(src_path, src_wild)) {
        if (wild_ilist(e.name.c_str(), cmd_.not_.get())) continue;
        if (e.kind != PlanKind::kDir) {
          view_.Remove(e.path);
          Note(PlanChange::kRemove, e.path, e.size);
          ++count;
        } else if (cmd_.type == RmDir) {
          PlanChange tree{PlanChange::kRemoveTree, e.path, {}, 0, 0, 0, 0};
          count += RemoveTree(e.path, &tree);
          plan_.changes.push_back(tree);
        }
      }
    }
    if (count == 0) Fail("nothing to remove matches '" + std::string(str(cmd_.source.get())) + "'");
    return count;
  }

  // dochown() and dochmod(): `ok` is false when every change would fail.
  // A link inside the tree (reached through a wildcard or below a
  // directory) is left alone.
  int Walk(const std::string& path, const char* wild, bool ok, PlanChange* change) {
    int count = 0;
    const char* exclude = cmd_.not_.get();
    const bool inside = has_wildcard(wild);
    for (const PlanView::Entry& e : view_.List(path, wild)) {
      if (exclude != nullptr && wild_ilist(e.path.c_str(), exclude)) continue;
      if (inside && e.link) continue;
      int done = e.kind == PlanKind::kDir ? Walk(e.path, "*", ok, nullptr) : 0;
      if (ok) ++done;
      if (change != nullptr && done > 0) {
        plan_.changes.push_back(*change);
        plan_.changes.back().path = e.path;
        plan_.changes.back().files = done;
      }
      count += done;
      if (!ok) break;
    }
    return count;
  }

  int ChangeAll(bool owner) {
    PlanChange change{owner ? PlanChange::kOwner : PlanChange::kMode, {}, {}, 0, 0, 0, 0};
    bool ok = true;
    if (owner) {
      char text[kLineSize];
      scpy(text, cmd_.dest.get(), kLineSize);
      ini_replace(copy_->ini, cmd_.dest.get(), text, kLineSize);
      std::string user = text;
      std::string group = text;
      if (const char* colon = std::strchr(text, ':')) {
        user.assign(text, static_cast<size_t>(colon - text));
        group = colon + 1;
      }
      const int uid = file_getuid(user.c_str());
      int gid = file_getgid(group.c_str());
      if (gid == -1) gid = uid;
      ok = uid != -1;
      change.detail =
          std::string(text) + " (" + std::to_string(uid) + ":" + std::to_string(gid) + ")";
      if (!ok) Fail("unknown user '" + user + "'");
    } else {
      uint32_t mode = 0;
      for (const char* c = str(cmd_.dest.get()); *c != '\0'; ++c) {
        mode = mode * 8 + (static_cast<unsigned char>(*c) - static_cast<uint32_t>('0'));
      }
      char octal[16];
      std::snprintf(octal, sizeof octal, "%o", mode);
      change.detail = octal;
    }
    char path[kPathSize];
    char wild[kPathSize];
    const char* src_path = copy_src_path(copy_, index_, path, kPathSize);
    const char* src_wild = copy_src_file(copy_, index_, wild, kPathSize);
    const int count = src_path != nullptr ? Walk(src_path, src_wild, ok, &change) : 0;
    if (count == 0 && ok) {
      Fail(std::string("No files found to ") + (owner ? "chown" : "chmod"));
    }
    return count;
  }

  // WFile writes the setting's value; RFile empties the file.
  int WriteFile(bool write) {
    const std::string file = str(cmd_.source.get());
    if (!cmd_.source || !CanWrite(file)) {
      Fail(std::string(write ? "Failed to write (" : "Failed to read (") + file + ")");
      return 0;
    }
    const bool there = view_.Kind(file) != PlanKind::kNone;
    uint64_t size = 0;
    if (write) {
      const char* value = ini_value_name(copy_->ini, cmd_.dest.get());
      size = std::strlen(str(value != nullptr ? value : cmd_.dest.get()));
    }
    Note(!there  ? PlanChange::kNewFile
         : write ? PlanChange::kReplace
                 : PlanChange::kEmpty,
         view_.Key(file), size);
    view_.MakeFile(file, size, {});
    return 1;
  }

  Copy* copy_;
  const int index_;
  PlanView& view_;
  const CCmd& cmd_;
  CommandPlan plan_;
};

}  // namespace

CommandPlan copy_plan(Copy* copy, int index, PlanView* view) {
  if (copy == nullptr || view == nullptr || index < 0 || index >= copy_count(copy)) return {};
  return Planner(copy, index, view).Run();
}

}  // namespace inst
