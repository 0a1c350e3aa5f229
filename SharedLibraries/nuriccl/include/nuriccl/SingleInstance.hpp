#pragma once

/// @file
/// A lock between processes that the kernel gives back when its holder dies: System V semaphores
/// (POSIX XSI), named by a file.
///
/// Use it to keep a second copy of a program from working on the same thing. The file that names
/// the lock must exist and stay; nothing is written to it. It is not for threads, and not for locks
/// that are held for fractions of a second: waiting goes by whole seconds in places.
///
///     A: checkForSingleInstance --> 0, holds --- ReleaseMutex, or the end of A ----.
///     B:    checkForSingleInstance --> waits ......................................v 0, holds
///
/// A waiting process never takes over the set of the holder: when that is given back, it removes it
/// and competes for a set of its own. What this leaves open:
///
/// - A process may lose its set to another one between making it and acquiring it, and then both
///   hold a lock: when it is stopped there for more than a second, when the other one slept because
///   of an earlier set and wakes at that very moment, or when a signal ends the sleep of the other.
///   Of 200 that were stopped there for two seconds while another one asked, all lost their set; of
///   200 that were stopped for half a second, 5; of 1,400 that were stopped or killed at any other
///   step, 3, by such a coincidence. `isSingleInstanceAvailable` tells, but perhaps not at once: of
///   100 that were stopped before their set was free, it missed 43 right after the call. Ask again
///   while working.
/// - A process that is killed between making its set and setting it free leaves a set that nobody
///   can acquire, and every call waits until somebody removes it (`ipcrm`).
/// - A set that is removed while another process sleeps before it looks at it again makes the call
///   of that process return `ENOENT`. Call again.
/// - A set that the process may not operate on (another user's with narrower rights) keeps it
///   waiting, one second a round.
/// - One path in four thousand millions has the key -1, for which the call returns 0 and holds
///   nothing.
///
/// Two spellings of a path are two locks, and so is the path after its file was replaced by
/// another.
///
/// Thread safety: thread-compatible.
///
/// @code{.cpp}
/// nuriccl::SingleInstance instance;
/// assert(instance.checkForSingleInstance("/proc/self/exe") == 0); // the file of this program
/// assert(instance.isSingleInstanceAvailable("/proc/self/exe"));
/// assert(instance.ReleaseMutex() == 0);
/// assert(instance.checkForSingleInstance("/no/such/file") == ENOENT);
/// @endcode

#include <nuriccl/export.hpp>

#include <cstdint>

namespace nuriccl {

/// The key of the semaphore set that belongs to a path: the low 32 bits of the inode number of its
/// file, links followed, and then for each byte of the path, as a signed number, key x 33 + byte,
/// modulo 2^32.
///
/// @param path  null is the empty path
/// @return -1 when `stat` fails, with `errno` as it was left; otherwise `errno` is 0
NURICCL_API std::int32_t ftokey(const char* path) noexcept;

/// Holds the lock of one path at a time, or none.
class NURICCL_API SingleInstance {
public:
    /// Holds nothing.
    SingleInstance() noexcept;

    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    /// Releases the lock.
    ~SingleInstance();

    /// Releases what this object holds and acquires the lock of `path`, waiting for as long as it
    /// takes.
    ///
    /// @return 0 when the lock is held; otherwise nothing is held, and it is an `errno` value: that
    ///         of `stat` for the path, that of `semget`, or `EINTR` when a signal ended the waiting
    int checkForSingleInstance(const char* path) noexcept;

    /// Whether the lock that this object holds is still taken; true when it holds none. It tells
    /// nothing about other processes.
    /// @return false, too, when the path cannot be examined any more
    bool isSingleInstanceAvailable(const char* path) const noexcept;

    /// Releases the lock, if any is held, and removes its semaphore set.
    /// @return 0
    int ReleaseMutex() noexcept;

private:
    int set_; // identifier of the semaphore set, -1 for none
};

} // namespace nuriccl
