// Wildcard matching of names and of lists of names.
#include "lib/wild.h"

#include "lib/strings.h"

namespace inst {
namespace {

bool same(char a, char b, int case_sensitive) {
  return case_sensitive ? a == b : fold(a) == fold(b);
}

// Whether text character c matches the pattern character that follows a
// run of stars, which is taken literally, even a '?'.
bool literal(char c, char w, int case_sensitive) {
  return w == '?' ? c == '?' : same(c, w, case_sensitive);
}

// Moves *t to the first position at or after it whose character matches the
// pattern character w literally. Returns false when there is none.
bool next_candidate(const char** t, const char* te, char w, int case_sensitive) {
  while (*t < te && !literal(**t, w, case_sensitive)) ++*t;
  return *t < te;
}

// Matches text [t, te) against pattern [w, we). Works on ranges so that the
// list forms can match items in place without copying them.
//
// A mismatch goes back only to the latest run of stars and tries its next
// candidate. Earlier runs need no retry: moving one of them on can only
// move every later part of the pattern further right, where the latest run
// could reach as well. So the time grows with text times pattern length,
// never exponentially with the number of stars.
int match(const char* t, const char* te, const char* w, const char* we, int case_sensitive) {
  const char* star_w = nullptr;  // the pattern character after the latest stars
  const char* star_t = nullptr;  // the text position it matched last
  for (;;) {
    if (w < we && *w == '*') {
      while (w < we && *w == '*') ++w;
      if (w == we) return 1;
      star_w = w;
      star_t = t;
      if (!next_candidate(&star_t, te, *star_w, case_sensitive)) return 0;
      t = star_t + 1;
      w = star_w + 1;
      continue;
    }
    if (w == we && t == te) return 1;
    if (w < we && t < te && (*w == '?' || same(*t, *w, case_sensitive))) {
      ++t;
      ++w;
      continue;
    }
    if (star_w == nullptr) return 0;
    ++star_t;
    if (!next_candidate(&star_t, te, *star_w, case_sensitive)) return 0;
    t = star_t + 1;
    w = star_w + 1;
  }
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
