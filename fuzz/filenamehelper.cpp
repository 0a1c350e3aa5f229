// File names of any kind, narrow and wide, held against rules that are followed to the letter; and
// carried between wide and multibyte text.

#include "fuzz.hpp"
#include "support/path_model.hpp"

#include <nuriccl/filenamehelper.hpp>

#include <algorithm>
#include <clocale>
#include <iterator>
#include <stdexcept>
#include <strings.h>

namespace {

using nuriccl::FilenameHelper;
namespace Encoding = nuriccl::Encoding;

template <class Text>
bool contains(const Text& text, const Text& part) {
    return text.find(part) != Text::npos;
}

template <class Text>
Text up_to_nul(const Text& text) {
    return text.c_str();
}

// Where a separator of several characters comes out of every replacement doubled again, the model
// goes on for a long time before it gives up.
template <class Text>
void check_squeeze(const Text& path, const Text& sep) {
    const Text start = sep.size() > 1 ? path.substr(0, 300) : path;
    FUZZ_REQUIRE(FilenameHelper::squeeze(start, sep) == path_model::squeeze(start, sep));
}

// What is the same in both character widths.
template <class Text>
void check_path(const Text& path, const Text& other, const Text& sep) {
    const Text slash = widened<Text>("/");
    check_squeeze(path, Text());
    check_squeeze(path, sep);
    FUZZ_REQUIRE(FilenameHelper::chopSeparator(path) == path_model::chop(path));
    if (sep.size() <= 1 || path.size() + other.size() <= 300) {
        FUZZ_REQUIRE(FilenameHelper::join(path, other, sep) == path_model::join(path, other, sep));
    }
    FUZZ_REQUIRE(FilenameHelper::join(path, other) == path_model::join(path, other, Text()));
    FUZZ_REQUIRE(FilenameHelper::appendSeparator(path, sep) ==
                 path_model::append_separator(path, sep));
    FUZZ_REQUIRE(FilenameHelper::getDirName(path) == path_model::dir_name(path));
    FUZZ_REQUIRE(FilenameHelper::appendRecurseMarker(path) == path_model::append_marker(path));
    FUZZ_REQUIRE(FilenameHelper::selectAllBelowPath(path) == path_model::select_all(path));
    FUZZ_REQUIRE(FilenameHelper::insertRecurseMarker(path) == path_model::insert_marker(path));
    FUZZ_REQUIRE(FilenameHelper::removeRecurseMarker(path) == path_model::remove_marker(path));
    FUZZ_REQUIRE(FilenameHelper::hasRecurseMarker(path) ==
                 (path_model::marker(path) != path_model::NONE));

    FUZZ_REQUIRE(FilenameHelper::isRelative(path) == (path.substr(0, 1) != slash));
    FUZZ_REQUIRE(FilenameHelper::isDevice(path) == (path == slash));
    FUZZ_REQUIRE(FilenameHelper::hasWildCard(path) ==
                 (contains(path, widened<Text>("*")) || contains(path, widened<Text>("?"))));
    FUZZ_REQUIRE(!FilenameHelper::isUNCDevicePath(path));
    FUZZ_REQUIRE(FilenameHelper::addUnipathMarker(path) == path);
    FUZZ_REQUIRE(FilenameHelper::removeUnipathMarker(path) == path);
}

bool starts_with_ignoring_case(const std::string& path, const std::string& marker) {
    const std::string start = path.substr(0, marker.size());
    return start.size() == marker.size() && !contains(start, std::string(1, '\0')) &&
           strcasecmp(start.c_str(), marker.c_str()) == 0;
}

// What there is for narrow paths only.
void check_narrow_path(const std::string& path) {
    bool last = false;
    const std::size_t marker = path.find("/./");
    for (const bool before : {false, true}) {
        last = before;
        FUZZ_REQUIRE(FilenameHelper::hasRecurseMarker(path, &last) ==
                     (marker != std::string::npos));
        FUZZ_REQUIRE(last ==
                     (marker == std::string::npos ? before : path.rfind('/') - marker == 2));
    }

    FUZZ_REQUIRE(FilenameHelper::convertAltStreamName(path) == path_model::without_stream(path));
    FUZZ_REQUIRE(FilenameHelper::removeWildcardMarker(path) == path_model::without_wildcards(path));
    FUZZ_REQUIRE(FilenameHelper::isGlobalRootDevicePath(path) ==
                 starts_with_ignoring_case(path, FilenameHelper::WIN32_GLOBALROOT_DEVICE_MARKER));
    FUZZ_REQUIRE(FilenameHelper::isShadowCopyDevicePath(path) ==
                 starts_with_ignoring_case(path, FilenameHelper::WIN32_SHADOWCOPY_DEVICE_MARKER));

    path_model::Parts parts{"before"};
    FilenameHelper::split_filename(path, parts);
    FUZZ_REQUIRE(parts == path_model::split(path));

    std::string normalised = path;
    const bool changed = FilenameHelper::squeeze_filename(normalised);
    FUZZ_REQUIRE(normalised == path_model::squeeze_filename(path));
    FUZZ_REQUIRE(changed == (normalised.size() != path.size()));
}

const Encoding::CodePages_e CODE_PAGES[] = {
    Encoding::CP_DEFAULT, Encoding::CP_ANSI,    Encoding::CP_LOCALE,
    Encoding::CP_UTF8,    Encoding::CP_UTF16,   Encoding::CP_UTF32,
    Encoding::CP_WIN1252, Encoding::CP_USASCII, Encoding::CP_CUSTOM};

// The returning forms give what the others store, or tell which name it was.
void check_wide_name(const std::wstring& name, Encoding::CodePages_e cp) {
    const std::wstring cut = up_to_nul(name);
    std::string expected;
    const bool good = Encoding::toMultibyte(cut.data(), static_cast<unsigned int>(cut.size()),
                                            expected, cp, Encoding::s_defaultChars);
    std::string converted = "before";
    FUZZ_REQUIRE(FilenameHelper::wideToMultibyte(converted, name, cp) == good);
    FUZZ_REQUIRE(converted == expected);
    try {
        FUZZ_REQUIRE(FilenameHelper::wideToMultibyte(name, cp) == expected);
        FUZZ_REQUIRE(good);
    } catch (const std::runtime_error& error) {
        FUZZ_REQUIRE(!good);
        std::string shown = "Error converting string to multibyte: ";
        for (const wchar_t c : name) {
            const bool is_tag = c >= 0xe0000 && c < 0xe0080; // which iconv drops
            shown += is_tag ? std::string()
                            : std::string(1, c >= 0 && c < 0x80 ? static_cast<char>(c) : '?');
        }
        FUZZ_REQUIRE(error.what() == up_to_nul(shown));
    }
    FUZZ_REQUIRE(FilenameHelper::convertAltStreamName(name) == [&name] {
        std::string text;
        FilenameHelper::wideToMultibyte(text, path_model::without_stream(name),
                                        Encoding::CP_DEFAULT);
        return text;
    }());
}

void check_multibyte_name(const std::string& name, Encoding::CodePages_e cp) {
    const std::string cut = up_to_nul(name);
    std::wstring expected;
    const bool good = Encoding::toWideChar(cut.data(), static_cast<unsigned int>(cut.size()),
                                           expected, cp, false);
    std::wstring converted = L"before";
    FUZZ_REQUIRE(FilenameHelper::multibyteToWide(converted, name, cp) == good);
    FUZZ_REQUIRE(converted == expected);
    try {
        FUZZ_REQUIRE(FilenameHelper::multibyteToWide(name, cp) == expected);
        FUZZ_REQUIRE(good);
    } catch (const std::runtime_error& error) {
        FUZZ_REQUIRE(!good);
        FUZZ_REQUIRE(error.what() == up_to_nul("Error converting string to wide: " + name));
    }
    FUZZ_REQUIRE(FilenameHelper::CodePage_UTF8()(name) == name);
    FUZZ_REQUIRE(FilenameHelper::UTF8_CodePage()(name) == name);
}

// UTF-8 has every character in one form only: a name that converts comes back the same.
void check_utf8_round_trip(const std::string& bytes, const std::wstring& characters) {
    std::wstring wide;
    std::string narrow;
    if (FilenameHelper::multibyteToWide(wide, bytes, Encoding::CP_UTF8)) {
        FUZZ_REQUIRE(FilenameHelper::wideToMultibyte(wide, Encoding::CP_UTF8) == up_to_nul(bytes));
    }
    if (FilenameHelper::wideToMultibyte(narrow, characters, Encoding::CP_UTF8)) {
        FUZZ_REQUIRE(FilenameHelper::multibyteToWide(narrow, Encoding::CP_UTF8) ==
                     up_to_nul(characters));
    }
}

// Arbitrary bytes hardly ever make a path: most stand for what matters in one.
std::string path_of(const std::string& bytes, const std::string& sep) {
    const std::string parts[] = {"/",  "/", ".", "..", "/./", "/../", "a", "bc",
                                 "//", ":", "*", "\\", "?",   "\\\\", sep, sep + sep};
    std::string path;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        path += byte < std::size(parts) ? parts[byte] : std::string(1, c);
    }
    return path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const unsigned int choice = input.byte();
    static const char* const locales[] = {"C", "C.UTF-8"};
    std::setlocale(LC_ALL, locales[choice % 2]);
    Encoding::s_defaultChars = choice % 4 == 3 ? "?" : nullptr;
    const Encoding::CodePages_e cp = CODE_PAGES[input.byte() % std::size(CODE_PAGES)];
    std::string sep(input.byte() % 6, '/');
    std::generate(sep.begin(), sep.end(), [&input] { return "/abc"[input.byte() % 4]; });
    const std::size_t split = input.byte();
    FuzzInput characters = input;
    const std::string rest = input.rest();

    const std::string path = path_of(rest.substr(std::min(split, rest.size())), sep);
    const std::string other = path_of(rest.substr(0, split), sep);
    check_path(path, other, sep);
    check_path(std::wstring(path.begin(), path.end()), std::wstring(other.begin(), other.end()),
               std::wstring(sep.begin(), sep.end()));
    check_narrow_path(path);
    for (const std::string& marker : {FilenameHelper::WIN32_GLOBALROOT_DEVICE_MARKER,
                                      FilenameHelper::WIN32_SHADOWCOPY_DEVICE_MARKER}) {
        // The marker with the case of some letters changed, or with its end cut off.
        std::string marked = marker.substr(0, 8 + split) + path;
        for (std::size_t i = 0; i < rest.size() && i < marked.size(); ++i) {
            marked[i] = static_cast<char>(marked[i] ^ (rest[i] & 0x20));
        }
        check_narrow_path(marked);
    }

    const std::wstring wide_name = characters.wide_rest();
    check_wide_name(wide_name, cp);
    check_multibyte_name(rest, cp);
    check_utf8_round_trip(rest, wide_name);
    return 0;
}
