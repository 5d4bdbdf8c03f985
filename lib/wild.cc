// Wildcard matching of names and of lists of names.
#include "lib/wild.h"

#include "lib/strings.h"

namespace inst {
namespace {

bool same(char a, char b, int case_sensitive) {
  return case_sensitive ? a == b : fold(a) == fold(b);
}

// Matches text [t, te) against pattern [w, we). Works on ranges so that the
// list forms can match items in place without copying them.
int match(const char* t, const char* te, const char* w, const char* we, int case_sensitive) {
  while (w < we) {
    if (t == te && *w != '*') return 0;
    if (*w == '*') {
      while (w < we && *w == '*') ++w;
      if (w == we) return 1;
      if (t == te) return 0;
      // The character after the stars is looked for literally, even a '?'.
      // Positions equal after folding count as candidates in both forms; the
      // recursive call rejects a mere case match in the case-sensitive form.
      for (; t < te; ++t) {
        if (fold(*t) == fold(*w) && match(t, te, w, we, case_sensitive)) return 1;
      }
      return 0;
    }
    if (*w != '?' && !same(*t, *w, case_sensitive)) return 0;
    ++t;
    ++w;
  }
  return t == te ? 1 : 0;
}

const char* end_of(const char* s) {
  while (*s) ++s;
  return s;
}

bool is_list_sep(char c) { return c == ' ' || c == '\t' || c == ','; }

// Finds the next item of a list at or after *pos: stores its range and moves
// *pos past it. Returns false when only separators are left.
bool next_item(const char** pos, const char** begin, const char** end) {
  const char* p = *pos;
  while (*p && is_list_sep(*p)) ++p;
  if (*p == '\0') return false;
  *begin = p;
  while (*p && !is_list_sep(*p)) ++p;
  *end = p;
  *pos = p;
  return true;
}

int match_lists(const char* list, const char* wilds, int case_sensitive) {
  if (list == nullptr || wilds == nullptr) return 0;
  const char* names = list;
  const char *name, *name_end;
  while (next_item(&names, &name, &name_end)) {
    const char* patterns = wilds;
    const char *wild, *wild_end;
    while (next_item(&patterns, &wild, &wild_end)) {
      if (match(name, name_end, wild, wild_end, case_sensitive)) return 1;
    }
  }
  return 0;
}

}  // namespace

int wmatch(const char* text, const char* wild, int case_sensitive) {
  if (text == nullptr || wild == nullptr) return 0;
  return match(text, end_of(text), wild, end_of(wild), case_sensitive);
}

int wild_match(const char* text, const char* wild) {
  if (text == nullptr || wild == nullptr) return 0;
  if (wild[0] == '*' && wild[1] == '\0') return 1;
  return wmatch(text, wild, 1);
}

int wild_imatch(const char* text, const char* wild) {
  if (text == nullptr || wild == nullptr) return 0;
  if (wild[0] == '*' && wild[1] == '\0') return 1;
  return wmatch(text, wild, 0);
}

int wild_list(const char* list, const char* wilds) { return match_lists(list, wilds, 1); }

int wild_ilist(const char* list, const char* wilds) { return match_lists(list, wilds, 0); }

}  // namespace inst
