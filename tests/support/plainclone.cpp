// SPDX-License-Identifier: MIT
// Part of what runs under the thread sanitizer. Qt starts processes with clone(), sharing the memory until
// the program is replaced. The sanitizer takes that for a fork, marks the memory as that of a forked copy,
// and with it the parent's: from then on it reports nothing any more and ends the program at its next new
// thread. So the call goes around it.

#include <cstdarg>
#include <cstddef>

#include <sys/types.h>

extern "C" int __clone(int (*function)(void *), void *stack, int flags, void *argument, ...);

extern "C" int clone(int (*function)(void *), void *stack, int flags, void *argument, ...)
{
    va_list more;
    va_start(more, argument);
    auto *const parentId = va_arg(more, pid_t *);
    auto *const localStorage = va_arg(more, void *);
    auto *const childId = va_arg(more, pid_t *);
    va_end(more);
    return __clone(function, stack, flags, argument, parentId, localStorage, childId);
}
