/*
 * Event registry of the PAL families, command-queue records and a counting
 * semaphore with a time-out.
 *
 * Each family owns one event list (a list_type, usable when zeroed). A client
 * registers a callback with user data; a posted event goes to every callback
 * of the list in order of registration, on the poster's thread, one after the
 * other. All callbacks get the same data pointer, which belongs to the poster
 * and is freed after the last callback returns: a callback copies what it
 * wants to keep.
 */
#ifndef VORNPAL_EVENT_H
#define VORNPAL_EVENT_H

#include <pthread.h>

#include <vornpal/defs.h>
#include <vornpal/queue.h>

VORNPAL_BEGIN_DECLS

/* ---- event registry ------------------------------------------------------ */

typedef void (*vorn_pal_event_callback)(int event_id, void *data, int size, void *user_data);

/* One registration; allocated by register, freed by unregister or clean. */
typedef struct vorn_pal_event_node {
  list_link_type link;
  vorn_pal_event_callback callback;
  void *user_data;
} vorn_pal_event_node;

/* Appends a registration; the same callback may be registered twice and is
 * then called twice. 0, or 3 for a null event_list or callback. */
VORNPAL_API int vorn_pal_event_register(list_type *event_list, vorn_pal_event_callback callback,
                                        void *user_data);

/* Removes the oldest registration of callback (user data plays no part).
 * 0, also when the callback was not registered; 3 for a null argument. A
 * delivery already under way on another thread may still call it once. */
VORNPAL_API int vorn_pal_event_unregister(list_type *event_list,
                                          vorn_pal_event_callback callback);

/*
 * Calls every registered callback with (event_id, data, size, user_data),
 * then frees data when it is not null: data must be a heap block that the
 * poster gives up (null with size 0 for a bare notification). A negative
 * event_id ends the call at once and leaves data alone.
 *
 * The delivery follows the list as it stands when it reaches each node, with
 * no lock held while a callback runs. So a callback may register and
 * unregister, itself included: one it unregisters further down the list is
 * not called in this delivery, and one it registers is called at its end.
 */
VORNPAL_API void vorn_pal_post_event(list_type *event_list, int event_id, void *data, int size);

/* Frees every registration of the list; the one a delivery is calling at
 * that moment goes when that delivery returns from it, which ends it. */
VORNPAL_API void vorn_pal_clean_event_list(list_type *event_list);

/* ---- command-queue records ----------------------------------------------- */

/* Bytes of a record and of the payloads that vorn_malloc_cmd_q_data makes on
 * 32-bit ARM (payloads grow with the pointer size elsewhere). */
#define VORN_CMD_Q_DATA_SIZE 45
#define VORN_CMD_Q_PAYLOAD_SIZE 45
#define VORN_CMD_Q_SMALL_PAYLOAD_SIZE 17

typedef struct vorn_cmd_q_data {
  q_link_type link; /* for the client's queue */
  uint32_t cmd_type;
  void *payload;
} vorn_cmd_q_data;

/* Table referred to by word 10 of the payload of types 0 and 4. */
typedef struct vorn_cmd_q_table_entry {
  uint32_t reserved[2];
  void *data; /* freed and cleared by vorn_free_cmd_q_data */
} vorn_cmd_q_table_entry;

typedef struct vorn_cmd_q_table {
  int32_t count;
  vorn_cmd_q_table_entry entries[1]; /* count entries in fact */
} vorn_cmd_q_table;

/*
 * A zeroed record of VORN_CMD_Q_DATA_SIZE bytes with cmd_type set and a zeroed
 * payload: VORN_CMD_Q_PAYLOAD_SIZE bytes for types 0 and 4,
 * VORN_CMD_Q_SMALL_PAYLOAD_SIZE bytes for type 5. Any other type, or an
 * exhausted heap, aborts the process.
 */
VORNPAL_API vorn_cmd_q_data *vorn_malloc_cmd_q_data(uint32_t cmd_type);

/*
 * Frees a record by its type; the payload is read as pointer-sized words:
 *   0, 4        word 4, word 6 and the data of each entry of the table in
 *               word 10 (not the table itself), then the payload
 *   5           word 2, then the payload
 *   6, 9        the payload is not touched
 *   7, 8, 10, 11, 12, 14   the payload
 *   13          word 4, then the payload
 *   15          word 0, then the payload
 *   other       the payload is left (an error is logged)
 * and the record last.
 */
VORNPAL_API void vorn_free_cmd_q_data(vorn_cmd_q_data *record);

/* ---- counting semaphore -------------------------------------------------- */

typedef struct vorn_cmn_sem {
  pthread_mutex_t mutex;
  pthread_cond_t cond; /* on CLOCK_MONOTONIC */
  pthread_condattr_t attr;
  int32_t sem_cond_value;
} vorn_cmn_sem;

typedef struct vorn_cmn_sem_timeout {
  int32_t sec;
  int32_t usec;
} vorn_cmn_sem_timeout;

/* 0, or 1 for a null sem. */
VORNPAL_API int vorn_cmn_sem_init(vorn_cmn_sem *sem);
/* Destroys the mutex and clears the value. */
VORNPAL_API void vorn_cmn_sem_deinit(vorn_cmn_sem *sem);
VORNPAL_API int vorn_cmn_sem_post(vorn_cmn_sem *sem);
/* Sets the count to 0. */
VORNPAL_API int vorn_cmn_sem_reset_value(vorn_cmn_sem *sem);
/*
 * Takes one count. A null or all-zero timeout waits without limit. Results:
 * 0 taken, 2 timed out, 1 for a null sem or a timed wait that woke with
 * nothing to take.
 */
VORNPAL_API int vorn_cmn_sem_timedwait(vorn_cmn_sem *sem, const vorn_cmn_sem_timeout *timeout);

VORNPAL_END_DECLS

#endif
