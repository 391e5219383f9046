// The error of the last failed call, per thread.
#ifndef GW_PLATFORM_CONFD_ERRORS_H
#define GW_PLATFORM_CONFD_ERRORS_H

#include <string_view>

namespace confd {

// Sets confd_errno and confd_lasterr(). Returns CONFD_ERR, for the caller's return statement.
int fail(int code, const char *fmt, ...) __attribute__((format(printf, 2, 3)));

// The same for a failed system call: "what: text of errno".
int fail_errno(const char *what);

// The same for an answer of the agent that says no.
int fail_answer(std::string_view payload);

} // namespace confd

#endif
