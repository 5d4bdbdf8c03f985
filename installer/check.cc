#include "installer/check.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "copy/copy.h"
#include "file/file.h"
#include "ini/shared.h"
#include "init/init.h"
#include "installer/installer.h"
#include "lib/lines.h"
#include "lib/paths.h"
#include "lib/strings.h"
#include "lib/wild.h"
#include "quest/quest.h"

namespace inst {
namespace {

// The description files, in the order their findings are shown; the
// templates follow them.
enum FileIndex { kData, kProbes, kQuestions, kScript, kTemplates };
constexpr const char* kExtensions[] = {".dat", ".int", ".q", ".cpy"};

// The directories directly in "/" that hold the system: a removal must not
// empty one.

// The names of the references "$(name)" in text, in order. A "$(" without a
// closing ")" ends the scan, as it ends every expansion.
std::vector<std::string> references(const char* text) {
  std::vector<std::string> names;
  const char* at = text != nullptr ? std::strstr(text, "$(") : nullptr;
  while (at != nullptr) {
    const char* close = std::strchr(at + 2, ')');
    if (close == nullptr) break;
    names.emplace_back(at + 2, close);
    at = std::strstr(close + 1, "$(");
  }
  return names;
}

std::string folded(std::string_view name) {
  std::string out(name);
  for (char& c : out) c = static_cast<char>(fold(c));
  return out;
}

// path with '/' for every separator, each run of them made one and a
// trailing one dropped; "/" stays "/".
std::string tidy(std::string_view path) {
  std::string out;
  for (const char c : path) {
    const bool sep = is_separator(c);
    if (sep && !out.empty() && out.back() == '/') continue;
    out += sep ? '/' : c;
  }
  if (out.size() > 1 && out.back() == '/') out.pop_back();
  return out;
}

bool has_wildcard(std::string_view text) { return text.find_first_of("*?") != text.npos; }

// What makes removing the source `expanded` (references expanded) a danger
// to the machine, or the empty text: the entries it removes stand straight
// in "/", or it takes everything matching a pattern from a top-level system
// directory.
std::string removal_danger(const std::string& expanded) {
  const char* sep = last_separator(expanded.c_str());
  if (sep == nullptr) return {};
  const size_t cut = static_cast<size_t>(sep - expanded.c_str()) + 1;
  const std::string dir = tidy(expanded.substr(0, cut));
  const std::string pattern = cut < expanded.size() ? expanded.substr(cut) : "*";
  if (dir == "/") return "removes '" + expanded + "' straight from /";
  if (has_wildcard(pattern) && dir.size() > 1 && dir.find('/', 1) == dir.npos &&
      copy_system_dir(dir.c_str() + 1)) {
    return "takes '" + expanded + "' from the system directory " + dir;
  }
  return {};
}

// Whether the copy source `expanded` names something to copy: an entry of
// its directory that matches its pattern and is not left out by `exclude`,
// and for CopyFile one that is not a directory.
bool has_source(const std::string& expanded, const char* exclude, bool files_only) {
  const char* sep = last_separator(expanded.c_str());
  const size_t cut = sep == nullptr ? 0 : static_cast<size_t>(sep - expanded.c_str()) + 1;
  const std::string dir = sep == nullptr ? "." : expanded.substr(0, cut);
  const std::string pattern = cut < expanded.size() ? expanded.substr(cut) : "*";
  if (file_exist(dir.c_str()) != 2) return false;
  if (!has_wildcard(pattern)) {
    struct stat st;
    return !wild_ilist(pattern.c_str(), exclude) &&
           lstat((dir + "/" + pattern).c_str(), &st) == 0 && !(files_only && S_ISDIR(st.st_mode));
  }
  FHandle* handle = nullptr;
  File* entry = file_first(&handle, dir.c_str(), pattern.c_str());
  bool found = false;
  for (bool more = entry != nullptr; more && !found; more = file_next(entry, handle) != 0) {
    char base[kPathSize];
    file_filename(entry, base, kPathSize);
    found = !wild_ilist(base, exclude) && !(files_only && S_ISDIR(entry->info.st_mode));
  }
  file_free(&entry);
  file_last(&handle);
  return found;
}

class Checker {
 public:
  explicit Checker(Ini* store) : store_(store), expander_(copy_init(store)) {
    char dir[kPathSize];
    if (currentdir(dir, kPathSize) != nullptr) product_dir_ = std::string(dir) + "/";
  }
  ~Checker() { copy_free(&expander_); }
  Checker(const Checker&) = delete;
  Checker& operator=(const Checker&) = delete;

