// A growable array of element pointers with a read cursor. The array does
// not own its elements, except that the *_dealloc operations release them
// (texts with delete[], other elements with delete) and the *_fn operations
// hand each element slot to a function of the caller's. A null element is
// never stored. Every operation accepts a null array and then does nothing
// and returns 0 or null.
#ifndef INSTALLER_LIB_ARRAY_H_
#define INSTALLER_LIB_ARRAY_H_

#include <cstdint>
#include <cstdio>
#include <vector>

namespace inst {

template <typename T>
struct Array {
  int32_t size = 0;     // slots allocated in data
  int32_t block = 10;   // slots added when the array is full
  int32_t items = 0;    // elements, in slots 0 .. items-1
  int32_t current = -1;  // index the next array_get() returns; -1 when none
  int32_t lock = 0;     // reserved
  int32_t locked = 0;   // reserved
  std::vector<T*> data;  // size slots; those past items are null
};

template <typename T> Array<T>* array_init();
// Grows data by block slots. Returns 1, or 0 (logging "Memory allocation
// error.") when size+block is 0 or the allocation fails.
template <typename T> int alloc(Array<T>* a);
// Makes room for at least size slots and sets block (5 when below 1).
template <typename T> void array_setup(Array<T>* a, int size, int block);
// Appends p. Returns 1, or 0 for a null p or a failed growth.
template <typename T> int array_add(Array<T>* a, T* p);
// Inserts p at index i (0 <= i <= items); a cursor at or after i moves up
// with its element. Returns 1, or 0 for null p, bad index or failed growth.
template <typename T> int array_add_num(Array<T>* a, T* p, int i);
// Inserts at the cursor's index; 0 when the cursor is -1.
template <typename T> int array_add_current(Array<T>* a, T* p);
// Element i, or null; the cursor moves to i+1, or -1 after the last.
template <typename T> T* array_get_num(Array<T>* a, int i);
// The element at the cursor (then as array_get_num), or null at -1.
template <typename T> T* array_get(Array<T>* a);
// Steps the cursor back (from -1 to the last element) and reads there.
template <typename T> T* array_get_last(Array<T>* a);
// Removes element i and hands it to the caller; a cursor at or after i
// moves down; an emptied array has cursor -1. Null for a bad index.
template <typename T> T* array_del_num(Array<T>* a, int i);
// Removes the element read last: the one before the cursor, or the last
// element when the cursor is -1.
template <typename T> T* array_del(Array<T>* a);
template <typename T> void array_start(Array<T>* a);   // cursor to 0
template <typename T> void array_end(Array<T>* a);     // cursor to -1
template <typename T> void array_goto(Array<T>* a, int i);  // when i < items
template <typename T> void array_next(Array<T>* a);
template <typename T> void array_prev(Array<T>* a);
template <typename T> int array_items(const Array<T>* a);
template <typename T> int array_current(const Array<T>* a);
// Forget every element (items 0, cursor -1), keeping the slots.
template <typename T> void array_empty(Array<T>* a);
template <typename T> void array_empty_dealloc(Array<T>* a);
template <typename T> void array_empty_fn(Array<T>* a, void (*fn)(T**));
// Release the array (and, for the variants, its elements first) and set
// *pa to null.
template <typename T> void array_free(Array<T>** pa);
template <typename T> void array_free_dealloc(Array<T>** pa);
template <typename T> void array_free_fn(Array<T>** pa, void (*fn)(T**));
// A shallow copy: same size, block, items, cursor and element pointers.
template <typename T> Array<T>* array_copy(const Array<T>* a);
// Appends src's elements to dst. When dst lacks room it grows by exactly
// the shortfall, and its block is left equal to that shortfall (kept so).
template <typename T> void array_array(Array<T>* dst, const Array<T>* src);
// Sorts in place; cmp receives pointers to two element slots.
template <typename T> void array_sort(Array<T>* a, int (*cmp)(T* const*, T* const*));
template <typename T> void array_reverse(Array<T>* a);

// Byte-wise ascending comparison of two text elements, for array_sort.
int array_strcmp(char* const* x, char* const* y);
// Appends a new[] copy of each token of text split at the characters of
// delims (no empty tokens). Returns the number added; 0 for null arguments.
int array_tok(Array<char>* a, const char* text, const char* delims);
// A new array of the file's lines (see array_loadfile_do), or null when the
// file cannot be opened.
Array<char>* array_loadfile(const char* path);
// The same, with array_setup(size, block) applied to the new array first.
Array<char>* array_loadfile_ex(const char* path, int size, int block);
// Appends the stream's lines, read 998 characters at a time and cut at the
// first CR or LF that follows another character: a bare line break is kept
// as it stands, and a longer line becomes several elements (both on purpose).
void array_loadfile_do(Array<char>* a, FILE* stream);

}  // namespace inst

#endif  // INSTALLER_LIB_ARRAY_H_
