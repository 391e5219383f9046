#include "core/base/waits.h"

#include "fakes/platform.h"
#include "fakes/record.h"

void wait_seconds(unsigned seconds)
{
    wait_milliseconds(seconds * 1000);
}

void wait_milliseconds(unsigned milliseconds)
{
    fakes::record("wait " + std::to_string(milliseconds) + " ms");
    if (fakes::outcomes.on_wait) fakes::outcomes.on_wait(milliseconds);
}
