// Tests of the operations of a vector register, of each width, against what they do to single
// bytes.
//
//   class Vector       VectorTest.*

#include "support/noise.hpp"
#include "support/places.hpp"
#include "support/variants.hpp"
#include "support/vector_operations.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace {

using noise::Noise;
using vector_operations::Apply;
using vector_operations::Operation;

constexpr std::size_t LANE = 16; // bytes

// Bytes as numbers, with and without signs, and in words and halves of words, the lowest byte
// first.
struct Bytes {
    unsigned char byte(std::size_t i) const { return static_cast<unsigned char>(text[i]); }
    int number(std::size_t i) const { return static_cast<signed char>(text[i]); }
    std::uint32_t half(std::size_t i) const {
        return byte(2 * i) | std::uint32_t{byte(2 * i + 1)} << 8;
    }
    int half_number(std::size_t i) const { return static_cast<std::int16_t>(half(i)); }
    std::uint32_t word(std::size_t i) const { return half(2 * i) | half(2 * i + 1) << 16; }

    const std::string& text;
};

template <class Value>
std::string by_bytes(std::size_t size, Value value) {
    std::string result;
    for (std::size_t i = 0; i < size; ++i) {
        result += static_cast<char>(value(i));
    }
    return result;
}

template <class Value>
std::string by_halves(std::size_t size, Value value) {
    return by_bytes(size, [value](std::size_t i) {
        return static_cast<unsigned int>(value(i / 2)) >> i % 2 * 8 & 0xff;
    });
}

template <class Value>
std::string by_words(std::size_t size, Value value) {
    return by_bytes(size, [value](std::size_t i) {
        return static_cast<std::uint32_t>(value(i / 4)) >> i % 4 * 8 & 0xff;
    });
}

// The byte of a lane that is moved to place i by `count`, downwards or, below 0, upwards.
char moved(const std::string& text, std::size_t i, int count) {
    const int from = static_cast<int>(i % LANE) + count;
    return from < 0 || from >= static_cast<int>(LANE)
               ? '\0'
               : text[i - i % LANE + static_cast<std::size_t>(from)];
}

std::string model(Operation operation, const std::string& first, const std::string& second) {
    const std::size_t size = first.size();
    const Bytes a{first};
    const Bytes b{second};
    switch (operation) {
    case Operation::COPY:
        return first;
    case Operation::COPY_LANES:
        return first.substr(0, LANE) + second.substr(0, size - LANE);
    case Operation::STORE_LOW_OF_LANES:
        return first.substr(0, 12) + (size > LANE ? first.substr(LANE, 12) : "");
    case Operation::ZERO:
        return std::string(size, '\0');
    case Operation::ALL:
        return std::string(size, first[0]);
    case Operation::ALL_WORDS:
        return by_words(size, [=](std::size_t) { return a.word(0); });
    case Operation::LANES_OF:
        return by_bytes(size, [=](std::size_t i) { return a.byte(i % LANE); });
    case Operation::AND:
        return by_bytes(size, [=](std::size_t i) { return a.byte(i) & b.byte(i); });
    case Operation::OR:
        return by_bytes(size, [=](std::size_t i) { return a.byte(i) | b.byte(i); });
    case Operation::EXCLUSIVE_OR:
        return by_bytes(size, [=](std::size_t i) { return a.byte(i) ^ b.byte(i); });
    case Operation::HIGH_BITS:
        return by_bytes(4, [=](std::size_t i) {
            unsigned int bits = 0;
            for (std::size_t j = 0; j < 8 && i * 8 + j < size; ++j) {
                bits |= a.byte(i * 8 + j) >= 0x80 ? 1U << j : 0U;
            }
            return bits;
        });
    case Operation::IS_ZERO:
        return std::string(1, first == std::string(size, '\0') ? '\1' : '\0');
    case Operation::ADD_BYTES:
        return by_bytes(size, [=](std::size_t i) { return a.byte(i) + b.byte(i); });
    case Operation::SUBTRACT_BYTES:
        return by_bytes(size, [=](std::size_t i) { return a.byte(i) - b.byte(i); });
    case Operation::SUBTRACT_TO_ZERO:
        return by_bytes(size, [=](std::size_t i) { return std::max(0, a.byte(i) - b.byte(i)); });
    case Operation::EQUAL_BYTES:
        return by_bytes(size, [=](std::size_t i) { return a.byte(i) == b.byte(i) ? -1 : 0; });
    case Operation::GREATER_BYTES:
        return by_bytes(size, [=](std::size_t i) { return a.number(i) > b.number(i) ? -1 : 0; });
    case Operation::ADD_WORDS:
        return by_words(size, [=](std::size_t i) { return a.word(i) + b.word(i); });
    case Operation::WORDS_SHIFTED_RIGHT:
        return by_words(size, [=](std::size_t i) { return a.word(i) >> 5; });
    case Operation::WORDS_ROTATED_LEFT:
        return by_words(size, [=](std::size_t i) { return a.word(i) << 5 | a.word(i) >> 27; });
    case Operation::MOVED_DOWN:
        return by_bytes(size, [&](std::size_t i) { return moved(first, i, 5); });
    case Operation::MOVED_UP:
        return by_bytes(size, [&](std::size_t i) { return moved(first, i, -5); });
    case Operation::MULTIPLY_ADD_HALVES:
        return by_words(size, [=](std::size_t i) {
            const auto product = [=](std::size_t j) {
                return static_cast<std::uint32_t>(a.half_number(j) * b.half_number(j));
            };
            return product(2 * i) + product(2 * i + 1);
        });
    case Operation::MULTIPLY_LOW:
        return by_halves(size, [=](std::size_t i) { return a.half(i) * b.half(i); });
    case Operation::MULTIPLY_HIGH:
        return by_halves(size, [=](std::size_t i) { return a.half(i) * b.half(i) >> 16; });
    case Operation::TAKEN:
        return by_bytes(size, [=](std::size_t i) {
            return b.number(i) < 0 ? 0 : a.byte(i - i % LANE + b.byte(i) % LANE);
        });
    case Operation::MIDDLE:
        return by_bytes(size, [&](std::size_t i) {
            return i % LANE < LANE - 5 ? moved(first, i, 5) : moved(second, i, 5 - int{LANE});
        });
    case Operation::MULTIPLY_ADD_BYTES:
        return by_halves(size, [=](std::size_t i) {
            const int sum =
                a.byte(2 * i) * b.number(2 * i) + a.byte(2 * i + 1) * b.number(2 * i + 1);
            return std::clamp(sum, -0x8000, 0x7fff); // it saturates
        });
    }
    return {};
}

