// Tests of the file names.
//
//   public member                                      cases
//   COLON ... WIN32_UNI_UNC_MARKER_W,
//   MAX_SUPPORTED_PATH                                 Constants.*
//   every function's signature                         Interface.*
//   addUnipathMarker, removeUnipathMarker,
//   getProperCaseAnsi                                  WindowsEdits/*
//   isDirectory                                        IsDirectory.*
//   hasRecurseMarker, removeRecurseMarker              RecurseMarker/*, MarkerIsLast.*
//   isUNCDevicePath, isDevice, isRelative              Classes/*
//   isGlobalRootDevicePath, isShadowCopyDevicePath     DevicePaths.*
//   convertAltStreamName                               AltStreamName.*
//   hasWildCard, removeWildcardMarker                  Wildcards/*, RemoveWildcards.*
//   squeeze                                            Squeeze/*
//   chopSeparator                                      ChopSeparator/*
//   join                                               Join.*, JoinBoth/*
//   appendSeparator                                    AppendSeparator/*
//   getDirName                                         GetDirName/*
//   appendRecurseMarker, insertRecurseMarker,
//   selectAllBelowPath                                 Composing.*, ComposingBoth/*
//   split_filename                                     SplitFilename.*
//   squeeze_filename                                   SqueezeFilename.*
//   wideToMultibyte, multibyteToWide                   Conversions.*
//   CodePage_UTF8, UTF8_CodePage                       ConversionSteps.*
//   names as long as agents support                    LongNames.*, LongNamesBoth/*
//   what the header says of memory                     Allocations.*, FailedAllocations/*
//   the example of the header                          FilenameUsage.*

#include "support/allocation.hpp"
#include "support/files.hpp"
#include "support/locale.hpp"
#include "support/lstat.hpp"
#include "support/path_model.hpp"
#include "support/sanitized.hpp"
#include "support/texts.hpp"

#include <nuriccl/filenamehelper.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <gtest/gtest.h>
#include <iterator>
#include <list>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace {

using nuriccl::FilenameHelper;
namespace Encoding = nuriccl::Encoding;

using path_model::Parts;
using path_model::Text;
using path_model::text;

std::wstring widened(std::string_view ascii) { return text<wchar_t>(ascii); }

// A character that is '/' for who looks at a part of its bits only.
template <class Char>
Char look_alike();
template <>
char look_alike() {
    return '\xaf';
}
template <>
wchar_t look_alike() {
    return L'\u012f';
}

template <class Char>
const std::vector<Text<Char>>& short_names() {
    static const std::vector<Text<Char>> names =
        texts::over<Text<Char>>(text<Char>("/.a\\") + look_alike<Char>(), 6);
    return names;
}

template <class Char>
Text<Char> repeated(std::string_view pattern, std::size_t times) {
    Text<Char> result;
    for (std::size_t i = 0; i < times; ++i) {
        result.append(pattern.begin(), pattern.end());
    }
    return result;
}

// Suites that hold for both widths
using Widths = ::testing::Types<char, wchar_t>;
struct WidthName {
    template <class Char>
    static std::string GetName(int) {
        return sizeof(Char) == 1 ? "narrow" : "wide";
    }
};

#define NURICCL_TEST_BOTH_WIDTHS(suite)                                                            \
    template <class Char>                                                                          \
    class suite : public ::testing::Test {};                                                       \
    TYPED_TEST_SUITE(suite, Widths, WidthName)

// What a name becomes, in ASCII
struct Case {
    std::string_view path;
    std::string_view expected;
};

template <class Char, class Function>
void expect_each(std::initializer_list<Case> cases, Function function) {
    for (const Case& c : cases) {
        EXPECT_EQ(function(text<Char>(c.path)), text<Char>(c.expected)) << c.path;
    }
}

Parts split(const std::string& path) {
    Parts parts{"what", "stood there before"};
    FilenameHelper::split_filename(path, parts);
    return parts;
}

// Checks the result as well.
std::string squeezed_filename(std::string path) {
    const std::size_t length = path.size();
    const bool changed = FilenameHelper::squeeze_filename(path);
    EXPECT_EQ(changed, path.size() != length) << path;
    return path;
}

// Sets what the conversions use for characters that a code page does not have.
class Substitution {
public:
    explicit Substitution(const char* text, bool best_fit = false)
        : text_(std::exchange(Encoding::s_defaultChars, text)),
          best_fit_(std::exchange(Encoding::s_bestFitChars, best_fit)) {}
    ~Substitution() {
        Encoding::s_defaultChars = text_;
        Encoding::s_bestFitChars = best_fit_;
    }
    Substitution(const Substitution&) = delete;
    Substitution& operator=(const Substitution&) = delete;

private:
    const char* text_;
    bool best_fit_;
};

} // namespace

// Constants

namespace {

// Taken while this program's own statics are built.
const std::string marker_at_start = FilenameHelper::WIN32_SHADOWCOPY_DEVICE_MARKER;
const std::wstring wide_marker_at_start = FilenameHelper::WIN32_UNI_UNC_MARKER_W;
const std::string composed_at_start = FilenameHelper::selectAllBelowPath("/data");
const std::wstring wide_composed_at_start = FilenameHelper::selectAllBelowPath(L"/data");
const bool classified_at_start = FilenameHelper::isShadowCopyDevicePath(marker_at_start);

// Members that a class has or has not.
#define NURICCL_TEST_DETECT(trait, ...)                                                            \
    template <class T, class = void>                                                               \
    struct trait : std::false_type {};                                                             \
    template <class T>                                                                             \
    struct trait<T, std::void_t<decltype(__VA_ARGS__)>> : std::true_type {}

NURICCL_TEST_DETECT(has_unipath_marker, T::WIN32_UNIPATH_MARKER_W);
NURICCL_TEST_DETECT(has_device_marker, T::WIN32_DEVICE_MARKER_W);
NURICCL_TEST_DETECT(has_globalroot_marker, T::WIN32_GLOBALROOT_DEVICE_MARKER_W);
NURICCL_TEST_DETECT(has_shadowcopy_marker, T::WIN32_SHADOWCOPY_DEVICE_MARKER_W);
NURICCL_TEST_DETECT(has_variable_marker, T::SYSTEM_VARIABLE_MARKER_W);
NURICCL_TEST_DETECT(has_equal_sign, T::EQUAL_SIGN_W);

NURICCL_TEST_DETECT(is_device_wide, T::isDevice(std::wstring()));
NURICCL_TEST_DETECT(proper_case_wide, T::getProperCaseAnsi(std::wstring()));
NURICCL_TEST_DETECT(globalroot_wide, T::isGlobalRootDevicePath(std::wstring()));
NURICCL_TEST_DETECT(shadowcopy_wide, T::isShadowCopyDevicePath(std::wstring()));
NURICCL_TEST_DETECT(remove_wildcards_wide, T::removeWildcardMarker(std::wstring()));
NURICCL_TEST_DETECT(split_wide,
                    T::split_filename(std::wstring(), std::declval<std::list<std::wstring>&>()));
NURICCL_TEST_DETECT(squeeze_filename_wide, T::squeeze_filename(std::declval<std::wstring&>()));

} // namespace

TEST(Constants, HaveTheirCharacters) {
    EXPECT_EQ(FilenameHelper::COLON, ":");
    EXPECT_EQ(FilenameHelper::DOT, ".");
    EXPECT_EQ(FilenameHelper::POSIX_ALL_FILES, "*");
    EXPECT_EQ(FilenameHelper::POSIX_PATH_SEPARATOR, "/");
    EXPECT_EQ(FilenameHelper::POSIX_RECURSE_MARKER, "/./");
    EXPECT_EQ(FilenameHelper::WILDCARDS, "*?");
    EXPECT_EQ(FilenameHelper::WILDCARD_STR, "*");
    EXPECT_EQ(FilenameHelper::WILDCARD_CHAR, "?");
    EXPECT_EQ(FilenameHelper::SYSTEM_VARIABLE_MARKER, "%");
    EXPECT_EQ(FilenameHelper::EQUAL_SIGN, "=");
    EXPECT_EQ(FilenameHelper::WIN32_ALL_FILES, "*.*");
    EXPECT_EQ(FilenameHelper::WIN32_PATH_SEPARATOR, R"(\)");
    EXPECT_EQ(FilenameHelper::WIN32_RECURSE_MARKER, R"(\.\)");
    EXPECT_EQ(FilenameHelper::WIN32_UNC_PATH_MARKER, R"(\\)");
    EXPECT_EQ(FilenameHelper::WIN32_UNIPATH_MARKER, R"(\\?\)");
    EXPECT_EQ(FilenameHelper::WIN32_DEVICE_MARKER, R"(\\.\)");
    EXPECT_EQ(FilenameHelper::WIN32_UNI_UNC_MARKER, R"(\\?\UNC\)");
    EXPECT_EQ(FilenameHelper::WIN32_GLOBALROOT_DEVICE_MARKER, R"(\\?\GLOBALROOT\Device\)");
    EXPECT_EQ(FilenameHelper::WIN32_SHADOWCOPY_DEVICE_MARKER,
              R"(\\?\GLOBALROOT\Device\HarddiskVolumeShadowCopy)");
}

TEST(Constants, HaveTheirWideCharacters) {
    EXPECT_EQ(FilenameHelper::COLON_W, L":");
    EXPECT_EQ(FilenameHelper::DOT_W, L".");
    EXPECT_EQ(FilenameHelper::POSIX_ALL_FILES_W, L"*");
    EXPECT_EQ(FilenameHelper::POSIX_PATH_SEPARATOR_W, L"/");
    EXPECT_EQ(FilenameHelper::POSIX_RECURSE_MARKER_W, L"/./");
    EXPECT_EQ(FilenameHelper::WILDCARDS_W, L"*?");
    EXPECT_EQ(FilenameHelper::WILDCARD_STR_W, L"*");
    EXPECT_EQ(FilenameHelper::WILDCARD_CHAR_W, L"?");
    EXPECT_EQ(FilenameHelper::WIN32_ALL_FILES_W, L"*.*");
    EXPECT_EQ(FilenameHelper::WIN32_PATH_SEPARATOR_W, LR"(\)");
    EXPECT_EQ(FilenameHelper::WIN32_RECURSE_MARKER_W, LR"(\.\)");
    EXPECT_EQ(FilenameHelper::WIN32_UNC_PATH_MARKER_W, LR"(\\)");
    EXPECT_EQ(FilenameHelper::WIN32_UNIPATH_MARKER_W, LR"(\\?\)");
    EXPECT_EQ(FilenameHelper::WIN32_UNI_UNC_MARKER_W, LR"(\\?\UNC\)");
}

TEST(Constants, CannotBeChanged) {
    EXPECT_TRUE((std::is_same_v<decltype(FilenameHelper::COLON), const std::string>));
    EXPECT_TRUE((std::is_same_v<decltype(FilenameHelper::WIN32_SHADOWCOPY_DEVICE_MARKER),
                                const std::string>));
    EXPECT_TRUE((std::is_same_v<decltype(FilenameHelper::COLON_W), const std::wstring>));
    EXPECT_TRUE(
        (std::is_same_v<decltype(FilenameHelper::WIN32_UNI_UNC_MARKER_W), const std::wstring>));
}

TEST(Constants, HaveNoWideFormOfSome) {
    EXPECT_TRUE(has_unipath_marker<FilenameHelper>::value) << "the detection does not work";
    EXPECT_FALSE(has_device_marker<FilenameHelper>::value);
    EXPECT_FALSE(has_globalroot_marker<FilenameHelper>::value);
    EXPECT_FALSE(has_shadowcopy_marker<FilenameHelper>::value);
    EXPECT_FALSE(has_variable_marker<FilenameHelper>::value);
    EXPECT_FALSE(has_equal_sign<FilenameHelper>::value);
}

TEST(Constants, ServeStaticInitialisersOfTheProgram) {
    EXPECT_EQ(marker_at_start, R"(\\?\GLOBALROOT\Device\HarddiskVolumeShadowCopy)");
    EXPECT_EQ(wide_marker_at_start, LR"(\\?\UNC\)");
    EXPECT_EQ(composed_at_start, "/data/./*");
    EXPECT_EQ(wide_composed_at_start, L"/data//.//*");
    EXPECT_TRUE(classified_at_start);
}

TEST(Constants, TellTheLongestSupportedPath) {
    static_assert(FilenameHelper::MAX_SUPPORTED_PATH == 0x40000);
    static_assert(std::is_same_v<decltype(FilenameHelper::MAX_SUPPORTED_PATH), const std::int32_t>);
    const std::int32_t* const place = &FilenameHelper::MAX_SUPPORTED_PATH;
    EXPECT_EQ(*place, 262144);
    EXPECT_EQ(std::max(FilenameHelper::MAX_SUPPORTED_PATH, 1), 262144);
}

