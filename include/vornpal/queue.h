/*
 * Locked intrusive containers.
 *
 * An element is the caller's record beginning with the container's link; the
 * containers never allocate, copy or free an element, and give back the very
 * pointer that was put in. Each container carries its own mutex, so every
 * single operation is atomic; walks by repeated peek_next calls are not.
 *
 *   q_type             circular doubly linked queue (the header is the ring's
 *                      sentinel)
 *   list_type          singly linked list with head and tail
 *   ordered_list_type  doubly linked list kept sorted by a weight
 *
 * A zeroed list_type or ordered_list_type is a usable empty container: every
 * operation but init and destroy initialises it first (an ordered list then
 * sorts ascending, new elements before equal weights).
 */
#ifndef VORNPAL_QUEUE_H
#define VORNPAL_QUEUE_H

#include <pthread.h>

#include <vornpal/defs.h>

VORNPAL_BEGIN_DECLS

/* ---- q_type -------------------------------------------------------------- */

typedef struct q_link_type {
  struct q_link_type *next; /* null while the element is out of a queue */
  struct q_link_type *prev;
} q_link_type;

/* next and prev point at the queue itself when it is empty. The mutex is
 * recursive, so that q_linear_delete* can walk with q_check/q_next while
 * holding it. */
typedef struct q_type {
  q_link_type *next;
  q_link_type *prev;
  int32_t cnt;
  pthread_mutex_t mutex;
} q_type;

/* Compares an element with a parameter: nonzero for a match. */
typedef int (*q_compare_func_type)(void *item, void *param);
/* Called with an element that q_linear_delete* removed. */
typedef void (*q_action_func_type)(void *item, void *param);

/* A null queue or link prints an assertion line on standard output and the
 * operation does nothing (null for the functions that return a link). */
VORNPAL_API q_type *q_init(q_type *q);
VORNPAL_API void q_destroy(q_type *q);
/* Clears both words of link; item is not used. Returns link. */
VORNPAL_API q_link_type *q_link(void *item, q_link_type *link);
VORNPAL_API void q_put(q_type *q, q_link_type *link);
/* Removes the first element and clears its next; null when empty. */
VORNPAL_API void *q_get(q_type *q);
/* As q_get, but the element's next is left as it was. */
VORNPAL_API void *q_get_ext(q_type *q);
VORNPAL_API void *q_last_get(q_type *q);
/* The element behind link, null after the last one. */
VORNPAL_API void *q_next(q_type *q, q_link_type *link);
/* Inserts link before the element before. */
VORNPAL_API void q_insert(q_type *q, q_link_type *link, q_link_type *before);
VORNPAL_API void q_delete(q_type *q, q_link_type *link);
/* As q_delete; returns 1. */
VORNPAL_API int q_delete_ext(q_type *q, q_link_type *link);
VORNPAL_API void *q_check(q_type *q);
VORNPAL_API void *q_last_check(q_type *q);
/* Reads the count without taking the mutex. */
VORNPAL_API int q_cnt(q_type *q);
/* Moves every element of src behind dest's tail; src is left empty. Locks
 * src, then dest. */
VORNPAL_API void q_m_put(q_type *dest, q_type *src);
/* The first element for which compare(element, param) is nonzero. */
VORNPAL_API void *q_linear_search(q_type *q, q_compare_func_type compare, void *param);
/* Removes the first match of compare(element, param), then calls
 * action(element, action_param) when action is given. Returns the removed
 * element, or null. */
VORNPAL_API void *q_linear_delete_new(q_type *q, q_compare_func_type compare, void *param,
                                      q_action_func_type action, void *action_param);
/* Older form: compare gets 0 as its parameter, action gets param. */
VORNPAL_API void q_linear_delete(q_type *q, q_compare_func_type compare, void *param,
                                 q_action_func_type action);

/* ---- list_type ----------------------------------------------------------- */

typedef struct list_link_type {
  struct list_link_type *next; /* null at the end */
} list_link_type;

typedef struct list_type {
  list_link_type *front;
  list_link_type *back;
  uint32_t size;
  uint32_t magic; /* 1 once initialised */
  pthread_mutex_t mutex;
} list_type;

/* Compares an element with a parameter: nonzero for a match. */
typedef int (*list_compare_func_type)(void *item, void *param);

