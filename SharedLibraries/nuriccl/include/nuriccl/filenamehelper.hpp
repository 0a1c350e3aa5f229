#pragma once

/// @file
/// File names: the markers of Windows and POSIX names, what kind of name a text is, composing and
/// normalising names, and carrying them between wide and multibyte text.
///
/// Use it for names that are stored, shown or compared, also when they come from another system.
/// All functions but `isDirectory` look at the text alone: they do not ask the file system and
/// follow no links. To join two components and open the result, a plain `dir + '/' + name` does.
///
/// The constants know both families of names; the functions decide by the POSIX rules: '/'
/// separates, a name is absolute when it starts with "/", and what only Windows has (long-path
/// prefixes, case correction) is left as it is.
///
/// The **recurse marker** "/./" in a path tells a backup to select the directory in front of it and
/// all that is below what follows.
///
/// Rules that existing agents rely on and that surprise:
///
/// | | narrow | wide |
/// |---|---|---|
/// | `join`, and what is built with it | squeezes its result | does not: "dir//./" for "dir/./" |
/// | `isDirectory` | asks the file system | is always false |
///
/// `convertAltStreamName` takes the colon of "C:\dir" for that of a stream. `squeeze_filename`
/// never removes the first component: "a/.." becomes "a".
///
/// Thread safety: every function is re-entrant and keeps no state. The constants are built when the
/// library is loaded, before any function of a program runs. The conversions read the process's
/// locale and must not race with a change of it.
///
/// @code{.cpp}
/// using nuriccl::FilenameHelper;
/// assert(FilenameHelper::join("backup/", "/etc") == "backup/etc");
/// assert(FilenameHelper::getDirName("/home/user/") == "/home/");
/// std::string name = "/home/./user/../user";
/// assert(FilenameHelper::squeeze_filename(name) && name == "/home/user");
/// assert(FilenameHelper::wideToMultibyte(L"\u00fc", nuriccl::Encoding::CP_UTF8) == "\xc3\xbc");
/// @endcode
///
/// Functions that return a text throw std::bad_alloc. Every function takes time linear in the
/// length of the name.

#include <nuriccl/encoding.hpp>
#include <nuriccl/export.hpp>

#include <cstdint>
#include <list>
#include <string>

namespace nuriccl {

/// Functions on file names. See the top of filenamehelper.hpp.
class NURICCL_API FilenameHelper {
public:
    FilenameHelper() = delete;

    /// @name Characters and markers
    /// @{
    static const std::string COLON;                  ///< ":"
    static const std::string DOT;                    ///< "."
    static const std::string POSIX_ALL_FILES;        ///< "*"
    static const std::string POSIX_PATH_SEPARATOR;   ///< "/"
    static const std::string POSIX_RECURSE_MARKER;   ///< "/./"
    static const std::string WILDCARDS;              ///< "*?", the set of wildcard characters
    static const std::string WILDCARD_STR;           ///< "*"
    static const std::string WILDCARD_CHAR;          ///< "?"
    static const std::string SYSTEM_VARIABLE_MARKER; ///< "%"
    static const std::string EQUAL_SIGN;             ///< "="

    static const std::string WIN32_ALL_FILES;       ///< "*.*"
    static const std::string WIN32_PATH_SEPARATOR;  ///< one backslash
    static const std::string WIN32_RECURSE_MARKER;  ///< `\.\`
    static const std::string WIN32_UNC_PATH_MARKER; ///< two backslashes: a network name follows
    static const std::string WIN32_UNIPATH_MARKER;  ///< `\\?\`: a long path follows
    static const std::string WIN32_DEVICE_MARKER;   ///< `\\.\`
    static const std::string WIN32_UNI_UNC_MARKER;  ///< `\\?\UNC\`: a long network name follows
    static const std::string WIN32_GLOBALROOT_DEVICE_MARKER; ///< `\\?\GLOBALROOT\Device\`
    /// `\\?\GLOBALROOT\Device\HarddiskVolumeShadowCopy`: the number of the copy follows at once
    static const std::string WIN32_SHADOWCOPY_DEVICE_MARKER;
    /// @}

    /// @name The same as wide strings
    /// @{
    static const std::wstring COLON_W;                 ///< `COLON`
    static const std::wstring DOT_W;                   ///< `DOT`
    static const std::wstring POSIX_ALL_FILES_W;       ///< `POSIX_ALL_FILES`
    static const std::wstring POSIX_PATH_SEPARATOR_W;  ///< `POSIX_PATH_SEPARATOR`
    static const std::wstring POSIX_RECURSE_MARKER_W;  ///< `POSIX_RECURSE_MARKER`
    static const std::wstring WILDCARDS_W;             ///< `WILDCARDS`
    static const std::wstring WILDCARD_STR_W;          ///< `WILDCARD_STR`
    static const std::wstring WILDCARD_CHAR_W;         ///< `WILDCARD_CHAR`
    static const std::wstring WIN32_ALL_FILES_W;       ///< `WIN32_ALL_FILES`
    static const std::wstring WIN32_PATH_SEPARATOR_W;  ///< `WIN32_PATH_SEPARATOR`
    static const std::wstring WIN32_RECURSE_MARKER_W;  ///< `WIN32_RECURSE_MARKER`
    static const std::wstring WIN32_UNC_PATH_MARKER_W; ///< `WIN32_UNC_PATH_MARKER`
    static const std::wstring WIN32_UNIPATH_MARKER_W;  ///< `WIN32_UNIPATH_MARKER`
    static const std::wstring WIN32_UNI_UNC_MARKER_W;  ///< `WIN32_UNI_UNC_MARKER`
    /// @}

