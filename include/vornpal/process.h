/*
 * Shell commands and child processes.
 *
 *   vorn_system_call*   a command line through the shell; exit status
 *   vorn_popen_call*    a command line through the shell; its output
 *   vorn_ds_system_call3  an allow-listed program run with no shell, killed
 *                       after 2 s without output
 *
 * Each call blocks the calling thread for the time of the command.
 */
#ifndef VORNPAL_PROCESS_H
#define VORNPAL_PROCESS_H

#include <vornpal/defs.h>

VORNPAL_BEGIN_DECLS

/*
 * Runs command through the shell. length must equal strlen(command): a
 * command cut short by its formatter is refused (-1, nothing run).
 * Returns 0 for exit status 0, -1 when the shell could not run, and otherwise
 * the raw status word: a command that exits with 3 gives 768.
 */
VORNPAL_API int vorn_system_call(const char *command, unsigned int length);

/* Formats the command into buffer (size bytes) and runs it as above. */
VORNPAL_API int vorn_system_call_var_arg(char *buffer, unsigned int size, const char *format, ...)
    VORNPAL_PRINTF(3, 4);

/* As vorn_system_call, but the result is the exit code itself (3 for exit
 * 3), or the status word when a signal ended the command. */
VORNPAL_API int vorn_system_call_ex(const char *command, unsigned int length);

/*
 * Runs command and collects its output into result (size bytes, terminated).
 * When the next line would not fit, reading stops and what fitted stays; the
 * call still returns 0. A null result runs the command and waits for it.
 * 0, or -1 when the command could not be started. The exit status is not
 * looked at.
 */
VORNPAL_API int vorn_popen_call(const char *command, char *result, unsigned int size);

/* As vorn_popen_call for commands that need time to produce their output:
 * waits one second before the first read. result must not be null. */
VORNPAL_API int vorn_popen_call_ex(const char *command, char *result, unsigned int size);

/*
 * Runs a program with no shell: the command (under 512 bytes) is split at
 * spaces into at most 32 words. The first word is the program: a word
 * containing "/system/bin", "/bin", "/usr/bin", "/sbin" or "/usr/sbin" is
 * used as it is; otherwise it must be one of iptables, ip6tables, ip, ndc,
 * ifconfig, tc, rm, echo, ls, sleep, or nothing is run.
 * Standard output and standard error go to output (output_size bytes,
 * terminated, the rest dropped; may be null). A child that writes nothing
 * for 2 seconds is killed. reserved is not read; a nonzero log_command logs
 * the command. 0 when the program exits with 0, else -1.
 */
VORNPAL_API int vorn_ds_system_call3(const char *command, uint32_t reserved, char *output,
                                     unsigned int output_size, unsigned char log_command);

VORNPAL_END_DECLS

#endif
