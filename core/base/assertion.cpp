#include "core/base/assertion.h"

#include <cstdio>
#include <cstdlib>

void assertion_failed(const char *module, unsigned line, const char *expression)
{
    printf("%s:%u: failed assertion `%s'\n", module, line, expression);
    fflush(stdout); // abort() does not
    abort();
}
