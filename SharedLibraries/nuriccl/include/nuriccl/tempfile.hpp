#pragma once

/// @file
/// The classes of temporary files that a backup leaves out, known by name.
///
/// Use it to tell whether an exclusion that somebody names is one that the agent recognises. It
/// does not look at files: which files belong to a class, the agent knows.
///
/// Thread safety: every function is re-entrant. The table of the classes is built when the library
/// is loaded and never changes.
///
/// @code{.cpp}
/// using nuriccl::TempFile;
/// assert(TempFile::ExclusionClassByNameAndType("Memory Page File",
///                                              TempFile::ExclusionType::SYSTEM));
/// assert(!TempFile::ExclusionClassByNameAndType("Memory Page File",
///                                               TempFile::ExclusionType::USER));
/// @endcode

#include <nuriccl/export.hpp>

#include <string>

namespace nuriccl {

/// The classes of temporary files. See the top of tempfile.hpp.
class NURICCL_API TempFile {
public:
    /// Who asks for an exclusion.
    struct ExclusionType {
        /// The kinds of exclusion.
        enum values : int {
            NONE = 0,   ///< nobody; no class is of this kind
            SYSTEM = 1, ///< the operating system; the kind of all classes that are recognised
            USER = 2,   ///< a person; no class is of this kind
            END = 3     ///< no kind: ends the table of the classes
        };
    };

    TempFile() = delete;

    /// Whether a class of this kind has exactly this name. The classes are "Memory Page File" and
    /// "Power Management", both of the kind `SYSTEM`.
    static bool ExclusionClassByNameAndType(const std::string& name,
                                            ExclusionType::values kind) noexcept;

    /// Turns an excluded path into the pattern that matches it: on POSIX systems the path as it is.
    static void PathToPattern(std::string& path) noexcept;
};

} // namespace nuriccl