  std::vector<Finding> Run() {
    for (int f = kData; f < kTemplates; ++f) {
      shown_[f] = std::string(str(myname)) + kExtensions[f];
      readable_[f] = Readable(f);
    }
    CheckData();
    LoadProbes();
    CheckQuestions();
    CheckScript();
    CheckSections();
    CheckTemplates();
    CheckNames();
    std::stable_sort(findings_.begin(), findings_.end(), [](const auto& a, const auto& b) {
      return a.first != b.first ? a.first < b.first : a.second.line < b.second.line;
    });
    std::vector<Finding> out;
    out.reserve(findings_.size());
    for (auto& f : findings_) out.push_back(std::move(f.second));
    return out;
  }

 private:
  // A text whose references are checked once every setting that can be set
  // is known. In the data file a reference also finds a declared setting
  // whatever its case, as the data file's own expansion does.
  struct RefSite {
    int order;
    int line;
    std::string text;
    bool in_data;
  };
  // A control setting, checked like a reference.
  struct ControlSite {
    int order;
    int line;
    std::string name;
    const char* effect;  // what follows when nothing sets it
  };

  void Add(int order, int line, bool error, std::string text) {
    findings_.push_back({order, {Shown(order), line, error, std::move(text)}});
  }
  void AddProblems(int order, const std::vector<Problem>& problems) {
    for (const Problem& p : problems) Add(order, p.line, p.error, p.text);
  }
  const std::string& Shown(int order) const {
    return order < kTemplates ? shown_[order] : templates_[static_cast<size_t>(order - kTemplates)];
  }

  // Names description file f into paths_[f]; a missing or unreadable file
  // is an error of its own.
  bool Readable(int f) {
    if (!description_file(paths_[f], kExtensions[f])) {
      Add(f, 0, true, "cannot be read: its path is longer than 255 characters");
      return false;
    }
    if (access(paths_[f], R_OK) != 0) {
      Add(f, 0, true, std::string("cannot be read: ") + std::strerror(errno));
      return false;
    }
    return true;
  }

  // A copy script's text expanded with the data file's defaults, as the
  // copy loader would expand it.
  std::string Expand(const char* text) {
    std::unique_ptr<char[]> expanded(replace_vars(expander_, text));
    return expanded ? expanded.get() : str(text);
  }
  // Whether the setting can be empty when a command runs: the data file
  // gives it no value. Every value stored later is not empty, as the store
  // refuses empty values for declared settings.
  bool CanBeEmpty(const std::string& name) {
    const char* value = ini_value_name(store_, name.c_str());
    return value == nullptr || *value == '\0';
  }
  // A path as the product's author knows it: relative to the product's
  // directory when it is in it.
  std::string InProduct(const std::string& path) const {
    if (!product_dir_.empty() && path.rfind(product_dir_, 0) == 0) {
      return path.substr(product_dir_.size());
    }
    return path;
  }

  void SetBy(const char* name, std::unordered_set<std::string>* also = nullptr) {
    if (name == nullptr) return;
    settable_.insert(name);
    if (also != nullptr) also->insert(name);
  }
  // Keeps a text to check its references once everything is loaded.
  void Refs(int order, int line, const char* text, bool in_data = false) {
    if (text != nullptr && std::strstr(text, "$(") != nullptr) {
      refs_.push_back({order, line, text, in_data});
    }
  }
  void Control(int order, int line, const char* name, const char* effect) {
    if (name != nullptr) controls_.push_back({order, line, name, effect});
  }

  void CheckData() {
    if (!readable_[kData]) return;
    load_datfile(store_, paths_[kData]);
    std::unordered_map<std::string, int> first_line;
    for (int row = 0; _settings != nullptr && _settings[row].setting != nullptr; ++row) {
      const char* name = _settings[row].setting;
      const int line = datfile_line(row);
      settable_.insert(name);
      declared_folded_.insert(folded(name));
      const auto [first, fresh] = first_line.emplace(name, line);
      if (!fresh) {
        Add(kData, line, false,
            first->second == 0
                ? std::string("'") + name + "' is built in: this line has no effect"
                : std::string("'") + name + "' is declared again (first on line " +
                      std::to_string(first->second) + "): only the first is ever read");
      }
      Refs(kData, line, _settings[row].dflt, true);
    }
    AddProblems(kData, datfile_problems());
    clear_datfile();
  }

