// The life of the daemon: start-up, main loop, teardown.
#ifndef GW_CORE_TARVOD_H
#define GW_CORE_TARVOD_H

#include "core/base/globals.h"

enum {
    EXIT_RETURNED = 0,      // the main loop returned
    EXIT_UNREGISTERED = 1,  // the management agent did not take the registration
    EXIT_UNINITIALISED = 2, // no context, event base, event or timer manager
    EXIT_UNDETACHED = 255   // daemon() failed
};

// The whole process. Returns its exit status.
int run_tarvod(int argc, char **argv);

// The steps of it, in order of use. What initialisation has built when it fails (EXIT_UNINITIALISED) stays in *daemon
// for the teardown, which takes null as well.
int init_tarvod(TarvoDaemon **daemon);
void parse_options(TarvoDaemon *daemon, int argc, char **argv);
void tear_down_tarvod(TarvoDaemon *daemon);

// SIGCHLD on the event loop: collects one child and logs how it ended.
void tarvo_sigchild_signal(int signal, short events, void *daemon);

#endif
