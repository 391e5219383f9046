// Checks of what the data model guarantees. One that fails ends the process: going on would read the wrong member of a
// value.
#ifndef GW_CORE_BASE_ASSERTION_H
#define GW_CORE_BASE_ASSERTION_H

[[noreturn]] void assertion_failed(const char *module, unsigned line, const char *expression);

// The module's name and the expression are printed as given.
inline void assert_model(bool holds, const char *module, const char *expression, unsigned line = __builtin_LINE())
{
    if (!holds) assertion_failed(module, line, expression);
}

#endif