  void LoadProbes() {
    if (!readable_[kProbes]) return;
    std::unique_ptr<Init, void (*)(Init*)> probes(init_init(), [](Init* p) { init_free(&p); });
    init_load(probes.get(), paths_[kProbes]);
    AddProblems(kProbes, probes->problems);
    for (IItem* p = init_get_num(probes.get(), 0); p != nullptr; p = init_get(probes.get())) {
      const IItemMode mode = p->mode;
      if (mode == IExist || mode == ITimeDate || mode == IRFile) SetBy(p->b.get(), &probe_set_);
      if (mode == ICopy || (mode & IHTTP) != 0) SetBy(p->a.get(), &probe_set_);
      if ((mode & IHTTP) != 0) SetBy(p->b.get(), &probe_set_);
      if (mode == IExist || mode == IWFile || mode == IRFile) {
        Refs(kProbes, p->line, p->a.get());
      }
      if (p->compare) {
        Control(kProbes, p->line, p->control.get(), "the compare text is matched with its name");
      }
    }
  }

  // The questions of one section: what they set, what they refer to, and
  // the Loop and Error questions that nothing they depend on can change.
  void CheckQuestionSection(const char* name) {
    std::unique_ptr<Questions, void (*)(Questions*)> list(quest_init(nullptr),
                                                          [](Questions* q) { quest_free(&q); });
    quest_load(list.get(), paths_[kQuestions], name);
    AddProblems(kQuestions, list->problems);
    std::unordered_set<std::string>& section_set = question_sets_[folded(name)];
    // Where each setting is set, by position, in order.
    std::unordered_map<std::string, std::vector<int>> set_at;
    const int count = static_cast<int>(quest_count(list.get()));
    for (int i = 0; i < count; ++i) {
      const Quest& q = list->list[static_cast<size_t>(i)];
      const QType type = q.type;
      const bool asked = type != QCopy && type != QXExist && type != QError && type != QLoop;
      if (asked || type == QCopy || type == QXExist) {
        SetBy(q.setting.get(), &section_set);
        if (q.setting) set_at[q.setting.get()].push_back(i);
      }
      if (type != QCopy && type != QLoop) Refs(kQuestions, q.line, q.text.get());
      if (!asked) continue;
      Control(kQuestions, q.line, q.control.get(), "the question is always asked");
      const char* dflt = ini_value_name(store_, q.setting.get());
      if ((type & QYN) == 0 && dflt != nullptr && dflt[0] != '\0' && dflt[1] == '\0' &&
          (fold(dflt[0]) == 'b' || fold(dflt[0]) == 'q')) {
        Add(kQuestions, q.line, false,
            std::string("the default of ") + q.setting.get() + " is '" + dflt + "': taken " +
                (fold(dflt[0]) == 'q' ? "unattended, it quits the run"
                                      : "unattended, it goes back a question"));
      }
    }
    // Whether a question at a position from `from` up to, not including,
    // `to` sets the setting.
    auto set_between = [&set_at](const char* setting, int from, int to) {
      const auto found = set_at.find(str(setting));
      if (found == set_at.end()) return false;
      const auto at = std::lower_bound(found->second.begin(), found->second.end(), from);
      return at != found->second.end() && *at < to;
    };
    for (int i = 0; i < count; ++i) {
      const Quest& q = list->list[static_cast<size_t>(i)];
      if (q.type == QLoop) {
        char* end = nullptr;
        const char* text = str(q.text.get());
        const long target = std::strtol(text, &end, 10);
        if (end == text || *end != '\0' || target < 0 || target >= count) {
          Add(kQuestions, q.line, true,
              std::string("Loop goes back to question '") + text +
                  "', which is not one of this section's 0 to " + std::to_string(count - 1));
        } else if (target <= i && !set_between(q.setting.get(), static_cast<int>(target), i)) {
          Add(kQuestions, q.line, false,
              std::string("no question from ") + std::to_string(target) + " to this Loop sets " +
                  str(q.setting.get()) + ": while it is false the questions go round without end");
        }
      } else if (q.type == QError && !set_between(q.setting.get(), 0, i) &&
                 probe_set_.count(str(q.setting.get())) == 0) {
        Add(kQuestions, q.line, false,
            std::string("nothing before this Error and no probe sets ") + str(q.setting.get()) +
                ": its default alone decides whether it fires");
      }
    }
  }

