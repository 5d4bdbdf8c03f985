// The question file, asking one question and checking its answer.
#include "quest/quest.h"

#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "file/file.h"
#include "ini/ini.h"
#include "lib/input.h"
#include "lib/limits.h"
#include "lib/lines.h"
#include "lib/log.h"
#include "lib/paths.h"
#include "lib/strings.h"

namespace inst {

namespace {

// The module's last error, shared by every list.
std::string last_error;

// Records are added five at a time.
constexpr uint32_t kGrowStep = 5;
// A prompt longer than a screen line is printed in pieces of at most this
// many characters.
constexpr size_t kScreenWidth = 80;
constexpr size_t kPieceMax = kScreenWidth - 1;

const char kSeparators[] = " \t";

using Field = std::unique_ptr<char[]> Quest::*;

// Where the words of a question line go. `second` takes the word after the
// keyword; the five-word form then has a control and a comparison; `third`
// takes the next word (the help id position); with `rest` the rest of the
// line is the question text, escapes converted.
// `usage` names the words, for problems.
struct Form {
  Field second;
  bool controls;
  Field third;
  bool rest;
  const char* usage;
};

constexpr Form kAsked{&Quest::setting, true, &Quest::help_id, true,
                      "setting control compare help-id text"};
constexpr Form kError{&Quest::setting, false, &Quest::help_id, true, "setting help-id text"};
constexpr Form kLoop{&Quest::setting, false, &Quest::text, false, "setting position"};
constexpr Form kExist{&Quest::text, false, &Quest::setting, false, "path setting"};

struct Keyword {
  const char* word;
  QType type;
  const Form* form;
};

constexpr Keyword kKeywords[] = {
    {"Text", QText, &kAsked},
    {"YN", QYN, &kAsked},
    {"Dir", QDir, &kAsked},
    {"DirExist", QDirExist, &kAsked},
    {"DirEmpty", QDirEmpty, &kAsked},
    {"File", QFile, &kAsked},
    {"FileExist", QFileExist, &kAsked},
    {"FileName", QFileName, &kAsked},
    {"Copy", QCopy, &kAsked},
    {"Exist", QXExist, &kExist},
    {"Error", QError, &kError},
    {"Loop", QLoop, &kLoop},
};

bool is_blank(char c) { return c == ' ' || c == '\t'; }

void set_field(Quest& quest, Field field, const char* word) {
  (quest.*field).reset(s_strdup(word));
}

// Fills quest from the words of line (trimmed, not empty), which is cut up
// in place. Fields are set as their words are read, so a rejected line
// leaves those it reached in the record. Returns false when a word is
// missing (logged). *known is the keyword's entry, null for an unknown one.
bool parse_question(Quest& quest, char* line, const Keyword** known_out) {
  char* next = nullptr;
  const char* keyword = s_strtok(line, kSeparators, &next);
  const Keyword* known = nullptr;
  for (const Keyword& k : kKeywords) {
    if (s_stricmp(keyword, k.word) == 0) {
      known = &k;
      break;
    }
  }
  if (known == nullptr) emsg("Unknown question type '%s'", str(keyword));
  *known_out = known;
  quest.type = known != nullptr ? known->type : QType{};
  const Form& form = known != nullptr ? *known->form : kAsked;
  auto word = [&next]() { return s_strtok(nullptr, kSeparators, &next); };

  const char* w = word();
  if (w == nullptr) {
    emsg("Missing setting label");
    return false;
  }
  set_field(quest, form.second, w);
  if (form.controls) {
    if ((w = word()) == nullptr) {
      emsg("Missing control");
      return false;
    }
    if (std::strcmp(w, "-") != 0) set_field(quest, &Quest::control, w);
    if ((w = word()) == nullptr) {
      emsg("Missing control comparison");
      return false;
    }
    if (std::strcmp(w, "-") != 0) set_field(quest, &Quest::control_cmp, w);
  }
  char* third = word();
  if (third == nullptr) {
    emsg("Missing Help ID text");
    return false;
  }
  set_field(quest, form.third, s_strtrm(third));
  if (form.rest) {
    char* text = s_strtrm(next);
    if (text == nullptr || *text == '\0') {
      emsg("Missing question text");
      return false;
    }
    set_field(quest, &Quest::text, cvt_linefeeds(text));
  }
  return true;
}

// Parses one question line, the file's line `number`, into the slot at
// count. Whenever count is a multiple of the step, the step's records from
// count on are emptied first, also when a rejected line left the slot in
// use; a record reused without that keeps what the rejected line set. The
// list only grows when it lacks those records. An unknown keyword or a
// rejected line is added to the list's problems.
void add_question(Questions* list, char* line, int number) {
  const uint32_t at = list->count;
  if (at % kGrowStep == 0) {
    if (list->list.size() < size_t{at} + kGrowStep) list->list.resize(size_t{at} + kGrowStep);
    for (size_t i = at; i < size_t{at} + kGrowStep; ++i) list->list[i] = Quest{};
  }
  Quest& quest = list->list[at];
  const Keyword* known = nullptr;
  const char* keyword = line;  // the keyword's end is cut by the parse
  const bool accepted = parse_question(quest, line, &known);
  quest.line = number;
  if (accepted) ++list->count;
  if (known == nullptr) {
    list->problems.push_back({number, true,
                              std::string("unknown question type '") + keyword + "': " +
                                  (accepted ? "the line is kept as a question that takes any answer"
                                            : "the line is dropped")});
  } else if (!accepted) {
    list->problems.push_back({number, true,
                              std::string("too few words for ") + known->word + " (" +
                                  known->form->usage + "): the line is dropped"});
  }
}

const Quest* question(const Questions* list, uint32_t index) {
  if (list == nullptr || index >= list->count) return nullptr;
  return &list->list[index];
}

const char* field_of(const Questions* list, uint32_t index, Field field) {
  const Quest* q = question(list, index);
  return q != nullptr ? (q->*field).get() : nullptr;
}

// Prints prompt in pieces of at most kPieceMax characters, each broken at
// the last blank or tab within reach and followed by a line break; the
// blanks at a break are not shown. A piece without a blank is cut hard and
// the character after it is dropped, on purpose. The last piece is followed
// by one blank, so that the answer is typed on its line.
void print_prompt(const char* prompt, FILE* out) {
  const size_t length = std::strlen(prompt);
  size_t start = 0;
  if (length > kScreenWidth) {
    while (length - start > kPieceMax) {
      size_t cut = start + kPieceMax;
      while (cut > start && !is_blank(prompt[cut])) --cut;
      if (cut == start) cut = start + kPieceMax;
      std::fprintf(out, "%.*s\n", static_cast<int>(cut - start), prompt + start);
      start = cut + 1;
      while (is_blank(prompt[start])) ++start;
    }
  }
  std::fprintf(out, "%s ", prompt + start);
}

// Whether the directory has no entry. One that cannot be scanned counts as
// empty, and the system error its scan left is cleared so that no later
// message carries it.
bool directory_is_empty(const char* path) {
  FHandle* handle = nullptr;
  File* entry = file_first(&handle, path, "*");
  if (entry == nullptr) {
    errno = 0;
    return true;
  }
  file_free(&entry);
  file_last(&handle);
  return false;
}

}  // namespace

const char* quest_keyword(QType type) {
  for (const Keyword& k : kKeywords) {
    if (k.type == type) return k.word;
  }
  return nullptr;
}

Questions* quest_init(Ini* ini) {
  Questions* list = new Questions();
  list->ini = ini;
  return list;
}

void quest_free(Questions** list) {
  if (list == nullptr || *list == nullptr) return;
  quest_clear(*list);
  delete *list;
  *list = nullptr;
}

int quest_load(Questions* list, const char* file, const char* section) {
  if (list == nullptr || file == nullptr || section == nullptr) return 0;
  if (list->section && s_stricmp(list->section.get(), section) == 0) return 1;
  quest_clear(list);
  list->problems.clear();
  OpenFile in(s_fopen(file, "r"));
  if (in.f == nullptr) {
    quest_seterror("Error opening '%s'", file);
    return 0;
  }
  bool inside = false;
  LineReader reader(in.f);
  while (char* piece = reader.next()) {
    char* text = s_strtrm(piece);
    if (*text == '\0' || *text == '#') continue;
    if (*text == '[') {
      if (inside) break;
      inside = s_stricmp(section_name(text), section) == 0;
    } else if (inside) {
      if (reader.tail()) note_tail(&list->problems, reader);
      add_question(list, text, reader.line());
    }
  }
  s_fclose(&in.f);
  if (!inside) {
    emsg("Section '%s' not found", section);
    std::vector<Quest>().swap(list->list);
    return 0;
  }
  list->section.reset(s_strdup(section));
  return 1;
}

void quest_clear(Questions* list) {
  if (list == nullptr || !list->section) return;
  std::vector<Quest>().swap(list->list);
  list->problems.clear();
  list->section.reset();
  list->count = 0;
}

const char* quest_text(const Questions* list, uint32_t index) {
  return field_of(list, index, &Quest::text);
}

const char* quest_help(const Questions* list, uint32_t index) {
  return field_of(list, index, &Quest::help_id);
}

const char* quest_setting(const Questions* list, uint32_t index) {
  return field_of(list, index, &Quest::setting);
}

const char* quest_control(const Questions* list, uint32_t index) {
  return field_of(list, index, &Quest::control);
}

const char* quest_control_cmp(const Questions* list, uint32_t index) {
  return field_of(list, index, &Quest::control_cmp);
}

QType quest_type(const Questions* list, uint32_t index) {
  const Quest* q = question(list, index);
  return q != nullptr ? q->type : QType{};
}

uint32_t quest_count(const Questions* list) { return list != nullptr ? list->count : 0; }

char* quest_default(Questions* list, uint32_t index, char* buffer, int bfsz) {
  const Quest* q = question(list, index);
  if (q == nullptr || buffer == nullptr || bfsz < 1 || list->ini == nullptr) return nullptr;
  const char* value = ini_value_name(list->ini, q->setting.get());
  if (value == nullptr) return nullptr;
  if (q->type & QYN) value = istrue(value) ? "y" : "n";
  scpy(buffer, value, bfsz);
  return buffer;
}

int quest_ask(Questions* list, uint32_t index, char* answer, int bfsz) {
  return quest_ask_stream(list, index, answer, bfsz, stdin, stdout);
}

int quest_ask_stream(Questions* list, uint32_t index, char* answer, int bfsz, FILE* in, FILE* out) {
  const Quest* q = question(list, index);
  if (q == nullptr) return 0;
  if (answer == nullptr || bfsz < 1 || in == nullptr || out == nullptr) return -1;
  char dflt[kLineSize] = "";
  quest_default(list, index, dflt, kLineSize);
  char prompt[kLineSize] = "";
  if (list->ini != nullptr) {
    ini_replace(list->ini, q->text.get(), prompt, kLineSize);
  } else {
    scpy(prompt, q->text.get(), kLineSize);
  }
  lpcat(prompt, kLineSize, " [%s]?", dflt);
  print_prompt(prompt, out);
  std::fflush(out);
  if (!read_reply(answer, bfsz, in)) return -1;
  if (*s_strtrm(answer) != '\0') return 1;
  if (dflt[0] == '\0') {
    quest_seterror("You must enter an answer");
    return 0;
  }
  scpy(answer, dflt, bfsz);
  return 1;
}

int quest_answer(Questions* list, uint32_t index, char* answer) {
  const Quest* q = question(list, index);
  if (q == nullptr || answer == nullptr) return 0;
  const int32_t type = q->type;
  if (type & QDir) {
    const size_t length = std::strlen(answer);
    if (length > 0 && is_separator(answer[length - 1])) answer[length - 1] = '\0';
  }
  const char* value = answer;
  if (type & QExist) {
    if (!file_exist(answer)) {
      if (type & QDir) {
        quest_seterror("Directory '%s' must exist", answer);
      } else {
        quest_seterror("File '%s' must exist", answer);
      }
      return 0;
    }
  } else if (type == QDirEmpty) {
    if (!directory_is_empty(answer)) {
      quest_seterror("Directory '%s' must be empty", answer);
      return 0;
    }
  } else if (type & QYN) {
    if (istrue(answer)) {
      value = "true";
    } else if (isfalse(answer)) {
      value = "false";
    } else {
      quest_seterror("You must answer either Yes or No");
      return 0;
    }
  } else if (type & QFileName) {
    strip_path(answer);
    strip_ext(answer);
  }
  if (list->ini != nullptr) ini_add_name(list->ini, q->setting.get(), value);
  return 1;
}

char* cvt_linefeeds(char* text) {
  if (text == nullptr) return nullptr;
  char* out = text;
  for (const char* in = text; *in != '\0'; ++in) {
    if (*in == '\\' && in[1] != '\0') {
      ++in;
      *out++ = *in == 'n' ? '\n' : *in == 't' ? '\t' : *in;
    } else {
      *out++ = *in;
    }
  }
  *out = '\0';
  return text;
}

namespace unchecked {

void quest_seterror(const char* format, ...) {
  if (format == nullptr) return;
  const int saved = errno;
  char text[kLineSize];
  va_list args;
  va_start(args, format);
  vlprintf(text, kLineSize, format, args);
  va_end(args);
  if (saved != 0) {
    const char* reason = std::strerror(saved);
    emsg("%s, %s", text, reason);
    scat(text, ", ", kLineSize);
    scat(text, reason, kLineSize);
  } else {
    emsg("%s", text);
  }
  last_error = text;
  errno = saved;
}

}  // namespace unchecked

const char* quest_error() { return last_error.c_str(); }

}  // namespace inst
