// Tests of the date-time record's layout, which components of either pointer size exchange as
// bytes.
//
//   public member                        cases
//   isotime (as a whole)                 IsotimeRecord.*
//   zone_offset, zone_flag               IsotimeZone.*
//   year ... reserved                    IsotimeFields.*

#include <nuriagent/isotime.hpp>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <type_traits>

namespace {

// A record whose first word, which the two zone fields share, is `word`.
isotime with_zone_word(unsigned int word) {
    isotime time{};
    const auto bits = static_cast<std::uint16_t>(word);
    std::memcpy(&time, &bits, sizeof bits);
    return time;
}

unsigned int zone_word(const isotime& time) {
    std::uint16_t word = 0;
    std::memcpy(&word, &time, sizeof word);
    return word;
}

// The byte of a record at `offset` after one of its fields was set.
template <class Field, class Value>
unsigned int byte_after_setting(Field isotime::*field, Value value, std::size_t offset) {
    isotime time{};
    time.*field = value;
    unsigned char bytes[sizeof time];
    std::memcpy(bytes, &time, sizeof time);
    return bytes[offset];
}

} // namespace

TEST(IsotimeRecord, TakesSixteenBytes) { EXPECT_EQ(sizeof(isotime), 16U); }

TEST(IsotimeRecord, IsAnAggregateThatCanBeCopiedAsBytes) {
    EXPECT_TRUE(std::is_aggregate_v<isotime>);
    EXPECT_TRUE(std::is_trivially_copyable_v<isotime>);
    EXPECT_TRUE(std::is_standard_layout_v<isotime>);
}

TEST(IsotimeRecord, HasNoPadding) {
    EXPECT_EQ(sizeof(std::uint16_t) + sizeof(isotime::year) + sizeof(isotime::month) +
                  sizeof(isotime::day) + sizeof(isotime::hour) + sizeof(isotime::minute) +
                  sizeof(isotime::second) + sizeof(isotime::hundredths) +
                  sizeof(isotime::ten_thousandths) + sizeof(isotime::millionths) +
                  sizeof(isotime::reserved),
              sizeof(isotime));
}

TEST(IsotimeRecord, IsAllZeroWhenValueInitialised) {
    const isotime time{};
    const unsigned char zeros[sizeof time] = {};
    EXPECT_EQ(std::memcmp(&time, zeros, sizeof time), 0);
}

