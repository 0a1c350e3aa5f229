// Tests of product versions.
//
//   public member                              cases
//   m_major, m_minor, m_patch, m_build         VersionType.*, VersionText.*
//   granularity                                VersionType.*, VersionCompare.*
//   Version (two forms), init                  VersionType.*, VersionText.*, VersionFailure.*
//   compare                                    VersionCompare.*
//   compare_major ... compare_build            VersionCompare.*
//   the example of the header                  VersionUsage.*

#include "support/allocation.hpp"
#include "support/texts.hpp"
#include "support/version_model.hpp"

#include <nuriagent/safe.hpp>
#include <nuriccl/Version.hpp>

#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <initializer_list>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using nuriccl::Version;

constexpr std::int32_t LOWEST = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t HIGHEST = std::numeric_limits<std::int32_t>::max();

using version_model::Numbers;
using version_model::numbers_of;
using version_model::version_of;

Numbers parsed(const std::string& text) { return numbers_of(Version(text)); }

const Numbers USED{1, 2, 3, 4};

// What a text gives in an object that held other numbers; nothing when it is refused, as it then
// has to be in a new object, too.
std::optional<Numbers> parsed_by_a_used_object(const std::string& text) {
    Version version = version_of(USED);
    try {
        version.init(text);
    } catch (const std::out_of_range&) {
        EXPECT_EQ(numbers_of(version), USED);
        EXPECT_THROW(Version{text}, std::out_of_range);
        return std::nullopt;
    }
    EXPECT_EQ(parsed(text), numbers_of(version));
    return numbers_of(version);
}

// Every sequence of up to `longest` pieces.
std::vector<std::string> sequences_of(const std::vector<std::string>& pieces, std::size_t longest) {
    std::string indices;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        indices += static_cast<char>(i);
    }
    std::vector<std::string> sequences;
    for (const std::string& choice : texts::over(indices, longest)) {
        std::string& text = sequences.emplace_back();
        for (const char index : choice) {
            text += pieces[static_cast<unsigned char>(index)];
        }
    }
    return sequences;
}

} // namespace

// The type

TEST(VersionType, IsARecordOfFourSignedNumbersInOrder) {
    EXPECT_TRUE(std::is_standard_layout_v<Version>);
    EXPECT_TRUE(std::is_trivially_copyable_v<Version>);
    EXPECT_FALSE(std::is_polymorphic_v<Version>);
    EXPECT_EQ(sizeof(Version), 16U);
    EXPECT_TRUE((std::is_same_v<decltype(Version::m_major), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(Version::m_minor), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(Version::m_patch), std::int32_t>));
    EXPECT_TRUE((std::is_same_v<decltype(Version::m_build), std::int32_t>));
    EXPECT_EQ(offsetof(Version, m_major), 0U);
    EXPECT_EQ(offsetof(Version, m_minor), 4U);
    EXPECT_EQ(offsetof(Version, m_patch), 8U);
    EXPECT_EQ(offsetof(Version, m_build), 12U);
}

TEST(VersionType, HasGranularitiesOfFixedValues) {
    EXPECT_EQ(int{Version::MAJOR}, 0);
    EXPECT_EQ(int{Version::MINOR}, 1);
    EXPECT_EQ(int{Version::PATCH}, 2);
    EXPECT_EQ(int{Version::BUILD}, 3);
}

// Otherwise a comparison with a literal would be ambiguous.
TEST(VersionType, IsMadeOfATextOnlyExplicitly) {
    EXPECT_TRUE((std::is_constructible_v<Version, const char*>));
    EXPECT_TRUE((std::is_constructible_v<Version, std::string>));
    EXPECT_FALSE((std::is_convertible_v<const char*, Version>));
    EXPECT_FALSE((std::is_convertible_v<std::string, Version>));
}

// Reading a text

