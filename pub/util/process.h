// Processes: command lines, pid files, fork, priority.
#pragma once

#include <sys/types.h>

#include <cstdint>

#include "pub/result.h"

// Opens /dev/null on each of the standard descriptors (0 to 2) that the process was started without: a device that were
// given such a number would count as closed, or receive what the program prints. Call it before anything else is opened
// or written. Logs nothing.
void pub_util_fill_standard_descriptors();

// The first word of a process's command line, cut to size - 1 characters. ERR_ARGUMENT for a null buffer or size 0,
// ERR_SYSTEM when there is no such process or it has no command line.
result_code_en pub_util_get_cmd_line(pid_t pid, char* buffer, std::uint32_t size);

// The folder of the running program, as its command line gives it. Codes as for pub_util_get_cmd_line.
result_code_en pub_util_get_process_path(char* buffer, std::uint32_t size);

// Whether the pid in a pid file, which may be no link, belongs to a process whose command line's first word contains
// name: *is_run becomes 1 and *pid its number, else both 0. ERR_ARGUMENT for a null or empty argument, otherwise 0.
result_code_en pub_util_get_pid_and_check_run(const char* pid_file, const char* name, std::int32_t* is_run,
                                              std::int64_t* pid);

// Writes the pid of this process into "/tmp/<name>.pid", a new file: what others have put there under this name is
// taken away. A failure is only logged.
void pub_util_create_pid_file(const char* name);

// fork(2) while no other thread is in the platform's log or opens or closes a file, and no standard output is pending:
// the child, which has the calling thread alone, can log and open files, and prints nothing that the parent prints.
// Gives fork's result.
pid_t pub_util_fork();

// Takes note of the end of a child, whenever that comes, so that it does not stay a zombie: a thread waits for it.
// One call at a time.
void pub_util_reap(pid_t child);

// Real-time class, four below its maximum priority. A failure is only logged.
void pub_util_raise_process_priority();
