#include "fakes/commands.h"

#include <cstdio>
#include <string>

#include "core/base/waits.h"
#include "fakes/record.h"

bool fakes::run_commands = false;

extern "C" int system(const char *command)
{
    fakes::record(std::string("run: ") + command);
    return fakes::run_commands ? pclose(popen(command, "w")) : 0;
}

void wait_seconds(unsigned seconds)
{
    wait_milliseconds(seconds * 1000);
}

void wait_milliseconds(unsigned milliseconds)
{
    fakes::record("wait: " + std::to_string(milliseconds));
}
