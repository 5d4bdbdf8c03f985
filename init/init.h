// Probes of the machine: the probe file read into a list of probe records,
// and the discovery of the web server's user, group, document root and
// script directory from its httpd.conf.
//
// The probe file holds one probe a line: a keyword, then `a`, `b`, the name
// of the control setting and the text it must equal, separated by blanks and
// tabs; "-" leaves the control or the compare text absent. Lines are read in
// pieces of at most 999 characters, each piece taken as a line. Blank lines
// and lines whose first token starts with '#' are ignored. A line with fewer
// than five tokens fills a pending record that the next probe line fills
// again (keyword first, then as many fields as it has) and that is appended
// once a line reaches the fifth token; a field the next line does not reach
// keeps its value, and a "-" that reaches a field clears it. A pending record
// left at the end of the file is dropped. Tokens after the fifth are ignored.
#ifndef INSTALLER_INIT_INIT_H_
#define INSTALLER_INIT_INIT_H_

#include <cstdint>
#include <memory>
#include <vector>

#include "lib/array.h"
#include "lib/limits.h"
#include "lib/lines.h"

namespace inst {

// What a probe does. The four web server modes share the bit IHTTP; a record
// with an unknown keyword keeps mode 0 and does nothing.
enum IItemMode : int32_t {
  IExist = 1,           // "Exist"
  ICopy = 2,            // "Copy"
  IHTTP = 16,           // the common bit of the next four
  IHTTP_User = 20,      // "HTTP_User"
  IHTTP_Group = 24,     // "HTTP_Group"
  IHTTP_Root = 272,     // "HTTP_Root"
  IHTTP_Scripts = 528,  // "HTTP_Scripts"
  ITimeDate = 1024,     // "TimeDate"
  IWFile = 2048,        // "WFile"
  IRFile = 4096         // "RFile"
};

// One probe. Every text is owned by the record.
struct IItem {
  std::unique_ptr<char[]> a;        // first argument
  std::unique_ptr<char[]> b;        // second argument
  std::unique_ptr<char[]> compare;  // text the condition must match; null for "-"
  std::unique_ptr<char[]> control;  // setting the condition reads; null for "-"
  IItemMode mode = IItemMode{};
  int line = 0;  // the line of the file that completed it, from 1
};

// The probes in file order; the array's cursor is the walk position.
struct Init {
  Array<IItem>* list = nullptr;
  // What loading met: unknown keywords, lines too short to be a probe,
  // lines longer than a piece. Kept for -check.
  std::vector<Problem> problems;

  ~Init();
};

// The keyword of a probe mode as probe files write it ("HTTP_Root" for
// IHTTP_Root); null for a mode no keyword gives (0, IHTTP).
const char* init_keyword(IItemMode mode);

// A new, empty probe list.
Init* init_init();
// Releases every record, the array and the list, and sets *x to null.
// Null is accepted.
void init_free(Init** x);
// Appends the probes of `file` to x. Returns 1 when the file was read (also
// when it holds no probe); 0 for a null argument (no message) or when the
// file cannot be opened, with "Failed to read '<file>', <system error>" as
// the last error. An unknown keyword is logged as "Unknown init command
// '%s'" and its record is kept with mode 0. Unknown keywords, short lines
// and the tails of over-long lines are also added to x->problems.
int init_load(Init* x, const char* file);
// The text of the module's last error (logged at error level when it was
// set), or "" when there has been none. Borrowed; the next error replaces it.
const char* init_error();

// The record at index (from 0), or null when out of range; the walk moves
// to the record after it.
IItem* init_get_num(Init* x, int index);
// The record at the walk position, or null at the end; the walk advances.
IItem* init_get(Init* x);
// Set, reset, advance and step back the walk position; nothing for null.
void init_goto(Init* x, int index);
void init_start(Init* x);
void init_next(Init* x);
void init_prev(Init* x);
// Releases one record with its texts and sets *x to null. Null is accepted.
void init_item_free(IItem** x);

// What web server discovery has found so far. A done_ flag, once set, stays
// set; its value changes only when a later read of the file meets the
// directive again.
struct HttpConf {
  char user[kLineSize] = "";     // the "User" directive
  char group[kLineSize] = "";    // the "Group" directive
  char root[kLineSize] = "";     // the "DocumentRoot" directive
  char scripts[kLineSize] = "";  // the directory of a "ScriptAlias" for "cgi-bin"
  int done_user = 0;
  int done_group = 0;
  int done_root = 0;
  int done_scripts = 0;
};

// The places where httpd.conf is looked for, in order.
constexpr int kHttpFiles = 8;
extern const char* const http_files[kHttpFiles];

// Asks for the web server's items: each of user, group, root and scripts is
// a caller's buffer of kLineSize characters, or null for an item not asked
// for. Returns 1 when every item asked for is known, copied into its buffer;
// 0 otherwise, with the reason in errmsg (kLineSize characters) when it is
// given: "Cannot find httpd.conf file", "User '%s' has bad uid '%d'", "Group
// '%s' has bad uid '%d'", or "Could not find" followed by ", Group", ",
// User", ", DocumentRoot" and ", ScriptAlias" for each item still missing,
// asked for or not. The file is read only while an item asked for has not
// been found; what is found is kept for the life of the process.
int init_find_http_conf(char* user, char* group, char* root, char* scripts, char* errmsg);
// The same search over the `count` paths of `files`, in order, with `cache`
// in place of the process-wide findings. A candidate that cannot be opened,
// or is a directory, is passed over. Directive names match without regard
// to case; the alias must contain "cgi-bin" exactly. A directory written
// with a leading double quote loses its first and last characters (a lone
// quote gives the empty text). Reading stops once all four items are known.
// Returns 0 for a null cache, as for a missing file.
int init_find_http_conf_in(HttpConf* cache, const char* const* files, int count, char* user,
                           char* group, char* root, char* scripts, char* errmsg);

}  // namespace inst

#endif  // INSTALLER_INIT_INIT_H_
