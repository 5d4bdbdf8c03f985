// Text helpers used instead of the bare C functions: null-safe wrappers,
// bounded copies into caller buffers, trimming, a re-entrant tokenizer,
// case-blind comparison and search, truth words and number texts.
//
// Sizes are always the full size of the destination buffer, terminator
// included. Texts handed to the caller (s_strdup, smake, sadd) are arrays
// allocated with new[]; the caller releases them with delete[].
#ifndef INSTALLER_LIB_STRINGS_H_
#define INSTALLER_LIB_STRINGS_H_

#include <cstddef>
#include <cstdio>

namespace inst {

// Maps 'A'..'Z' to 'a'..'z' and every other byte to itself. Index it with the
// byte as unsigned char; case-blind comparisons are meant for 7-bit text.
extern const unsigned char charmap[256];
// c folded through charmap.
inline unsigned char fold(char c) { return charmap[static_cast<unsigned char>(c)]; }

// Null-safe wrappers: the standard result, or the noted one for a null argument.
size_t s_strlen(const char* s);                                // 0
size_t s_strcspn(const char* s, const char* reject);           // 0
int s_atoi(const char* s);                                     // 0
long s_atol(const char* s);                                    // 0
double s_atof(const char* s);                                  // 0
unsigned long s_strtoul(const char* s, char** end, int base);  // 0
int s_strcmp(const char* a, const char* b);                    // -1, also for two nulls
int s_strncmp(const char* a, const char* b, size_t n);         // -1, also for two nulls
const char* s_strchr(const char* s, int c);                    // null; also null when c is '\0'
char* s_strchr(char* s, int c);
const char* s_strstr(const char* s, const char* find);  // null
char* s_strstr(char* s, const char* find);
char* s_strdup(const char* s);                      // null; otherwise a new[] copy
char* s_strcpy(char* dst, const char* src);         // does nothing, returns dst
char* s_strcat(char* dst, const char* src);         // does nothing, returns dst
const char* str(const char* s);                     // "" for null, so it can be printed
FILE* s_fopen(const char* path, const char* mode);  // null
// Closes *stream and sets it to null; does nothing for null.
void s_fclose(FILE** stream);
// Holds a stream opened with s_fopen() and closes it when it goes out of
// scope; `f` is null when the open failed.
struct OpenFile {
  FILE* f;
  explicit OpenFile(FILE* stream) : f(stream) {}
  ~OpenFile() { s_fclose(&f); }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
};

// Case-blind comparison through charmap: -1 when either is null, else the
// difference of the folded characters where the texts part (0 when equal).
int s_stricmp(const char* a, const char* b);
// As s_stricmp over at most n characters; 0 when n characters matched.
int s_strnicmp(const char* a, const char* b, size_t n);
// Lower (upper) the letters in place. Deliberately returns the position of
// the terminator, not the start; null for null.
char* s_strlwr(char* s);
char* s_strupr(char* s);

// Copies at most size-1 characters of src and terminates; returns the count.
// Nothing and 0 when dst is null or size < 1; a null src gives "" and 0.
int scpy(char* dst, const char* src, int size);
// Appends src so that the whole text holds at most size-2 characters (the
// margin of one character is kept on purpose); a dst already holding size-1
// or more characters is cut to size-1. Returns the new total length; 0 when
// dst or src is null or size < 1.
int scat(char* dst, const char* src, int size);
// A new[] array of n+1 characters holding at most n-1 characters of src
// (copied with scpy bounded by n); null when src is null or n is 0.
char* smake(const char* src, int n);
// Copies src up to the first character found in delims (or its end), at most
// size-1 characters; returns the count; 0 when src or dst is null.
int schunk(const char* src, const char* delims, char* dst, int size);
// Puts prefix in front of dst's text; returns dst, or null without change
// when either is null or both lengths together reach size.
char* spre(char* dst, const char* prefix, int size);
// Grows the new[] text s (null allowed) by add and returns the new text,
// which replaces s (s is released). Returns s unchanged when add is null.
char* sadd(char* s, const char* add);
// Writes src into dst with every occurrence of find replaced by repl (null
// repl counts as empty). Never writes more than size-1 characters and always
// terminates. Returns dst, or null when src or find is null or find is empty.
char* sreplace(const char* src, const char* find, const char* repl, char* dst, int size);
// Replaces every character `from` by `to` in place; returns s.
char* creplace(char* s, int from, int to);
// The position in a of the first character that differs from b (the end of a
// when a is a prefix of b or equal); a itself when either is null.
const char* sdiff(const char* a, const char* b);

// Returns the first character that is not white space and cuts trailing
// white space, CR and LF in place; leading blanks stay in the buffer.
// Null for null.
char* s_strtrm(char* s);
// Returns the first character that is not white space and cuts the text at
// its first CR or LF; trailing blanks stay. Null for null.
char* strip_whitespace(char* s);
// Cuts s at its first CR or LF; returns s.
char* strip_eol_r(char* s);

// Re-entrant tokenizer. Scans from s, or from *next when s is null; skips
// leading delimiters, terminates the token at the next delimiter and stores
// the position after it in *next (null when the token ends the text).
// Returns the token, or null when delims is null, nothing is left, or s is
// null and no position was saved.
char* s_strtok(char* s, const char* delims, char** next);

// Case-blind forward search with a deliberately simple scan: after a partial
// match fails, the search restarts at the next character without looking at
// the mismatched one again ("ab" is not found in "aab"). An empty find finds
// nothing. Returns the match or null.
const char* s_stristr(const char* s, const char* find);
char* s_stristr(char* s, const char* find);
// Case-blind search from the end of s, matching find backwards the same
// simple way. Returns the start of the match or null.
const char* s_strristr(const char* s, const char* find);
char* s_strristr(char* s, const char* find);

// 1 for "true", "yes", "y", "on", "checked", "selected" (any case) or a text
// whose leading number is not 0; 0 otherwise and for null.
int istrue(const char* s);
// 1 for "false", "no", "n", "off" (any case), or when the first or the
// second character is a digit and the leading number is 0 (so "x0" and " 0"
// are false on purpose); 0 otherwise and for null.
int isfalse(const char* s);

// "%d" of n in a module buffer of 50 characters that the next call reuses.
const char* number(int n);
// Inserts thousands commas into the run of digits at the start of s (up to
// the first character that is neither a digit nor a comma), in place,
// counting three digits from the right of the run and skipping places where
// a comma already stands, so a second call changes nothing. Returns s, or
// null (s unchanged) when the result would reach size-1 characters.
char* comma_number(char* s, int size);

}  // namespace inst

#endif  // INSTALLER_LIB_STRINGS_H_