// Interface

namespace {

// Whether one of a function's overloads has exactly this type.
template <class Type>
constexpr bool has_form(Type*) {
    return true;
}

using F = FilenameHelper;
using S = std::string;
using W = std::wstring;
using CP = Encoding::CodePages_e;

static_assert(has_form<S(const S&)>(&F::addUnipathMarker));
static_assert(has_form<W(const W&)>(&F::addUnipathMarker));
static_assert(has_form<S(const S&)>(&F::removeUnipathMarker));
static_assert(has_form<W(const W&)>(&F::removeUnipathMarker));
static_assert(has_form<S(const S&)>(&F::getProperCaseAnsi));
static_assert(has_form<bool(const S&)>(&F::isDirectory));
static_assert(has_form<bool(const W&)>(&F::isDirectory));
static_assert(has_form<bool(const S&, bool*, bool)>(&F::hasRecurseMarker));
static_assert(has_form<bool(const W&)>(&F::hasRecurseMarker));
static_assert(has_form<S(const S&, bool)>(&F::removeRecurseMarker));
static_assert(has_form<W(const W&)>(&F::removeRecurseMarker));
static_assert(has_form<bool(const S&)>(&F::isUNCDevicePath));
static_assert(has_form<bool(const W&)>(&F::isUNCDevicePath));
static_assert(has_form<bool(const S&)>(&F::isDevice));
static_assert(has_form<bool(const W&)>(&F::isDevice));
static_assert(has_form<bool(const S&)>(&F::isGlobalRootDevicePath));
static_assert(has_form<bool(const S&)>(&F::isShadowCopyDevicePath));
static_assert(has_form<S(S)>(&F::convertAltStreamName));
static_assert(has_form<S(W)>(&F::convertAltStreamName));
static_assert(has_form<bool(const S&)>(&F::isRelative));
static_assert(has_form<bool(const W&)>(&F::isRelative));
static_assert(has_form<bool(const S&)>(&F::hasWildCard));
static_assert(has_form<bool(const W&)>(&F::hasWildCard));
static_assert(has_form<S(S)>(&F::removeWildcardMarker));
static_assert(has_form<S(const S&, const S&)>(&F::squeeze));
static_assert(has_form<W(const W&, const W&)>(&F::squeeze));
static_assert(has_form<S(const S&)>(&F::chopSeparator));
static_assert(has_form<W(const W&)>(&F::chopSeparator));
static_assert(has_form<S(const S&, const S&, const S&)>(&F::join));
static_assert(has_form<W(const W&, const W&, const W&)>(&F::join));
static_assert(has_form<S(const S&, const S&)>(&F::appendSeparator));
static_assert(has_form<W(const W&, const W&)>(&F::appendSeparator));
static_assert(has_form<S(const S&)>(&F::getDirName));
static_assert(has_form<W(const W&)>(&F::getDirName));
static_assert(has_form<S(const S&, bool)>(&F::appendRecurseMarker));
static_assert(has_form<W(const W&)>(&F::appendRecurseMarker));
static_assert(has_form<S(const S&)>(&F::insertRecurseMarker));
static_assert(has_form<W(const W&)>(&F::insertRecurseMarker));
static_assert(has_form<S(const S&)>(&F::selectAllBelowPath));
static_assert(has_form<W(const W&)>(&F::selectAllBelowPath));
static_assert(has_form<void(const S&, Parts&)>(&F::split_filename));
static_assert(has_form<bool(S&)>(&F::squeeze_filename));
static_assert(has_form<bool(S&, const W&, CP, bool)>(&F::wideToMultibyte));
static_assert(has_form<bool(W&, const S&, CP, bool)>(&F::multibyteToWide));
static_assert(has_form<S(const W&, CP, bool)>(&F::wideToMultibyte));
static_assert(has_form<W(const S&, CP, bool)>(&F::multibyteToWide));

} // namespace

TEST(Interface, HasOnlyNarrowFormsOfSome) {
    EXPECT_TRUE(is_device_wide<FilenameHelper>::value) << "the detection does not work";
    EXPECT_FALSE(proper_case_wide<FilenameHelper>::value);
    EXPECT_FALSE(globalroot_wide<FilenameHelper>::value);
    EXPECT_FALSE(shadowcopy_wide<FilenameHelper>::value);
    EXPECT_FALSE(remove_wildcards_wide<FilenameHelper>::value);
    EXPECT_FALSE(split_wide<FilenameHelper>::value);
    EXPECT_FALSE(squeeze_filename_wide<FilenameHelper>::value);
}

TEST(Interface, TellsOfSearchesThatTheyNeverThrow) {
    const std::string narrow;
    const std::wstring wide;
    bool flag = false;
    EXPECT_TRUE(noexcept(FilenameHelper::hasRecurseMarker(narrow, &flag, false)));
    EXPECT_TRUE(noexcept(FilenameHelper::hasRecurseMarker(wide)));
    EXPECT_TRUE(noexcept(FilenameHelper::hasWildCard(narrow)));
    EXPECT_TRUE(noexcept(FilenameHelper::hasWildCard(wide)));
}

// Edits for Windows only

NURICCL_TEST_BOTH_WIDTHS(WindowsEdits);

TYPED_TEST(WindowsEdits, LeaveEveryNameAsItIs) {
    std::vector<Text<TypeParam>> names = short_names<TypeParam>();
    for (const std::string_view name :
         {R"(\\?\C:\dir)", R"(\\?\UNC\server\share)", R"(\\server\share)", R"(C:\DIR\file.TXT)",
          R"(\\.\PhysicalDrive0)", "/home/User/*?", "a:b"}) {
        names.push_back(text<TypeParam>(name));
    }
    names.push_back(text<TypeParam>({"a\0b", 3}));
    names.push_back(Text<TypeParam>(262144, TypeParam('\\')));
    for (const auto& name : names) {
        ASSERT_EQ(FilenameHelper::addUnipathMarker(name), name);
        ASSERT_EQ(FilenameHelper::removeUnipathMarker(name), name);
        if constexpr (std::is_same_v<TypeParam, char>) {
            ASSERT_EQ(FilenameHelper::getProperCaseAnsi(name), name);
        }
    }
}

// Directories

TEST(IsDirectory, IsTrueForDirectoriesAndNotForLinksToThem) {
    const files::Directory base;
    for (const files::Entry& entry : files::make_every_kind(base)) {
        EXPECT_EQ(FilenameHelper::isDirectory(entry.path), entry.is_directory) << entry.what;
    }
}

TEST(IsDirectory, IsFalseForTheEmptyName) { EXPECT_FALSE(FilenameHelper::isDirectory("")); }

TEST(IsDirectory, IsFalseBelowADirectoryThatMayNotBeSearched) {
    const files::Directory base;
    const std::string closed = files::make_directory(base / "closed");
    const std::string below = files::make_directory(closed + "/below");
    ASSERT_EQ(chmod(closed.c_str(), 0600), 0);
    {
        const files::WithoutRights without_rights;
        EXPECT_TRUE(FilenameHelper::isDirectory(closed));
        errno = 0;
        EXPECT_FALSE(FilenameHelper::isDirectory(below));
        EXPECT_EQ(errno, EACCES);
    }
    ASSERT_EQ(chmod(closed.c_str(), 0700), 0);
    EXPECT_TRUE(FilenameHelper::isDirectory(below));
}

TEST(IsDirectory, LooksAtTheWholeTypeAndAtNothingElse) {
    for (mode_t mode = 0; mode <= 0177777; ++mode) {
        struct stat status = {};
        status.st_mode = mode;
        const lstat_calls::Answer answer(status);
        ASSERT_EQ(FilenameHelper::isDirectory("any"), mode >> 12 == 04) << std::oct << mode;
    }
}

TEST(IsDirectory, AsksLstatOnceAndLeavesItsErrno) {
    constexpr int UNTOUCHED = -12345;
    unsigned int before = lstat_calls::number;
    errno = UNTOUCHED;
    EXPECT_TRUE(FilenameHelper::isDirectory("/"));
    EXPECT_EQ(errno, UNTOUCHED);
    EXPECT_EQ(lstat_calls::number - before, 1U);
    for (const int error : {ENOENT, EACCES, ELOOP, ENAMETOOLONG, ENOTDIR, EIO, EOVERFLOW, ENOMEM}) {
        const lstat_calls::Answer answer(error);
        before = lstat_calls::number;
        errno = UNTOUCHED;
        EXPECT_FALSE(FilenameHelper::isDirectory("/")) << error;
        EXPECT_EQ(errno, error);
        EXPECT_EQ(lstat_calls::number - before, 1U);
    }
}

TEST(IsDirectory, IsFalseForEveryWideNameWithoutAsking) {
    const unsigned int before = lstat_calls::number;
    for (const wchar_t* const name : {L"/", L".", L"", L"/tmp", L"/nothing"}) {
        EXPECT_FALSE(FilenameHelper::isDirectory(std::wstring(name))) << name;
    }
    EXPECT_EQ(lstat_calls::number, before);
}

// Recurse markers

NURICCL_TEST_BOTH_WIDTHS(RecurseMarker);

TYPED_TEST(RecurseMarker, IsSlashDotSlash) {
    for (const std::string_view path : {"/./", "a/./b", "a/./", "/./a", "a/././b", "//.//"}) {
        EXPECT_TRUE(FilenameHelper::hasRecurseMarker(text<TypeParam>(path))) << path;
    }
    for (const std::string_view path :
         {"", "/", ".", "/.", "./", "./a", "a/.", "a/.b/", "a/../b", "a./b", R"(a\.\b)", "/a/"}) {
        EXPECT_FALSE(FilenameHelper::hasRecurseMarker(text<TypeParam>(path))) << path;
    }
}

TYPED_TEST(RecurseMarker, IsFoundPastANul) {
    EXPECT_TRUE(FilenameHelper::hasRecurseMarker(text<TypeParam>({"a\0/./", 5})));
}

TYPED_TEST(RecurseMarker, IsRemovedOnceWithItsFirstTwoCharacters) {
    expect_each<TypeParam>(
        {{"a/./b", "a/b"},
         {"a/./", "a/"},
         {"/./", "/"},
         {"a/./b/./c", "a/b/./c"},
         {"/././", "/./"},
         {"a//.//b", "a///b"},
         {"a/b", "a/b"},
         {"./", "./"},
         {"", ""}},
        [](const auto& path) { return FilenameHelper::removeRecurseMarker(path); });
}

TYPED_TEST(RecurseMarker, AgreesWithTheModelForAllShortNames) {
    for (const auto& path : short_names<TypeParam>()) {
        const bool expected = path_model::marker(path) != path_model::NONE;
        ASSERT_EQ(FilenameHelper::hasRecurseMarker(path), expected) << path;
        ASSERT_EQ(FilenameHelper::removeRecurseMarker(path), path_model::remove_marker(path))
            << path;
    }
}

TEST(MarkerIsLast, TellsWhetherASeparatorFollowsTheMarker) {
    for (const auto& [path, expected] : std::vector<std::pair<std::string, bool>>{
             {"a/./b", true},
             {"dir/./", true},
             {"dir/./name", true},
             {"/./", true},
             {"a/./b/c", false},
             {"dir/./sub/name", false},
             {"a/./b/", false},
             {"/././", false},
             {"/.//", false},
             {"a/./b/./c", false},
         }) {
        for (const bool before : {false, true}) {
            bool flag = before;
            EXPECT_TRUE(FilenameHelper::hasRecurseMarker(path, &flag)) << path;
            EXPECT_EQ(flag, expected) << path;
        }
    }
}

TEST(MarkerIsLast, IsLeftAloneWithoutAMarker) {
    for (const bool before : {false, true}) {
        for (const char* const path : {"", "/", "a/b", "a/.", "./a/"}) {
            bool flag = before;
            EXPECT_FALSE(FilenameHelper::hasRecurseMarker(path, &flag)) << path;
            EXPECT_EQ(flag, before) << path;
        }
    }
}

TEST(MarkerIsLast, MayBeNull) {
    EXPECT_TRUE(FilenameHelper::hasRecurseMarker("a/./b", nullptr));
    EXPECT_FALSE(FilenameHelper::hasRecurseMarker("a/b", nullptr));
}