TEST(VersionText, IsAMajorNumberWithoutADot) {
    EXPECT_EQ(parsed("5"), (Numbers{5, 0, 0, 0}));
    EXPECT_EQ(parsed("123"), (Numbers{123, 0, 0, 0}));
    EXPECT_EQ(parsed(" -7 and more"), (Numbers{-7, 0, 0, 0}));
}

TEST(VersionText, HasMinorAndPatchAsSingleDigitsTogether) {
    EXPECT_EQ(parsed("7.12.345"), (Numbers{7, 1, 2, 345}));
    EXPECT_EQ(parsed("7.12"), (Numbers{7, 1, 2, 0}));
    EXPECT_EQ(parsed("7.1"), (Numbers{7, 1, 0, 0}));
    EXPECT_EQ(parsed("7.1234"), (Numbers{7, 1, 2, 0}));
    EXPECT_EQ(parsed("12.34.56"), (Numbers{12, 3, 4, 56}));
    EXPECT_EQ(parsed("1.10.2"), (Numbers{1, 1, 0, 2}));
}

TEST(VersionText, HasNoMajorNumberInFrontOfALeadingDot) {
    EXPECT_EQ(parsed(".12.3"), (Numbers{0, 1, 2, 3}));
}

TEST(VersionText, HasADotInThePlaceOfThePatch) {
    EXPECT_EQ(parsed("7.1.5"), (Numbers{7, 1, 0, 5}));
    EXPECT_EQ(parsed("7.1."), (Numbers{7, 1, 0, 0}));
}

TEST(VersionText, HasADotInThePlaceOfTheMinorNumber) {
    EXPECT_EQ(parsed("7..5"), (Numbers{7, 0, 5, 5}));
    EXPECT_EQ(parsed("7.."), (Numbers{7, 0, 0, 0}));
    EXPECT_EQ(parsed("..."), (Numbers{0, 0, 0, 0}));
}

TEST(VersionText, HasABuildBehindTheSecondDot) {
    EXPECT_EQ(parsed("7.12.345.678"), (Numbers{7, 1, 2, 345}));
    EXPECT_EQ(parsed("7.12 beta.345 build 9"), (Numbers{7, 1, 2, 345}));
    EXPECT_EQ(parsed("7.12.-3"), (Numbers{7, 1, 2, -3}));
}

TEST(VersionText, HasABuildBehindTheMarkWhenTheDotGivesNone) {
    EXPECT_EQ(parsed("7.12 build 77"), (Numbers{7, 1, 2, 77}));
    EXPECT_EQ(parsed("7 build 77"), (Numbers{7, 0, 0, 77}));
    EXPECT_EQ(parsed("build 77"), (Numbers{0, 0, 0, 77}));
    EXPECT_EQ(parsed("7.12.0 build 77"), (Numbers{7, 1, 2, 77}));
    EXPECT_EQ(parsed("7.12.x build 77"), (Numbers{7, 1, 2, 77}));
    EXPECT_EQ(parsed("7.12. build 77"), (Numbers{7, 1, 2, 77}));
    EXPECT_EQ(parsed("7.12.345 build 77"), (Numbers{7, 1, 2, 345}));
    EXPECT_EQ(parsed("7.12 build -77"), (Numbers{7, 1, 2, -77}));
}

TEST(VersionText, HasAMarkThatEndsInABlankAndIsInLowerCase) {
    EXPECT_EQ(parsed("7.12 build77"), (Numbers{7, 1, 2, 0}));
    EXPECT_EQ(parsed("7.12 build\t77"), (Numbers{7, 1, 2, 0}));
    EXPECT_EQ(parsed("7.12 Build 77"), (Numbers{7, 1, 2, 0}));
    EXPECT_EQ(parsed("7.12 build"), (Numbers{7, 1, 2, 0}));
    EXPECT_EQ(parsed("7.12 build "), (Numbers{7, 1, 2, 0}));
    EXPECT_EQ(parsed("7.12 rebuild 77"), (Numbers{7, 1, 2, 77}));
}

