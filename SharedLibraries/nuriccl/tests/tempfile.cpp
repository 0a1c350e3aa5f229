// Tests of the classes of temporary files.
//
//   public member                  cases
//   ExclusionType                  ExclusionType.*
//   ExclusionClassByNameAndType    ExclusionClass.*
//   PathToPattern                  PathToPattern.*
//   the example of the header      TempFileUsage.*

#include "support/allocation.hpp"
#include "support/texts.hpp"

#include <nuriccl/tempfile.hpp>

#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using nuriccl::TempFile;
using Kind = TempFile::ExclusionType::values;

const std::string CLASSES[] = {"Memory Page File", "Power Management"};

const Kind RECOGNISED = static_cast<Kind>(1);
const Kind END = static_cast<Kind>(3);

bool recognised(const std::string& name, Kind kind) {
    return TempFile::ExclusionClassByNameAndType(name, kind);
}

// Taken while this program's own statics are built.
const bool recognised_at_start =
    recognised(CLASSES[0], RECOGNISED) && recognised(CLASSES[1], RECOGNISED);

std::vector<Kind> other_kinds() {
    using Limits = std::numeric_limits<int>;
    std::vector<Kind> kinds;
    for (const int kind : {0, 2, 3, 4, 5, 17, 256, 257, 65537, -1, -2, Limits::min(),
                           Limits::min() + 1, Limits::max()}) {
        kinds.push_back(static_cast<Kind>(kind));
    }
    return kinds;
}

} // namespace

TEST(ExclusionType, HasItsValues) {
    static_assert(sizeof(Kind) == 4);
    static_assert(std::is_same_v<std::underlying_type_t<Kind>, int>);
    EXPECT_EQ(TempFile::ExclusionType::NONE, 0);
    EXPECT_EQ(TempFile::ExclusionType::SYSTEM, 1);
    EXPECT_EQ(TempFile::ExclusionType::USER, 2);
    EXPECT_EQ(TempFile::ExclusionType::END, 3);
}

TEST(ExclusionClass, IsRecognisedByNameAndKind) {
    for (const std::string& name : CLASSES) {
        EXPECT_TRUE(recognised(name, RECOGNISED)) << name;
    }
}

TEST(ExclusionClass, IsRecognisedInStaticInitialisersOfTheProgram) {
    EXPECT_TRUE(recognised_at_start);
}

TEST(ExclusionClass, IsOfNoOtherKind) {
    for (const Kind kind : other_kinds()) {
        for (const std::string& name : CLASSES) {
            EXPECT_FALSE(recognised(name, kind)) << name << ' ' << kind;
        }
    }
}

TEST(ExclusionClass, IsNeverTheEndOfTheTable) {
    EXPECT_FALSE(recognised("", END));
    EXPECT_FALSE(recognised(std::string(1, '\0'), END));
}

TEST(ExclusionClass, HasAName) {
    EXPECT_FALSE(recognised("", RECOGNISED));
    for (const Kind kind : other_kinds()) {
        EXPECT_FALSE(recognised("", kind)) << kind;
    }
}

TEST(ExclusionClass, KnowsNoOtherNames) {
    for (const char* const name :
         {"memory page file", "MEMORY PAGE FILE", "power management", "POWER MANAGEMENT",
          "Memory Page", "Page File", "Memory  Page File", "Power\tManagement", "PowerManagement",
          "Memory Page FilePower Management", "Memory Page File,Power Management",
          "Temporary Files"}) {
        EXPECT_FALSE(recognised(name, RECOGNISED)) << name;
    }
}

TEST(ExclusionClass, IsKnownByEveryByteOfItsName) {
    for (const std::string& name : CLASSES) {
        for (std::size_t place = 0; place < name.size(); ++place) {
            for (const char c : texts::all_bytes()) {
                std::string other = name;
                other[place] = c;
                ASSERT_EQ(recognised(other, RECOGNISED), c == name[place]) << other;
            }
        }
    }
}

TEST(ExclusionClass, IsKnownByTheLengthOfItsName) {
    for (const std::string& name : CLASSES) {
        for (std::size_t length = 0; length < name.size(); ++length) {
            EXPECT_FALSE(recognised(name.substr(0, length), RECOGNISED)) << name << ' ' << length;
            EXPECT_FALSE(recognised(name.substr(length + 1), RECOGNISED)) << name << ' ' << length;
        }
        for (const char c : texts::all_bytes()) {
            EXPECT_FALSE(recognised(name + c, RECOGNISED)) << name << c;
            EXPECT_FALSE(recognised(c + name, RECOGNISED)) << c << name;
        }
        EXPECT_FALSE(recognised(name + name, RECOGNISED)) << name;
        EXPECT_FALSE(recognised(name + std::string(262144, ' '), RECOGNISED)) << name;
    }
}

TEST(ExclusionClass, IsLookedUpWithoutMemory) {
    const std::string name(1000, 'x');
    EXPECT_TRUE(noexcept(TempFile::ExclusionClassByNameAndType(name, RECOGNISED)));
    EXPECT_EQ(allocation::count([&] {
                  TempFile::ExclusionClassByNameAndType(name, RECOGNISED);
                  TempFile::ExclusionClassByNameAndType(CLASSES[1], RECOGNISED);
              }),
              0U);
}

TEST(PathToPattern, LeavesEveryPathAsItIs) {
    static_assert(std::is_void_v<decltype(TempFile::PathToPattern(std::declval<std::string&>()))>);
    const std::vector<std::string> paths{
        "",
        "/",
        "/swap/pagefile.sys",
        "C:\\pagefile.sys",
        "\\\\?\\C:\\hiberfil.sys",
        "*.tmp",
        "a//b/./../[x]?*",
        " a ",
        texts::all_bytes(),
        std::string(262144, '*'),
    };
    for (const std::string& path : paths) {
        std::string pattern = path;
        TempFile::PathToPattern(pattern);
        EXPECT_EQ(pattern, path);
    }
    for (const std::string& path : texts::over<std::string>("/\\.*a", 4)) {
        std::string pattern = path;
        TempFile::PathToPattern(pattern);
        ASSERT_EQ(pattern, path);
    }
}

TEST(TempFileUsage, WorksAsTheHeaderShows) {
    EXPECT_TRUE(
        TempFile::ExclusionClassByNameAndType("Memory Page File", TempFile::ExclusionType::SYSTEM));
    EXPECT_FALSE(
        TempFile::ExclusionClassByNameAndType("Memory Page File", TempFile::ExclusionType::USER));
}
