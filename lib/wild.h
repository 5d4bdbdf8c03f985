// Shell-like wildcard matching of names: '*' is any run of characters, '?'
// exactly one; there is no escape and there are no character classes.
// Nothing here allocates; list items are matched where they stand.
#ifndef INSTALLER_LIB_WILD_H_
#define INSTALLER_LIB_WILD_H_

namespace inst {

// 1 when the whole text matches the whole pattern, else 0 (also for null).
// After a star the text is scanned for the next pattern character taken
// literally, so "*?x" needs a real '?' in the text; this is deliberate.
int wmatch(const char* text, const char* wild, int case_sensitive);
// Case-sensitive match; 1 at once when the pattern is exactly "*".
int wild_match(const char* text, const char* wild);
// Case-insensitive match.
int wild_imatch(const char* text, const char* wild);
// 1 when any name of the list matches any pattern of wilds, else 0. Both are
// texts whose items are separated by runs of blanks, tabs and commas.
int wild_list(const char* list, const char* wilds);
int wild_ilist(const char* list, const char* wilds);

}  // namespace inst

#endif  // INSTALLER_LIB_WILD_H_
