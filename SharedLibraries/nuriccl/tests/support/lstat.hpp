#pragma once

/// @file
/// An lstat that counts its calls and reports, on demand, what no file system at hand has.
///
/// Include it in the one source file of a test program: the libraries in the process use it, too.
/// The headers of the C library give `lstat` the symbol that suits the widths of off_t, ino_t and
/// time_t, which are 64 bits here. A library that was built for another width asks another
/// function, and is not counted.
///
/// Thread safety: one thread at a time.

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace lstat_calls {

static_assert(sizeof(off_t) == 8 && sizeof(ino_t) == 8 && sizeof(time_t) == 8);

inline unsigned int number = 0;

namespace detail {

struct Fixed {
    bool set;
    int error;
    struct stat status;
};

inline Fixed fixed = {};

} // namespace detail

/// What every call reports while this lives: a record, or a failure.
class Answer {
public:
    explicit Answer(const struct stat& status) { detail::fixed = {true, 0, status}; }
    explicit Answer(int error) { detail::fixed = {true, error, {}}; }
    ~Answer() { detail::fixed = {}; }
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;
};

} // namespace lstat_calls

extern "C" int lstat(const char* path, struct stat* status) noexcept {
    using lstat_calls::detail::fixed;
    ++lstat_calls::number;
    if (!fixed.set) {
        return fstatat(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW);
    }
    if (fixed.error != 0) {
        errno = fixed.error;
        return -1;
    }
    *status = fixed.status;
    return 0;
}
