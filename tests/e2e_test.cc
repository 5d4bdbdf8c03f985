// End-to-end scenarios. Each folder under tests/scenarios runs the built
// program in a fresh directory and compares what it printed, its exit status,
// its log and the files it left. A folder may hold:
//   product/        files copied into the run directory first
//   name            the name the program is started under (default "setup")
//   args            command-line words, one per line
//   stdin           what is fed to standard input (default: nothing)
//   stdout          the expected transcript
//   status          the expected exit status (default 0)
//   log_contains    log lines, without time and process id, that must appear
//                   in this order (other lines may come between them)
//   tree            the expected listing of the run directory afterwards
//   before          command-line words, one per line, of a run made first
//                   (without input; its output is not compared), to leave
//                   the directory as an earlier action would
//   unchanged       (empty) the run must leave every file and directory
//                   below the run directory as it found it: names, types,
//                   modes, owners, sizes, times and contents, logs included
//   machine/        directories laid read-only over the machine's own
//                   directories of the same name (machine/etc over /etc),
//                   seen only by the run: it gets a private mount namespace.
//                   Where that is not permitted the scenario is skipped.
// In expected texts @DIR@ stands for the run directory and @HOST@ for the
// machine's host name; in the transcript a line "@BANNER <product>@" stands
// for the welcome banner and "@MENU <product>@" for the menu's lines (from
// the empty line before "1. Install" to "4. Exit").
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/scratch.h"

