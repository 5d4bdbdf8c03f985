// The questions of one action: loading a section of the question file into a
// list of question records, asking one question on the terminal with its
// default answer, and checking an answer before it goes into the settings
// store.
//
// The question file is read line by line. Every line is trimmed; empty lines
// and lines starting with '#' are skipped; "[name]" opens a section (one
// closing bracket is dropped only when it ends the line, so "[a] x" names the
// section "a] x"); every other line is a question:
//
//   Text|YN|Dir|DirExist|DirEmpty|File|FileExist|FileName|Copy
//           <setting> <control> <comparison> <help id> <question text...>
//   Error   <setting> <help id> <question text...>
//   Loop    <setting> <text>
//   Exist   <text> <setting>
//
// Keywords match without regard to case; an unknown keyword is logged and the
// line is read in the first form with type 0. A control or comparison of "-"
// leaves that field unset. The question text is the rest of the line, and in
// the first two forms its backslash escapes are converted (cvt_linefeeds).
// A line with a word missing is logged ("Missing setting label", "Missing
// control", "Missing control comparison", "Missing Help ID text", "Missing
// question text") and not counted; the next question line is read into the
// same record and keeps what the rejected line set in the fields it leaves
// alone, except when the count is a multiple of five: the record has been
// emptied again then. This reuse is deliberate.
//
// A line longer than 999 characters arrives in pieces of at most 999, each
// taken as a line of its own.
#ifndef INSTALLER_QUEST_QUEST_H_
#define INSTALLER_QUEST_QUEST_H_

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "lib/format.h"
#include "lib/lines.h"