TEST(MarkerIsLast, AgreesWithTheModelForAllShortNames) {
    for (const std::string& path : short_names<char>()) {
        const std::size_t marker = path_model::marker(path);
        for (const bool before : {false, true}) {
            const bool expected =
                marker != path_model::NONE ? path.rfind('/') - marker == 2 : before;
            for (const bool ignored : {false, true}) {
                bool flag = before;
                ASSERT_EQ(FilenameHelper::hasRecurseMarker(path, &flag, ignored),
                          marker != path_model::NONE);
                ASSERT_EQ(flag, expected) << path;
                ASSERT_EQ(FilenameHelper::hasRecurseMarker(path, nullptr, ignored),
                          marker != path_model::NONE);
                ASSERT_EQ(FilenameHelper::removeRecurseMarker(path, ignored),
                          path_model::remove_marker(path));
            }
        }
    }
}

// Classes of names

NURICCL_TEST_BOTH_WIDTHS(Classes);

TYPED_TEST(Classes, RelativeIsWhatDoesNotStartWithASlash) {
    for (const std::string_view path : {"", "a", "a/b", "./a", "../", " /", "C:", R"(C:\dir)",
                                        R"(\\server\share)", R"(\)", R"(\\?\C:\)", "*"}) {
        EXPECT_TRUE(FilenameHelper::isRelative(text<TypeParam>(path))) << path;
    }
    for (const std::string_view path : {"/", "//", "/a", "/./", R"(/\)"}) {
        EXPECT_FALSE(FilenameHelper::isRelative(text<TypeParam>(path))) << path;
    }
    EXPECT_TRUE(FilenameHelper::isRelative(text<TypeParam>({"\0/", 2})));
    EXPECT_FALSE(FilenameHelper::isRelative(text<TypeParam>({"/\0", 2})));
}

TYPED_TEST(Classes, DeviceIsTheRootAlone) {
    EXPECT_TRUE(FilenameHelper::isDevice(text<TypeParam>("/")));
    for (const std::string_view path : {"", "//", "/.", "./", "a", R"(\)", "C:", "/dev", "."}) {
        EXPECT_FALSE(FilenameHelper::isDevice(text<TypeParam>(path))) << path;
    }
    EXPECT_FALSE(FilenameHelper::isDevice(text<TypeParam>({"/\0", 2})));
}

TYPED_TEST(Classes, AreDecidedByTheWholeCharacter) {
    const int last = sizeof(TypeParam) == 1 ? 0xff : 0x10ff;
    for (int value = 0; value <= last; ++value) {
        const Text<TypeParam> path(1, static_cast<TypeParam>(value));
        ASSERT_EQ(FilenameHelper::isDevice(path), value == '/') << value;
        ASSERT_EQ(FilenameHelper::isRelative(path), value != '/') << value;
        ASSERT_EQ(FilenameHelper::hasWildCard(path), value == '*' || value == '?') << value;
    }
}

TYPED_TEST(Classes, AgreeWithTheModelForAllShortNames) {
    for (const auto& path : short_names<TypeParam>()) {
        ASSERT_EQ(FilenameHelper::isRelative(path), path.empty() || path[0] != TypeParam('/'));
        ASSERT_EQ(FilenameHelper::isDevice(path), path == text<TypeParam>("/"));
    }
}

TYPED_TEST(Classes, UncDevicePathIsNone) {
    for (const std::string_view path : {"", "/", R"(\\server\share)", R"(\\.\UNC\server\share)",
                                        R"(\\?\UNC\server\share)", R"(\\.\C:)"}) {
        EXPECT_FALSE(FilenameHelper::isUNCDevicePath(text<TypeParam>(path))) << path;
    }
    for (const auto& path : short_names<TypeParam>()) {
        ASSERT_FALSE(FilenameHelper::isUNCDevicePath(path)) << path;
    }
}

// Device paths

namespace {

using Predicate = bool (*)(const std::string&);

const struct DeviceTest {
    std::string marker;
    Predicate matches;
} DEVICE_TESTS[] = {
    {R"(\\?\GLOBALROOT\Device\)", FilenameHelper::isGlobalRootDevicePath},
    {R"(\\?\GLOBALROOT\Device\HarddiskVolumeShadowCopy)", FilenameHelper::isShadowCopyDevicePath},
};

char ascii_upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; }

} // namespace

TEST(DevicePaths, StartWithTheMarker) {
    for (const DeviceTest& test : DEVICE_TESTS) {
        EXPECT_TRUE(test.matches(test.marker));
        EXPECT_TRUE(test.matches(test.marker + "12\\dir"));
        EXPECT_TRUE(test.matches(test.marker + test.marker));
        EXPECT_TRUE(test.matches(test.marker + '\0'));
        EXPECT_FALSE(test.matches('\\' + test.marker));
        EXPECT_FALSE(test.matches(' ' + test.marker));
        EXPECT_FALSE(test.matches(test.marker.substr(1)));
    }
}

TEST(DevicePaths, AreNotShorterThanTheMarker) {
    for (const DeviceTest& test : DEVICE_TESTS) {
        for (std::size_t length = 0; length < test.marker.size(); ++length) {
            EXPECT_FALSE(test.matches(test.marker.substr(0, length))) << length;
        }
    }
    EXPECT_FALSE(FilenameHelper::isGlobalRootDevicePath(R"(\\?\GLOBALROOT\Device)"));
}

TEST(DevicePaths, AreRecognisedInAnyCaseByEveryCharacterOfTheMarker) {
    for (const char* const name : {"C", "C.UTF-8"}) {
        const scoped::CLocale locale(name);
        for (const DeviceTest& test : DEVICE_TESTS) {
            for (std::size_t place = 0; place < test.marker.size(); ++place) {
                for (const char c : texts::all_bytes()) {
                    std::string path = test.marker + "1\\dir";
                    path[place] = c;
                    ASSERT_EQ(test.matches(path), ascii_upper(c) == ascii_upper(test.marker[place]))
                        << path;
                }
            }
        }
    }
}

TEST(DevicePaths, MayBeAllInOneCase) {
    EXPECT_TRUE(FilenameHelper::isGlobalRootDevicePath(R"(\\?\globalroot\device\x)"));
    EXPECT_TRUE(FilenameHelper::isGlobalRootDevicePath(R"(\\?\GLOBALROOT\DEVICE\)"));
    EXPECT_TRUE(FilenameHelper::isShadowCopyDevicePath(
        R"(\\?\globalroot\device\harddiskvolumeshadowcopy7)"));
    EXPECT_TRUE(FilenameHelper::isShadowCopyDevicePath(
        R"(\\?\GLOBALROOT\DEVICE\HARDDISKVOLUMESHADOWCOPY)"));
}

TEST(DevicePaths, OfAShadowCopyAreUnderTheGlobalRootAndNotTheOtherWayRound) {
    const std::string shadow_copy = R"(\\?\GLOBALROOT\Device\HarddiskVolumeShadowCopy12\dir)";
    EXPECT_TRUE(FilenameHelper::isShadowCopyDevicePath(shadow_copy));
    EXPECT_TRUE(FilenameHelper::isGlobalRootDevicePath(shadow_copy));
    const std::string volume = R"(\\?\GLOBALROOT\Device\HarddiskVolume12\dir)";
    EXPECT_FALSE(FilenameHelper::isShadowCopyDevicePath(volume));
    EXPECT_TRUE(FilenameHelper::isGlobalRootDevicePath(volume));
}

TEST(DevicePaths, HaveBackslashes) {
    EXPECT_FALSE(FilenameHelper::isGlobalRootDevicePath("//?/GLOBALROOT/Device/"));
    EXPECT_FALSE(
        FilenameHelper::isShadowCopyDevicePath("//?/GLOBALROOT/Device/HarddiskVolumeShadowCopy1"));
}

// Alternate data streams

TEST(AltStreamName, EndsAtTheFirstColonBehindTheFirstCharacter) {
    for (const Case& c : {
             Case{"file.txt:stream", "file.txt"},
             Case{"file.txt:stream:$DATA", "file.txt"},
             Case{":x", ":x"},
             Case{":", ":"},
             Case{"::", ":"},
             Case{":x:y", ":x"},
             Case{"a:", "a"},
             Case{R"(C:\dir)", "C"},
             Case{"dir/file:stream", "dir/file"},
             Case{"dir:a/file:b", "dir"},
             Case{"name", "name"},
             Case{"", ""},
         }) {
        EXPECT_EQ(FilenameHelper::convertAltStreamName(std::string(c.path)), c.expected) << c.path;
        EXPECT_EQ(FilenameHelper::convertAltStreamName(widened(c.path)), c.expected) << c.path;
    }
}

TEST(AltStreamName, AgreesWithTheModelForAllShortNames) {
    for (const std::string& path : texts::over<std::string>(":a/\\", 6)) {
        const std::string expected = path_model::without_stream(path);
        ASSERT_EQ(FilenameHelper::convertAltStreamName(path), expected) << path;
        ASSERT_EQ(FilenameHelper::convertAltStreamName(widened(path)), expected) << path;
    }
}

TEST(AltStreamName, TakesNothingButTheColonForOne) {
    for (const char c : texts::all_bytes()) {
        const std::string path = std::string("a") + c + "b";
        EXPECT_EQ(FilenameHelper::convertAltStreamName(path), c == ':' ? "a" : path);
    }
    const scoped::CLocale locale("C.UTF-8");
    EXPECT_EQ(FilenameHelper::convertAltStreamName(std::wstring(L"a\u013ab")), "a\xc4\xba"
                                                                               "b");
}

TEST(AltStreamName, IsCutByBytesBehindANulToo) {
    EXPECT_EQ(FilenameHelper::convertAltStreamName(std::string("a\0b:c", 5)),
              std::string("a\0b", 3));
}

TEST(AltStreamName, LeavesTheArgumentAsItIs) {
    const std::string narrow = "a:b";
    const std::wstring wide = L"a:b";
    EXPECT_EQ(FilenameHelper::convertAltStreamName(narrow), "a");
    EXPECT_EQ(FilenameHelper::convertAltStreamName(wide), "a");
    EXPECT_EQ(narrow, "a:b");
    EXPECT_EQ(wide, L"a:b");
}

TEST(AltStreamName, IsConvertedToTheDefaultCodePage) {
    const scoped::CLocale locale("C.UTF-8");
    EXPECT_EQ(FilenameHelper::convertAltStreamName(std::wstring(L"caf\u00e9\u4e2d:\u00e9")),
              "caf\xc3\xa9\xe4\xb8\xad");
    EXPECT_EQ(FilenameHelper::convertAltStreamName(std::wstring(L"\U0001f600:s")),
              "\xf0\x9f\x98\x80");
}

TEST(AltStreamName, IsWhatTheConversionProducedBeforeItFailed) {
    const scoped::CLocale locale("C");
    EXPECT_EQ(FilenameHelper::convertAltStreamName(std::wstring(L"ab\u4e2dcd:s")), "ab");
    EXPECT_EQ(FilenameHelper::convertAltStreamName(std::wstring(L"\u4e2d:s")), "");
    EXPECT_EQ(FilenameHelper::convertAltStreamName(std::wstring(L"ab:\u4e2d")), "ab");
    const Substitution substitution("<?>");
    EXPECT_EQ(FilenameHelper::convertAltStreamName(std::wstring(L"ab\u4e2dcd:s")), "ab<?>cd");
}

TEST(AltStreamName, OfAWideNameEndsAtItsNul) {
    using namespace std::string_literals;
    EXPECT_EQ(FilenameHelper::convertAltStreamName(L"ab\0cd:e"s), "ab");
    EXPECT_EQ(FilenameHelper::convertAltStreamName(L"\0cd:e"s), "");
}

// Wildcards

NURICCL_TEST_BOTH_WIDTHS(Wildcards);

TYPED_TEST(Wildcards, AreAsteriskAndQuestionMark) {
    for (const std::string_view path : {"*", "?", "*?", "a*", "?a", "/a/b?c/d", R"(\\?\C:\)"}) {
        EXPECT_TRUE(FilenameHelper::hasWildCard(text<TypeParam>(path))) << path;
    }
    for (const std::string_view path : {"", "a", "/a.b", "[a-z]", "%", "+", R"(C:\dir)"}) {
        EXPECT_FALSE(FilenameHelper::hasWildCard(text<TypeParam>(path))) << path;
    }
    EXPECT_TRUE(FilenameHelper::hasWildCard(text<TypeParam>({"a\0*", 3})));
}

TYPED_TEST(Wildcards, AreFoundInAllShortNames) {
    for (const auto& path : texts::over<Text<TypeParam>>(text<TypeParam>("*?a/"), 5)) {
        const bool expected = std::any_of(path.begin(), path.end(), [](TypeParam c) {
            return c == TypeParam('*') || c == TypeParam('?');
        });
        ASSERT_EQ(FilenameHelper::hasWildCard(path), expected) << path;
    }
}

