#pragma once

/// @file
/// Questions about what stands under a path, asked without following symbolic links.
///
/// Use these where a link must be seen as a link, as in a backup. They are answers of a moment:
/// another process may change the file system right after. To open a file only if it is there, just
/// open it. A separator behind a link asks for what the link leads to ("link/"), as in every call
/// of the system; a path ends at its first NUL.
///
/// Thread safety: every function is re-entrant and keeps no state.
///
/// @code{.cpp}
/// assert(nuriccl::File::exists("/") && nuriccl::File::IsRegularDirectory("/"));
/// assert(!nuriccl::File::exists(""));
/// assert(nuriccl::File::parts("/home/user") == 3); // "", "home" and "user"
/// @endcode

#include <nuriccl/export.hpp>

#include <string>

namespace nuriccl {

/// Questions about paths. See the top of file.hpp.
class NURICCL_API File {
public:
    File() = delete;

    /// Whether there is something under this name (POSIX `lstat`), be it a link that leads nowhere.
    ///
    /// @return false for an empty path, without asking the file system, and after every failure of
    ///         `lstat`: also when a directory on the way may not be searched. `errno` tells which.
    static bool exists(const std::string& path) noexcept;

    /// Number of components: 1 for "/", otherwise the number of '/' plus one. Nothing is
    /// normalised: "", "a" and "/" have one part, "/a" two, "a//b" and "/a/" three.
    static unsigned int parts(const std::string& path) noexcept;

    /// Whether the path names a directory itself, not a link to one (POSIX `lstat`).
    ///
    /// @return false after every failure of `lstat`; `errno` tells which
    static bool IsRegularDirectory(const std::string& path) noexcept;
};

} // namespace nuriccl