TEST(IsotimeRecord, TakesItsFieldsInStorageOrder) {
    const isotime time{-90, 1, 2021, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    EXPECT_EQ(time.zone_offset, -90);
    EXPECT_EQ(time.zone_flag, 1);
    EXPECT_EQ(time.year, 2021);
    EXPECT_EQ(time.month, 3);
    EXPECT_EQ(time.day, 4);
    EXPECT_EQ(time.hour, 5);
    EXPECT_EQ(time.minute, 6);
    EXPECT_EQ(time.second, 7);
    EXPECT_EQ(time.hundredths, 8);
    EXPECT_EQ(time.ten_thousandths, 9);
    EXPECT_EQ(time.millionths, 10);
    EXPECT_EQ(time.reserved, 11U);
}

TEST(IsotimeFields, StandAtFixedOffsets) {
    EXPECT_EQ(offsetof(isotime, year), 2U);
    EXPECT_EQ(offsetof(isotime, month), 4U);
    EXPECT_EQ(offsetof(isotime, day), 5U);
    EXPECT_EQ(offsetof(isotime, hour), 6U);
    EXPECT_EQ(offsetof(isotime, minute), 7U);
    EXPECT_EQ(offsetof(isotime, second), 8U);
    EXPECT_EQ(offsetof(isotime, hundredths), 9U);
    EXPECT_EQ(offsetof(isotime, ten_thousandths), 10U);
    EXPECT_EQ(offsetof(isotime, millionths), 11U);
    EXPECT_EQ(offsetof(isotime, reserved), 12U);
}

TEST(IsotimeFields, HaveTheirWidths) {
    EXPECT_TRUE((std::is_same_v<decltype(isotime::year), std::uint16_t>));
    EXPECT_TRUE((std::is_same_v<decltype(isotime::month), std::uint8_t>));
    EXPECT_TRUE((std::is_same_v<decltype(isotime::day), std::uint8_t>));
    EXPECT_TRUE((std::is_same_v<decltype(isotime::hour), std::uint8_t>));
    EXPECT_TRUE((std::is_same_v<decltype(isotime::minute), std::uint8_t>));
    EXPECT_TRUE((std::is_same_v<decltype(isotime::second), std::uint8_t>));
    EXPECT_TRUE((std::is_same_v<decltype(isotime::hundredths), std::uint8_t>));
    EXPECT_TRUE((std::is_same_v<decltype(isotime::ten_thousandths), std::uint8_t>));
    EXPECT_TRUE((std::is_same_v<decltype(isotime::millionths), std::uint8_t>));
    EXPECT_TRUE((std::is_same_v<decltype(isotime::reserved), std::uint32_t>));
}

TEST(IsotimeFields, AreUnsigned) {
    EXPECT_EQ(byte_after_setting(&isotime::month, std::uint8_t{200}, 4), 200U);
    EXPECT_EQ(byte_after_setting(&isotime::millionths, std::uint8_t{255}, 11), 255U);
    isotime time{};
    time.month = 200;
    time.year = 60000;
    time.reserved = 4000000000U;
    EXPECT_EQ(time.month, 200);
    EXPECT_EQ(time.year, 60000);
    EXPECT_EQ(time.reserved, 4000000000U);
}

TEST(IsotimeFields, AreLittleEndian) {
    EXPECT_EQ(byte_after_setting(&isotime::year, std::uint16_t{0x07e5}, 2), 0xe5U);
    EXPECT_EQ(byte_after_setting(&isotime::year, std::uint16_t{0x07e5}, 3), 0x07U);
    EXPECT_EQ(byte_after_setting(&isotime::reserved, std::uint32_t{0x01020304}, 12), 0x04U);
    EXPECT_EQ(byte_after_setting(&isotime::reserved, std::uint32_t{0x01020304}, 15), 0x01U);
}

TEST(IsotimeZone, OffsetLiesInTheLowTwelveBits) {
    isotime time{};
    time.zone_offset = 60;
    EXPECT_EQ(zone_word(time), 0x003cU);
    time.zone_offset = -1;
    EXPECT_EQ(zone_word(time), 0x0fffU);
    time.zone_offset = -2048;
    EXPECT_EQ(zone_word(time), 0x0800U);
    time.zone_offset = 2047;
    EXPECT_EQ(zone_word(time), 0x07ffU);
}

TEST(IsotimeZone, FlagLiesInTheTopFourBits) {
    isotime time{};
    time.zone_flag = 1;
    EXPECT_EQ(zone_word(time), 0x1000U);
    time.zone_flag = 15;
    EXPECT_EQ(zone_word(time), 0xf000U);
}

// Every word: the low 12 bits in two's complement are the offset, the rest is the flag.
TEST(IsotimeZone, ReadsEveryWord) {
    for (unsigned int word = 0; word <= 0xffff; ++word) {
        const isotime time = with_zone_word(word);
        const int low = static_cast<int>(word & 0xfff);
        ASSERT_EQ(time.zone_offset, low < 2048 ? low : low - 4096) << "word " << word;
        ASSERT_EQ(time.zone_flag, word >> 12) << "word " << word;
    }
}

TEST(IsotimeZone, FieldsDoNotTouchEachOther) {
    isotime time{};
    time.zone_flag = 9;
    time.zone_offset = -330;
    EXPECT_EQ(time.zone_flag, 9);
    EXPECT_EQ(time.zone_offset, -330);
    time.zone_flag = 0;
    EXPECT_EQ(time.zone_offset, -330);
    EXPECT_EQ(time.year, 0);
}
