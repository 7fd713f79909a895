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

#ifdef __cplusplus
}
#endif

#endif
