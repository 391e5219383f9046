// Shell commands of the daemon and the log that shows operators which ones it ran.
#ifndef GW_CORE_BASE_COMMAND_RUNNER_H
#define GW_CORE_BASE_COMMAND_RUNNER_H

// Runs the command line with the shell, waits for it and appends it to the command log. Its status is ignored.
void CommandRunner(const char *command);

// Appends a time stamp line and the command line to /tmp/system_cmds_with_timestamp, which is cut to its last 200 lines
// when it exceeds 100 KB.
void log_system_call(const char *command);

// Runs the command line with the shell and waits for it; no entry in the command log. Its status is ignored.
void run_shell(const char *command);

#endif