TEST(RemoveWildcards, ErasesEveryOne) {
    for (const Case& c :
         {Case{"*.?x*", ".x"}, Case{"", ""}, Case{"*", ""}, Case{"?*?*", ""}, Case{"a", "a"},
          Case{"/dir/*", "/dir/"}, Case{"a*?b??**c", "abc"}, Case{"[*]", "[]"}}) {
        EXPECT_EQ(FilenameHelper::removeWildcardMarker(std::string(c.path)), c.expected) << c.path;
    }
}

TEST(RemoveWildcards, AgreesWithTheModelForAllShortNames) {
    for (const std::string& path : texts::over<std::string>("*?a/", 6)) {
        ASSERT_EQ(FilenameHelper::removeWildcardMarker(path), path_model::without_wildcards(path))
            << path;
    }
}

TEST(RemoveWildcards, LeavesEveryOtherByte) {
    const std::string all = texts::all_bytes();
    EXPECT_EQ(FilenameHelper::removeWildcardMarker(all), path_model::without_wildcards(all));
    EXPECT_EQ(FilenameHelper::removeWildcardMarker(all).size(), 254U);
    EXPECT_EQ(all, texts::all_bytes());
}

// Squeezing separators

NURICCL_TEST_BOTH_WIDTHS(Squeeze);

TYPED_TEST(Squeeze, MakesEachRunOfSeparatorsOne) {
    expect_each<TypeParam>({{"", ""},
                            {"/", "/"},
                            {"//", "/"},
                            {"///////", "/"},
                            {"a///b", "a/b"},
                            {"//x", "/x"},
                            {"a//b///c////", "a/b/c/"},
                            {"/./", "/./"},
                            {"//.//", "/./"},
                            {"a/b", "a/b"}},
                           [](const auto& path) { return FilenameHelper::squeeze(path); });
}

TYPED_TEST(Squeeze, KeepsTwoBackslashesAtTheStart) {
    expect_each<TypeParam>({{R"(\\)", R"(\\)"},
                            {R"(\\server//share)", R"(\\server/share)"},
                            {R"(\\//a)", R"(\\/a)"},
                            {R"(\\\\a//)", R"(\\\\a/)"},
                            {R"(\//a)", R"(\/a)"},
                            {R"(a\\//b)", R"(a\\/b)"}},
                           [](const auto& path) { return FilenameHelper::squeeze(path); });
}

TYPED_TEST(Squeeze, TakesAnotherSeparator) {
    const auto squeezed = [](std::string_view path, std::string_view sep) {
        return FilenameHelper::squeeze(text<TypeParam>(path), text<TypeParam>(sep));
    };
    EXPECT_EQ(squeezed(R"(a\\\b//c)", R"(\)"), text<TypeParam>(R"(a\b//c)"));
    EXPECT_EQ(squeezed(R"(\\a\\b)", R"(\)"), text<TypeParam>(R"(\\a\b)"));
    EXPECT_EQ(squeezed(R"(\\\\\a)", R"(\)"), text<TypeParam>(R"(\\\a)"));
    EXPECT_EQ(squeezed("a//b", "/"), text<TypeParam>("a/b"));
    EXPECT_EQ(squeezed("aab//b", "a"), text<TypeParam>("ab//b"));
    EXPECT_EQ(squeezed(std::string_view("\0\0a\0", 4), std::string_view("\0", 1)),
              text<TypeParam>({"\0a\0", 3}));
}

TYPED_TEST(Squeeze, AgreesWithTheModelForSeparatorsOfOneCharacter) {
    auto separators = texts::over<Text<TypeParam>>(text<TypeParam>("/\\a."), 1);
    separators.emplace_back(1, look_alike<TypeParam>());
    for (const auto& path : short_names<TypeParam>()) {
        for (const auto& sep : separators) {
            const auto expected = path_model::squeezed_step_by_step(path, sep);
            ASSERT_EQ(FilenameHelper::squeeze(path, sep), expected) << path << ' ' << sep;
            ASSERT_EQ(path_model::squeezed_in_one_pass(path, sep), expected) << path << ' ' << sep;
        }
        ASSERT_EQ(FilenameHelper::squeeze(path), FilenameHelper::squeeze(path, {})) << path;
    }
}

TYPED_TEST(Squeeze, TakesTwoCharactersOffADoubledSeparatorOfSeveral) {
    const auto squeezed = [](std::string_view path, std::string_view sep) {
        return FilenameHelper::squeeze(text<TypeParam>(path), text<TypeParam>(sep));
    };
    EXPECT_EQ(squeezed("xabcabcy", "abc"), text<TypeParam>("xabccabcy"));
    EXPECT_EQ(squeezed("xabcabcabcy", "abc"), text<TypeParam>("xabccabccabcy"));
    EXPECT_EQ(squeezed("abcabc-abcabc", "abc"), text<TypeParam>("abccabc-abccabc"));
    EXPECT_EQ(squeezed("abcdabcd", "abcd"), text<TypeParam>("abcdcdabcd"));
    EXPECT_EQ(squeezed("abcdeabcde", "abcde"), text<TypeParam>("abcdecdeabcde"));
    EXPECT_EQ(squeezed("a/.//./b", "/./"), text<TypeParam>("a/.///./b"));
    EXPECT_EQ(squeezed(R"(\\abcabc)", "abc"), text<TypeParam>(R"(\\abccabc)"));
    EXPECT_EQ(squeezed("abc//abc", "abc"), text<TypeParam>("abc//abc"));
    EXPECT_EQ(squeezed("abcab", "abc"), text<TypeParam>("abcab"));
}

TYPED_TEST(Squeeze, LeavesThePathWhereReplacingWouldNeverEnd) {
    const auto left = [](std::string_view path, std::string_view sep) {
        const auto whole = text<TypeParam>(path);
        return FilenameHelper::squeeze(whole, text<TypeParam>(sep)) == whole;
    };
    EXPECT_TRUE(left("xababy", "ab"));
    EXPECT_TRUE(left("a////b", "//"));
    EXPECT_TRUE(left("aaaaaa", "aaa"));
    EXPECT_TRUE(left("abababab", "abab"));
    EXPECT_TRUE(left("aaaaaaaaaaaa", "aaaaa"));
    EXPECT_TRUE(left(R"(\\abab)", "ab"));
    EXPECT_TRUE(left(R"(\\\\\\)", R"(\\)"));
}

TYPED_TEST(Squeeze, AgreesWithTheModelForSeparatorsOfSeveralCharacters) {
    for (const auto& [alphabet, longest_sep, longest_path] :
         {std::tuple("ab", 5, 10), std::tuple("\\/", 3, 10), std::tuple("/.a", 2, 6)}) {
        const auto letters = text<TypeParam>(alphabet);
        const auto paths = texts::over(letters, static_cast<std::size_t>(longest_path));
        for (const auto& sep : texts::over(letters, static_cast<std::size_t>(longest_sep))) {
            for (const auto& path : paths) {
                ASSERT_EQ(FilenameHelper::squeeze(path, sep),
                          path_model::squeezed_step_by_step(path, sep))
                    << path << ' ' << sep;
            }
        }
    }
}