VORNPAL_API void list_init(list_type *list);
VORNPAL_API void list_destroy(list_type *list);
VORNPAL_API void list_push_front(list_type *list, list_link_type *link);
VORNPAL_API void list_push_back(list_type *list, list_link_type *link);
/* Null when empty. The popped element's next is not cleared. */
VORNPAL_API list_link_type *list_pop_front(list_type *list);
/* Walks from the front: cost grows with the length. */
VORNPAL_API list_link_type *list_pop_back(list_type *list);
VORNPAL_API uint32_t list_size(list_type *list);
VORNPAL_API list_link_type *list_peek_front(list_type *list);
VORNPAL_API list_link_type *list_peek_back(list_type *list);
/* link->next, read under the lock; link must not be null. */
VORNPAL_API list_link_type *list_peek_next(list_type *list, list_link_type *link);
/* Walks from the front; null for the first element or a link not in list. */
VORNPAL_API list_link_type *list_peek_prev(list_type *list, list_link_type *link);
/* at must be in list. */
VORNPAL_API void list_push_before(list_type *list, list_link_type *link, list_link_type *at);
VORNPAL_API void list_push_after(list_type *list, list_link_type *link, list_link_type *at);
/* link must be in list. */
VORNPAL_API void list_pop_item(list_type *list, list_link_type *link);
/* The first element for which compare(element, param) is nonzero; compare
 * runs with the list's mutex held. */
VORNPAL_API list_link_type *list_linear_search(list_type *list, list_compare_func_type compare,
                                               void *param);
/* Appends all of src to dest, leaving src empty. Locks dest, then src. */
VORNPAL_API void list_merge(list_type *dest, list_type *src);
/* dest (overwritten, not appended to) takes link, which must be in list, and
 * every element behind it. Locks list, then dest. */
VORNPAL_API void list_split(list_type *list, list_link_type *link, list_type *dest);

/* ---- ordered_list_type --------------------------------------------------- */

/* The list's type is one order OR-ed with one kind of insertion. */
#define ORDERED_LIST_ASCENDING 1     /* lowest weight first */
#define ORDERED_LIST_DESCENDING 2    /* highest weight first */
#define ORDERED_LIST_PUSH_SORT 4096  /* new element before equal weights */
#define ORDERED_LIST_PUSH_AFTER 8192 /* new element after equal weights */

typedef struct ordered_list_link_type {
  struct ordered_list_link_type *next;
  struct ordered_list_link_type *prev;
  uint32_t weight;
} ordered_list_link_type;

typedef struct ordered_list_type {
  ordered_list_link_type *front;
  ordered_list_link_type *back;
  uint32_t size;
  uint32_t type;
  uint32_t magic; /* 1 once initialised */
  pthread_mutex_t mutex;
} ordered_list_type;

typedef int (*ordered_list_compare_func_type)(void *item, void *param);

VORNPAL_API void ordered_list_init(ordered_list_type *list, uint32_t order, uint32_t kind);
VORNPAL_API void ordered_list_destroy(ordered_list_type *list);
/* Stores weight in the link and inserts it by the list's type. With a type
 * that is not one of the four combinations, nothing is inserted (an empty
 * list still takes the element). */
VORNPAL_API void ordered_list_push(ordered_list_type *list, ordered_list_link_type *link,
                                   uint32_t weight);
VORNPAL_API ordered_list_link_type *ordered_list_pop_front(ordered_list_type *list);
VORNPAL_API ordered_list_link_type *ordered_list_pop_back(ordered_list_type *list);
VORNPAL_API uint32_t ordered_list_size(ordered_list_type *list);
VORNPAL_API ordered_list_link_type *ordered_list_peek_front(ordered_list_type *list);
VORNPAL_API ordered_list_link_type *ordered_list_peek_back(ordered_list_type *list);
VORNPAL_API ordered_list_link_type *ordered_list_peek_next(ordered_list_type *list,
                                                           ordered_list_link_type *link);
VORNPAL_API ordered_list_link_type *ordered_list_peek_prev(ordered_list_type *list,
                                                           ordered_list_link_type *link);
VORNPAL_API void ordered_list_pop_item(ordered_list_type *list, ordered_list_link_type *link);
VORNPAL_API ordered_list_link_type *ordered_list_linear_search(
    ordered_list_type *list, ordered_list_compare_func_type compare, void *param);
VORNPAL_API void ordered_list_split(ordered_list_type *list, ordered_list_link_type *link,
                                    ordered_list_type *dest);
/* The insertion steps of ordered_list_push. They take no lock: the caller
 * holds the list's mutex. */
VORNPAL_API void ordered_list_push_after(ordered_list_type *list, ordered_list_link_type *link,
                                         ordered_list_link_type *at);
VORNPAL_API void ordered_list_push_before(ordered_list_type *list, ordered_list_link_type *link,
                                          ordered_list_link_type *at);

VORNPAL_END_DECLS

#endif
