// Faults a hostile machine throws at the built program: a full file system,
// an unreadable source, a read-only target, a file size limit, a signal in
// the middle of a copy, links planted in a tree that root changes, a
// removal whose setting is missing, a second run at once and a directory
// too long for the file names. Besides the message, each case checks that
// no file was lost: old content, mode and owner intact, and no partial
// file under a final name. The tests run as root in a mount namespace of
// their own (the mounts they make vanish with it) and skip themselves
// where either is not to be had.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/scratch.h"

namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

// A file's mode, owner and content (a link's target), to compare across a run.
std::string Snapshot(const std::string& path) {
  struct stat st = {};
  if (lstat(path.c_str(), &st) != 0) return "missing";
  std::string text = std::to_string(st.st_mode) + " " + std::to_string(st.st_uid) + ":" +
                     std::to_string(st.st_gid) + " ";
  if (S_ISLNK(st.st_mode)) return text + fs::read_symlink(path).string();
  if (S_ISDIR(st.st_mode)) return text;
  std::ifstream in(path, std::ios::binary);
  return text + std::string(std::istreambuf_iterator<char>(in), {});
}

// Fills the file system under dir to the last byte.
void Fill(const std::string& dir) {
  const int fd = open((dir + "/filler").c_str(), O_WRONLY | O_CREAT, 0600);
  const std::string block(4096, 'f');
  while (write(fd, block.data(), block.size()) > 0) {
  }
  close(fd);
}

class SafetyTest : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "needs root";
    if (unshare(CLONE_NEWNS) != 0 ||
        mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
      GTEST_SKIP() << "a private mount namespace is not permitted here";
    }
    ASSERT_TRUE(work_.ok() && capture_.ok());
    umask(022);
    chmod(work_.root().c_str(), 0777);  // for the run as nobody
    work_.Write("setup.dat", "product Safe\n");
    work_.Write("setup.int", "");
    work_.Write("setup.q", "[t]\n");
    fs::create_symlink(INSTALL_PROGRAM, work_.Path("setup"));
  }
  void TearDown() override {
    for (auto it = mounts_.rbegin(); it != mounts_.rend(); ++it) umount2(it->c_str(), MNT_DETACH);
  }

  // Mounts at rel a tmpfs with the given options, or rel itself read-only.
  void Mount(const std::string& rel, const char* tmpfs_options) {
    const std::string at = work_.Path(rel);
    fs::create_directories(at);
    if (tmpfs_options != nullptr) {
      ASSERT_EQ(mount("none", at.c_str(), "tmpfs", 0, tmpfs_options), 0);
    } else {
      ASSERT_EQ(mount(at.c_str(), at.c_str(), nullptr, MS_BIND, nullptr), 0);
      ASSERT_EQ(mount(nullptr, at.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr), 0);
    }
    mounts_.push_back(at);
  }

  // Starts "setup -automate -special t" (after `prefix`; without -automate
  // when in_fd is given) on the copy script section "[t]\n" + script, with
  // standard input from in_fd (or nothing). in_child runs in the child first
  // and ends it with 125 when it fails.
  pid_t Start(const std::string& script, const Strings& prefix = {},
              const std::function<bool()>& in_child = {}, int in_fd = -1) {
    work_.Write("setup.cpy", "[t]\n" + script);
    Strings words = prefix;
    words.push_back(dir_ + "/setup");
    if (in_fd < 0) words.push_back("-automate");
    words.push_back("-special");
    words.push_back("t");
    const pid_t pid = fork();
    if (pid == 0) {
      std::vector<char*> argv;
      for (auto& w : words) argv.push_back(w.data());
      argv.push_back(nullptr);
      const int in = in_fd >= 0 ? in_fd : open("/dev/null", O_RDONLY);
      const int out = open(capture_.Path(out_name_).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      if (in < 0 || out < 0 || chdir(dir_.c_str()) != 0) _exit(127);
      if (in_child && !in_child()) _exit(125);
      dup2(in, 0);
      dup2(out, 1);
      execv(argv[0], argv.data());
      _exit(127);
    }
    return pid;
  }
  // Waits for the run; returns its status (128 + the signal that ended it).
  int Wait(pid_t pid) {
    int wstatus = 0;
    waitpid(pid, &wstatus, 0);
    return WIFEXITED(wstatus) ? WEXITSTATUS(wstatus) : 128 + WTERMSIG(wstatus);
  }
  int Run(const std::string& script, const Strings& prefix = {},
          const std::function<bool()>& in_child = {}) {
    return Wait(Start(script, prefix, in_child));
  }
  std::string Out() { return capture_.Read("out"); }
  // Each line must be in the log, after the time and process id.
  void ExpectLogged(const Strings& lines) {
    const std::string log = work_.Read("setup.log");
    for (const std::string& line : lines) {
      EXPECT_NE(log.find("] " + line + "\n"), std::string::npos) << line << " is not in\n" << log;
    }
  }
  Strings Snapshots(const Strings& rels) {
    Strings all;
    for (const auto& rel : rels) all.push_back(Snapshot(work_.Path(rel)));
    return all;
  }
  // Temporary files left anywhere below the run directory.
  int Leftovers() {
    int count = 0;
    for (const auto& e : fs::recursive_directory_iterator(work_.root())) {
      count += e.path().filename().string().rfind(".instkit.", 0) == 0;
    }
    return count;
  }

  // Where the next run's standard output goes, in the capture directory.
  std::string out_name_ = "out";
  inst::ScratchDir work_;
  inst::ScratchDir capture_;
  std::string dir_ = work_.root();  // where the program runs
  std::vector<std::string> mounts_;
};