TEST(VersionText, HasItsFirstMark) {
    EXPECT_EQ(parsed("7.12 build 77 build 88"), (Numbers{7, 1, 2, 77}));
    EXPECT_EQ(parsed("7.12 build x build 88"), (Numbers{7, 1, 2, 0}));
    EXPECT_EQ(parsed("build 77 7.12"), (Numbers{0, 1, 2, 77}));
}

TEST(VersionText, IsAllZerosWithoutNumbers) {
    for (const char* const text : {"", " ", "x", "x.yz.w", "version 7", "build"}) {
        EXPECT_EQ(parsed(text), Numbers{}) << text;
    }
}

TEST(VersionText, HasNumbersThatSaturate) {
    EXPECT_EQ(parsed("2147483647.12.2147483647"), (Numbers{HIGHEST, 1, 2, HIGHEST}));
    EXPECT_EQ(parsed("2147483648.12.9999999999"), (Numbers{HIGHEST, 1, 2, HIGHEST}));
    EXPECT_EQ(parsed("-2147483648.12.-9999999999"), (Numbers{LOWEST, 1, 2, LOWEST}));
    EXPECT_EQ(parsed("7 build 99999999999999999999"), (Numbers{7, 0, 0, HIGHEST}));
}

TEST(VersionText, MayBeACString) {
    EXPECT_EQ(numbers_of(Version("7.12.345")), (Numbers{7, 1, 2, 345}));
    EXPECT_EQ(numbers_of(Version("7.12\0.345")), (Numbers{7, 1, 2, 0}));
    const char* const null = nullptr;
    EXPECT_EQ(numbers_of(Version(null)), Numbers{});
}

TEST(VersionText, IsReadBehindNul) {
    EXPECT_EQ(parsed(std::string("7.12\0.345", 9)), (Numbers{7, 1, 2, 345}));
    EXPECT_EQ(parsed(std::string("7\0.12", 5)), (Numbers{7, 1, 2, 0}));
    EXPECT_EQ(parsed(std::string("7\0build 77", 10)), (Numbers{7, 0, 0, 77}));
}

TEST(VersionText, ReplacesEveryNumberOfAUsedObject) {
    Version version("7.12.345");
    version.init("8");
    EXPECT_EQ(numbers_of(version), (Numbers{8, 0, 0, 0}));
    version.init("9.8.7");
    version.init("1.2 build 3");
    EXPECT_EQ(numbers_of(version), (Numbers{1, 2, 0, 3}));
    version.init("");
    EXPECT_EQ(numbers_of(version), Numbers{});
}

TEST(VersionText, IsLeftAsItWas) {
    const std::string text = "7.12.345 build 6";
    EXPECT_EQ(parsed(text), (Numbers{7, 1, 2, 345}));
    EXPECT_EQ(text, "7.12.345 build 6");
}

TEST(VersionText, AgreesWithTheModel) {
    for (const std::string& text : texts::over<std::string>("19.- ", 7)) {
        ASSERT_EQ(parsed_by_a_used_object(text), version_model::parsed(text)) << text;
    }
    for (const std::string& text :
         sequences_of({"7", "0", ".", "build ", "build", " ", "-2147483649"}, 5)) {
        ASSERT_EQ(parsed_by_a_used_object(text), version_model::parsed(text)) << text;
    }
}

TEST(VersionText, KnowsNoDigitsButTheTen) {
    for (const char c : texts::all_bytes()) {
        const std::int32_t digit = c >= '0' && c <= '9' ? c - '0' : 0;
        const std::string text = std::string("7.") + c;
        EXPECT_EQ(parsed(text + '3'), (Numbers{7, digit, 3, c == '.' ? 3 : 0}));
        EXPECT_EQ(parsed("7.3" + std::string(1, c)), (Numbers{7, 3, digit, 0}));
    }
}

// Failures

