// Ctrl-C while something waits: caught, it ends the wait and not the program.
#ifndef GW_CLI_SIGNALS_H
#define GW_CLI_SIGNALS_H

namespace cli {

// From now on SIGINT is remembered; forgets one that came before.
void catch_interrupts();
// Back to what it was.
void release_interrupts();

bool was_interrupted();
void forget_interrupt();

enum class Wait { ready, timed_out, interrupted };

// Until the descriptor has one of the poll(2) events, no longer than timeout_ms (-1: no limit). A SIGINT that came
// before the call ends it too, so none is lost.
Wait wait_for(int fd, short events, int timeout_ms);

} // namespace cli

#endif