TEST_F(SafetyTest, FullFileSystemLeavesEveryReplacedFileAsItWas) {
  Mount("full", "size=1m");
  const std::string big(800 << 10, 'n');
  work_.Write("src/a.bin", big);
  work_.Write("src/tree/b.bin", big);
  work_.Write("src/c.ini", "name=$(product)\n" + big + "\n");
  const Strings olds = {"full/a.bin", "full/dir/b.bin", "full/c.ini", "full/w"};
  for (const auto& f : olds)
    work_.Write(f, "old " + f + std::string(f == olds[0] ? 300 << 10 : 0, 'o'));
  chmod(work_.Path(olds[0]).c_str(), 0640);
  ASSERT_EQ(chown(work_.Path(olds[2]).c_str(), 33, 33), 0);
  Fill(work_.Path("full"));
  const Strings before = Snapshots(olds);

  EXPECT_EQ(Run("CopyFile $(current_dir)/src/a.bin - $(current_dir)/full\n"
                "CopyDir $(current_dir)/src/tree/* - $(current_dir)/full/dir\n"
                "Ini $(current_dir)/src/c.ini $(current_dir)/full/c.ini\n"
                "WFile $(current_dir)/full/w product\n"),
            0);
  EXPECT_EQ(Snapshots(olds), before);
  EXPECT_EQ(Leftovers(), 0);
  const std::string full = work_.Path("full");
  ExpectLogged({"Error: Error writing to '" + full + "/a.bin', No space left on device",
                "Error: Error writing to '" + full + "/dir/b.bin', No space left on device",
                "Error: Error writing ini file '" + full + "/c.ini', No space left on device",
                "Error: Failed to write (" + full + "/w), No space left on device"});
}