TEST(VersionFailure, IsATextThatEndsWithItsFirstDot) {
    for (const char* const text : {".", "7.", "build 7."}) {
        for (const bool by_init : {false, true}) {
            try {
                Version version("1.23.4");
                by_init ? version.init(text) : static_cast<void>(Version(text));
                ADD_FAILURE() << text;
            } catch (const std::out_of_range& error) {
                EXPECT_EQ(std::string(error.what()).rfind("basic_string::substr", 0), 0U)
                    << error.what();
            }
        }
        EXPECT_THROW(Version{std::string(text)}, std::out_of_range) << text;
    }
}

TEST(VersionFailure, LeavesTheNumbersAsTheyWere) {
    Version version("1.23.4");
    EXPECT_THROW(version.init("7."), std::out_of_range);
    EXPECT_EQ(numbers_of(version), (Numbers{1, 2, 3, 4}));
}

TEST(VersionFailure, ComesOutOfAComparisonWithAText) {
    const Version version("7.12.345");
    EXPECT_THROW(version.compare_major("7."), std::out_of_range);
    EXPECT_THROW(version.compare_minor("7."), std::out_of_range);
    EXPECT_THROW(version.compare_patch("7."), std::out_of_range);
    EXPECT_THROW(version.compare_build("7."), std::out_of_range);
    EXPECT_EQ(numbers_of(version), (Numbers{7, 1, 2, 345}));
}

TEST(VersionFailure, OfAnAllocationLeavesTheNumbersAsTheyWere) {
    const std::string zeros(100, '0');
    for (const std::string& text :
         {zeros + "7.12." + zeros + "345", zeros + "7.12.x build " + zeros + "345"}) {
        Version version = version_of(USED);
        allocation::fail_each([&] { version.init(text); },
                              [&] { EXPECT_EQ(numbers_of(version), USED); });
        EXPECT_EQ(numbers_of(version), (Numbers{7, 1, 2, 345}));
    }
}

// Comparison

namespace {

constexpr int GRANULARITIES[] = {INT_MIN, -2, -1, 0, 1, 2, 3, 4, 5, 9, 256, INT_MAX};

// All versions with these numbers.
std::vector<Numbers> versions_with(const std::initializer_list<std::int32_t>& values) {
    std::vector<Numbers> versions;
    for (const std::int32_t major : values) {
        for (const std::int32_t minor : values) {
            for (const std::int32_t patch : values) {
                for (const std::int32_t build : values) {
                    versions.push_back({major, minor, patch, build});
                }
            }
        }
    }
    return versions;
}

// Down to the major number, and so on.
std::vector<int> comparisons(const std::string& a, const std::string& b) {
    const Version version(a);
    const Version other(b);
    const std::vector<int> by_version{version.compare_major(other), version.compare_minor(other),
                                      version.compare_patch(other), version.compare_build(other)};
    const std::vector<int> by_text{version.compare_major(b), version.compare_minor(b),
                                   version.compare_patch(b), version.compare_build(b)};
    EXPECT_EQ(by_version, by_text) << a << '/' << b;
    return by_version;
}

} // namespace

TEST(VersionCompare, LooksAtTheNumbersDownToTheGranularity) {
    EXPECT_EQ(comparisons("7.12.345", "7.12.346"), (std::vector<int>{0, 0, 0, -1}));
    EXPECT_EQ(comparisons("7.13.345", "7.12.345"), (std::vector<int>{0, 0, 1, 1}));
    EXPECT_EQ(comparisons("7.02.345", "7.12.345"), (std::vector<int>{0, -1, -1, -1}));
    EXPECT_EQ(comparisons("8.12.345", "7.12.345"), (std::vector<int>{1, 1, 1, 1}));
    EXPECT_EQ(comparisons("7.12.345", "7.12 build 345"), (std::vector<int>{0, 0, 0, 0}));
}