class VectorTest : public variants::Test<Apply> {
protected:
    // Whether an operation makes of the first bytes of the texts what the model does.
    static testing::AssertionResult holds(Operation operation, const std::string& a,
                                          const std::string& b) {
        unsigned char result[2 * vector_operations::WIDEST];
        const std::string expected = model(operation, a.substr(0, size()), b.substr(0, size()));
        std::memset(result, '#', sizeof result);
        run()(operation, reinterpret_cast<const unsigned char*>(a.data()),
              reinterpret_cast<const unsigned char*>(b.data()), result);
        if (std::memcmp(result, expected.data(), expected.size()) != 0) {
            return testing::AssertionFailure()
                   << "of " << testing::PrintToString(a) << " and " << testing::PrintToString(b);
        }
        return testing::AssertionSuccess();
    }

    static std::size_t size() {
        const unsigned char zeros[vector_operations::WIDEST] = {};
        unsigned char result[vector_operations::WIDEST];
        return run()(Operation::COPY, zeros, zeros, result);
    }

    // Calls `check(operation)` for each one that there is.
    template <class Check>
    static void for_each_operation(Check check) {
        const Operation last = run() == vector_operations::apply_sse2
                                   ? vector_operations::LAST_WITH_SSE2
                                   : vector_operations::LAST;
        for (int i = 0; i <= static_cast<int>(last); ++i) {
            SCOPED_TRACE(testing::Message() << "operation " << i);
            check(static_cast<Operation>(i));
        }
    }
};

const variants::Named<Apply> WIDTHS[] = {{"sse2", kernels::SSE2, vector_operations::apply_sse2},
                                         {"ssse3", kernels::SSSE3, vector_operations::apply_ssse3},
                                         {"avx2", kernels::AVX2, vector_operations::apply_avx2}};

} // namespace

INSTANTIATE_TEST_SUITE_P(Variants, VectorTest, testing::ValuesIn(WIDTHS), variants::Name());

TEST_P(VectorTest, HasTheSizeOfARegister) {
    EXPECT_EQ(size(), run() == vector_operations::apply_avx2 ? 32U : 16U);
}

TEST_P(VectorTest, DoesToRandomBytesWhatTheModelDoes) {
    Noise noise;
    SCOPED_TRACE(noise);
    for_each_operation([&](Operation operation) {
        for (int i = 0; i < 1000; ++i) {
            const std::string a = noise.bytes(vector_operations::WIDEST);
            const std::string b = noise.bytes(vector_operations::WIDEST);
            ASSERT_TRUE(holds(operation, a, b));
        }
    });
}

TEST_P(VectorTest, DoesToExtremeBytesWhatTheModelDoes) {
    Noise noise;
    SCOPED_TRACE(noise);
    const std::string extremes("\0\x01\x7f\x80\x81\xff", 6);
    for_each_operation([&](Operation operation) {
        for (int i = 0; i < 1000; ++i) {
            const std::string a = noise.over(extremes, vector_operations::WIDEST);
            const std::string b = noise.over(extremes, vector_operations::WIDEST);
            ASSERT_TRUE(holds(operation, a, b));
        }
    });
}

TEST_P(VectorTest, DoesToEqualBytesWhatTheModelDoes) {
    Noise noise;
    SCOPED_TRACE(noise);
    for_each_operation([&](Operation operation) {
        for (int i = 0; i < 100; ++i) {
            const std::string a = noise.bytes(vector_operations::WIDEST);
            std::string b = a;
            ASSERT_TRUE(holds(operation, a, b));
            b[noise.below(b.size())] = '\0';
            ASSERT_TRUE(holds(operation, a, b));
        }
    });
}

TEST_P(VectorTest, IsZeroWithoutASingleBitOnly) {
    std::string text(vector_operations::WIDEST, '\0');
    EXPECT_TRUE(holds(Operation::IS_ZERO, text, text));
    for (std::size_t bit = 0; bit < size() * 8; ++bit) {
        text[bit / 8] = static_cast<char>(1 << bit % 8);
        EXPECT_TRUE(holds(Operation::IS_ZERO, text, text)) << bit;
        text[bit / 8] = '\0';
    }
}

TEST_P(VectorTest, ReadsAndWritesItsBytesOnly) {
    Noise noise;
    SCOPED_TRACE(noise);
    for_each_operation([&](Operation operation) {
        if (operation == Operation::COPY_LANES) {
            return; // reads the first lanes of both
        }
        const std::string a = noise.bytes(size());
        const auto texts = places::writing(a, model(operation, a, a));
        ASSERT_TRUE(places::holds_everywhere(texts, [&](const char* from, char* to) {
            const auto* const bytes = reinterpret_cast<const unsigned char*>(from);
            run()(operation, bytes, bytes, reinterpret_cast<unsigned char*>(to));
            return true;
        }));
    });
}
