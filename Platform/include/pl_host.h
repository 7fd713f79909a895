/*
 * pl_host.h: what this platform library offers to the host program itself.
 * All calls come from the host's one thread.
 */
#ifndef PL_HOST_H
#define PL_HOST_H

#ifdef __cplusplus
extern "C" {
#endif

/* Receives each trace line that passes the level, without a newline added. */
typedef void ( *pl_trace_sink )( void* user, int level, const char* text );

/* Lines above `level` are dropped before they are formatted. -1 drops all; the default is 0, or
 * the value of the environment variable PL_TRACE_LEVEL. */
void pl_trace_level_set( int level );
int pl_trace_level( void );

/* Where lines go; null restores the default: one line each on stderr. */
void pl_trace_sink_set( pl_trace_sink sink, void* user );

/* Milliseconds until the next armed timer is due, 0 when one is due now, -1 when none is armed:
 * what a host passes to poll(). */
int pl_timer_wait( void );

/* Calls every timer that is due; returns how many were called. */
int pl_timer_run( void );

/* The latest exchange with the SMBus service that failed. Texts belong to the library and last
 * until the next failure. */
struct pl_service_failure {
   int error;    /* errno value */
   int answered; /* 1: the service answered so; 0: no usable answer came, and all below but the
                    texts is unset */
   int request;  /* the request that failed, from 0; -1 where none is to blame, which leaves
                    `operation` to `bus` unset */
   int count;    /* requests in the batch */

   int operation;   /* RequestType of smbus.proto */
   unsigned size;   /* bytes */
   unsigned reg;    /* register number, or the byte itself for a send-byte */
   unsigned device; /* 7-bit address */
   unsigned master; /* MasterType of smbus.proto */
   unsigned pci, accelerator, bus;

   const char* reason; /* "no acknowledge" */
   const char* text;   /* the whole sentence */
};

typedef void ( *pl_failure_sink )( void* user, const struct pl_service_failure* failure );

/* Called with each failure, before the library sees it; null restores none. The sink must not use
 * the library. */
void pl_failure_sink_set( pl_failure_sink sink, void* user );

/* Makes pl_last_failure() null until the next failure: for a host that asks what one call failed
 * of. */
void pl_failure_forget( void );

/* Null before the first failure. Successes leave it as it is. */
const struct pl_service_failure* pl_last_failure( void );

enum pl_trial_end {
   PL_TRIAL_RETURNED,  /* the attempt returned */
   PL_TRIAL_EXITED,    /* it ended its process */
   PL_TRIAL_KILLED,    /* a signal did; after an assertion SIGABRT */
   PL_TRIAL_TIMED_OUT, /* it was killed at the end of its time */
};

struct pl_trial {
   enum pl_trial_end ended;
   int status; /* RETURNED: what it returned; EXITED: the exit status; else 0 */
   int signal; /* KILLED: the signal's number; else 0 */
};

/* Calls attempt( user ) in a forked child, and waits until the child ends, or for `timeout_ms`
 * milliseconds (-1: for ever): for what may abort, crash or hang, like the first access to a chip
 * that may be dead. 0: *trial says how it ended. -1 with errno: there was no trial (EINVAL; what
 * fork() or pipe() fail of), or its end is unknown, because somebody else has reaped the child
 * (ECHILD: a handler of SIGCHLD that waits for any child, or one that is ignored); *trial is
 * untouched.
 *
 * The child has a copy of all that the caller has, and a connection to the SMBus service of its
 * own; nothing that it makes is left when it ends but what the chips keep. `user` stays the
 * caller's. Its trace lines go to the caller's trace sink, and what it prints on stderr, the text
 * of an assertion among it, goes there line by line at level 0, both while the trial lasts. Its
 * standard output is the caller's. Other sinks are called in the child, with the child's copy of
 * what they know.
 *
 * The child is a process group of its own, which is killed when the trial ends: of the attempt's
 * own children only one that leaves the group survives. The child is killed, too, when the thread
 * that called ends.
 *
 * Only the calling thread goes on in the child, so that the attempt must not need other threads,
 * nor locks that they may hold. Not to be called by a signal handler. Signals that interrupt the
 * wait do not end it. An exception that leaves the attempt ends the child like an assertion. */
int pl_try( int ( *attempt )( void* user ), void* user, int timeout_ms, struct pl_trial* trial );

/* Closes the connection to the SMBus service, which takes few from one user; the next request opens
 * it anew. For a process that has initialised the library for its children, and waits for them. */
void pl_service_disconnect( void );

/* One transfer of a batch, as it was sent to the SMBus service and answered. */
struct pl_wire_transfer {
   int operation;                  /* RequestType of smbus.proto */
   unsigned size;                  /* bytes; 0 for a receive-byte or send-byte */
   unsigned reg;                   /* register number, or the byte itself for a send-byte */
   unsigned reg_size;              /* bytes of a register number: 1, 2 or 4 */
   unsigned device;                /* 7-bit address */
   unsigned master;                /* MasterType of smbus.proto */
   unsigned pci, accelerator, bus; /* as the request carries them, whether the master has them or
                                      not */

   const unsigned char* written;
   const unsigned char* read; /* null, of no size, where the batch failed */
   unsigned written_size, read_size;

   int error;           /* errno value; 0: done; ECANCELED: an earlier transfer of the batch failed,
                           and the service does not tell what became of this one */
   const char* problem; /* in words; null where there is no error */
};

struct pl_wire_batch {
   const struct pl_wire_transfer* transfers;
   int count;
   long long nanoseconds; /* from sending the batch to its answer, or to giving up */
};

typedef void ( *pl_wire_sink )( void* user, const struct pl_wire_batch* batch );

/* Called on the host's thread after each batch, before the library sees the answer; null restores
 * none, which costs nothing. Everything that the batch points to belongs to the library and lasts
 * until the sink returns. The sink must not use the library. */
void pl_wire_sink_set( pl_wire_sink sink, void* user );

#ifdef __cplusplus
}
#endif

#endif
