// A doubly linked list of element pointers with a sentinel and a cursor.
// The cursor points to the node *before* the current element, so the current
// element is the cursor node's next; at the start the cursor is the sentinel,
// past the end the cursor node has no next. The list does not own its
// elements, except that the *_dealloc operations release them (texts with
// delete[], other elements with delete). Every operation accepts a null list
// and then does nothing and returns 0 or null.
#ifndef INSTALLER_LIB_LINKLIST_H_
#define INSTALLER_LIB_LINKLIST_H_

#include <cstdint>

namespace inst {

template <typename T>
struct Node {
  Node* prev = nullptr;  // the first element's prev is the sentinel
  T* data = nullptr;     // the element; never set on the sentinel
  Node* next = nullptr;  // null after the last node
};

template <typename T>
struct Linklist {
  Node<T>* root = nullptr;     // the sentinel; its prev is itself
  Node<T>* current = nullptr;  // the cursor node
  int32_t items = 0;
};

template <typename T> Linklist<T>* list_init();
// Inserts p directly after the cursor node and moves the cursor onto it, so
// a run of adds appends in order and an add after list_start() goes to the
// front. The following node's prev is left as it was on purpose (only
// removal relinks it). Returns 1, or 0 for a null p.
template <typename T> int list_add(Linklist<T>* l, T* p);
// The current element, or null past the end.
template <typename T> T* list_get(Linklist<T>* l);
// Moves the cursor one on and returns the new current element; null past
// the end.
template <typename T> T* list_get_next(Linklist<T>* l);
// Removes the current element (the last one when the cursor is past the
// end) and hands it to the caller; the following element becomes current.
// Null for an empty list.
template <typename T> T* list_del(Linklist<T>* l);
// Puts p in place of the current element and returns the old one; null for
// a null p or a cursor past the end.
template <typename T> T* list_replace(Linklist<T>* l, T* p);
template <typename T> void list_start(Linklist<T>* l);  // first element current
template <typename T> void list_end(Linklist<T>* l);    // past the end
template <typename T> void list_next(Linklist<T>* l);   // not beyond the last node
template <typename T> void list_prev(Linklist<T>* l);   // stays at the start
template <typename T> int list_at_start(const Linklist<T>* l);
template <typename T> int list_at_end(const Linklist<T>* l);
template <typename T> int list_items(const Linklist<T>* l);
// Release every node (and, for the second, every element) but keep the list
// record usable: it is left empty, with the cursor at the start.
template <typename T> void list_empty(Linklist<T>* l);
template <typename T> void list_empty_dealloc(Linklist<T>* l);
// Release every node including the sentinel (and, for the variants, the
// elements), then the list; set *pl to null. list_free_fn calls fn with the
// address of each node's element field, the sentinel's (null) included.
template <typename T> void list_free(Linklist<T>** pl);
template <typename T> void list_free_dealloc(Linklist<T>** pl);
template <typename T> void list_free_fn(Linklist<T>** pl, void (*fn)(T**));
// A new list holding the same element pointers in order, cursor past the
// end; its items is deliberately left at 0.
template <typename T> Linklist<T>* list_copy(const Linklist<T>* l);

}  // namespace inst

#endif  // INSTALLER_LIB_LINKLIST_H_