// Paths of pieces of the separator, so that doubled ones come up that begin inside others.
TYPED_TEST(Squeeze, AgreesWithTheModelForRandomPaths) {
    const unsigned int seed = static_cast<unsigned int>(GTEST_FLAG_GET(random_seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const auto below = [&random](std::size_t limit) {
        return static_cast<std::size_t>(random() % limit);
    };
    const auto alphabet = text<TypeParam>("ab/\\");
    for (int round = 0; round < 10000; ++round) {
        const std::size_t letters = 2 + below(3);
        Text<TypeParam> sep;
        for (std::size_t length = 1 + below(7); sep.size() < length;) {
            sep += alphabet[below(letters)];
        }
        Text<TypeParam> path(below(3), TypeParam('\\'));
        for (std::size_t pieces = 1 + below(8); pieces > 0; --pieces) {
            const std::size_t start = below(sep.size());
            path += below(2) == 0 ? sep + sep : sep.substr(start, 1 + below(sep.size()));
        }
        ASSERT_EQ(FilenameHelper::squeeze(path, sep), path_model::squeezed_step_by_step(path, sep))
            << path << ' ' << sep;
    }
}

// Trailing separators and directories

NURICCL_TEST_BOTH_WIDTHS(ChopSeparator);

TYPED_TEST(ChopSeparator, TakesOffTrailingSeparators) {
    expect_each<TypeParam>({{"", ""},
                            {"/", ""},
                            {"//", ""},
                            {"a", "a"},
                            {"a/", "a"},
                            {"a//", "a"},
                            {"a/b//", "a/b"},
                            {"/a/", "/a"},
                            {R"(\\/)", R"(\\)"},
                            {R"(a\)", R"(a\)"}},
                           [](const auto& path) { return FilenameHelper::chopSeparator(path); });
}

TYPED_TEST(ChopSeparator, SqueezesOnlyWhatEndsInASeparator) {
    expect_each<TypeParam>({{"a//b/", "a/b"}, {"a//b", "a//b"}, {"//a//b//", "/a/b"}},
                           [](const auto& path) { return FilenameHelper::chopSeparator(path); });
}

TYPED_TEST(ChopSeparator, AgreesWithTheModelForAllShortNames) {
    for (const auto& path : short_names<TypeParam>()) {
        ASSERT_EQ(FilenameHelper::chopSeparator(path), path_model::chop(path)) << path;
    }
}

NURICCL_TEST_BOTH_WIDTHS(AppendSeparator);

TYPED_TEST(AppendSeparator, EndsThePathInOne) {
    expect_each<TypeParam>(
        {{"", "/"}, {"a", "a/"}, {"a/", "a/"}, {"/", "/"}, {"a//", "a//"}, {"a//b", "a//b/"}},
        [](const auto& path) { return FilenameHelper::appendSeparator(path); });
}

TYPED_TEST(AppendSeparator, TakesAnotherSeparator) {
    const auto appended = [](std::string_view path, std::string_view sep) {
        return FilenameHelper::appendSeparator(text<TypeParam>(path), text<TypeParam>(sep));
    };
    EXPECT_EQ(appended("", R"(\)"), text<TypeParam>(R"(\)"));
    EXPECT_EQ(appended("a/", R"(\)"), text<TypeParam>(R"(a/\)"));
    EXPECT_EQ(appended(R"(a\)", R"(\)"), text<TypeParam>(R"(a\)"));
    EXPECT_EQ(appended("", "::"), text<TypeParam>("::"));
}

// One character never equals several.
TYPED_TEST(AppendSeparator, AppendsASeparatorOfSeveralCharactersAlways) {
    const auto appended = [](std::string_view path, std::string_view sep) {
        return FilenameHelper::appendSeparator(text<TypeParam>(path), text<TypeParam>(sep));
    };
    EXPECT_EQ(appended("a::", "::"), text<TypeParam>("a::::"));
    EXPECT_EQ(appended("a:", "::"), text<TypeParam>("a:::"));
    EXPECT_EQ(appended("::", "::"), text<TypeParam>("::::"));
}

TYPED_TEST(AppendSeparator, AgreesWithTheModelForAllShortNames) {
    const auto separators = texts::over<Text<TypeParam>>(text<TypeParam>("/\\a"), 2);
    for (const auto& path : short_names<TypeParam>()) {
        for (const auto& sep : separators) {
            ASSERT_EQ(FilenameHelper::appendSeparator(path, sep),
                      path_model::append_separator(path, sep))
                << path << ' ' << sep;
        }
        ASSERT_EQ(FilenameHelper::appendSeparator(path), path_model::append_separator(path, {}))
            << path;
    }
}

NURICCL_TEST_BOTH_WIDTHS(GetDirName);

TYPED_TEST(GetDirName, EndsInFrontOfTheLastComponent) {
    expect_each<TypeParam>({{"", ""},
                            {"name", ""},
                            {"name/", ""},
                            {"/name", "/"},
                            {"/", ""},
                            {"///", ""},
                            {"/a/b", "/a/"},
                            {"/a/b/", "/a/"},
                            {"/home/user/", "/home/"},
                            {"a//b", "a//"},
                            {"a//b/", "a/"},
                            {R"(C:\dir\name)", ""},
                            {R"(\\server/share/name)", R"(\\server/share/)"}},
                           [](const auto& path) { return FilenameHelper::getDirName(path); });
}

TYPED_TEST(GetDirName, AgreesWithTheModelForAllShortNames) {
    for (const auto& path : short_names<TypeParam>()) {
        ASSERT_EQ(FilenameHelper::getDirName(path), path_model::dir_name(path)) << path;
    }
}

// Joining

TEST(Join, OfNarrowNamesIsSqueezed) {
    EXPECT_EQ(FilenameHelper::join("a/", "/b"), "a/b");
    EXPECT_EQ(FilenameHelper::join("a/", "b"), "a/b");
    EXPECT_EQ(FilenameHelper::join("a//b", "c//d"), "a/b/c/d");
    EXPECT_EQ(FilenameHelper::join("", "//x"), "/x");
    EXPECT_EQ(FilenameHelper::join("a//", ""), "a/");
    EXPECT_EQ(FilenameHelper::join(R"(\\server/)", "/share"), R"(\\server/share)");
}

TEST(Join, OfWideNamesIsNotSqueezed) {
    EXPECT_EQ(FilenameHelper::join(L"a/", L"/b"), L"a///b");
    EXPECT_EQ(FilenameHelper::join(L"a/", L"b"), L"a//b");
    EXPECT_EQ(FilenameHelper::join(L"a//b", L"c//d"), L"a//b/c//d");
    EXPECT_EQ(FilenameHelper::join(L"", L"//x"), L"///x");
    EXPECT_EQ(FilenameHelper::join(L"a//", L""), L"a///");
    EXPECT_EQ(FilenameHelper::join(LR"(\\server/)", L"/share"), LR"(\\server///share)");
}

TEST(Join, SqueezesTheGivenSeparatorOnly) {
    EXPECT_EQ(FilenameHelper::join("a//b\\", "\\c", "\\"), "a//b\\c");
    EXPECT_EQ(FilenameHelper::join("", "\\x", "\\"), "\\\\x") << "a network name begins";
    EXPECT_EQ(FilenameHelper::join("aabc", "d", "abc"), "aabccabcd");
    EXPECT_EQ(FilenameHelper::join("aab", "d", "ab"), "aababd");
    EXPECT_EQ(FilenameHelper::join(L"a\\", L"\\c", L"\\"), L"a\\\\\\c");
}

NURICCL_TEST_BOTH_WIDTHS(JoinBoth);

TYPED_TEST(JoinBoth, PutsASeparatorBetween) {
    const auto joined = [](std::string_view dir, std::string_view name, std::string_view sep) {
        return FilenameHelper::join(text<TypeParam>(dir), text<TypeParam>(name),
                                    text<TypeParam>(sep));
    };
    EXPECT_EQ(joined("a", "b", ""), text<TypeParam>("a/b"));
    EXPECT_EQ(joined("a", "b", "/"), text<TypeParam>("a/b"));
    EXPECT_EQ(joined("a", "b", R"(\)"), text<TypeParam>(R"(a\b)"));
    EXPECT_EQ(joined("a", "b", "::"), text<TypeParam>("a::b"));
    EXPECT_EQ(joined("a", "", ""), text<TypeParam>("a/"));
    EXPECT_EQ(joined("a", "", R"(\)"), text<TypeParam>(R"(a\)"));
}

TYPED_TEST(JoinBoth, TakesAnEmptyDirectoryForTheRoot) {
    const auto joined = [](std::string_view name, std::string_view sep) {
        return FilenameHelper::join({}, text<TypeParam>(name), text<TypeParam>(sep));
    };
    EXPECT_EQ(joined("x", ""), text<TypeParam>("/x"));
    EXPECT_EQ(joined("", ""), text<TypeParam>("/"));
    EXPECT_EQ(joined("x", R"(\)"), text<TypeParam>(R"(\x)"));
    EXPECT_EQ(joined("", R"(\)"), text<TypeParam>(R"(\)"));
}

TYPED_TEST(JoinBoth, AgreesWithTheModelForAllShortNames) {
    const auto names = texts::over<Text<TypeParam>>(text<TypeParam>("/a\\."), 3);
    const auto separators = texts::over<Text<TypeParam>>(text<TypeParam>("/a\\"), 2);
    for (const auto& dir : names) {
        for (const auto& name : names) {
            for (const auto& sep : separators) {
                ASSERT_EQ(FilenameHelper::join(dir, name, sep), path_model::join(dir, name, sep))
                    << dir << ' ' << name << ' ' << sep;
            }
            ASSERT_EQ(FilenameHelper::join(dir, name), path_model::join(dir, name, {}));
        }
    }
}

// Placing recurse markers

TEST(Composing, AppendsARecurseMarkerUnlessThereIsOne) {
    EXPECT_EQ(FilenameHelper::appendRecurseMarker("dir"), "dir/./");
    EXPECT_EQ(FilenameHelper::appendRecurseMarker("dir/"), "dir/./");
    EXPECT_EQ(FilenameHelper::appendRecurseMarker(""), "/./");
    EXPECT_EQ(FilenameHelper::appendRecurseMarker("/"), "/./");
    EXPECT_EQ(FilenameHelper::appendRecurseMarker("a//b"), "a/b/./");
    EXPECT_EQ(FilenameHelper::appendRecurseMarker("a/./b"), "a/./b");
    EXPECT_EQ(FilenameHelper::appendRecurseMarker("a//.//b"), "a//.//b");
}

TEST(Composing, AppendsARecurseMarkerToAWideNameWithoutSqueezing) {
    EXPECT_EQ(FilenameHelper::appendRecurseMarker(L"dir"), L"dir//./");
    EXPECT_EQ(FilenameHelper::appendRecurseMarker(L"dir/"), L"dir///./");
    EXPECT_EQ(FilenameHelper::appendRecurseMarker(L""), L"//./");
    EXPECT_EQ(FilenameHelper::appendRecurseMarker(L"/"), L"///./");
    EXPECT_EQ(FilenameHelper::appendRecurseMarker(L"a/./b"), L"a/./b");
}

TEST(Composing, InsertsARecurseMarkerInFrontOfTheLastComponent) {
    EXPECT_EQ(FilenameHelper::insertRecurseMarker("dir/name"), "dir/./name");
    EXPECT_EQ(FilenameHelper::insertRecurseMarker("/name"), "/./name");
    EXPECT_EQ(FilenameHelper::insertRecurseMarker("/a/./b"), "/a/./b");
    EXPECT_EQ(FilenameHelper::insertRecurseMarker("//a/./b"), "//a/./b");
    EXPECT_EQ(FilenameHelper::insertRecurseMarker("a//b//c"), "a/b/./c");
    EXPECT_EQ(FilenameHelper::insertRecurseMarker("dir/"), "dir/./");
    EXPECT_EQ(FilenameHelper::insertRecurseMarker("/"), "/./");
    EXPECT_EQ(FilenameHelper::insertRecurseMarker("name"), "name/./");
    EXPECT_EQ(FilenameHelper::insertRecurseMarker(""), "/./");
}

TEST(Composing, InsertsARecurseMarkerIntoAWideNameAndSqueezes) {
    EXPECT_EQ(FilenameHelper::insertRecurseMarker(L"dir/name"), L"dir/./name");
    EXPECT_EQ(FilenameHelper::insertRecurseMarker(L"/name"), L"/./name");
    EXPECT_EQ(FilenameHelper::insertRecurseMarker(L"a//b//c"), L"a/b/./c");
    EXPECT_EQ(FilenameHelper::insertRecurseMarker(L"/a/./b"), L"/a/./b");
    EXPECT_EQ(FilenameHelper::insertRecurseMarker(L"name"), L"name//./");
    EXPECT_EQ(FilenameHelper::insertRecurseMarker(L""), L"//./");
}

TEST(Composing, SelectsAllBelowAPath) {
    EXPECT_EQ(FilenameHelper::selectAllBelowPath("/data"), "/data/./*");
    EXPECT_EQ(FilenameHelper::selectAllBelowPath("/data/"), "/data/./*");
    EXPECT_EQ(FilenameHelper::selectAllBelowPath("/data/./sub"), "/data/./sub/*");
    EXPECT_EQ(FilenameHelper::selectAllBelowPath("/data//./sub//"), "/data/./sub/*");
    EXPECT_EQ(FilenameHelper::selectAllBelowPath(""), "/./*");
    EXPECT_EQ(FilenameHelper::selectAllBelowPath(L"/data"), L"/data//.//*");
    EXPECT_EQ(FilenameHelper::selectAllBelowPath(L"/data/./sub"), L"/data/./sub/*");
    EXPECT_EQ(FilenameHelper::selectAllBelowPath(L""), L"//.//*");
}

TEST(Composing, IgnoresTheFlag) {
    for (const std::string& path : texts::over<std::string>("/.a", 5)) {
        ASSERT_EQ(FilenameHelper::appendRecurseMarker(path, true), path_model::append_marker(path));
        ASSERT_EQ(FilenameHelper::appendRecurseMarker(path, false),
                  path_model::append_marker(path));
    }
}

NURICCL_TEST_BOTH_WIDTHS(ComposingBoth);

TYPED_TEST(ComposingBoth, AgreesWithTheModelForAllShortNames) {
    for (const auto& path : short_names<TypeParam>()) {
        ASSERT_EQ(FilenameHelper::appendRecurseMarker(path), path_model::append_marker(path))
            << path;
        ASSERT_EQ(FilenameHelper::insertRecurseMarker(path), path_model::insert_marker(path))
            << path;
        ASSERT_EQ(FilenameHelper::selectAllBelowPath(path), path_model::select_all(path)) << path;
    }
}

// Components

TEST(SplitFilename, GivesTheRootAndTheNamesBetweenSeparators) {
    EXPECT_EQ(split("/a//b/"), (Parts{"/", "a", "b"}));
    EXPECT_EQ(split("a/b"), (Parts{"a", "b"}));
    EXPECT_EQ(split(""), Parts{});
    EXPECT_EQ(split("/"), Parts{"/"});
    EXPECT_EQ(split("///"), Parts{"/"});
    EXPECT_EQ(split("//a"), (Parts{"/", "a"}));
    EXPECT_EQ(split("a"), Parts{"a"});
    EXPECT_EQ(split("a/"), Parts{"a"});
    EXPECT_EQ(split("./../a"), (Parts{".", "..", "a"}));
    EXPECT_EQ(split(R"(\\server\share/a b)"), (Parts{R"(\\server\share)", "a b"}));
    EXPECT_EQ(split(std::string("a\0b/\0", 5)), (Parts{std::string("a\0b", 3), {"\0", 1}}));
}

TEST(SplitFilename, AgreesWithTheModelForAllShortNames) {
    for (const std::string& path : short_names<char>()) {
        ASSERT_EQ(split(path), path_model::split(path)) << path;
    }
    for (const std::string& path : texts::over<std::string>("/a", 11)) {
        ASSERT_EQ(split(path), path_model::split(path)) << path;
    }
}

TEST(SplitFilename, IsSeparatedByTheSlashAlone) {
    for (const char c : texts::all_bytes()) {
        const std::string path = std::string("a") + c + "b";
        EXPECT_EQ(split(path), c == '/' ? (Parts{"a", "b"}) : Parts{path});
    }
}

TEST(SplitFilename, TakesAnElementOfTheListForThePath) {
    const Parts expected{"/", "first component of the path", "second component of the path"};
    for (int place = 0; place < 3; ++place) {
        Parts parts{"x", "y", "z"};
        std::string& path = *std::next(parts.begin(), place);
        path = "/first component of the path//second component of the path/";
        FilenameHelper::split_filename(path, parts);
        EXPECT_EQ(parts, expected) << place;
    }
    Parts parts{"a/b"}; // short enough to lie inside the element
    FilenameHelper::split_filename(parts.front(), parts);
    EXPECT_EQ(parts, (Parts{"a", "b"}));
}

TEST(SqueezeFilename, RemovesDotsAndEmptyComponents) {
    EXPECT_EQ(squeezed_filename("a/./b"), "a/b");
    EXPECT_EQ(squeezed_filename("a/b"), "a/b");
    EXPECT_EQ(squeezed_filename("."), "");
    EXPECT_EQ(squeezed_filename("./"), "");
    EXPECT_EQ(squeezed_filename("./a"), "a");
    EXPECT_EQ(squeezed_filename("././."), "");
    EXPECT_EQ(squeezed_filename("/."), "/");
    EXPECT_EQ(squeezed_filename("//a///b//"), "/a/b");
    EXPECT_EQ(squeezed_filename("a/b/"), "a/b");
    EXPECT_EQ(squeezed_filename("/"), "/");
    EXPECT_EQ(squeezed_filename("///"), "/");
    EXPECT_EQ(squeezed_filename(""), "");
}

TEST(SqueezeFilename, RemovesAComponentTogetherWithTheDotsBehindIt) {
    EXPECT_EQ(squeezed_filename("/a/../b"), "/b");
    EXPECT_EQ(squeezed_filename("/a/.."), "/");
    EXPECT_EQ(squeezed_filename("a/b/.."), "a");
    EXPECT_EQ(squeezed_filename("a/b/../c"), "a/c");
    EXPECT_EQ(squeezed_filename("a/b/c/../../d"), "a/d");
    EXPECT_EQ(squeezed_filename("/home/./user/../user"), "/home/user");
    EXPECT_EQ(squeezed_filename("a/b/./../c"), "a/c");
}

TEST(SqueezeFilename, KeepsTheFirstComponent) {
    EXPECT_EQ(squeezed_filename("a/.."), "a");
    EXPECT_EQ(squeezed_filename("a/b/../.."), "a");
    EXPECT_EQ(squeezed_filename("a/../../../b"), "a/b");
    EXPECT_EQ(squeezed_filename("/.."), "/");
    EXPECT_EQ(squeezed_filename("/../x"), "/x");
    EXPECT_EQ(squeezed_filename("/../../x/../.."), "/");
    EXPECT_EQ(squeezed_filename("./a/.."), "a") << "the first that is left";
}

TEST(SqueezeFilename, KeepsDotsThatHaveNothingInFrontOfThemToRemove) {
    EXPECT_EQ(squeezed_filename(".."), "..");
    EXPECT_EQ(squeezed_filename("../a"), "../a");
    EXPECT_EQ(squeezed_filename("../../a"), "../../a");
    EXPECT_EQ(squeezed_filename("../a/.."), "..");
    EXPECT_EQ(squeezed_filename("../a/../.."), "../..");
    EXPECT_EQ(squeezed_filename("../a/../../b"), "../../b");
    EXPECT_EQ(squeezed_filename("./../a"), "../a");
}

TEST(SqueezeFilename, TakesOnlyOneAndTwoDotsForSpecial) {
    EXPECT_EQ(squeezed_filename("a/.../b"), "a/.../b");
    EXPECT_EQ(squeezed_filename("a/b/..."), "a/b/...");
    EXPECT_EQ(squeezed_filename("a/.../.."), "a");
    EXPECT_EQ(squeezed_filename("a/..b/.c/d."), "a/..b/.c/d.");
    EXPECT_EQ(squeezed_filename("a/.. "), "a/.. ");
    EXPECT_EQ(squeezed_filename("a/b\\..\\c"), "a/b\\..\\c");
    EXPECT_EQ(squeezed_filename(std::string("a/b/..\0", 7)), std::string("a/b/..\0", 7));
}

TEST(SqueezeFilename, TellsWhetherTheLengthHasChanged) {
    const auto changed = [](std::string path) { return FilenameHelper::squeeze_filename(path); };
    EXPECT_TRUE(changed("a/./b"));
    EXPECT_FALSE(changed("a/b"));
    EXPECT_TRUE(changed("."));
    EXPECT_TRUE(changed("a/b/"));
    EXPECT_TRUE(changed("a/.."));
    EXPECT_FALSE(changed("../a"));
    EXPECT_FALSE(changed(""));
    EXPECT_FALSE(changed("/"));
}

TEST(SqueezeFilename, AgreesWithTheModelForAllShortNames) {
    for (const std::string& path : texts::over<std::string>("/.a", 10)) {
        ASSERT_EQ(squeezed_filename(path), path_model::squeeze_filename(path)) << path;
    }
    for (const std::string& path : short_names<char>()) {
        ASSERT_EQ(squeezed_filename(path), path_model::squeeze_filename(path)) << path;
    }
}

TEST(SqueezeFilename, AgreesWithTheModelForAllShortSequencesOfComponents) {
    const std::string_view components[] = {"..", ".", "a", "a long name of a component", ""};
    for (const std::string& sequence : texts::over<std::string>("01234", 6)) {
        for (const std::string_view start : {"", "/"}) {
            std::string path(start);
            for (const char which : sequence) {
                path.append(components[which - '0']).append("/");
            }
            ASSERT_EQ(squeezed_filename(path), path_model::squeeze_filename(path)) << path;
        }
    }
}

TEST(SqueezeFilename, AgreesWithTheModelForRandomPaths) {
    const unsigned int seed = static_cast<unsigned int>(GTEST_FLAG_GET(random_seed));
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const std::string_view components[] = {"..", "..", "..", ".", "", "/", "a", "bc", "...", "d/e"};
    for (int round = 0; round < 20000; ++round) {
        std::string path;
        for (auto count = random() % 30; count > 0; --count) {
            path.append(components[random() % std::size(components)]).append("/");
        }
        if (!path.empty() && random() % 2 == 0) {
            path.pop_back();
        }
        ASSERT_EQ(squeezed_filename(path), path_model::squeeze_filename(path)) << path;
    }
}

// Conversions

namespace {

using namespace std::string_literals;

const std::wstring WIDE_NAMES[] = {
    L""s,
    L"/home/user"s,
    L"caf\u00e9"s,
    L"\u20ac 5"s,
    L"\u4e2d\u6587/a"s,
    L"a\U0001f600b"s,
    L"\ufeffa"s,
    L"ab\0cd"s,
    L"ab\0\u4e2d"s,
    L"\0ab"s,
    L"a\0"s,
    L"a\u0001\u007f\u0080\u00a0"s,
    std::wstring{L'a', wchar_t{0xd800}, L'b'},
    std::wstring{L'a', wchar_t{0x110000}, L'b'},
    std::wstring{static_cast<wchar_t>(-1)},
};

const std::string NARROW_NAMES[] = {
    "",
    "/home/user",
    "caf\xc3\xa9",
    "caf\xe9",
    "\xe4\xb8\xad\xe6\x96\x87/a",
    "a\xf0\x9f\x98\x80",
    "a\xc3",
    "\xc3",
    "a\xff"
    "b",
    "\x80",
    "ab\0cd"s,
    "ab\0\xff"s,
    "\0ab"s,
    "a\0"s,
    "\xed\xa0\x80",
    "\xef\xbb\xbfz",
};

// All enumerators, and values beside them.
std::vector<CP> code_pages() {
    std::vector<CP> pages;
    for (int page = -1; page <= 10; ++page) {
        pages.push_back(static_cast<CP>(page));
    }
    return pages;
}

template <class Char>
Text<Char> up_to_nul(const Text<Char>& name) {
    return name.c_str();
}

const std::string TO_MULTIBYTE = "Error converting string to multibyte: ";
const std::string TO_WIDE = "Error converting string to wide: ";

std::string in_ascii(const std::wstring& name) {
    std::string result;
    for (const wchar_t c : name) {
        result += c >= 0 && c < 0x80 ? static_cast<char>(c) : '?';
    }
    return result;
}

// The message may go on behind a NUL.
template <class Conversion>
void expect_failure(Conversion conversion, const std::string& message) {
    try {
        conversion();
        ADD_FAILURE() << "converted instead of: " << message;
    } catch (const std::exception& error) {
        EXPECT_TRUE(typeid(error) == typeid(std::runtime_error));
        EXPECT_TRUE(std::equal(message.c_str(), message.c_str() + message.size() + 1, error.what()))
            << error.what() << "\ninstead of\n"
            << message;
    }
}

void expect_like_encoding(const std::wstring& name, CP page, bool flag) {
    const std::wstring cut = up_to_nul(name);
    std::string expected;
    const bool converts = Encoding::toMultibyte(cut.data(), static_cast<unsigned int>(cut.size()),
                                                expected, Encoding::CodePage(page),
                                                Encoding::s_defaultChars, Encoding::s_bestFitChars);
    std::string out = "what stood there before";
    ASSERT_EQ(FilenameHelper::wideToMultibyte(out, name, page, flag), converts);
    ASSERT_EQ(out, expected);
    if (converts) {
        ASSERT_EQ(FilenameHelper::wideToMultibyte(name, page, flag), expected);
    } else {
        expect_failure([&] { FilenameHelper::wideToMultibyte(name, page, flag); },
                       TO_MULTIBYTE + in_ascii(name));
    }
}

void expect_like_encoding(const std::string& name, CP page, bool flag) {
    const std::string cut = up_to_nul(name);
    std::wstring expected;
    const bool converts = Encoding::toWideChar(cut.data(), static_cast<unsigned int>(cut.size()),
                                               expected, Encoding::CodePage(page), false);
    std::wstring out = L"what stood there before";
    ASSERT_EQ(FilenameHelper::multibyteToWide(out, name, page, flag), converts);
    ASSERT_EQ(out, expected);
    if (converts) {
        ASSERT_EQ(FilenameHelper::multibyteToWide(name, page, flag), expected);
    } else {
        expect_failure([&] { FilenameHelper::multibyteToWide(name, page, flag); }, TO_WIDE + name);
    }
}

template <class Name>
void expect_all_like_encoding(const Name& names) {
    for (const CP page : code_pages()) {
        for (const auto& name : names) {
            for (const bool flag : {false, true}) {
                SCOPED_TRACE(::testing::Message() << "code page " << page << ", " << name);
                expect_like_encoding(name, page, flag);
            }
        }
    }
}

} // namespace

TEST(Conversions, UseTheCodePage) {
    EXPECT_EQ(FilenameHelper::wideToMultibyte(L"\u20ac\u00e9", Encoding::CP_UTF8),
              "\xe2\x82\xac\xc3\xa9");
    EXPECT_EQ(FilenameHelper::wideToMultibyte(L"\u20ac\u00e9", Encoding::CP_WIN1252), "\x80\xe9");
    EXPECT_EQ(FilenameHelper::wideToMultibyte(L"/home", Encoding::CP_USASCII), "/home");
    EXPECT_EQ(FilenameHelper::multibyteToWide("\xe2\x82\xac\xc3\xa9", Encoding::CP_UTF8),
              L"\u20ac\u00e9");
    EXPECT_EQ(FilenameHelper::multibyteToWide("\x80\xe9", Encoding::CP_WIN1252), L"\u20ac\u00e9");
    EXPECT_EQ(FilenameHelper::multibyteToWide("/home", Encoding::CP_USASCII), L"/home");
}

TEST(Conversions, ReportSuccessAndReplaceWhatWasThere) {
    std::string narrow = "what stood there before";
    EXPECT_TRUE(FilenameHelper::wideToMultibyte(narrow, L"\u00e9", Encoding::CP_UTF8));
    EXPECT_EQ(narrow, "\xc3\xa9");
    std::wstring wide = L"what stood there before";
    EXPECT_TRUE(FilenameHelper::multibyteToWide(wide, "\xc3\xa9", Encoding::CP_UTF8));
    EXPECT_EQ(wide, L"\u00e9");
}

TEST(Conversions, ReportFailureAndKeepWhatCameBefore) {
    std::string narrow = "what stood there before";
    EXPECT_FALSE(FilenameHelper::wideToMultibyte(narrow, L"ab\u00e9cd", Encoding::CP_USASCII));
    EXPECT_EQ(narrow, "ab");
    std::wstring wide = L"what stood there before";
    EXPECT_FALSE(FilenameHelper::multibyteToWide(wide,
                                                 "ab\xff"
                                                 "cd",
                                                 Encoding::CP_UTF8));
    EXPECT_EQ(wide, L"ab");
}

TEST(Conversions, OfAnEmptyNameSucceedInEveryCodePage) {
    for (const CP page : code_pages()) {
        std::string narrow = "what stood there before";
        EXPECT_TRUE(FilenameHelper::wideToMultibyte(narrow, L"", page)) << page;
        EXPECT_EQ(narrow, "") << page;
        EXPECT_EQ(FilenameHelper::wideToMultibyte(L"", page), "") << page;
        std::wstring wide = L"what stood there before";
        EXPECT_TRUE(FilenameHelper::multibyteToWide(wide, "", page)) << page;
        EXPECT_EQ(wide, L"") << page;
        EXPECT_EQ(FilenameHelper::multibyteToWide("", page), L"") << page;
    }
}

TEST(Conversions, EndAtTheFirstNul) {
    EXPECT_EQ(FilenameHelper::wideToMultibyte(L"ab\0cd"s, Encoding::CP_UTF8), "ab");
    EXPECT_EQ(FilenameHelper::wideToMultibyte(L"ab\0\u00e9"s, Encoding::CP_USASCII), "ab");
    EXPECT_EQ(FilenameHelper::wideToMultibyte(L"\0\u00e9"s, Encoding::CP_USASCII), "");
    EXPECT_EQ(FilenameHelper::multibyteToWide("ab\0cd"s, Encoding::CP_UTF8), L"ab");
    EXPECT_EQ(FilenameHelper::multibyteToWide("ab\0\xff"s, Encoding::CP_UTF8), L"ab");
    EXPECT_EQ(FilenameHelper::multibyteToWide("\0\xff"s, Encoding::CP_UTF8), L"");
    const scoped::CLocale locale("C.UTF-8");
    EXPECT_EQ(FilenameHelper::wideToMultibyte(L"ab\0cd"s, Encoding::CP_DEFAULT), "ab");
    EXPECT_EQ(FilenameHelper::multibyteToWide("ab\0cd"s, Encoding::CP_DEFAULT), L"aa");
}

TEST(Conversions, TakeZeroForTheCodePageOfTheProcess) {
    const auto page = static_cast<CP>(0);
    std::string narrow;
    {
        const scoped::CLocale locale("C.UTF-8");
        EXPECT_EQ(FilenameHelper::wideToMultibyte(L"caf\u00e9", page), "caf\xc3\xa9");
        EXPECT_EQ(FilenameHelper::multibyteToWide("\xc3\xa9", page), L"\u00e9");
    }
    const scoped::CLocale locale("C");
    EXPECT_FALSE(FilenameHelper::wideToMultibyte(narrow, L"caf\u4e2d", page));
    EXPECT_EQ(narrow, "caf");
    EXPECT_EQ(FilenameHelper::wideToMultibyte(L"cafe", page), "cafe");
    expect_failure([&] { FilenameHelper::wideToMultibyte(L"caf\u4e2d", page); },
                   TO_MULTIBYTE + "caf?");
}

// The position moves past bad bytes only, so that the first character stands for all.
TEST(Conversions, RepeatTheFirstCharacterOfTextInTheCodePageOfTheProcess) {
    const scoped::CLocale locale("C.UTF-8");
    EXPECT_EQ(FilenameHelper::multibyteToWide("abc", Encoding::CP_DEFAULT), L"aaa");
    EXPECT_EQ(FilenameHelper::multibyteToWide("\xc3\xa9xyz", Encoding::CP_DEFAULT),
              L"\u00e9\u00e9\u00e9");
    expect_failure(
        [] {
            FilenameHelper::multibyteToWide("\xff"
                                            "abc",
                                            Encoding::CP_DEFAULT);
        },
        TO_WIDE + "\xff"
                  "abc");
}

TEST(Conversions, TellTheWholeWideNameInAscii) {
    expect_failure(
        [] {
            FilenameHelper::wideToMultibyte(L"/caf\u00e9/\u4e2d\U0001f600~", Encoding::CP_USASCII);
        },
        TO_MULTIBYTE + "/caf?/\?\?~");
    expect_failure([] { FilenameHelper::wideToMultibyte(L"a\u4e2d\u00e9", Encoding::CP_WIN1252); },
                   TO_MULTIBYTE + "a??");
    expect_failure(
        [] { FilenameHelper::wideToMultibyte(L"\u00e9\0b\u00e9"s, Encoding::CP_USASCII); },
        TO_MULTIBYTE + "?\0b?"s);
    const std::wstring no_character{L'a', wchar_t{0xd800}, L'\u00e9', L'b'};
    expect_failure([&] { FilenameHelper::wideToMultibyte(no_character, Encoding::CP_UTF8); },
                   TO_MULTIBYTE + "a??b");
    const std::wstring long_name = std::wstring(5000, L'a') + std::wstring(5000, L'\u00e9');
    expect_failure([&] { FilenameHelper::wideToMultibyte(long_name, Encoding::CP_USASCII); },
                   TO_MULTIBYTE + std::string(5000, 'a') + std::string(5000, '?'));
}

TEST(Conversions, TellTheWholeMultibyteNameAsItIs) {
    expect_failure([] { FilenameHelper::multibyteToWide("/caf\xe9", Encoding::CP_UTF8); },
                   TO_WIDE + "/caf\xe9");
    expect_failure([] { FilenameHelper::multibyteToWide("a\xc3", Encoding::CP_UTF8); },
                   TO_WIDE + "a\xc3");
    expect_failure([] { FilenameHelper::multibyteToWide("\x80\0b\xff"s, Encoding::CP_USASCII); },
                   TO_WIDE + "\x80\0b\xff"s);
    const std::string long_name = std::string(10000, 'a') + '\xff';
    expect_failure([&] { FilenameHelper::multibyteToWide(long_name, Encoding::CP_UTF8); },
                   TO_WIDE + long_name);
}

// A replaced character is a failure all the same, and the message has its own replacement.
TEST(Conversions, PutTheSubstitutionForCharactersThatTheCodePageDoesNotHave) {
    for (const bool best_fit : {false, true}) {
        const Substitution substitution("<->", best_fit);
        std::string out;
        EXPECT_FALSE(FilenameHelper::wideToMultibyte(out, L"a\u00e9b\u4e2d", Encoding::CP_USASCII));
        EXPECT_EQ(out, "a<->b<->");
        expect_failure(
            [] { FilenameHelper::wideToMultibyte(L"a\u00e9b\u4e2d", Encoding::CP_USASCII); },
            TO_MULTIBYTE + "a?b?");
        const scoped::CLocale locale("C");
        EXPECT_FALSE(FilenameHelper::wideToMultibyte(out,
                                                     L"a\u4e2d"
                                                     L"b",
                                                     Encoding::CP_DEFAULT));
        EXPECT_EQ(out, "a<->b");
        std::wstring wide;
        EXPECT_FALSE(FilenameHelper::multibyteToWide(wide, "a\xff", Encoding::CP_UTF8));
        EXPECT_EQ(wide, L"a") << "it is for one direction only";
    }
}

TEST(Conversions, NeverBestFit) {
    for (const bool best_fit : {false, true}) {
        const Substitution substitution(nullptr, best_fit);
        std::string out;
        EXPECT_FALSE(FilenameHelper::wideToMultibyte(out, L"a\u00e9", Encoding::CP_USASCII));
        EXPECT_EQ(out, "a");
    }
}

TEST(Conversions, DoWhatEncodingDoes) {
    for (const char* const name : {"C", "C.UTF-8"}) {
        const scoped::CLocale locale(name);
        for (const char* const chars : {static_cast<const char*>(nullptr), "", "?", "<->"}) {
            SCOPED_TRACE(name + " '"s + (chars != nullptr ? chars : "null") + '\'');
            const Substitution substitution(chars, chars != nullptr);
            expect_all_like_encoding(WIDE_NAMES);
            expect_all_like_encoding(NARROW_NAMES);
        }
    }
}

TEST(Conversions, LeaveTheSettingsAsTheyAre) {
    const char* const chars = "<->";
    const Substitution substitution(chars, true);
    const bool ignore_bad = Encoding::s_ignoreBadChars;
    std::string out;
    FilenameHelper::wideToMultibyte(out, L"\u00e9", Encoding::CP_USASCII);
    EXPECT_THROW(FilenameHelper::wideToMultibyte(L"\u00e9", Encoding::CP_USASCII),
                 std::runtime_error);
    EXPECT_EQ(Encoding::s_defaultChars, chars);
    EXPECT_TRUE(Encoding::s_bestFitChars);
    EXPECT_EQ(Encoding::s_ignoreBadChars, ignore_bad);
}

TEST(ConversionSteps, ReturnACopy) {
    const FilenameHelper::CodePage_UTF8 to_utf8{};
    const FilenameHelper::UTF8_CodePage from_utf8{};
    for (const std::string& name : NARROW_NAMES) {
        EXPECT_EQ(to_utf8(name), name);
        EXPECT_EQ(from_utf8(name), name);
    }
    EXPECT_EQ(to_utf8(texts::all_bytes()), texts::all_bytes());
    EXPECT_EQ(from_utf8(texts::all_bytes()), texts::all_bytes());
}

TEST(ConversionSteps, HaveNoDataAndServeGenericCode) {
    EXPECT_TRUE(std::is_empty_v<FilenameHelper::CodePage_UTF8>);
    EXPECT_TRUE(std::is_empty_v<FilenameHelper::UTF8_CodePage>);
    EXPECT_TRUE((std::is_same_v<decltype(&FilenameHelper::CodePage_UTF8::operator()),
                                S (FilenameHelper::CodePage_UTF8::*)(const S&) const>));
    EXPECT_TRUE((std::is_same_v<decltype(&FilenameHelper::UTF8_CodePage::operator()),
                                S (FilenameHelper::UTF8_CodePage::*)(const S&) const>));
    std::vector<std::string> names{"a", "b"};
    std::transform(names.begin(), names.end(), names.begin(), FilenameHelper::CodePage_UTF8());
    std::transform(names.begin(), names.end(), names.begin(), FilenameHelper::UTF8_CodePage());
    EXPECT_EQ(names, (std::vector<std::string>{"a", "b"}));
}

// Names as long as agents support. A function that took time in proportion to the square of the
// length would be noticed.

namespace {

constexpr std::size_t LONGEST = SANITIZED ? 262144 / 4 : 262144;

// Patterns that are repeated up to the longest name.
const std::string_view SHAPES[] = {"/",  "a",   ".",   "\\",    "*",     ":",  "/a",  "a//",
                                   "./", "/..", "/./", "/\\\\", "a/b//", "?*", "a/.", "..../"};

template <class Char>
Text<Char> longest(std::string_view shape) {
    return repeated<Char>(shape, LONGEST / shape.size() + 1).substr(0, LONGEST);
}

} // namespace

NURICCL_TEST_BOTH_WIDTHS(LongNamesBoth);

TYPED_TEST(LongNamesBoth, AreSqueezedAndChopped) {
    for (const std::string_view shape : SHAPES) {
        SCOPED_TRACE(shape);
        const auto path = longest<TypeParam>(shape);
        EXPECT_EQ(FilenameHelper::squeeze(path), path_model::squeeze(path));
        EXPECT_EQ(FilenameHelper::chopSeparator(path), path_model::chop(path));
        EXPECT_EQ(FilenameHelper::appendSeparator(path), path_model::append_separator(path, {}));
        EXPECT_EQ(FilenameHelper::getDirName(path), path_model::dir_name(path));
    }
}

TYPED_TEST(LongNamesBoth, AreComposed) {
    for (const std::string_view shape : SHAPES) {
        SCOPED_TRACE(shape);
        const auto path = longest<TypeParam>(shape);
        EXPECT_EQ(FilenameHelper::join(path, path), path_model::join(path, path, {}));
        EXPECT_EQ(FilenameHelper::appendRecurseMarker(path), path_model::append_marker(path));
        EXPECT_EQ(FilenameHelper::insertRecurseMarker(path), path_model::insert_marker(path));
        EXPECT_EQ(FilenameHelper::selectAllBelowPath(path), path_model::select_all(path));
    }
}

TYPED_TEST(LongNamesBoth, AreClassified) {
    for (const std::string_view shape : SHAPES) {
        SCOPED_TRACE(shape);
        const auto path = longest<TypeParam>(shape);
        EXPECT_EQ(FilenameHelper::hasRecurseMarker(path),
                  path_model::marker(path) != path_model::NONE);
        EXPECT_EQ(FilenameHelper::removeRecurseMarker(path), path_model::remove_marker(path));
        EXPECT_EQ(FilenameHelper::isRelative(path), shape[0] != '/');
        EXPECT_FALSE(FilenameHelper::isDevice(path));
        EXPECT_FALSE(FilenameHelper::isUNCDevicePath(path));
        EXPECT_FALSE(FilenameHelper::isDirectory(path));
        EXPECT_EQ(FilenameHelper::hasWildCard(path),
                  shape.find_first_of("*?") != std::string_view::npos);
    }
}

TYPED_TEST(LongNamesBoth, LoseTheirStreams) {
    for (const std::string_view shape : {":", "a", "a:b/"}) {
        const std::string narrow = longest<char>(shape);
        EXPECT_EQ(FilenameHelper::convertAltStreamName(longest<TypeParam>(shape)),
                  path_model::without_stream(narrow));
        EXPECT_EQ(
            FilenameHelper::convertAltStreamName(longest<TypeParam>("a") + longest<TypeParam>(":")),
            longest<char>("a"));
    }
}

TYPED_TEST(LongNamesBoth, AreSqueezedWithSeparatorsOfSeveralCharacters) {
    const auto squeezed = [](const Text<TypeParam>& path, std::string_view sep) {
        return FilenameHelper::squeeze(path, text<TypeParam>(sep));
    };
    const std::size_t times = LONGEST / 5;
    EXPECT_EQ(squeezed(repeated<TypeParam>("abc", times), "abc"),
              repeated<TypeParam>("abcc", times - 1) + text<TypeParam>("abc"));
    EXPECT_EQ(squeezed(repeated<TypeParam>("abcde", times), "abcde"),
              repeated<TypeParam>("abcdecde", times - 1) + text<TypeParam>("abcde"));
    for (const std::string_view sep : {"ab", "aa", "aaa", "abab", "aaaaa"}) {
        const auto path = longest<TypeParam>(sep);
        EXPECT_EQ(squeezed(path, sep), path) << sep;
    }
}

TYPED_TEST(LongNamesBoth, MayBeSeparatorsThemselves) {
    const auto x = text<TypeParam>("x");
    const auto ys = repeated<TypeParam>("y", LONGEST / 2 - 1);
    const auto sep = x + ys;
    EXPECT_EQ(FilenameHelper::squeeze(sep + sep, sep), sep + ys.substr(1) + sep);
    EXPECT_EQ(FilenameHelper::squeeze(ys + ys, ys), ys + ys) << "it would never end";
    EXPECT_EQ(FilenameHelper::appendSeparator(x, sep), x + sep);
    EXPECT_EQ(FilenameHelper::join(x, x, sep), x + sep + x);
}

TEST(LongNames, AreClassifiedAsDevicePaths) {
    for (const DeviceTest& test : DEVICE_TESTS) {
        EXPECT_TRUE(test.matches(test.marker + longest<char>("\\")));
        EXPECT_FALSE(test.matches(longest<char>("\\")));
        EXPECT_FALSE(test.matches(longest<char>(R"(\\?\)")));
    }
}

TEST(LongNames, LoseTheirWildcards) {
    EXPECT_EQ(FilenameHelper::removeWildcardMarker(longest<char>("*")), "");
    EXPECT_EQ(FilenameHelper::removeWildcardMarker(longest<char>("*?a*")),
              std::string(LONGEST / 4, 'a'));
    EXPECT_EQ(FilenameHelper::removeWildcardMarker(longest<char>("/")), longest<char>("/"));
}

TEST(LongNames, TellWhetherTheMarkerIsLast) {
    bool flag = false;
    EXPECT_TRUE(FilenameHelper::hasRecurseMarker(longest<char>("/") + "./a", &flag));
    EXPECT_TRUE(flag);
    EXPECT_TRUE(FilenameHelper::hasRecurseMarker("/./" + longest<char>("a") + "/", &flag));
    EXPECT_FALSE(flag);
}

TEST(LongNames, AreSplit) {
    EXPECT_EQ(split(longest<char>("/")), Parts{"/"});
    EXPECT_EQ(split(longest<char>("a/")), Parts(LONGEST / 2, "a"));
    EXPECT_EQ(split(longest<char>("a")), Parts{longest<char>("a")});
    Parts expected(LONGEST / 2, "a");
    expected.push_front("/");
    EXPECT_EQ(split(longest<char>("/a")), expected);
}

TEST(LongNames, LoseTheirDots) {
    const auto up = [](std::size_t times) { return repeated<char>("../", times); };
    const auto names = [](std::size_t times) { return repeated<char>("a/", times); };
    const auto without_last = [](std::string path) { return path.substr(0, path.size() - 1); };
    const std::size_t many = LONGEST / 12;

    EXPECT_EQ(squeezed_filename(longest<char>("/")), "/");
    EXPECT_EQ(squeezed_filename(longest<char>("a")), longest<char>("a"));
    EXPECT_EQ(squeezed_filename(longest<char>(".")), longest<char>("."));
    EXPECT_EQ(squeezed_filename(repeated<char>("./", LONGEST / 2)), "");
    EXPECT_EQ(squeezed_filename(repeated<char>("/./", LONGEST / 3)), "/");
    EXPECT_EQ(squeezed_filename(repeated<char>("/..", LONGEST / 3)), "/");
    EXPECT_EQ(squeezed_filename(names(many)), without_last(names(many)));
    EXPECT_EQ(squeezed_filename(up(many)), without_last(up(many)));
    EXPECT_EQ(squeezed_filename(repeated<char>("a/../", LONGEST / 5)), "a");
    EXPECT_EQ(squeezed_filename(repeated<char>("a/b/../", many)), without_last(names(many)));
    EXPECT_EQ(squeezed_filename(names(many) + up(many)), "a");
    EXPECT_EQ(squeezed_filename('/' + names(many) + up(many) + "b"), "/b");
    EXPECT_EQ(squeezed_filename(names(many) + up(many / 2)), without_last(names(many - many / 2)));
    EXPECT_EQ(squeezed_filename(up(many) + names(many) + up(many)), without_last(up(many)));
    EXPECT_EQ(squeezed_filename(up(many) + names(many) + up(many + 1)), without_last(up(many + 1)));
}

TEST(LongNames, AreConverted) {
    const std::wstring wide(LONGEST, L'\u4e2d');
    const std::string narrow = repeated<char>("\xe4\xb8\xad", LONGEST);
    EXPECT_EQ(FilenameHelper::wideToMultibyte(wide, Encoding::CP_UTF8), narrow);
    EXPECT_EQ(FilenameHelper::multibyteToWide(narrow, Encoding::CP_UTF8), wide);
    const scoped::CLocale locale("C.UTF-8");
    EXPECT_EQ(FilenameHelper::wideToMultibyte(wide, Encoding::CP_DEFAULT), narrow);
    EXPECT_EQ(FilenameHelper::multibyteToWide(narrow, Encoding::CP_DEFAULT), wide);
    EXPECT_EQ(FilenameHelper::convertAltStreamName(wide + L':'), narrow);
}

TEST(LongNames, AreToldWhenTheyCannotBeConverted) {
    const std::size_t bad = 20000;
    const std::wstring wide = std::wstring(LONGEST - bad, L'a') + std::wstring(bad, L'\u4e2d');
    expect_failure([&] { FilenameHelper::wideToMultibyte(wide, Encoding::CP_USASCII); },
                   TO_MULTIBYTE + std::string(LONGEST - bad, 'a') + std::string(bad, '?'));
    const std::string narrow = longest<char>("a/") + '\xff';
    expect_failure([&] { FilenameHelper::multibyteToWide(narrow, Encoding::CP_UTF8); },
                   TO_WIDE + narrow);
}

// Memory

namespace {

// Lets every allocation of a call fail once. The call succeeds in the end, and nothing leaks.
template <class Call>
void expect_to_survive(const char* what, Call call) {
    call(); // what is made once in a process is there
    const allocation::Watch watch;
    EXPECT_GT(allocation::fail_each(call, [] {}), 0U) << what;
    EXPECT_EQ(watch.live(), 0) << what;
}

const std::string LONG_NAME = "//a directory with a long name//./and a file with a long name//";

} // namespace

NURICCL_TEST_BOTH_WIDTHS(FailedAllocations);

TYPED_TEST(FailedAllocations, ComeOutOfEveryFunctionThatReturnsAText) {
    const auto name = text<TypeParam>(LONG_NAME);
    const auto plain = text<TypeParam>("//a directory with a long name//and a file");
    const auto sep = text<TypeParam>("a separator of some length");
    expect_to_survive("addUnipathMarker", [&] { FilenameHelper::addUnipathMarker(name); });
    expect_to_survive("removeUnipathMarker", [&] { FilenameHelper::removeUnipathMarker(name); });
    expect_to_survive("removeRecurseMarker", [&] { FilenameHelper::removeRecurseMarker(name); });
    expect_to_survive("convertAltStreamName", [&] { FilenameHelper::convertAltStreamName(name); });
    expect_to_survive("squeeze", [&] { FilenameHelper::squeeze(name); });
    expect_to_survive("squeeze, long separator",
                      [&] { FilenameHelper::squeeze(name + sep + sep, sep); });
    expect_to_survive("chopSeparator", [&] { FilenameHelper::chopSeparator(name); });
    expect_to_survive("join", [&] { FilenameHelper::join(name, name, sep); });
    expect_to_survive("appendSeparator", [&] { FilenameHelper::appendSeparator(name, sep); });
    expect_to_survive("getDirName", [&] { FilenameHelper::getDirName(name); });
    expect_to_survive("appendRecurseMarker", [&] { FilenameHelper::appendRecurseMarker(plain); });
    expect_to_survive("insertRecurseMarker", [&] { FilenameHelper::insertRecurseMarker(plain); });
    expect_to_survive("selectAllBelowPath", [&] { FilenameHelper::selectAllBelowPath(plain); });
    if constexpr (std::is_same_v<TypeParam, char>) {
        expect_to_survive("getProperCaseAnsi", [&] { FilenameHelper::getProperCaseAnsi(name); });
        expect_to_survive("removeWildcardMarker",
                          [&] { FilenameHelper::removeWildcardMarker(name); });
        expect_to_survive("CodePage_UTF8", [&] { FilenameHelper::CodePage_UTF8()(name); });
        expect_to_survive("UTF8_CodePage", [&] { FilenameHelper::UTF8_CodePage()(name); });
    }
}

TEST(Allocations, FailInConversionsAsBadAlloc) {
    const std::wstring wide(100, L'a');
    const std::string narrow(100, 'a');
    for (const CP page : {Encoding::CP_DEFAULT, Encoding::CP_UTF8}) {
        expect_to_survive("to multibyte", [&] { FilenameHelper::wideToMultibyte(wide, page); });
        expect_to_survive("to wide", [&] { FilenameHelper::multibyteToWide(narrow, page); });
        expect_to_survive("to multibyte, by bool", [&] {
            std::string out;
            FilenameHelper::wideToMultibyte(out, wide, page);
        });
        expect_to_survive("to wide, by bool", [&] {
            std::wstring out;
            FilenameHelper::multibyteToWide(out, narrow, page);
        });
    }
}

TEST(Allocations, FailInTheMessageOfAFailureAsBadAlloc) {
    const std::wstring wide(100, L'\u00e9');
    const std::string narrow(100, '\xff');
    expect_to_survive("to multibyte", [&] {
        try {
            FilenameHelper::wideToMultibyte(wide, Encoding::CP_USASCII);
        } catch (const std::runtime_error&) {
        }
    });
    expect_to_survive("to wide", [&] {
        try {
            FilenameHelper::multibyteToWide(narrow, Encoding::CP_USASCII);
        } catch (const std::runtime_error&) {
        }
    });
}

TEST(Allocations, AFailedOneLeavesTheFilenameAsItWas) {
    for (const std::string& before : {LONG_NAME, std::string(1000, '/'),
                                      repeated<char>("a/", 100) + repeated<char>("../", 50)}) {
        std::string path = before;
        EXPECT_GT(allocation::fail_each([&] { FilenameHelper::squeeze_filename(path); },
                                        [&] { EXPECT_EQ(path, before); }),
                  0U);
        EXPECT_EQ(path, path_model::squeeze_filename(before));
    }
}

TEST(Allocations, AFailedOneLeavesTheComponentsSoFar) {
    const std::string path = "/a/" + LONG_NAME + "b/c/" + LONG_NAME;
    const Parts expected = path_model::split(path);
    Parts parts;
    std::vector<std::size_t> sizes;
    allocation::fail_each([&] { FilenameHelper::split_filename(path, parts); },
                          [&] {
                              ASSERT_LT(parts.size(), expected.size());
                              EXPECT_TRUE(std::equal(parts.begin(), parts.end(), expected.begin()));
                              sizes.push_back(parts.size());
                              parts.assign(3, "what stood there before");
                          });
    EXPECT_EQ(parts, expected);
    EXPECT_TRUE(std::is_sorted(sizes.begin(), sizes.end()));
    sizes.erase(std::unique(sizes.begin(), sizes.end()), sizes.end());
    EXPECT_EQ(sizes.size(), expected.size()) << "each number of components comes up";
}

TEST(Allocations, AFailedOneLeavesTheComponentsOfAnElementOfTheList) {
    const Parts expected{"/", "a", "a component with a long name"};
    for (std::size_t failing = 0;; ++failing) {
        Parts parts{"what stood there before", "/a/a component with a long name"};
        if (!allocation::fails_at(failing,
                                  [&] { FilenameHelper::split_filename(parts.back(), parts); })) {
            EXPECT_EQ(parts, expected);
            EXPECT_GE(failing, expected.size());
            break;
        }
        ASSERT_LT(parts.size(), expected.size());
        EXPECT_TRUE(std::equal(parts.begin(), parts.end(), expected.begin()));
    }
}

TEST(Allocations, AreNotNeededToSearch) {
    const std::string narrow = repeated<char>("a/./*", 1000);
    const std::wstring wide = widened(narrow);
    bool flag = false;
    EXPECT_EQ(allocation::count([&] {
                  FilenameHelper::hasRecurseMarker(narrow, &flag);
                  FilenameHelper::hasRecurseMarker(wide);
                  FilenameHelper::hasWildCard(narrow);
                  FilenameHelper::hasWildCard(wide);
                  FilenameHelper::isDirectory(narrow);
                  FilenameHelper::isDirectory(wide);
              }),
              0U);
}

TEST(FilenameUsage, WorksAsTheHeaderShows) {
    EXPECT_EQ(FilenameHelper::join("backup/", "/etc"), "backup/etc");
    EXPECT_EQ(FilenameHelper::getDirName("/home/user/"), "/home/");
    std::string name = "/home/./user/../user";
    EXPECT_TRUE(FilenameHelper::squeeze_filename(name));
    EXPECT_EQ(name, "/home/user");
    EXPECT_EQ(FilenameHelper::wideToMultibyte(L"\u00fc", Encoding::CP_UTF8), "\xc3\xbc");
}