    /// The longest path, in characters, that an agent supports. Nothing here tests against it.
    static const std::int32_t MAX_SUPPORTED_PATH = 262144;

    /// @name Edits for Windows only: a copy of the name
    /// @{

    /// Would put `WIN32_UNIPATH_MARKER` in front.
    static std::string addUnipathMarker(const std::string& path);
    /// The same for a wide name.
    static std::wstring addUnipathMarker(const std::wstring& path);
    /// Would take `WIN32_UNIPATH_MARKER` away.
    static std::string removeUnipathMarker(const std::string& path);
    /// The same for a wide name.
    static std::wstring removeUnipathMarker(const std::wstring& path);
    /// Would give the name the case that it has on its disk.
    static std::string getProperCaseAnsi(const std::string& path);
    /// @}

    /// @name What kind of name it is
    /// @{

    /// Whether the path names a directory itself, not a link to one (POSIX `lstat`).
    /// See `File::IsRegularDirectory`, which this is.
    static bool isDirectory(const std::string& path) noexcept;
    /// Always false; the file system is not asked.
    static bool isDirectory(const std::wstring& path) noexcept;

    /// Whether the path holds a recurse marker.
    ///
    /// @param path          the path
    /// @param markerIsLast  null, or set, when there is a marker, to whether no separator stands
    ///                      behind the first one: true for "dir/./name", false for
    ///                      "dir/./sub/name". Without a marker the flag is left alone.
    static bool hasRecurseMarker(const std::string& path, bool* markerIsLast = nullptr,
                                 bool = false) noexcept;
    /// Whether the wide path holds a recurse marker.
    static bool hasRecurseMarker(const std::wstring& path) noexcept;

    /// Always false: there are no UNC device paths on POSIX systems.
    static bool isUNCDevicePath(const std::string& path) noexcept;
    /// The same for a wide name.
    static bool isUNCDevicePath(const std::wstring& path) noexcept;

    /// Whether the path is "/".
    static bool isDevice(const std::string& path) noexcept;
    /// The same for a wide name.
    static bool isDevice(const std::wstring& path) noexcept;

    /// Whether the path starts with `WIN32_GLOBALROOT_DEVICE_MARKER`, regardless of case.
    static bool isGlobalRootDevicePath(const std::string& path);

    /// Whether the path starts with `WIN32_SHADOWCOPY_DEVICE_MARKER`, regardless of case.
    static bool isShadowCopyDevicePath(const std::string& path);

    /// Whether the path does not start with "/": also the empty one, "C:" and network names.
    static bool isRelative(const std::string& path) noexcept;
    /// The same for a wide name.
    static bool isRelative(const std::wstring& path) noexcept;

    /// Whether the path holds any character of `WILDCARDS`.
    static bool hasWildCard(const std::string& path) noexcept;
    /// The same for a wide name.
    static bool hasWildCard(const std::wstring& path) noexcept;
    /// @}

    /// @name Edits
    /// @{

    /// The path with its first recurse marker made a separator: "a/./b" gives "a/b".
    static std::string removeRecurseMarker(const std::string& path, bool = false);
    /// The same for a wide name.
    static std::wstring removeRecurseMarker(const std::wstring& path);

    /// The name without the stream of "name:stream": cut at the first ':' that is not the first
    /// character.
    static std::string convertAltStreamName(std::string path);
    /// The same up to the first NUL, converted as by `wideToMultibyte` to `CP_DEFAULT`, which is
    /// the character set of the current LC_CTYPE locale; in the "C" locale that is ASCII. What
    /// cannot be converted ends the result, unless `Encoding::s_defaultChars` stands in its place.
    static std::string convertAltStreamName(std::wstring path);

    /// The path without its wildcard characters.
    static std::string removeWildcardMarker(std::string path);
    /// @}

    /// @name Composing
    /// An empty `sep` stands for "/".
    /// @{

    /// The path with every run of separators made one. Two backslashes at the start stay.
    ///
    /// With a separator of several characters, two in a row lose two characters and gain a
    /// separator; where that would go on for ever, the path is left as it is.
    static std::string squeeze(const std::string& path, const std::string& sep = "");
    /// The same for a wide name.
    static std::wstring squeeze(const std::wstring& path, const std::wstring& sep = L"");