// As nobody, under a file size limit: a source it cannot read, a target on
// a read-only file system and a copy larger than the limit each fail and
// leave the old file.
TEST_F(SafetyTest, UnreadableSourceReadOnlyTargetAndSizeLimitKeepTheOldFiles) {
  if (access("/usr/bin/setpriv", X_OK) != 0) GTEST_SKIP() << "needs setpriv";
  work_.Write("src/secret.conf", "new");
  chmod(work_.Path("src/secret.conf").c_str(), 0600);
  work_.Write("src/big.bin", std::string(300 << 10, 'n'));
  const Strings olds = {"out/secret.conf", "ro/f", "out/big.bin"};
  for (const auto& f : olds) work_.Write(f, "old");
  Mount("ro", nullptr);
  for (const char* f : {"out", "out/secret.conf", "out/big.bin"}) {
    ASSERT_EQ(chown(work_.Path(f).c_str(), 65534, 65534), 0);
  }
  const Strings before = Snapshots(olds);

  EXPECT_EQ(Run("CopyFile $(current_dir)/src/secret.conf - $(current_dir)/out\n"
                "CopyFile $(current_dir)/src/big.bin - $(current_dir)/ro\n"
                "CopyFile $(current_dir)/src/big.bin - $(current_dir)/out\n",
                {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"},
                [] {
                  const rlimit limit = {100 << 10, 100 << 10};
                  return setrlimit(RLIMIT_FSIZE, &limit) == 0;
                }),
            0);  // not ended by SIGXFSZ
  EXPECT_EQ(Snapshots(olds), before);
  EXPECT_EQ(Leftovers(), 0);
  const std::string dir = work_.root();
  ExpectLogged({"Error: Error opening '" + dir + "/src/secret.conf' for read, Permission denied",
                "Error: Error opening '" + dir + "/ro/big.bin' for write, Read-only file system",
                "Error: Error writing to '" + dir + "/out/big.bin', File too large"});
}

TEST_F(SafetyTest, SignalInTheMiddleOfACopyEndsTheRunWithNothingHalfDone) {
  Mount("src", "size=600m");
  const std::string big(128 << 20, 'n');
  const Strings outs = {"out/1", "out/2", "out/3", "out/4"};
  for (const auto& f : outs) {
    work_.Write("src/" + f.substr(4), big);
    work_.Write(f, "old");
  }
  const pid_t pid = Start("CopyFile $(current_dir)/src/* - $(current_dir)/out\n");
  // Interrupts as soon as the first temporary file fills.
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  bool copying = false;
  while (!copying && std::chrono::steady_clock::now() < deadline) {
    for (const auto& e : fs::directory_iterator(work_.Path("out"))) {
      std::error_code ignored;
      copying = copying || (e.path().filename().string().rfind(".instkit.", 0) == 0 &&
                            fs::file_size(e.path(), ignored) > 0);
    }
  }
  ASSERT_TRUE(copying);
  const auto sent = std::chrono::steady_clock::now();
  kill(pid, SIGTERM);
  EXPECT_EQ(Wait(pid), 128 + SIGTERM);
  EXPECT_LT(std::chrono::steady_clock::now() - sent, std::chrono::seconds(1));

  int old = 0;
  for (const auto& f : outs) {
    const std::string text = work_.Read(f);
    old += text == "old";
    EXPECT_TRUE(text == "old" || text == big) << f << " has " << text.size() << " bytes";
  }
  EXPECT_GT(old, 0);
  EXPECT_EQ(Leftovers(), 0);
  ExpectLogged({"Error: Interrupted by signal 15 (Terminated), stopping..."});
  EXPECT_EQ(Out().find("<Press enter to exit>"), std::string::npos);
}

TEST_F(SafetyTest, LinksPlantedInATreeLeadNowhere) {
  work_.Write("secret", "root only");
  work_.Write("outside/f", "x");
  for (const char* f : {"secret", "outside", "outside/f"}) chmod(work_.Path(f).c_str(), 0600);
  work_.Write("app/bin/run", "");
  fs::create_directories(work_.Path("app/data"));
  for (const char* link : {"app/data/x", "app/data/w"}) {
    fs::create_symlink("../../secret", work_.Path(link));
  }
  fs::create_directory_symlink("../../outside", work_.Path("app/data/d"));
  const Strings kept = {"secret", "outside", "outside/f", "app/data/x", "app/data/d"};
  const Strings before = Snapshots(kept);

  EXPECT_EQ(Run("Chown $(current_dir)/app/* - nobody:nogroup\n"
                "Chmod $(current_dir)/app/* - 777\n"
                "WFile $(current_dir)/app/data/w product\n"),
            0);
  EXPECT_EQ(Snapshots(kept), before);
  EXPECT_EQ(Snapshots({"app/bin/run", "app/data/w"}),
            (Strings{std::to_string(S_IFREG | 0777) + " 65534:65534 ",
                     std::to_string(S_IFREG | 0644) + " 0:0 Safe"}));
  ExpectLogged({"Debug: Not following link '" + work_.Path("app/data/x") + "'"});
}

// The root file system is made read-only for the run, so that even a
// broken refusal could delete nothing: what counts is the refusal.
TEST_F(SafetyTest, RemovalOfAMissingSettingsTreeIsRefused) {
  fs::create_directory_symlink("/", work_.Path("top"));
  const std::string work = work_.root();
  const int status =
      Run("RmDir $(missing)/* -\nRmFile $(missing)/etc/passwd -\nRmDir /tmp/../etc -\n"
          "RmDir $(current_dir)/top/* -\n",
          {}, [&work] {
            struct {
              uint64_t set, clear, propagation, userns;
            } readonly = {1, 0, 0, 0};               // MOUNT_ATTR_RDONLY
            constexpr unsigned kRecursive = 0x8000;  // AT_RECURSIVE
            return unshare(CLONE_NEWNS) == 0 &&
                   mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                   syscall(SYS_mount_setattr, AT_FDCWD, "/", kRecursive, &readonly,
                           sizeof readonly) == 0 &&
                   mount(work.c_str(), work.c_str(), nullptr, MS_BIND, nullptr) == 0 &&
                   mount(nullptr, work.c_str(), nullptr, MS_REMOUNT | MS_BIND, nullptr) == 0;
          });
  if (status == 125) GTEST_SKIP() << "cannot make the root file system read-only";
  EXPECT_EQ(status, 0);
  const std::string lost = "', a setting it names is missing or empty, Operation not permitted";
  const std::string top = "', the root or a system directory, Operation not permitted";
  ExpectLogged({"Error: Refusing to remove '/*" + lost,
                "Error: Refusing to remove '/etc/passwd" + lost,
                "Error: Refusing to remove '/tmp/../etc" + top,
                "Error: Refusing to remove '" + work + "/top/*" + top});
  std::string screen = "[t]\nExecuting[";
  for (int i = 0; i < 4; ++i) screen += "\nError: Operation not permitted\n";
  EXPECT_NE(Out().find(screen + "]\n Success 0 files done.\n"), std::string::npos) << Out();
}

TEST_F(SafetyTest, SecondRunAtOnceAndOverlongNamesTouchNothing) {
  int pipe_ends[2];
  ASSERT_EQ(pipe2(pipe_ends, O_CLOEXEC), 0);
  work_.Write("setup.q", "[t]\nText answer - - HELP Waits here\n");
  // The first run writes elsewhere: its banner may still be on its way
  // when the second run starts.
  out_name_ = "first";
  const pid_t first = Start("", {}, {}, pipe_ends[0]);
  out_name_ = "out";
  close(pipe_ends[0]);
  while (work_.Read("setup.log").empty()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  const pid_t second = Start("");
  EXPECT_EQ(Wait(second), 1);
  EXPECT_EQ(Out(), "Error: another run (process " + std::to_string(first) +
                       ") is in progress in '" + work_.root() + "'\n");
  EXPECT_EQ(work_.Read("setup.log").find("[" + std::to_string(second) + "]"), std::string::npos);
  close(pipe_ends[1]);
  EXPECT_EQ(Wait(first), 0);

  // A directory whose path fits while the log's name in it does not.
  dir_ = work_.root() + "/" + std::string(249 - work_.root().size(), 'd');
  fs::create_directories(dir_);
  for (const char* f : {"setup", "setup.dat", "setup.int", "setup.q"}) {
    fs::rename(work_.Path(f), dir_ + "/" + f);
  }
  EXPECT_EQ(Run(""), 1);
  EXPECT_EQ(Out(),
            "Error: the current directory's path is 250 characters long, too long to name "
            "'setup.log' in it\n");
  EXPECT_FALSE(fs::exists(dir_ + "/setup.log"));
}

}  // namespace
