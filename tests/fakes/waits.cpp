#include "core/base/waits.h"

#include "fakes/platform.h"
#include "fakes/record.h"

static void waited(unsigned milliseconds)
{
    fakes::record("wait " + std::to_string(milliseconds) + " ms");
    if (fakes::outcomes.on_wait) fakes::outcomes.on_wait(milliseconds);
}

void wait_seconds(unsigned seconds)
{
    waited(seconds * 1000);
}

void wait_milliseconds(unsigned milliseconds)
{
    waited(milliseconds);
}
