// A growable array of element pointers with a read cursor. The array does
// not own its elements, except that the *_dealloc operations release them
// (texts with delete[], other elements with delete) and the *_fn operations
// hand each element slot to a function of the caller's. A null element is
// never stored. Every operation accepts a null array and then does nothing
// and returns 0 or null. Slots that cannot be had are the one allocation
// failure the array survives: it is logged as "Memory allocation error."
// and the growth gives 0; any other failed allocation ends the program.
#ifndef INSTALLER_LIB_ARRAY_H_
#define INSTALLER_LIB_ARRAY_H_

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <new>
#include <type_traits>
#include <vector>

namespace inst {

template <typename T>
struct Array {
  int32_t size = 0;      // slots allocated in data
  int32_t block = 10;    // slots added when the array is full
  int32_t items = 0;     // elements, in slots 0 .. items-1
  int32_t current = -1;  // index the next array_get() returns; -1 when none
  int32_t lock = 0;      // reserved: 0 from creation on, used by no operation
  int32_t locked = 0;    // reserved likewise
  std::vector<T*> data;  // size slots; those past items are null
};

template <typename T>
Array<T>* array_init();
// Grows data by block slots. Returns 1, or 0 (logging "Memory allocation
// error.") when the step adds no slot (block below 1, so also size+block 0),
// the size would pass the int range, or the allocation fails.
template <typename T>
int alloc(Array<T>* a);
// Makes room for at least size slots and sets block (5 when below 1).
template <typename T>
void array_setup(Array<T>* a, int size, int block);
// Appends p. Returns 1, or 0 for a null p or a failed growth.
template <typename T>
int array_add(Array<T>* a, T* p);
// Inserts p at index i (0 <= i <= items); a cursor at or after i moves up
// with its element. Returns 1, or 0 for null p, bad index or failed growth.
template <typename T>
int array_add_num(Array<T>* a, T* p, int i);
// Inserts at the cursor's index; 0 when the cursor is -1.
template <typename T>
int array_add_current(Array<T>* a, T* p);
// Element i; the cursor moves to i+1, or -1 after the last. Null, with the
// cursor unchanged, for an index that names no element.
template <typename T>
T* array_get_num(Array<T>* a, int i);
// The element at the cursor (then as array_get_num), or null at -1.
template <typename T>
T* array_get(Array<T>* a);
// Steps the cursor back (from -1 to the last element) and reads there.
template <typename T>
T* array_get_last(Array<T>* a);
// Removes element i and hands it to the caller; a cursor at or after i
// moves down; an emptied array has cursor -1. Null for a bad index.
template <typename T>
T* array_del_num(Array<T>* a, int i);
// Removes the element read last: the one before the cursor, or the last
// element when the cursor is -1.
template <typename T>
T* array_del(Array<T>* a);
template <typename T>
void array_start(Array<T>* a);  // cursor to 0
template <typename T>
void array_end(Array<T>* a);  // cursor to -1
template <typename T>
void array_goto(Array<T>* a, int i);  // when i < items
template <typename T>
void array_next(Array<T>* a);
template <typename T>
void array_prev(Array<T>* a);
template <typename T>
int array_items(const Array<T>* a);
template <typename T>
int array_current(const Array<T>* a);
// Forget every element (items 0, cursor -1), keeping the slots.
template <typename T>
void array_empty(Array<T>* a);
template <typename T>
void array_empty_dealloc(Array<T>* a);
template <typename T>
void array_empty_fn(Array<T>* a, void (*fn)(T**));
// Release the array (and, for the variants, its elements first) and set
// *pa to null.
template <typename T>
void array_free(Array<T>** pa);
template <typename T>
void array_free_dealloc(Array<T>** pa);
template <typename T>
void array_free_fn(Array<T>** pa, void (*fn)(T**));
// A shallow copy: same size, block, items, cursor and element pointers.
template <typename T>
Array<T>* array_copy(const Array<T>* a);
// Appends src's elements to dst. When dst lacks room it grows by exactly
// the shortfall, and its block is left equal to that shortfall (kept so).
template <typename T>
void array_array(Array<T>* dst, const Array<T>* src);
// Sorts in place; cmp receives pointers to two element slots.
template <typename T>
void array_sort(Array<T>* a, int (*cmp)(T* const*, T* const*));
template <typename T>
void array_reverse(Array<T>* a);

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

// Releases one element the way the *_dealloc operations do: texts were made
// with new[], every other element with new.
template <typename T>
void dispose(T* p) {
  if constexpr (std::is_same_v<std::remove_cv_t<T>, char>) {
    delete[] p;
  } else {
    delete p;
  }
}

// Logs "Memory allocation error." at error level.
void array_alloc_error();

namespace array_detail {

// Gives a n slots, the new ones null, and sets size to match: the one place
// where either changes. This is the one place that survives running out of
// memory: the failure is logged as "Memory allocation error." and false
// returned, the array unchanged.
template <typename T>
bool resize_slots(Array<T>* a, int32_t n) {
  try {
    a->data.resize(static_cast<size_t>(n), nullptr);
  } catch (const std::bad_alloc&) {
    array_alloc_error();
    return false;
  }
  a->size = n;
  return true;
}

// True for an index that names an existing element.
template <typename T>
bool valid_index(const Array<T>* a, int i) {
  return i >= 0 && i < a->items;
}

}  // namespace array_detail

template <typename T>
Array<T>* array_init() {
  return new Array<T>();
}

template <typename T>
int alloc(Array<T>* a) {
  if (!a) return 0;
  // A step that adds no slot (block 0 or below, or size+block 0) cannot make
  // room and counts as a failed growth, as does a size past the int range.
  const int64_t want = int64_t{a->size} + a->block;
  if (want <= a->size || want > INT32_MAX) {
    array_alloc_error();
    return 0;
  }
  return array_detail::resize_slots(a, static_cast<int32_t>(want)) ? 1 : 0;
}

template <typename T>
void array_setup(Array<T>* a, int size, int block) {
  if (!a) return;
  if (size > a->size) array_detail::resize_slots(a, size);
  a->block = block < 1 ? 5 : block;
}

template <typename T>
int array_add(Array<T>* a, T* p) {
  if (!a) return 0;
  return array_add_num(a, p, a->items);
}

template <typename T>
int array_add_num(Array<T>* a, T* p, int i) {
  if (!a || !p || i < 0 || i > a->items) return 0;
  if (a->items >= a->size && !alloc(a)) return 0;
  for (int k = a->items; k > i; --k) a->data[k] = a->data[k - 1];
  a->data[i] = p;
  a->items++;
  if (a->current >= i) a->current++;
  return 1;
}

template <typename T>
int array_add_current(Array<T>* a, T* p) {
  if (!a || a->current == -1) return 0;
  return array_add_num(a, p, a->current);
}

template <typename T>
T* array_get_num(Array<T>* a, int i) {
  if (!a || a->size == 0 || !array_detail::valid_index(a, i)) return nullptr;
  a->current = i + 1 < a->items ? i + 1 : -1;
  return a->data[i];
}

template <typename T>
T* array_get(Array<T>* a) {
  if (!a || a->current == -1) return nullptr;
  return array_get_num(a, a->current);
}

template <typename T>
T* array_get_last(Array<T>* a) {
  if (!a) return nullptr;
  if (a->current == -1) {
    a->current = a->items - 1;
  } else if (a->current > INT32_MIN) {
    a->current--;
  }
  return array_get_num(a, a->current);
}

template <typename T>
T* array_del_num(Array<T>* a, int i) {
  if (!a || !array_detail::valid_index(a, i)) return nullptr;
  T* p = a->data[i];
  // Only the elements after i move; the slot past the last one is never read.
  for (int k = i; k + 1 < a->items; ++k) a->data[k] = a->data[k + 1];
  a->items--;
  a->data[a->items] = nullptr;
  if (a->current >= i) a->current--;
  if (a->items == 0) a->current = -1;
  return p;
}

template <typename T>
T* array_del(Array<T>* a) {
  if (!a) return nullptr;
  return array_del_num(a, a->current == -1 ? a->items - 1 : a->current - 1);
}

template <typename T>
void array_start(Array<T>* a) {
  if (a) a->current = 0;
}

template <typename T>
void array_end(Array<T>* a) {
  if (a) a->current = -1;
}

template <typename T>
void array_goto(Array<T>* a, int i) {
  if (a && i < a->items) a->current = i;
}

template <typename T>
void array_next(Array<T>* a) {
  if (!a || a->current == -1) return;
  a->current++;
  if (a->current >= a->items) a->current = -1;
}

template <typename T>
void array_prev(Array<T>* a) {
  if (a && a->current != 0 && a->current > INT32_MIN) a->current--;
}

template <typename T>
int array_items(const Array<T>* a) {
  return a ? a->items : 0;
}

template <typename T>
int array_current(const Array<T>* a) {
  return a ? a->current : 0;
}

template <typename T>
void array_empty(Array<T>* a) {
  if (!a) return;
  std::fill(a->data.begin(), a->data.begin() + a->items, nullptr);
  a->items = 0;
  a->current = -1;
}

template <typename T>
void array_empty_dealloc(Array<T>* a) {
  if (!a) return;
  for (int k = 0; k < a->items; ++k) dispose(a->data[k]);
  array_empty(a);
}

template <typename T>
void array_empty_fn(Array<T>* a, void (*fn)(T**)) {
  if (!a) return;
  if (fn) {
    for (int k = 0; k < a->items; ++k) fn(&a->data[k]);
  }
  array_empty(a);
}

template <typename T>
void array_free(Array<T>** pa) {
  if (!pa || !*pa) return;
  delete *pa;
  *pa = nullptr;
}

template <typename T>
void array_free_dealloc(Array<T>** pa) {
  if (!pa || !*pa) return;
  array_empty_dealloc(*pa);
  array_free(pa);
}

template <typename T>
void array_free_fn(Array<T>** pa, void (*fn)(T**)) {
  if (!pa || !*pa) return;
  array_empty_fn(*pa, fn);
  array_free(pa);
}

template <typename T>
Array<T>* array_copy(const Array<T>* a) {
  if (!a) return nullptr;
  return new Array<T>(*a);
}

template <typename T>
void array_array(Array<T>* dst, const Array<T>* src) {
  if (!dst || !src) return;
  const int n = src->items;  // read first: src may be dst itself
  const int64_t shortfall = int64_t{dst->items} + n - dst->size;
  if (shortfall > 0) {
    if (shortfall > INT32_MAX) {
      array_alloc_error();
      return;
    }
    dst->block = static_cast<int32_t>(shortfall);
    if (!alloc(dst)) return;
  }
  for (int k = 0; k < n; ++k) dst->data[dst->items++] = src->data[k];
}

template <typename T>
void array_sort(Array<T>* a, int (*cmp)(T* const*, T* const*)) {
  if (!a || !cmp) return;
  std::sort(a->data.begin(), a->data.begin() + a->items,
            [cmp](T* const& x, T* const& y) { return cmp(&x, &y) < 0; });
}

template <typename T>
void array_reverse(Array<T>* a) {
  if (!a) return;
  std::reverse(a->data.begin(), a->data.begin() + a->items);
}

}  // namespace inst

#endif  // INSTALLER_LIB_ARRAY_H_
