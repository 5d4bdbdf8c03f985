// The dry run of a copy script: what each command would do to the files if
// it ran now, worked out as copy_do() would do it but over a view of the
// file system that holds, in memory, what the commands planned before it
// would have changed. Nothing is written; the settings that commands set
// (Exist) are set in the script's store.
#ifndef INSTALLER_COPY_DRYRUN_H_
#define INSTALLER_COPY_DRYRUN_H_

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "copy/copy.h"

namespace inst {

enum class PlanKind { kNone, kFile, kDir };

// The file system as the commands planned so far would leave it: what is on
// disk, with their changes laid over it. Paths are given as the commands
// hold them (relative ones from the working directory at construction, any
// separators) and returned absolute, with single '/' separators.
class PlanView {
 public:
  PlanView();

  // One entry of a directory.
  struct Entry {
    std::string path;  // absolute
    std::string name;  // the last part of path
    PlanKind kind;     // as a scan sees it: a link is not a directory
    uint64_t size;     // of a file, links followed
    bool link;         // a symbolic link on disk
  };

  // The absolute, tidied form of path.
  std::string Key(const std::string& path) const;
  // What stands at path as a directory scan sees it (lstat).
  PlanKind Kind(const std::string& path) const;
  // What stands there with links followed, as file_exist() answers: 0
  // nothing, 1 a file, 2 a directory.
  int Exist(const std::string& path) const;
  // The size of the file at path, links followed; 0 for anything else.
  uint64_t Size(const std::string& path) const;
  // The file on disk whose content the file at path has: path itself while
  // nothing planned has touched it, the source of a planned copy; empty
  // when its content would only be made by a command (a template, say).
  std::string Content(const std::string& path) const;
  // The path on disk that holds what stands at path while no planned
  // command has made or replaced it; empty otherwise.
  std::string Untouched(const std::string& path) const;
  // Whether a new entry could be made in directory dir: always in one that
  // a planned command makes, else as the system says.
  bool Writable(const std::string& dir) const;
  // The entries of directory dir whose names match wild (wild_match()),
  // sorted by name; none when dir is not a directory.
  std::vector<Entry> List(const std::string& dir, const char* wild) const;

  void MakeDir(const std::string& path);
  // A file of `size` bytes whose content is that of the file `content` on
  // disk (empty: none there).
  void MakeFile(const std::string& path, uint64_t size, const std::string& content);
  // Removes path and everything below it.
  void Remove(const std::string& path);
  // Moves what stands at from, with everything below it, to to.
  void Rename(const std::string& from, const std::string& to);

 private:
  // A path a planned command has changed. A directory shows the entries of
  // the directory `real` on disk (none when empty), with the nodes below it
  // laid over them.
  struct Node {
    PlanKind kind = PlanKind::kNone;  // kNone: removed
    uint64_t size = 0;
    std::string real;
  };
  // Where a key stands: a node, or a path on disk to look at, or nowhere.
  struct Place {
    const Node* node = nullptr;
    std::string real;
  };
  Place Locate(const std::string& key) const;
  // Drops every node below key.
  void DropBelow(const std::string& key);

  std::string cwd_;
  std::map<std::string, Node> nodes_;
};

// What a planned command would do to one path.
struct PlanChange {
  enum What {
    kMakeDir,     // a directory made
    kNewFile,     // a file made, of `bytes`
    kReplace,     // a file that is there replaced by one of `bytes`
    kEmpty,       // a file that is there emptied (RFile)
    kCopyTree,    // a directory copied: files, dirs (made) and bytes
    kRemove,      // a file removed, of `bytes`
    kRemoveTree,  // a directory removed: files, dirs and bytes, `kept` entries left
    kRename,      // moved to `detail`
    kMode,        // mode set to `detail` on `files` entries
    kOwner,       // owner set to `detail` on `files` entries
  };
  What what;
  std::string path;
  std::string detail;
  uint64_t bytes = 0;
  int files = 0;
  int dirs = 0;
  int kept = 0;
};

// What one command would do.
struct CommandPlan {
  int result = 0;           // as copy_do() would return it: -1 skipped, 0 failed, else its count
  unsigned long bytes = 0;  // what its copies would write
  std::string failure;      // why it fails, or what failed in a command that did some of its work
  std::vector<PlanChange> changes;
};

// Plans command `index` of `copy` over `view` as copy_do() would run it and
// lays what it would change over the view. Returns a result of 0 with no
// changes for a null script or view or an index outside the list.
CommandPlan copy_plan(Copy* copy, int index, PlanView* view);

}  // namespace inst

#endif  // INSTALLER_COPY_DRYRUN_H_