TEST(VersionCompare, LetsANumberOutweighAllThatFollow) {
    EXPECT_EQ(comparisons("8.0", "7.9"), (std::vector<int>{1, 1, 1, 1}));
    EXPECT_EQ(comparisons("7.99.999", "8.0"), (std::vector<int>{-1, -1, -1, -1}));
    EXPECT_EQ(comparisons("7.20.0", "7.19.9"), (std::vector<int>{0, 1, 1, 1}));
    EXPECT_EQ(comparisons("7.11.9", "7.12.1"), (std::vector<int>{0, 0, -1, -1}));
}

TEST(VersionCompare, TakesAnUnknownGranularityForTheMinorOne) {
    const Version version("7.12.345");
    for (const int value : {INT_MIN, -1, 4, 9, INT_MAX}) {
        const auto unknown = static_cast<Version::granularity>(value);
        EXPECT_EQ(version.compare(Version("7.13.346"), unknown), 0) << value;
        EXPECT_EQ(version.compare(Version("7.22.345"), unknown), -1) << value;
        EXPECT_EQ(version.compare(Version("6.12.345"), unknown), 1) << value;
    }
}

TEST(VersionCompare, ReadsAText) {
    const Version version("7.1");
    EXPECT_EQ(version.compare_major("7.1"), 0);
    EXPECT_EQ(version.compare_major(std::string("8")), -1);
    EXPECT_EQ(version.compare_minor("7.0"), 1);
    EXPECT_EQ(version.compare_patch("7.11"), -1);
    EXPECT_EQ(version.compare_build("7.10.9"), -1);
    EXPECT_EQ(version.compare_build(""), 1);
}

TEST(VersionCompare, TakesItselfForTheOther) {
    const Version version("7.12.345");
    EXPECT_EQ(version.compare(version, Version::BUILD), 0);
    EXPECT_EQ(version.compare_build(version), 0);
}

TEST(VersionCompare, AgreesWithTheWeightedSigns) {
    for (const auto& values : {versions_with({0, 1, 2}), versions_with({-1, 0, 1}),
                               versions_with({LOWEST, 0, HIGHEST})}) {
        for (const Numbers& a : values) {
            const Version version = version_of(a);
            for (const Numbers& b : values) {
                const Version other = version_of(b);
                for (const int granularity : GRANULARITIES) {
                    ASSERT_EQ(
                        version.compare(other, static_cast<Version::granularity>(granularity)),
                        version_model::compare(a, b, granularity))
                        << testing::PrintToString(a) << '/' << testing::PrintToString(b) << " at "
                        << granularity;
                }
                ASSERT_EQ(version.compare_major(other), version_model::compare(a, b, 0));
                ASSERT_EQ(version.compare_minor(other), version_model::compare(a, b, 1));
                ASSERT_EQ(version.compare_patch(other), version_model::compare(a, b, 2));
                ASSERT_EQ(version.compare_build(other), version_model::compare(a, b, 3));
            }
        }
    }
}

TEST(VersionCompare, ChangesNeitherAndThrowsNothing) {
    const Version version("7.12.345");
    const Version other("8.0");
    EXPECT_EQ(version.compare(other, Version::BUILD), -1);
    EXPECT_EQ(numbers_of(version), (Numbers{7, 1, 2, 345}));
    EXPECT_EQ(numbers_of(other), (Numbers{8, 0, 0, 0}));
    EXPECT_TRUE(noexcept(version.compare(other, Version::MAJOR)));
    EXPECT_TRUE(noexcept(version.compare_major(other)));
    EXPECT_TRUE(noexcept(version.compare_minor(other)));
    EXPECT_TRUE(noexcept(version.compare_patch(other)));
    EXPECT_TRUE(noexcept(version.compare_build(other)));
}

TEST(VersionUsage, WorksAsTheHeaderShows) {
    const nuriccl::Version version("7.12.345");
    EXPECT_EQ(version.m_major, 7);
    EXPECT_EQ(version.m_minor, 1);
    EXPECT_EQ(version.m_patch, 2);
    EXPECT_EQ(version.compare_build("7.12.346"), -1);
    EXPECT_EQ(version.compare_patch("7.12.346"), 0);
}