  void CheckQuestions() {
    if (!readable_[kQuestions]) return;
    list_sections(paths_[kQuestions], &question_heads_);
    std::unordered_set<std::string> done;
    for (const SectionHead& head : question_heads_) {
      if (done.insert(folded(head.name)).second) CheckQuestionSection(head.name.c_str());
    }
  }

  // A removal's source, as written: whether a reference at its start can be
  // empty, or whether it removes what the machine needs.
  void CheckRemoval(int line, const CCmd& cmd) {
    const char* keyword = cmd.type == RmDir ? "RmDir" : "RmFile";
    const char* source = str(cmd.source.get());
    const std::string expanded = Expand(source);
    const std::vector<std::string> names = references(source);
    if (std::strncmp(source, "$(", 2) == 0 && !names.empty() && CanBeEmpty(names[0])) {
      Add(kScript, line, true,
          std::string(keyword) + " starts with $(" + names[0] +
              "), a setting without a default: while it is empty the command removes '" + expanded +
              "'");
      return;
    }
    const std::string danger = removal_danger(expanded);
    if (!danger.empty()) Add(kScript, line, true, std::string(keyword) + " " + danger);
  }

  // A copy source or template written in the product's directory (after
  // $(current_dir), or as a relative path) must be there.
  void CheckSource(int line, const CCmd& cmd) {
    const char* source = str(cmd.source.get());
    const bool in_product = std::strncmp(source, "$(current_dir)", 14) == 0 ||
                            (!is_separator(source[0]) && std::strncmp(source, "$(", 2) != 0);
    if (!in_product) return;
    const std::string expanded = Expand(source);
    if (cmd.type == CpyIni) {
      const auto [known, fresh] = sources_.emplace(expanded, false);
      if (fresh) known->second = file_exist(expanded.c_str()) == 1;
      if (known->second) {
        const std::string shown = InProduct(expanded);
        if (std::find(templates_.begin(), templates_.end(), shown) == templates_.end()) {
          templates_.push_back(shown);
          template_paths_.push_back(expanded);
        }
      } else {
        Add(kScript, line, true,
            "template '" + InProduct(expanded) + "' is not in the product's directory");
      }
      return;
    }
    const char* exclude = cmd.not_.get();
    const std::string key = expanded + '\n' + str(exclude) + (cmd.type == CpyFile ? "f" : "d");
    auto [known, fresh] = sources_.emplace(key, false);
    if (fresh) known->second = has_source(expanded, exclude, cmd.type == CpyFile);
    if (!known->second) {
      Add(kScript, line, true,
          "source '" + InProduct(expanded) + "' matches nothing in the product's directory");
    }
  }

  void CheckScriptSection(const char* name) {
    Copy* copy = copy_init(nullptr);
    copy_load(copy, paths_[kScript], name);
    AddProblems(kScript, copy->problems);
    const auto questions = question_sets_.find(folded(name));
    std::unordered_set<std::string> tested;  // by the Exist commands so far
    for (const CCmd& cmd : copy->list) {
      const int line = cmd.line;
      Refs(kScript, line, cmd.source.get());
      Refs(kScript, line, cmd.dest.get());
      if (cmd.type != Error) Control(kScript, line, cmd.control.get(), "the command always runs");
      switch (cmd.type) {
        case Exist:
          SetBy(cmd.dest.get(), &tested);
          break;
        case Error: {
          const std::string setting = str(cmd.source.get());
          if (tested.count(setting) == 0 && probe_set_.count(setting) == 0 &&
              (questions == question_sets_.end() || questions->second.count(setting) == 0)) {
            Add(kScript, line, false,
                "nothing before this Error, in its questions or in a probe sets " + setting +
                    ": its default alone decides whether it fires");
          }
          break;
        }
        case RmFile:
        case RmDir:
          CheckRemoval(line, cmd);
          break;
        case CpyFile:
        case CpyDir:
        case CpyIni:
          CheckSource(line, cmd);
          break;
        default:
          break;
      }
    }
    copy_free(&copy);
  }

  void CheckScript() {
    if (!readable_[kScript]) return;
    list_sections(paths_[kScript], &script_heads_);
    std::unordered_set<std::string> done;
    for (const SectionHead& head : script_heads_) {
      if (done.insert(folded(head.name)).second) CheckScriptSection(head.name.c_str());
    }
  }

