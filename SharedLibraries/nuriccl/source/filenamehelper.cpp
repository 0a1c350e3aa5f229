#include <nuriccl/file.hpp>
#include <nuriccl/filenamehelper.hpp>
#include <nuriccl/string.hpp>

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace nuriccl {

const std::string FilenameHelper::COLON = ":";
const std::string FilenameHelper::DOT = ".";
const std::string FilenameHelper::POSIX_ALL_FILES = "*";
const std::string FilenameHelper::POSIX_PATH_SEPARATOR = "/";
const std::string FilenameHelper::POSIX_RECURSE_MARKER = "/./";
const std::string FilenameHelper::WILDCARDS = "*?";
const std::string FilenameHelper::WILDCARD_STR = "*";
const std::string FilenameHelper::WILDCARD_CHAR = "?";
const std::string FilenameHelper::SYSTEM_VARIABLE_MARKER = "%";
const std::string FilenameHelper::EQUAL_SIGN = "=";
const std::string FilenameHelper::WIN32_ALL_FILES = "*.*";
const std::string FilenameHelper::WIN32_PATH_SEPARATOR = R"(\)";
const std::string FilenameHelper::WIN32_RECURSE_MARKER = R"(\.\)";
const std::string FilenameHelper::WIN32_UNC_PATH_MARKER = R"(\\)";
const std::string FilenameHelper::WIN32_UNIPATH_MARKER = R"(\\?\)";
const std::string FilenameHelper::WIN32_DEVICE_MARKER = R"(\\.\)";
const std::string FilenameHelper::WIN32_UNI_UNC_MARKER = R"(\\?\UNC\)";
const std::string FilenameHelper::WIN32_GLOBALROOT_DEVICE_MARKER = R"(\\?\GLOBALROOT\Device\)";
const std::string FilenameHelper::WIN32_SHADOWCOPY_DEVICE_MARKER =
    R"(\\?\GLOBALROOT\Device\HarddiskVolumeShadowCopy)";

const std::wstring FilenameHelper::COLON_W = L":";
const std::wstring FilenameHelper::DOT_W = L".";
const std::wstring FilenameHelper::POSIX_ALL_FILES_W = L"*";
const std::wstring FilenameHelper::POSIX_PATH_SEPARATOR_W = L"/";
const std::wstring FilenameHelper::POSIX_RECURSE_MARKER_W = L"/./";
const std::wstring FilenameHelper::WILDCARDS_W = L"*?";
const std::wstring FilenameHelper::WILDCARD_STR_W = L"*";
const std::wstring FilenameHelper::WILDCARD_CHAR_W = L"?";
const std::wstring FilenameHelper::WIN32_ALL_FILES_W = L"*.*";
const std::wstring FilenameHelper::WIN32_PATH_SEPARATOR_W = LR"(\)";
const std::wstring FilenameHelper::WIN32_RECURSE_MARKER_W = LR"(\.\)";
const std::wstring FilenameHelper::WIN32_UNC_PATH_MARKER_W = LR"(\\)";
const std::wstring FilenameHelper::WIN32_UNIPATH_MARKER_W = LR"(\\?\)";
const std::wstring FilenameHelper::WIN32_UNI_UNC_MARKER_W = LR"(\\?\UNC\)";

const std::int32_t FilenameHelper::MAX_SUPPORTED_PATH;

namespace {

using std::size_t;

// What the rules speak of, in the width of `Char`.
template <class Char>
struct Text;

template <>
struct Text<char> {
    static constexpr char SEPARATOR = '/';
    static constexpr char COLON = ':';
    static constexpr std::string_view RECURSE_MARKER = "/./";
    static constexpr std::string_view UNC_MARKER = R"(\\)";
    static constexpr std::string_view WILDCARDS = "*?";
};

template <>
struct Text<wchar_t> {
    static constexpr wchar_t SEPARATOR = L'/';
    static constexpr wchar_t COLON = L':';
    static constexpr std::wstring_view RECURSE_MARKER = L"/./";
    static constexpr std::wstring_view UNC_MARKER = LR"(\\)";
    static constexpr std::wstring_view WILDCARDS = L"*?";
};

// Rules that are the same in both character widths

template <class Char>
using String = std::basic_string<Char>;

template <class Char>
bool is_absolute(const String<Char>& path) {
    return !path.empty() && path[0] == Text<Char>::SEPARATOR;
}

template <class Char>
bool has_recurse_marker(const String<Char>& path) {
    return path.find(Text<Char>::RECURSE_MARKER) != String<Char>::npos;
}

template <class Char>
String<Char> without_recurse_marker(String<Char> path) {
    const size_t marker = path.find(Text<Char>::RECURSE_MARKER);
    if (marker != String<Char>::npos) {
        path.erase(marker, Text<Char>::RECURSE_MARKER.size() - 1);
    }
    return path;
}

template <class Char>
String<Char> separator_or_default(const String<Char>& sep) {
    return !sep.empty() ? sep : String<Char>(1, Text<Char>::SEPARATOR);
}

// Makes each doubled separator one by taking two characters away and putting a separator in their
// place, which is odd for a separator of several characters. That again makes a doubled separator
// of some, and would never end.
template <class Char>
void squeeze_long_separators(String<Char>& path, size_t start, const String<Char>& sep) {
    const String<Char> doubled = sep + sep;
    const String<Char> replacement = sep + doubled.substr(2);
    if (replacement.find(doubled) != String<Char>::npos) {
        return;
    }
    String<Char> squeezed(path, 0, start);
    for (size_t found; (found = path.find(doubled, start)) != String<Char>::npos;
         start = found + 2) {
        squeezed.append(path, start, found - start).append(sep);
    }
    path = squeezed.append(path, start);
}

template <class Char>
String<Char> squeezed(String<Char> path, const String<Char>& sep = {}) {
    constexpr auto UNC = Text<Char>::UNC_MARKER;
    const size_t start = path.compare(0, UNC.size(), UNC) == 0 ? UNC.size() : 0;
    if (sep.size() > 1) {
        squeeze_long_separators(path, start, sep);
        return path;
    }
    const Char separator = separator_or_default(sep)[0];
    const auto both_separate = [separator](Char a, Char b) { return a == separator && b == a; };
    const auto from = path.begin() + static_cast<std::ptrdiff_t>(start);
    path.erase(std::unique(from, path.end(), both_separate), path.end());
    return path;
}

template <class Char>
String<Char> without_separator(const String<Char>& path) {
    if (path.empty() || path.back() != Text<Char>::SEPARATOR) {
        return path;
    }
    String<Char> chopped = squeezed(path);
    chopped.pop_back();
    return chopped;
}

template <class Char>
String<Char> joined(const String<Char>& dir, const String<Char>& name, const String<Char>& sep) {
    return dir + separator_or_default(sep) + name;
}

template <class Char>
String<Char> with_separator(const String<Char>& path, const String<Char>& sep) {
    const String<Char> separator = separator_or_default(sep);
    const bool there = !path.empty() && separator.size() == 1 && path.back() == separator[0];
    return there ? path : path + separator;
}

template <class Char>
String<Char> directory_of(const String<Char>& path) {
    String<Char> directory = without_separator(path);
    directory.resize(directory.rfind(Text<Char>::SEPARATOR) + 1); // npos + 1 is 0
    return directory;
}

template <class Char>
String<Char> with_inserted_recurse_marker(const String<Char>& path) {
    if (has_recurse_marker(path)) {
        return path;
    }
    const size_t separator = path.rfind(Text<Char>::SEPARATOR);
    if (separator == String<Char>::npos) {
        return FilenameHelper::appendRecurseMarker(path);
    }
    return squeezed(String<Char>(path).insert(separator, Text<Char>::RECURSE_MARKER));
}

template <class Char>
String<Char> without_stream(String<Char> path) {
    const size_t colon = path.find(Text<Char>::COLON, 1);
    return colon != String<Char>::npos ? path.erase(colon) : path;
}

bool has_prefix(const std::string& path, const std::string& marker) {
    return path.size() >= marker.size() &&
           string::icompare(path.substr(0, marker.size()), marker) == 0;
}

// Calls `found` with each component: "/" for a leading separator, then the names.
template <class Found>
void for_each_component(std::string_view path, Found found) {
    if (!path.empty() && path[0] == '/') {
        found(path.substr(0, 1));
    }
    for (size_t start = 0;
         (start = path.find_first_not_of('/', start)) != std::string_view::npos;) {
        const size_t end = std::min(path.find('/', start), path.size());
        found(path.substr(start, end - start));
        start = end;
    }
}

// A name as the C library sees it.
template <class Char>
unsigned int length_of_name(const String<Char>& name) {
    return static_cast<unsigned int>(std::min(name.find(Char()), name.size()));
}

} // namespace

// Edits for Windows only

std::string FilenameHelper::addUnipathMarker(const std::string& path) { return path; }
std::wstring FilenameHelper::addUnipathMarker(const std::wstring& path) { return path; }
std::string FilenameHelper::removeUnipathMarker(const std::string& path) { return path; }
std::wstring FilenameHelper::removeUnipathMarker(const std::wstring& path) { return path; }
std::string FilenameHelper::getProperCaseAnsi(const std::string& path) { return path; }

// What kind of name it is

bool FilenameHelper::isDirectory(const std::string& path) noexcept {
    return File::IsRegularDirectory(path);
}

bool FilenameHelper::isDirectory(const std::wstring&) noexcept { return false; }

bool FilenameHelper::hasRecurseMarker(const std::string& path, bool* markerIsLast, bool) noexcept {
    const size_t marker = path.find(Text<char>::RECURSE_MARKER);
    if (marker == std::string::npos) {
        return false;
    }
    if (markerIsLast != nullptr) {
        *markerIsLast = path.rfind('/') == marker + Text<char>::RECURSE_MARKER.size() - 1;
    }
    return true;
}

bool FilenameHelper::hasRecurseMarker(const std::wstring& path) noexcept {
    return has_recurse_marker(path);
}

bool FilenameHelper::isUNCDevicePath(const std::string&) noexcept { return false; }
bool FilenameHelper::isUNCDevicePath(const std::wstring&) noexcept { return false; }

bool FilenameHelper::isDevice(const std::string& path) noexcept {
    return path.size() == 1 && is_absolute(path);
}

bool FilenameHelper::isDevice(const std::wstring& path) noexcept {
    return path.size() == 1 && is_absolute(path);
}

bool FilenameHelper::isGlobalRootDevicePath(const std::string& path) {
    return has_prefix(path, WIN32_GLOBALROOT_DEVICE_MARKER);
}

bool FilenameHelper::isShadowCopyDevicePath(const std::string& path) {
    return has_prefix(path, WIN32_SHADOWCOPY_DEVICE_MARKER);
}

bool FilenameHelper::isRelative(const std::string& path) noexcept { return !is_absolute(path); }
bool FilenameHelper::isRelative(const std::wstring& path) noexcept { return !is_absolute(path); }

bool FilenameHelper::hasWildCard(const std::string& path) noexcept {
    return path.find_first_of(Text<char>::WILDCARDS) != std::string::npos;
}

bool FilenameHelper::hasWildCard(const std::wstring& path) noexcept {
    return path.find_first_of(Text<wchar_t>::WILDCARDS) != std::wstring::npos;
}

// Edits

std::string FilenameHelper::removeRecurseMarker(const std::string& path, bool) {
    return without_recurse_marker(path);
}

std::wstring FilenameHelper::removeRecurseMarker(const std::wstring& path) {
    return without_recurse_marker(path);
}

std::string FilenameHelper::convertAltStreamName(std::string path) {
    return without_stream(std::move(path));
}

std::string FilenameHelper::convertAltStreamName(std::wstring path) {
    std::string name;
    wideToMultibyte(name, without_stream(std::move(path)), Encoding::CP_DEFAULT);
    return name;
}

std::string FilenameHelper::removeWildcardMarker(std::string path) {
    const auto is_wildcard = [](char c) {
        return Text<char>::WILDCARDS.find(c) != std::string_view::npos;
    };
    path.erase(std::remove_if(path.begin(), path.end(), is_wildcard), path.end());
    return path;
}

// Composing

std::string FilenameHelper::squeeze(const std::string& path, const std::string& sep) {
    return squeezed(path, sep);
}

std::wstring FilenameHelper::squeeze(const std::wstring& path, const std::wstring& sep) {
    return squeezed(path, sep);
}

std::string FilenameHelper::chopSeparator(const std::string& path) {
    return without_separator(path);
}

std::wstring FilenameHelper::chopSeparator(const std::wstring& path) {
    return without_separator(path);
}

std::string FilenameHelper::join(const std::string& dir, const std::string& name,
                                 const std::string& sep) {
    return squeezed(joined(dir, name, sep), sep);
}

std::wstring FilenameHelper::join(const std::wstring& dir, const std::wstring& name,
                                  const std::wstring& sep) {
    return joined(dir, name, sep);
}

std::string FilenameHelper::appendSeparator(const std::string& path, const std::string& sep) {
    return with_separator(path, sep);
}

std::wstring FilenameHelper::appendSeparator(const std::wstring& path, const std::wstring& sep) {
    return with_separator(path, sep);
}

std::string FilenameHelper::getDirName(const std::string& path) { return directory_of(path); }
std::wstring FilenameHelper::getDirName(const std::wstring& path) { return directory_of(path); }

std::string FilenameHelper::appendRecurseMarker(const std::string& path, bool) {
    return hasRecurseMarker(path) ? path : join(path, POSIX_RECURSE_MARKER);
}

std::wstring FilenameHelper::appendRecurseMarker(const std::wstring& path) {
    return hasRecurseMarker(path) ? path : join(path, POSIX_RECURSE_MARKER_W);
}

std::string FilenameHelper::insertRecurseMarker(const std::string& path) {
    return with_inserted_recurse_marker(path);
}

std::wstring FilenameHelper::insertRecurseMarker(const std::wstring& path) {
    return with_inserted_recurse_marker(path);
}

std::string FilenameHelper::selectAllBelowPath(const std::string& path) {
    return join(appendRecurseMarker(path), POSIX_ALL_FILES);
}

std::wstring FilenameHelper::selectAllBelowPath(const std::wstring& path) {
    return join(appendRecurseMarker(path), POSIX_ALL_FILES_W);
}

// Components

void FilenameHelper::split_filename(const std::string& path, std::list<std::string>& parts) {
    std::list<std::string> before; // it may hold the path
    before.swap(parts);
    for_each_component(path, [&parts](std::string_view part) { parts.emplace_back(part); });
}

bool FilenameHelper::squeeze_filename(std::string& path) {
    std::vector<std::string_view> kept;
    size_t removable = 0; // how many components a ".." could cancel
    for_each_component(path, [&](std::string_view part) {
        if (part == ".") {
            return;
        }
        if (part != "..") {
            kept.push_back(part);
            ++removable;
        } else if (removable == 0) {
            kept.push_back(part);
        } else if (kept.size() == 1) {
            ++removable; // the first component stays, and counts once more
        } else {
            kept.pop_back();
            --removable;
        }
    });
    std::string squeezed_path;
    squeezed_path.reserve(path.size());
    for (const std::string_view part : kept) {
        if (!squeezed_path.empty() && squeezed_path != "/") {
            squeezed_path += '/';
        }
        squeezed_path += part;
    }
    const bool changed = squeezed_path.size() != path.size();
    path.swap(squeezed_path);
    return changed;
}

// Between wide and multibyte names

bool FilenameHelper::wideToMultibyte(std::string& out, const std::wstring& in,
                                     Encoding::CodePages_e cp, bool) {
    return Encoding::toMultibyte(in.data(), length_of_name(in), out, Encoding::CodePage(cp),
                                 Encoding::s_defaultChars, Encoding::s_bestFitChars);
}

bool FilenameHelper::multibyteToWide(std::wstring& out, const std::string& in,
                                     Encoding::CodePages_e cp, bool) {
    return Encoding::toWideChar(in.data(), length_of_name(in), out, Encoding::CodePage(cp), false);
}

std::string FilenameHelper::wideToMultibyte(const std::wstring& in, Encoding::CodePages_e cp,
                                            bool) {
    std::string out;
    if (!wideToMultibyte(out, in, cp)) {
        std::string shown;
        Encoding::toMultibyte(in.data(), static_cast<unsigned int>(in.size()), shown,
                              Encoding::CodePage(Encoding::CP_USASCII), "?", false);
        throw std::runtime_error("Error converting string to multibyte: " + shown);
    }
    return out;
}

std::wstring FilenameHelper::multibyteToWide(const std::string& in, Encoding::CodePages_e cp,
                                             bool) {
    std::wstring out;
    if (!multibyteToWide(out, in, cp)) {
        throw std::runtime_error("Error converting string to wide: " + in);
    }
    return out;
}

std::string FilenameHelper::CodePage_UTF8::operator()(const std::string& name) const {
    return name;
}

std::string FilenameHelper::UTF8_CodePage::operator()(const std::string& name) const {
    return name;
}

} // namespace nuriccl