namespace inst {

struct Ini;

// Question types: bit flags, the composite types being their flags combined.
// The keyword "Exist" gives QXExist; QExist and QEmpty are flags only and no
// keyword gives them alone.
enum QType : int32_t {
  QText = 1,         // "Text": free text
  QYN = 2,           // "YN": yes or no, stored as "true" or "false"
  QDir = 4,          // "Dir": a directory
  QFile = 8,         // "File": a file
  QFileName = 16,    // "FileName": reduced to its bare name
  QExist = 256,      // the path must exist
  QDirExist = 260,   // "DirExist"
  QFileExist = 264,  // "FileExist"
  QXExist = 512,     // "Exist": an existence probe the run carries out
  QCopy = 1024,      // "Copy": carried out by the run
  QError = 2048,     // "Error": carried out by the run
  QLoop = 4096,      // "Loop": carried out by the run
  QEmpty = 8192,     // the directory must be empty
  QDirEmpty = 8196   // "DirEmpty"
};

// One question. Every text is owned by the record and may be null.
struct Quest {
  std::unique_ptr<char[]> text;         // as shown; the "Exist" path; the "Loop" target
  std::unique_ptr<char[]> setting;      // the setting that receives the answer
  std::unique_ptr<char[]> control;      // the controlling setting's name
  std::unique_ptr<char[]> control_cmp;  // what the controlling setting is compared with
  std::unique_ptr<char[]> help_id;      // the help identifier
  QType type{};                         // 0 after an unknown keyword
  int line = 0;                         // the line of the file it was read from, from 1
};

// The questions of one section.
struct Questions {
  uint32_t count = 0;               // accepted questions, at the front of list
  std::string last_error;           // unused: the module keeps the last error
  std::unique_ptr<char[]> section;  // the loaded section's name; null while none is
  // The records; whenever count is a multiple of five, the five from count
  // on are emptied (and made when missing) before a line is read.
  std::vector<Quest> list;
  Ini* ini = nullptr;  // defaults and answers; borrowed
  // What the load met in the section: unknown keywords, lines dropped for
  // want of a word, lines longer than a piece. Kept for -check.
  std::vector<Problem> problems;
};

// The keyword of a question type as files write it ("DirExist" for
// QDirExist); null for a type no keyword gives (0, QExist, QEmpty).
const char* quest_keyword(QType type);

// A new empty list bound to ini (which may be null: then nothing is stored
// and there are no defaults).
Questions* quest_init(Ini* ini);
// Clears and releases *list and sets *list to null. Null is accepted.
void quest_free(Questions** list);
// Loads the section named `section` (any case) of the question file `file`.
// Only the first section of that name is read. A list that already holds
// that section returns 1 at once without reading the file; one that holds
// another is cleared first. Returns 1 when the section was found, even with
// no valid question in it. Returns 0 for a null argument, a file that cannot
// be opened (error "Error opening '%s'") or a section that is not in the
// file (logged; the list stays empty). Rejected lines and unknown keywords
// are logged and described in list->problems with their lines, as are the
// tails of lines longer than a piece.
int quest_load(Questions* list, const char* file, const char* section);
// Releases every record, the problems and the section name and sets count
// to 0; nothing when no section is loaded.
void quest_clear(Questions* list);

// The fields of question `index`; null (or 0) for a null list or an index
// not below the count. The texts are borrowed from the list.
const char* quest_text(const Questions* list, uint32_t index);
const char* quest_help(const Questions* list, uint32_t index);
const char* quest_setting(const Questions* list, uint32_t index);
const char* quest_control(const Questions* list, uint32_t index);
const char* quest_control_cmp(const Questions* list, uint32_t index);
QType quest_type(const Questions* list, uint32_t index);
// The number of questions; 0 for a null list.
uint32_t quest_count(const Questions* list);

// Writes the default answer of question `index` into buffer (at most bfsz-1
// characters): the value of its setting, or for a yes-or-no question "y"
// when that value is a true word and "n" otherwise. Returns buffer; null
// (buffer untouched) when the setting has no value, for a list without a
// store, a bad index, a null buffer or a bfsz below 1.
char* quest_default(Questions* list, uint32_t index, char* buffer, int bfsz);
// Shows question `index` on standard output, its setting references
// expanded and its default in brackets, and reads one line of standard
// input into answer (at most bfsz-1 characters; the rest of a longer line
// is dropped). A prompt over 80 characters is printed in pieces of at most
// 79, broken at the last blank or tab; where a piece has none it is cut
// hard and the character after the cut is not shown (deliberate). The last
// piece is followed by one blank and no line break. Trailing white space is
// removed from the answer, leading blanks are kept.
// Returns 1 with the answer, or with the default when the line was empty;
// 0 when the line and the default are both empty (error "You must enter an
// answer"), for a null list or a bad index; -1 when standard input ended
// before the line began (answer empty), or when answer is null or bfsz is
// below 1: no answer can be read then, and asking again would never end, so
// the caller stops asking.
int quest_ask(Questions* list, uint32_t index, char* answer, int bfsz);
// quest_ask reading from `in` and printing to `out`; -1 as well when either
// is null.
int quest_ask_stream(Questions* list, uint32_t index, char* answer, int bfsz, FILE* in, FILE* out);
// Checks answer against the type of question `index` and stores it in the
// question's setting (nothing is stored without a store). For a directory a
// trailing '/' or '\' is removed first; for "FileName" the answer is reduced
// to its bare name without extension. Both changes are made in answer. A
// path that must exist and does not, a "DirEmpty" directory with entries
// and a yes-or-no answer that is neither a true nor a false word are
// rejected with an error. A "DirEmpty" directory that cannot be scanned
// (missing, or a file) counts as empty, and so does one whose entries' paths
// do not fit in 255 characters, which the directory scan skips. Returns 1
// when accepted, 0 when rejected or for a null list or answer or a bad index.
int quest_answer(Questions* list, uint32_t index, char* answer);

// Converts the backslash escapes of text in place: "\n" to a line break,
// "\t" to a tab, a backslash before any other character to that character.
// A backslash at the very end is kept. Returns text (null for null).
char* cvt_linefeeds(char* text);

// Sets the module's last error, shared by all lists: formats the message
// (cut to 999 characters) and logs it at error level. When the system error
// number is set, even from an earlier failure, the log line is the message,
// ", " and the error's text, and the same is appended to the kept message as
// far as it fits in 998 characters (one place is kept free on purpose). The
// error number is left as it was. A null format does nothing.
namespace unchecked {
void quest_seterror(const char* format, ...);
}  // namespace unchecked
template <typename... Args>
void quest_seterror(FormatFor<Args...> format, Args... args) {
  unchecked::quest_seterror(format.text(), args...);
}
// The last error, or the empty text when there has been none.
const char* quest_error();

}  // namespace inst

#endif  // INSTALLER_QUEST_QUEST_H_