  // A run loads the same section from both files: one that only one file
  // has stops the run, or leaves it with nothing to do.
  void CheckSections() {
    if (!readable_[kQuestions] || !readable_[kScript]) return;
    auto names = [](const std::vector<SectionHead>& heads) {
      std::unordered_set<std::string> out;
      for (const SectionHead& head : heads) out.insert(folded(head.name));
      return out;
    };
    const std::unordered_set<std::string> in_questions = names(question_heads_);
    const std::unordered_set<std::string> in_script = names(script_heads_);
    std::unordered_set<std::string> done;
    for (const SectionHead& head : question_heads_) {
      if (in_script.count(folded(head.name)) == 0 && done.insert(folded(head.name)).second) {
        Add(kQuestions, head.line, true,
            "section [" + head.name + "] is not in " + shown_[kScript] +
                ": its run asks the questions and then does nothing");
      }
    }
    for (const SectionHead& head : script_heads_) {
      if (in_questions.count(folded(head.name)) == 0 && done.insert(folded(head.name)).second) {
        Add(kScript, head.line, true,
            "section [" + head.name + "] is not in " + shown_[kQuestions] +
                ": its run fails before it starts, with no questions to load");
      }
    }
  }

  void CheckTemplates() {
    for (size_t t = 0; t < template_paths_.size(); ++t) {
      OpenFile in(s_fopen(template_paths_[t].c_str(), "r"));
      LineReader reader(in.f, kTemplateLineSize);
      while (const char* piece = reader.next()) {
        Refs(kTemplates + static_cast<int>(t), reader.line(), piece);
      }
    }
  }

  // References and controls, now that everything that sets a setting is
  // known.
  void CheckNames() {
    for (const RefSite& site : refs_) {
      std::vector<std::string> told;  // once per name and line
      for (const std::string& name : references(site.text.c_str())) {
        if (settable_.count(name) != 0 ||
            (site.in_data && declared_folded_.count(folded(name)) != 0) ||
            std::find(told.begin(), told.end(), name) != told.end()) {
          continue;
        }
        told.push_back(name);
        Add(site.order, site.line, false,
            "$(" + name + ") names a setting that nothing sets: it is replaced by nothing");
      }
    }
    for (const ControlSite& site : controls_) {
      if (settable_.count(site.name) != 0) continue;
      Add(site.order, site.line, false,
          "control " + site.name + " names a setting that nothing sets: " + site.effect);
    }
  }

  Ini* store_;
  Copy* expander_;           // expands copy script texts with the store
  std::string product_dir_;  // the working directory and a '/'
  std::string shown_[kTemplates];
  char paths_[kTemplates][kPathSize] = {};
  bool readable_[kTemplates] = {};
  std::vector<std::pair<int, Finding>> findings_;  // with the order of their file

  std::unordered_set<std::string> settable_;  // every setting something can set
  std::unordered_set<std::string> declared_folded_;
  std::unordered_set<std::string> probe_set_;  // set by a probe
  // What the questions of each section set, by the section's folded name.
  std::unordered_map<std::string, std::unordered_set<std::string>> question_sets_;
  std::vector<SectionHead> question_heads_;
  std::vector<SectionHead> script_heads_;
  std::vector<RefSite> refs_;
  std::vector<ControlSite> controls_;
  std::vector<std::string> templates_;  // as shown
  std::vector<std::string> template_paths_;
  std::unordered_map<std::string, bool> sources_;  // whether a copy source has entries
};

}  // namespace

std::vector<Finding> check_files(Ini* store) {
  if (store == nullptr) return {};
  return Checker(store).Run();
}

int check_product(Ini* store) {
  int errors = 0;
  int warnings = 0;
  for (const Finding& f : check_files(store)) {
    const char* kind = f.error ? "error" : "warning";
    if (f.line > 0) {
      std::printf("%s:%d: %s: %s\n", f.file.c_str(), f.line, kind, f.text.c_str());
    } else {
      std::printf("%s: %s: %s\n", f.file.c_str(), kind, f.text.c_str());
    }
    ++(f.error ? errors : warnings);
  }
  std::printf("%d error%s, %d warning%s\n", errors, errors == 1 ? "" : "s", warnings,
              warnings == 1 ? "" : "s");
  return errors > 0 ? 1 : 0;
}

}  // namespace inst
