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

#include "lib/array.h"

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
  // Adds that left a prev link behind on a node other than the sentinel;
  // while any were made, a removal looks for links to the removed node.
  int32_t loose = 0;
};

template <typename T>
Linklist<T>* list_init();
// Inserts p directly after the cursor node and moves the cursor onto it, so
// a run of adds appends in order and an add after list_start() goes to the
// front. The following node's prev is left as it was on purpose (only
// removal relinks it). Returns 1, or 0 for a null p.
template <typename T>
int list_add(Linklist<T>* l, T* p);
// The current element, or null past the end.
template <typename T>
T* list_get(Linklist<T>* l);
// Moves the cursor one on and returns the new current element; null past
// the end.
template <typename T>
T* list_get_next(Linklist<T>* l);
// Removes the current element (the last one when the cursor is past the
// end) and hands it to the caller; the following element becomes current.
// Null for an empty list. Any prev link that named the removed node is moved
// to the node before it, so no link is left dangling.
template <typename T>
T* list_del(Linklist<T>* l);
// Puts p in place of the current element and returns the old one; null for
// a null p or a cursor past the end.
template <typename T>
T* list_replace(Linklist<T>* l, T* p);
template <typename T>
void list_start(Linklist<T>* l);  // first element current
template <typename T>
void list_end(Linklist<T>* l);  // past the end
template <typename T>
void list_next(Linklist<T>* l);  // not beyond the last node
// One back along prev; stays at the start. After an add in front of a node,
// that node's prev still names the node before the added one.
template <typename T>
void list_prev(Linklist<T>* l);
template <typename T>
int list_at_start(const Linklist<T>* l);
template <typename T>
int list_at_end(const Linklist<T>* l);
template <typename T>
int list_items(const Linklist<T>* l);
// Release every node (and, for the second, every element) but keep the list
// record usable: it is left empty, with the cursor at the start.
template <typename T>
void list_empty(Linklist<T>* l);
template <typename T>
void list_empty_dealloc(Linklist<T>* l);
// Release every node including the sentinel (and, for the variants, the
// elements), then the list; set *pl to null. list_free_fn calls fn with the
// address of each node's element field, the sentinel's (null) included.
template <typename T>
void list_free(Linklist<T>** pl);
template <typename T>
void list_free_dealloc(Linklist<T>** pl);
template <typename T>
void list_free_fn(Linklist<T>** pl, void (*fn)(T**));
// A new list holding the same element pointers in order, cursor past the
// end; its items is deliberately left at 0.
template <typename T>
Linklist<T>* list_copy(const Linklist<T>* l);

namespace list_detail {

// Releases every node after the sentinel, one by one (no recursion), the
// elements too when dealloc is set, and leaves the sentinel alone.
template <typename T>
void release_nodes(Linklist<T>* l, bool dealloc) {
  Node<T>* n = l->root->next;
  while (n) {
    Node<T>* next = n->next;
    if (dealloc) dispose(n->data);
    delete n;
    n = next;
  }
  l->root->next = nullptr;
}

// Leaves l empty and usable, releasing the elements too when dealloc is set.
template <typename T>
void empty(Linklist<T>* l, bool dealloc) {
  if (!l) return;
  release_nodes(l, dealloc);
  l->current = l->root;
  l->items = 0;
  l->loose = 0;
}

// The node whose next is n: n's prev when that link is current, otherwise
// found by a walk from the sentinel (an add in front of n leaves n's prev
// behind the new node).
template <typename T>
Node<T>* predecessor(Linklist<T>* l, Node<T>* n) {
  if (n->prev->next == n) return n->prev;
  Node<T>* p = l->root;
  while (p->next != n) p = p->next;
  return p;
}

}  // namespace list_detail

template <typename T>
Linklist<T>* list_init() {
  Linklist<T>* l = new Linklist<T>();
  l->root = new Node<T>();
  l->root->prev = l->root;
  l->current = l->root;
  return l;
}

template <typename T>
int list_add(Linklist<T>* l, T* p) {
  if (!l || !p) return 0;
  Node<T>* n = new Node<T>();
  if (l->current != l->root && l->current->next && l->loose < INT32_MAX) l->loose++;
  n->prev = l->current;
  n->data = p;
  n->next = l->current->next;
  l->current->next = n;
  l->current = n;
  l->items++;
  return 1;
}

template <typename T>
T* list_get(Linklist<T>* l) {
  if (!l || !l->current->next) return nullptr;
  return l->current->next->data;
}

template <typename T>
T* list_get_next(Linklist<T>* l) {
  if (!l || !l->current->next) return nullptr;
  l->current = l->current->next;
  return list_get(l);
}

template <typename T>
T* list_del(Linklist<T>* l) {
  if (!l || !l->root->next) return nullptr;
  if (!l->current->next) l->current = list_detail::predecessor(l, l->current);
  Node<T>* gone = l->current->next;
  T* p = gone->data;
  l->current->next = gone->next;
  if (gone->next) gone->next->prev = l->current;
  // A node added in front of a later node left that node's prev on the node
  // before it; such links to the removed node are moved to its predecessor
  // so that no prev is ever left dangling.
  if (l->loose > 0) {
    for (Node<T>* n = l->current->next; n; n = n->next) {
      if (n->prev == gone) n->prev = l->current;
    }
  }
  delete gone;
  l->items--;
  return p;
}

template <typename T>
T* list_replace(Linklist<T>* l, T* p) {
  if (!l || !p || !l->current->next) return nullptr;
  T* old = l->current->next->data;
  l->current->next->data = p;
  return old;
}

template <typename T>
void list_start(Linklist<T>* l) {
  if (l) l->current = l->root;
}

template <typename T>
void list_end(Linklist<T>* l) {
  if (!l) return;
  while (l->current->next) l->current = l->current->next;
}

template <typename T>
void list_next(Linklist<T>* l) {
  if (l && l->current->next) l->current = l->current->next;
}

template <typename T>
void list_prev(Linklist<T>* l) {
  if (l) l->current = l->current->prev;
}

template <typename T>
int list_at_start(const Linklist<T>* l) {
  return l && l->current == l->root ? 1 : 0;
}

template <typename T>
int list_at_end(const Linklist<T>* l) {
  return l && !l->current->next ? 1 : 0;
}

template <typename T>
int list_items(const Linklist<T>* l) {
  return l ? l->items : 0;
}

template <typename T>
void list_empty(Linklist<T>* l) {
  list_detail::empty(l, false);
}

template <typename T>
void list_empty_dealloc(Linklist<T>* l) {
  list_detail::empty(l, true);
}

template <typename T>
void list_free(Linklist<T>** pl) {
  list_free_fn<T>(pl, nullptr);
}

template <typename T>
void list_free_dealloc(Linklist<T>** pl) {
  if (!pl || !*pl) return;
  list_detail::release_nodes(*pl, true);
  list_free(pl);
}

template <typename T>
void list_free_fn(Linklist<T>** pl, void (*fn)(T**)) {
  if (!pl || !*pl) return;
  Node<T>* n = (*pl)->root;
  while (n) {
    Node<T>* next = n->next;
    if (fn) fn(&n->data);
    delete n;
    n = next;
  }
  delete *pl;
  *pl = nullptr;
}

template <typename T>
Linklist<T>* list_copy(const Linklist<T>* l) {
  if (!l) return nullptr;
  Linklist<T>* copy = list_init<T>();
  for (const Node<T>* n = l->root->next; n; n = n->next) list_add(copy, n->data);
  copy->items = 0;  // left at 0 on purpose
  return copy;
}

}  // namespace inst

#endif  // INSTALLER_LIB_LINKLIST_H_
