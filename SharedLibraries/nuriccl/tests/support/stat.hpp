#pragma once

/// @file
/// A stat that counts its calls and reports, on demand, what no file system at hand has.
///
/// Include it in the one source file of a test program: the libraries in the process use it, too.
/// The headers of the C library give `stat` the symbol that suits the widths of off_t, ino_t and
/// time_t, which are 64 bits here. A library that was built for another width asks another
/// function, and is not counted.
///
/// Thread safety: one thread at a time.

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace stat_calls {

static_assert(sizeof(off_t) == 8 && sizeof(ino_t) == 8 && sizeof(time_t) == 8);

inline unsigned int number = 0;

namespace detail {

struct Fixed {
    bool set;
    int error;
    ino_t inode;
};

inline Fixed fixed = {};

} // namespace detail

/// What every call reports while this lives.
class Answer {
public:
    ~Answer() { detail::fixed = {}; }
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;

    static Answer inode(ino_t inode) { return Answer({true, 0, inode}); }
    static Answer failure(int error) { return Answer({true, error, 0}); }

private:
    explicit Answer(detail::Fixed fixed) { detail::fixed = fixed; }
};

} // namespace stat_calls

extern "C" int stat(const char* path, struct stat* status) noexcept {
    using stat_calls::detail::fixed;
    ++stat_calls::number;
    if (!fixed.set) {
        return fstatat(AT_FDCWD, path, status, 0);
    }
    if (fixed.error != 0) {
        errno = fixed.error;
        return -1;
    }
    *status = {};
    status->st_ino = fixed.inode;
    return 0;
}