    /// The path, when it ends in "/", squeezed and without that; otherwise the path as it is. "/"
    /// gives "".
    static std::string chopSeparator(const std::string& path);
    /// The same for a wide name.
    static std::wstring chopSeparator(const std::wstring& path);

    /// Directory, separator and name; an empty directory is the root. The narrow form squeezes the
    /// result, the wide one does not.
    static std::string join(const std::string& dir, const std::string& name,
                            const std::string& sep = "");
    /// The same for wide names, without squeezing.
    static std::wstring join(const std::wstring& dir, const std::wstring& name,
                             const std::wstring& sep = L"");

    /// The path, with a separator behind it unless its last character is one.
    static std::string appendSeparator(const std::string& path, const std::string& sep = "");
    /// The same for a wide name.
    static std::wstring appendSeparator(const std::wstring& path, const std::wstring& sep = L"");

    /// The directory part, up to and including the "/" in front of the last component: "/a/" of
    /// "/a/b/", "" of "name".
    static std::string getDirName(const std::string& path);
    /// The same for a wide name.
    static std::wstring getDirName(const std::wstring& path);

    /// The path, joined with a recurse marker unless it holds one: "dir" gives "dir/./".
    static std::string appendRecurseMarker(const std::string& path, bool = false);
    /// The same for a wide name, joined without squeezing.
    static std::wstring appendRecurseMarker(const std::wstring& path);

    /// The path, with a recurse marker in front of its last component and then squeezed, unless it
    /// holds one: "dir/name" gives "dir/./name". A path without "/" gets the marker behind it.
    static std::string insertRecurseMarker(const std::string& path);
    /// The same for a wide name.
    static std::wstring insertRecurseMarker(const std::wstring& path);

    /// The pattern for all that is below the path: "/data" gives "/data/./" and an asterisk.
    static std::string selectAllBelowPath(const std::string& path);
    /// The same for a wide name.
    static std::wstring selectAllBelowPath(const std::wstring& path);
    /// @}

    /// @name Components
    /// @{

    /// Stores the components of the path in `parts`: "/" for a leading separator, then the names
    /// between separators. "/a//b/" gives "/", "a" and "b".
    /// @throws std::bad_alloc with the components so far in `parts`
    static void split_filename(const std::string& path, std::list<std::string>& parts);

    /// Removes "." and empty components, and each ".." together with the component in front of it.
    /// The first component stays, and so does a ".." that has nothing in front of it to remove:
    /// "/.." becomes "/", "a/.." becomes "a", "../a" stays. So it is for absolute paths: a relative
    /// one may come to name another file, as "a/../b" does, which becomes "a/b". The text alone
    /// decides: through a symbolic link ".." may lead elsewhere. "." becomes the empty path, which
    /// names no file.
    ///
    /// @return whether the length of the path has changed
    /// @throws std::bad_alloc with the path as it was
    static bool squeeze_filename(std::string& path);
    /// @}

    /// @name Between wide and multibyte names
    ///
    /// A name ends at its first NUL. See `Encoding` for the code pages and for what is converted.
    /// Name a code page: `CP_UTF8` for UTF-8. `multibyteToWide` from `CP_DEFAULT` repeats the first
    /// character ("abc" gives L"aaa"), see `Encoding::toWideChar`.
    ///
    /// `Encoding::s_defaultChars`, when set, stands in place of characters that the code page does
    /// not have. The conversion counts as failed all the same.
    /// @{

    /// @return whether the whole name was converted; after false `out` holds what
    ///         `Encoding::toMultibyte` or `Encoding::toWideChar` leaves there
    static bool wideToMultibyte(std::string& out, const std::wstring& in, Encoding::CodePages_e cp,
                                bool = false);
    /// The other way, with the same result.
    static bool multibyteToWide(std::wstring& out, const std::string& in, Encoding::CodePages_e cp,
                                bool = false);

    /// @throws std::runtime_error "Error converting string to multibyte: " and the whole name in
    ///         US-ASCII, with '?' for every other character
    static std::string wideToMultibyte(const std::wstring& in, Encoding::CodePages_e cp,
                                       bool = false);

    /// @throws std::runtime_error "Error converting string to wide: " and the name as it is
    static std::wstring multibyteToWide(const std::string& in, Encoding::CodePages_e cp,
                                        bool = false);
    /// @}

    /// @name Conversion steps for generic code
    /// File names are taken to be UTF-8 already: both return a copy.
    /// @{

    /// From the code page of the file system to UTF-8.
    struct NURICCL_API CodePage_UTF8 {
        /// A copy of the name.
        std::string operator()(const std::string& name) const;
    };
    /// From UTF-8 to the code page of the file system.
    struct NURICCL_API UTF8_CodePage {
        /// A copy of the name.
        std::string operator()(const std::string& name) const;
    };
    /// @}
};

} // namespace nuriccl