namespace {

namespace fs = std::filesystem;
using inst::ScratchDir;

const fs::path kScenarios = fs::path(SOURCE_ROOT) / "tests" / "scenarios";

std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::string ReplaceAll(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// The text between "@<word> " and the next "@" replaced by what make(text)
// gives, for every occurrence.
template <typename Make>
std::string ExpandPlaceholder(std::string text, const std::string& word, Make make) {
  const std::string open = "@" + word + " ";
  for (size_t at = text.find(open); at != std::string::npos; at = text.find(open, at)) {
    const size_t end = text.find('@', at + open.size());
    if (end == std::string::npos) break;
    const std::string expansion = make(text.substr(at + open.size(), end - at - open.size()));
    text.replace(at, end + 1 - at, expansion);
    at += expansion.size();
  }
  return text;
}

std::string Banner(const std::string& product) {
  const std::string rule(54, '=');
  return rule + "\n             Welcome to the " + product +
         " installer\n"
         " You will be asked a series of questions, for each a\n"
         " default answer will be provided (thus), to accept the\n"
         " default simply press <enter>, otherwise enter a new\n"
         " answer and press <enter>\n" +
         rule;
}

std::string Menu(const std::string& product) {
  return "\n1. Install " + product + "\n2. Upgrade " + product + "\n3. Remove " + product +
         "\n4. Exit";
}

std::string HostName() {
  char name[256] = {};
  gethostname(name, sizeof name - 1);
  return name;
}

std::vector<std::string> ScenarioNames() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(kScenarios)) {
    if (entry.is_directory()) names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

// A directory laid over one of the machine's directories.
struct Overlay {
  std::string target;   // the machine's directory
  std::string options;  // the overlay's mount options
};

// The run's exit status when its private mounts are not permitted.
constexpr int kCannotIsolate = 125;

// Gives the calling process a mount namespace of its own and lays the
// overlays over the machine's directories there. The namespace is made
// private before anything is mounted, so no mount reaches the rest of the
// machine. Returns false when the system refuses any step.
bool IsolateMounts(const std::vector<Overlay>& overlays) {
  if (overlays.empty()) return true;
  if (unshare(CLONE_NEWNS) != 0) return false;
  if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return false;
  for (const Overlay& overlay : overlays) {
    if (mount("overlay", overlay.target.c_str(), "overlay", MS_RDONLY, overlay.options.c_str()) !=
        0) {
      return false;
    }
  }
  return true;
}

// The overlays a scenario's machine/ folder asks for.
std::vector<Overlay> MachineOverlays(const fs::path& scenario) {
  std::vector<Overlay> overlays;
  if (!fs::exists(scenario / "machine")) return overlays;
  for (const auto& entry : fs::directory_iterator(scenario / "machine")) {
    const std::string target = "/" + entry.path().filename().string();
    overlays.push_back({target, "lowerdir=" + entry.path().string() + ":" + target});
  }
  return overlays;
}

struct Outcome {
  int status = -1;
  pid_t pid = 0;
  std::string out;
  std::string err;
};

// Where the program's standard output goes.
enum class Output {
  kCaptured,           // a file in the capture directory
  kClosed,             // nowhere: the descriptor is closed
  kPipeWithoutReader,  // a pipe whose reading end is closed, so writes fail
};

// Starts `program` with `args` in `dir`, stdin from `input` (or nothing),
// with `overlays` in place, and waits at most a minute for it, calling
// `watch` with its process id every few milliseconds meanwhile.
Outcome RunProgram(const fs::path& program, const std::vector<std::string>& args,
                   const fs::path& dir, const fs::path& input, const fs::path& capture,
                   const std::vector<Overlay>& overlays = {}, Output output = Output::kCaptured,
                   const std::function<void(pid_t)>& watch = nullptr) {
  const fs::path out_path = capture / "stdout";
  const fs::path err_path = capture / "stderr";
  Outcome run;
  run.pid = fork();
  if (run.pid == 0) {
    std::vector<char*> argv;
    std::string argv0 = program.string();
    argv.push_back(argv0.data());
    std::vector<std::string> words = args;
    for (auto& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    int in = open(input.empty() ? "/dev/null" : input.c_str(), O_RDONLY);
    int out = open(out_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    int err = open(err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (in < 0 || out < 0 || err < 0 || chdir(dir.c_str()) != 0) _exit(127);
    if (!IsolateMounts(overlays)) _exit(kCannotIsolate);
    dup2(in, 0);
    dup2(err, 2);
    if (output == Output::kCaptured) {
      dup2(out, 1);
    } else if (output == Output::kClosed) {
      close(1);
    } else {
      int ends[2];
      if (pipe(ends) != 0) _exit(127);
      dup2(ends[1], 1);
      close(ends[0]);
      close(ends[1]);
    }
    close(in);
    close(out);
    close(err);
    execv(argv0.c_str(), argv.data());
    _exit(127);
  }
  int wstatus = 0;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (waitpid(run.pid, &wstatus, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      kill(run.pid, SIGKILL);
      waitpid(run.pid, &wstatus, 0);
      ADD_FAILURE() << "the program did not end within a minute";
      break;
    }
    if (watch) watch(run.pid);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  run.status = WIFEXITED(wstatus) ? WEXITSTATUS(wstatus) : 128 + WTERMSIG(wstatus);
  run.out = ReadFile(out_path);
  run.err = ReadFile(err_path);
  return run;
}

// Whether line starts with an asctime() stamp cut to 20 characters and the
// opening bracket: "Sun Nov 15 12:07:18  [". In the shape, A is an upper
// case letter, a a lower case one, 9 a digit and # a digit or a blank.
bool HasTimeStamp(const std::string& line) {
  static const std::string shape = "Aaa Aaa #9 99:99:99  [";
  if (line.size() < shape.size()) return false;
  for (size_t i = 0; i < shape.size(); ++i) {
    const unsigned char c = line[i];
    const bool ok = shape[i] == 'A'   ? std::isupper(c)
                    : shape[i] == 'a' ? std::islower(c)
                    : shape[i] == '9' ? std::isdigit(c)
                    : shape[i] == '#' ? (std::isdigit(c) || c == ' ')
                                      : c == shape[i];
    if (!ok) return false;
  }
  return true;
}

// The log's lines with the time and process id taken off, after checking
// that each line starts with them in the expected shape and that the id is
// the program's.
std::vector<std::string> LogBodies(const fs::path& log, pid_t pid) {
  const std::string id = std::to_string(pid) + "] ";
  const size_t id_at = 22;  // after the stamp and its bracket
  std::vector<std::string> bodies;
  for (const std::string& line : SplitLines(ReadFile(log))) {
    if (!HasTimeStamp(line) || line.compare(id_at, id.size(), id) != 0) {
      ADD_FAILURE() << "log line without time and process id " << pid << ": " << line;
      continue;
    }
    bodies.push_back(line.substr(id_at + id.size()));
  }
  return bodies;
}

// Every path below `dir` except the program itself (`name`) and its logs
// (named after `bare`), sorted, directories marked with a trailing '/' and
// symbolic links with '@'.
std::string Listing(const fs::path& dir, const std::string& name, const std::string& bare) {
  std::vector<std::string> paths;
  for (auto it = fs::recursive_directory_iterator(dir); it != fs::recursive_directory_iterator();
       ++it) {
    std::string rel = it->path().lexically_relative(dir).string();
    if (rel == name || rel.rfind(bare + ".log", 0) == 0) continue;
    if (it->is_symlink()) {
      rel += "@";
    } else if (it->is_directory()) {
      rel += "/";
    }
    paths.push_back(rel);
  }
  std::sort(paths.begin(), paths.end());
  std::string text;
  for (const auto& path : paths) text += path + "\n";
  return text;
}

// One line for every path below dir, sorted, with its type, mode, owner,
// size, modification time and a hash of its content (of its target for a
// symbolic link): two snapshots are equal only when nothing below dir has
// changed.
std::string Snapshot(const fs::path& dir) {
  std::vector<std::string> lines;
  for (auto it = fs::recursive_directory_iterator(dir); it != fs::recursive_directory_iterator();
       ++it) {
    struct stat st = {};
    lstat(it->path().c_str(), &st);
    std::string content;
    if (S_ISLNK(st.st_mode)) {
      content = fs::read_symlink(it->path()).string();
    } else if (S_ISREG(st.st_mode)) {
      content = ReadFile(it->path());
    }
    std::ostringstream line;
    line << it->path().lexically_relative(dir).string() << " " << std::oct << st.st_mode << std::dec
         << " " << st.st_uid << ":" << st.st_gid << " " << st.st_size << " " << st.st_mtim.tv_sec
         << "." << st.st_mtim.tv_nsec << " " << std::hash<std::string>()(content);
    lines.push_back(line.str());
  }
  std::sort(lines.begin(), lines.end());
  std::string text;
  for (const auto& line : lines) text += line + "\n";
  return text;
}

std::string ReadTrimmed(const fs::path& path, const std::string& fallback) {
  if (!fs::exists(path)) return fallback;
  std::string text = ReadFile(path);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.pop_back();
  return text;
}

class ScenarioTest : public testing::TestWithParam<std::string> {
 protected:
  std::string Expected(const fs::path& path) {
    std::string text = ReplaceAll(ReadFile(path), "@DIR@", work_.root());
    text = ExpandPlaceholder(ReplaceAll(text, "@HOST@", HostName()), "BANNER", Banner);
    return ExpandPlaceholder(text, "MENU", Menu);
  }

  ScratchDir work_;     // where the program runs
  ScratchDir capture_;  // where its output is caught
};

TEST_P(ScenarioTest, Transcript) {
  ASSERT_TRUE(work_.ok() && capture_.ok());
  const fs::path scenario = kScenarios / GetParam();
  const fs::path work = work_.root();
  if (fs::exists(scenario / "product")) {
    fs::copy(scenario / "product", work, fs::copy_options::recursive);
  }
  const std::string name = ReadTrimmed(scenario / "name", "setup");
  const fs::path program = work / name;
  fs::create_symlink(INSTALL_PROGRAM, program);
  std::vector<std::string> args;
  if (fs::exists(scenario / "args")) args = SplitLines(ReadFile(scenario / "args"));
  const fs::path input = fs::exists(scenario / "stdin") ? scenario / "stdin" : fs::path();

  const std::vector<Overlay> overlays = MachineOverlays(scenario);
  if (fs::exists(scenario / "before")) {
    RunProgram(program, SplitLines(ReadFile(scenario / "before")), work, fs::path(),
               capture_.root(), overlays);
  }
  const bool unchanged = fs::exists(scenario / "unchanged");
  const std::string snapshot = unchanged ? Snapshot(work) : std::string();
  const Outcome run = RunProgram(program, args, work, input, capture_.root(), overlays);
  if (!overlays.empty() && run.status == kCannotIsolate) {
    GTEST_SKIP() << "a private mount namespace is not permitted here";
  }

  if (unchanged) {
    EXPECT_EQ(Snapshot(work), snapshot) << "the run changed its directory";
  }
  EXPECT_EQ(run.status, std::stoi(ReadTrimmed(scenario / "status", "0")));
  EXPECT_EQ(run.out, Expected(scenario / "stdout"));
  EXPECT_EQ(run.err, "");
  // The program names its files after its name up to the first dot.
  const std::string bare = name.substr(0, name.find('.'));
  const fs::path log = work / (bare + ".log");
  if (fs::exists(scenario / "log_contains")) {
    const std::vector<std::string> bodies = LogBodies(log, run.pid);
    auto at = bodies.begin();
    for (const std::string& wanted : SplitLines(Expected(scenario / "log_contains"))) {
      at = std::find(at, bodies.end(), wanted);
      ASSERT_TRUE(at != bodies.end()) << "missing from the log, or out of order: " << wanted;
      ++at;
    }
  }
  if (fs::exists(scenario / "tree")) {
    EXPECT_EQ(Listing(work, name, bare), Expected(scenario / "tree"));
  }
}

// A working directory too long for the program's 256-character paths: the
// files are then named relative to it, and nothing overflows.
TEST(DeepDirectoryTest, FilesAreNamedRelativeToTheWorkingDirectory) {
  ScratchDir base;
  ASSERT_TRUE(base.ok());
  fs::path deep = base.root();
  for (int i = 0; i < 6; ++i) deep /= std::string(60, 'a' + i);
  fs::create_directories(deep);
  std::ofstream(deep / "setup.dat") << "product Deep\n";
  std::ofstream(deep / "setup.int") << "";
  fs::create_symlink(INSTALL_PROGRAM, deep / "setup");

  const Outcome run = RunProgram(deep / "setup", {"-automate"}, deep, fs::path(), base.root());

  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("Welcome to the Deep installer"), std::string::npos) << run.out;
  EXPECT_EQ(run.err, "");
  const std::vector<std::string> log = LogBodies(deep / "setup.log", run.pid);
  ASSERT_FALSE(log.empty());
  EXPECT_EQ(log[0], "Info: Log file opened in 'setup.log'");
}

// example/try with the built program: the example product installs
// unattended into a fresh directory under TMPDIR, and says where.
TEST(ExampleTest, TryInstallsTheGuestbookUnattended) {
  ScratchDir tmp, capture;
  ASSERT_TRUE(tmp.ok() && capture.ok());
  setenv("INSTALL_PROGRAM", INSTALL_PROGRAM, 1);
  setenv("TMPDIR", tmp.root().c_str(), 1);
  const Outcome run = RunProgram("/bin/sh", {std::string(SOURCE_ROOT) + "/example/try"}, tmp.root(),
                                 fs::path(), capture.root());
  unsetenv("INSTALL_PROGRAM");
  unsetenv("TMPDIR");

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  std::vector<fs::path> made;
  for (const auto& entry : fs::directory_iterator(tmp.root())) made.push_back(entry.path());
  ASSERT_EQ(made.size(), 1u) << run.out;
  const fs::path dir = made[0];
  EXPECT_NE(run.out.find("[Install]\nCopying files["), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("Ran in " + dir.string() + ": the product went to " + dir.string() +
                         "/guestbook"),
            std::string::npos)
      << run.out;
  EXPECT_EQ(Listing(dir / "guestbook", "", "-"),
            "VERSION\ncgi-bin/\ncgi-bin/gb-count.cgi\ncgi-bin/gb-list.cgi\ncgi-bin/gb-sign.cgi\n"
            "cgi-bin/gb-where\ndata/\ndata/entries.txt\netc/\netc/guestbook.conf\n"
            "etc/refused.txt\netc/title\nhtdocs/\nhtdocs/help/\nhtdocs/help/about.html\n"
            "htdocs/index.html\nhtdocs/style.css\n");
  // The answers reached the files the copy script wrote, and its modes.
  EXPECT_EQ(ReadFile(dir / "guestbook/cgi-bin/gb-where"),
            "# Where the Guestbook's settings are; read by the CGI programs beside it.\n"
            "conf='" +
                dir.string() + "/guestbook/etc/guestbook.conf'\n");
  EXPECT_EQ(ReadFile(dir / "guestbook/VERSION"), "1.2");
  EXPECT_EQ(fs::status(dir / "guestbook/cgi-bin/gb-sign.cgi").permissions() & fs::perms::all,
            fs::perms(0755));
}

// Faults around the program: where it writes cannot take its output. An
// unattended install of many files must still copy them all and end as
// usual, with status 0. Each file's dot is written at once, so writes go on
// failing all through the copy.
class FaultTest : public testing::Test {
 protected:
  static constexpr int kFiles = 200;

  void SetUp() override {
    ASSERT_TRUE(work_.ok() && capture_.ok());
    work_.Write("setup.dat", "product Sturdy\ndest $(current_dir)/out\n");
    work_.Write("setup.int", "");
    work_.Write("setup.q", "[install]\nDir dest - - DEST Install into which directory\n");
    work_.Write("setup.cpy",
                "[install]\nMkDir $(dest)\nCopyFile $(current_dir)/payload/* - $(dest)\n");
    work_.Write("blurb.txt", "$(product) is in $(dest).\n");
    for (int i = 0; i < kFiles; ++i) work_.Write("payload/f" + std::to_string(i), "x");
    fs::create_symlink(INSTALL_PROGRAM, work_.Path("setup"));
  }
  Outcome Run(Output output) {
    return RunProgram(work_.Path("setup"), {"-automate"}, work_.root(), fs::path(), capture_.root(),
                      {}, output);
  }
  // The run ended by itself and installed every file.
  void ExpectInstalled(const Outcome& run) {
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    int copied = 0;
    for (const auto& entry : fs::directory_iterator(work_.Path("out")))
      copied += entry.is_regular_file();
    EXPECT_EQ(copied, kFiles);
  }

  ScratchDir work_;
  ScratchDir capture_;
};

// With standard output closed, or a pipe nobody reads, every log line still
// has its stamp: a dot or a banner line in the log would not.
TEST_F(FaultTest, UnwritableStandardOutputStopsNothingAndStaysOutOfTheLog) {
  for (const Output output : {Output::kClosed, Output::kPipeWithoutReader}) {
    SCOPED_TRACE(output == Output::kClosed ? "closed" : "pipe without reader");
    const Outcome run = Run(output);
    ExpectInstalled(run);
    const std::vector<std::string> log = LogBodies(work_.Path("setup.log"), run.pid);
    ASSERT_FALSE(log.empty());
    EXPECT_EQ(log[0], "Info: Log file opened in '" + work_.Path("setup.log") + "'");
    EXPECT_EQ(log.back(), "Info: Copy script completed successfully");
    fs::remove_all(work_.Path("out"));
    fs::remove(work_.Path("setup.log"));
  }
  // -version opens the log before anything else, with no lock before it:
  // the log must not take the closed output's place.
  const Outcome version = RunProgram(work_.Path("setup"), {"-version"}, work_.root(), fs::path(),
                                     capture_.root(), {}, Output::kClosed);
  EXPECT_EQ(version.status, 0);
  EXPECT_FALSE(LogBodies(work_.Path("setup.log"), version.pid).empty());
}

TEST_F(FaultTest, FullLogLosesItsLinesOnly) {
  fs::create_symlink("/dev/full", work_.Path("setup.log"));
  const Outcome run = Run(Output::kCaptured);
  ExpectInstalled(run);
  EXPECT_EQ(run.out, Banner("Sturdy") + "\n" + Menu("Sturdy") + "\n\n[Install]\nCopying files[" +
                         std::string(kFiles + 1, '.') + "]\nSuccess " + std::to_string(kFiles) +
                         " bytes in " + std::to_string(kFiles + 1) +
                         " files copied\n\nSturdy is in " + work_.Path("out") + ".\n");
}

// Runs with -report: the report is read back with the JSON library. The
// product copies docs/* on install, and payload/* in its section "slow".
class ReportTest : public testing::Test {
 protected:
  static constexpr int kPayload = 1000;

  void SetUp() override {
    ASSERT_TRUE(work_.ok() && capture_.ok());
    work_.Write("setup.dat", "product Widget\ndest $(current_dir)/out\nnote none\n");
    work_.Write("setup.int", "");
    work_.Write("setup.q",
                "[install]\nDir dest - - DEST Where\nText note - - NOTE A note\n[tidy]\n[slow]\n");
    work_.Write("setup.cpy",
                "[install]\nMkDir $(dest)\nCopyFile $(current_dir)/docs/* - $(dest)\n"
                "[tidy]\nRmFile $(current_dir)/none* -\nRmFile $(current_dir)/docs/* -\n"
                "[slow]\nMkDir $(dest)\nCopyFile $(current_dir)/payload/* - $(dest)\n");
    work_.Write("docs/about", "about");
    work_.Write("docs/readme", "read me");
    fs::create_symlink(INSTALL_PROGRAM, work_.Path("setup"));
  }
  nlohmann::json Run(std::vector<std::string> args, Outcome* run,
                     const std::function<void(pid_t)>& watch = nullptr) {
    args.insert(args.end(), {"-report", "report.json"});
    *run = RunProgram(work_.Path("setup"), args, work_.root(), fs::path(), capture_.root(), {},
                      Output::kCaptured, watch);
    return nlohmann::json::parse(ReadFile(work_.Path("report.json")), nullptr, false);
  }
  // The JSON text with @DIR@ standing for the run directory.
  nlohmann::json Expect(const std::string& text) {
    return nlohmann::json::parse(ReplaceAll(text, "@DIR@", work_.root()));
  }

  ScratchDir work_;
  ScratchDir capture_;
};

TEST_F(ReportTest, TellsTheOutcomeAnswersAndCopyStage) {
  // A directory where the copy wants to write a file, in a directory whose
  // name is not UTF-8. The command goes on with the other file.
  fs::create_directories(work_.Path("bad\xff/readme"));
  struct Row {
    std::vector<std::string> args;
    const char* outcome;
    int status;
    const char* answers;
    const char* copy;
  };
  const Row rows[] = {
      {{"-action", "install", "-automate", "-set", "note=\x01tab\there\xff"},
       "succeeded",
       0,
       R"([{"name":"note","value":"\u0001tab\there\ufffd"},{"name":"dest","value":"@DIR@/out"}])",
       R"({"ran":true,"files":3,"bytes":12,"failed_commands":[],"failed_files":[]})"},
      {{"-automate", "-action", "install", "-set", "dest=" + work_.Path("bad\xff")},
       "copy-failed",
       4,
       R"([{"name":"dest","value":"@DIR@/bad\ufffd"},{"name":"note","value":"none"}])",
       R"({"ran":true,"files":2,"bytes":5,"failed_commands":[],
           "failed_files":[{"path":"@DIR@/bad\ufffd/readme","error":"Is a directory"}]})"},
      {{"-action", "install", "-automate", "-set", "note=q"},
       "quit",
       3,
       R"([{"name":"note","value":"q"},{"name":"dest","value":"@DIR@/out"}])",
       R"({"ran":false,"files":0,"bytes":0,"failed_commands":[],"failed_files":[]})"},
      {{"-special", "tidy", "-automate"},
       "copy-failed",
       4,
       "[]",
       R"({"ran":true,"files":2,"bytes":0,
           "failed_commands":[{"line":5,"error":"No files handled"}],"failed_files":[]})"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.outcome + std::string(" ") + row.args[1]);
    Outcome run;
    const nlohmann::json report = Run(row.args, &run);
    ASSERT_TRUE(report.is_object()) << run.out;
    EXPECT_EQ(run.status, row.status);
    EXPECT_EQ(report["outcome"], row.outcome);
    EXPECT_EQ(report["answers"], Expect(row.answers));
    EXPECT_EQ(report["copy"], Expect(row.copy));
    EXPECT_EQ(report["action"], row.args[0] == "-special" ? "special" : "install");
    EXPECT_EQ(report["tag"], row.args[0] == "-special" ? nlohmann::json("tidy") : nullptr);
    EXPECT_EQ(report["product"], "Widget");
    EXPECT_EQ(report["log"], work_.Path("setup.log"));
    EXPECT_LE(report["started"].get<std::string>(), report["ended"].get<std::string>());
  }
}

// SIGTERM while files are copied: the copy stage ends, the report says
// interrupted and the status is 128 + 15, without the exit prompt.
TEST_F(ReportTest, SignalDuringTheCopyStageIsReported) {
  for (int i = 0; i < kPayload; ++i) work_.Write("payload/f" + std::to_string(i), "x");
  bool sent = false;
  auto terminate_once_copying = [&](pid_t pid) {
    if (!sent && ReadFile(capture_.Path("stdout")).find("Executing[.") != std::string::npos) {
      sent = kill(pid, SIGTERM) == 0;
    }
  };
  Outcome run;
  const nlohmann::json report = Run({"-special", "slow"}, &run, terminate_once_copying);
  ASSERT_TRUE(sent);
  EXPECT_EQ(run.status, 128 + SIGTERM);
  EXPECT_EQ(run.out.find("<Press enter to exit>"), std::string::npos);
  ASSERT_TRUE(report.is_object());
  EXPECT_EQ(report["outcome"], "interrupted");
  EXPECT_EQ(report["status"], 128 + SIGTERM);
}

std::string TestName(const testing::TestParamInfo<std::string>& info) {
  std::string name = info.param;
  std::replace_if(
      name.begin(), name.end(), [](char c) { return !std::isalnum(c); }, '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Scenarios, ScenarioTest, testing::ValuesIn(ScenarioNames()), TestName);

}  // namespace
