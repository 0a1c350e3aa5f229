#pragma once

/// @file
/// Product versions: four numbers read from a text, and compared down to a chosen one.
///
/// Use it for the versions of an agent and of what it works with, which have one digit for the
/// minor number and one for the patch, written together: 7.12.345 is major 7, minor 1, patch 2,
/// build 345. It is not for versions of other schemes: 1.10.2 reads as 1, 1, 0, build 2.
///
/// Thread safety: thread-compatible.
///
/// @code{.cpp}
/// const nuriccl::Version version("7.12.345");
/// assert(version.m_major == 7 && version.m_minor == 1 && version.m_patch == 2);
/// assert(version.compare_build("7.12.346") == -1 && version.compare_patch("7.12.346") == 0);
/// @endcode

#include <nuriccl/export.hpp>

#include <cstdint>
#include <string>

namespace nuriccl {

/// The four numbers of a product version. See the top of Version.hpp.
class NURICCL_API Version {
public:
    /// The last number that a comparison looks at.
    enum granularity : int {
        MAJOR = 0, ///< the first of the four
        MINOR = 1, ///< the second
        PATCH = 2, ///< the third
        BUILD = 3  ///< the last: all are compared
    };

    /// See `init`; a null text is the empty one.
    explicit Version(const char* text);
    /// See `init`.
    explicit Version(const std::string& text);

    /// Reads the four numbers; what cannot be found is 0.
    ///
    /// | number | is read from |
    /// |---|---|
    /// | major | what stands in front of the first '.', or the whole text when there is none |
    /// | minor | the first character behind it |
    /// | patch | the second character behind it |
    /// | build | what stands behind the next '.'; if that gives 0, what stands behind "build " |
    ///
    /// Each is read as `safe::StringToInt32` reads it: 0 when there is no number.
    ///
    /// @throws std::out_of_range "basic_string::substr ..." when the text ends with its first '.';
    ///         the numbers are as they were
    /// @throws std::bad_alloc the same way
    void init(const std::string& text);

    /// Compares the numbers from the major one down to the one that `g` names. Values that are no
    /// enumerator count as `MINOR`.
    ///
    /// @return -1 when this version is the older one, 0, or 1 when it is the newer one
    int compare(const Version& other, const granularity& g) const noexcept;

    /// @name `compare` down to one number
    /// The forms with a text throw what `init` throws.
    /// @{

    /// By the major number alone.
    int compare_major(const Version& other) const noexcept;
    /// The same with a text.
    int compare_major(const std::string& other) const;
    /// By major and minor number.
    int compare_minor(const Version& other) const noexcept;
    /// The same with a text.
    int compare_minor(const std::string& other) const;
    /// By major, minor and patch number.
    int compare_patch(const Version& other) const noexcept;
    /// The same with a text.
    int compare_patch(const std::string& other) const;
    /// By all four numbers.
    int compare_build(const Version& other) const noexcept;
    /// The same with a text.
    int compare_build(const std::string& other) const;
    /// @}

    std::int32_t m_major = 0; ///< 7 of "7.12.345"
    std::int32_t m_minor = 0; ///< 1 of "7.12.345"
    std::int32_t m_patch = 0; ///< 2 of "7.12.345"
    std::int32_t m_build = 0; ///< 345 of "7.12.345"
};

} // namespace nuriccl
