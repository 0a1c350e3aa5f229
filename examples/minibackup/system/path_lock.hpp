#pragma once

/// @file
/// The lock of a path, a `nuriccl::SingleInstance`, with what that leaves out: to tell who holds
/// it, and not to wait.

#include <functional>
#include <nuriccl/SingleInstance.hpp>
#include <optional>
#include <string>
#include <sys/types.h>

namespace minibackup {

/// The process that holds the lock of the path, 0 for one that cannot be told from here; none when
/// the lock is free.
std::optional<pid_t> holder_of(const std::string& path);

/// Acquires the lock of the path for `instance`.
///
/// @param subject  what errors are about
/// @param wait     whether to wait while another process holds it. If not, the answer is given at
///                 once, with two exceptions: it takes about a second to take over the lock of a
///                 process that was killed, and somewhat more when another process acquires the
///                 lock at this very moment.
/// @param tell     is called, once at most, with the process that holds it (see `holder_of`)
/// @return false when another process holds the lock and there was to be no waiting
/// @throws Error
bool acquire_lock_of(nuriccl::SingleInstance& instance, const std::string& path,
                     const std::string& subject, bool wait, const std::function<void(pid_t)>& tell);

} // namespace minibackup
