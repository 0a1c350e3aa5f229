// Tests of the exchange of two characters in every variant.
//
//   kernel             cases
//   holds_exchanged    HoldsExchangedTest.*
//   do_exchange        DoExchangeTest.*

#include "../exchange.hpp"
#include "../../nuriccl/tests/support/texts.hpp"
#include "support/noise.hpp"
#include "support/places.hpp"
#include "support/variants.hpp"

#include <algorithm>
#include <cstddef>
#include <gtest/gtest.h>
#include <string>

namespace {

using kernels::AVX2;
using kernels::DoExchange;
using kernels::Exchange;
using kernels::HoldsExchanged;
using kernels::SSE2;
using noise::Noise;

constexpr std::size_t MOST = 200; // characters

const Exchange EXCHANGES[] = {
    {{'+', '/'}, {'-', '_'}},
    {{'-', '_'}, {'+', '/'}},
    {{'\0', '\xff'}, {'\x80', '\x7f'}},
    {{'a', 'b'}, {'\xc1', '\0'}},
};

bool is_exchanged(const Exchange& exchange, char c) {
    return c == exchange.from[0] || c == exchange.from[1];
}

std::string exchanged(std::string text, const Exchange& exchange) {
    for (char& c : text) {
        if (c == exchange.from[0]) {
            c = exchange.to[0];
        } else if (c == exchange.from[1]) {
            c = exchange.to[1];
        }
    }
    return text;
}

std::string others_of(const Exchange& exchange) {
    std::string others;
    for (const char c : texts::all_bytes()) {
        if (!is_exchanged(exchange, c)) {
            others += c;
        }
    }
    return others;
}

// Half of it is exchanged.
std::string some_text(Noise& noise, const Exchange& exchange, std::size_t length) {
    const std::string from(exchange.from, 2);
    const std::string to(exchange.to, 2);
    return noise.over(from + from + to + noise.one_of(others_of(exchange)) + "A", length);
}

class HoldsExchangedTest : public variants::Test<HoldsExchanged> {
protected:
    static auto kernel(std::size_t length, const Exchange& exchange, bool expected) {
        return [=, &exchange](const char* text, const char*) {
            return run()(text, length, exchange) == expected;
        };
    }
};

class DoExchangeTest : public variants::Test<DoExchange> {
protected:
    static testing::AssertionResult holds(const std::string& text, const Exchange& exchange) {
        return places::holds_everywhere(places::changing(text, exchanged(text, exchange)),
                                        [&](const char*, char* place) {
                                            run()(place, text.size(), exchange);
                                            return true;
                                        });
    }
};

const variants::Named<HoldsExchanged> SEARCHES[] = {{"best", SSE2, kernels::holds_exchanged},
                                                    {"sse2", SSE2, kernels::holds_exchanged_sse2},
                                                    {"avx2", AVX2, kernels::holds_exchanged_avx2}};

const variants::Named<DoExchange> WRITERS[] = {{"best", SSE2, kernels::do_exchange},
                                               {"sse2", SSE2, kernels::do_exchange_sse2},
                                               {"avx2", AVX2, kernels::do_exchange_avx2}};

} // namespace

INSTANTIATE_TEST_SUITE_P(Variants, HoldsExchangedTest, testing::ValuesIn(SEARCHES),
                         variants::Name());
INSTANTIATE_TEST_SUITE_P(Variants, DoExchangeTest, testing::ValuesIn(WRITERS), variants::Name());

TEST_P(HoldsExchangedTest, IsFalseForTextOfOthersWhereverItIs) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (const Exchange& exchange : EXCHANGES) {
        for (std::size_t length = 0; length <= MOST; ++length) {
            auto texts = places::reading(noise.over(others_of(exchange), length));
            texts.around = exchange.from[length % 2];
            ASSERT_TRUE(places::holds_everywhere(texts, kernel(length, exchange, false))) << length;
        }
    }
}

TEST_P(HoldsExchangedTest, FindsOneCharacterAtEveryPlaceOfATextOfEveryLength) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (const Exchange& exchange : EXCHANGES) {
        const std::string others = others_of(exchange);
        for (std::size_t length = 1; length <= MOST; ++length) {
            std::string text = noise.over(others, length);
            for (char& place : text) {
                const char other = place;
                for (const char c : exchange.from) {
                    place = c;
                    ASSERT_TRUE(run()(text.data(), length, exchange))
                        << &place - text.data() << " of " << length;
                }
                place = other;
            }
        }
    }
}

TEST_P(HoldsExchangedTest, FindsTheLastCharacterWhereverTheTextIs) {
    for (const Exchange& exchange : EXCHANGES) {
        for (std::size_t length = 1; length <= MOST; ++length) {
            const std::string text = std::string(length - 1, 'x') + exchange.from[length % 2];
            ASSERT_TRUE(
                places::holds_everywhere(places::reading(text), kernel(length, exchange, true)))
                << length;
        }
    }
}

TEST_P(HoldsExchangedTest, KnowsEveryByteAtEveryPlace) {
    for (const Exchange& exchange : EXCHANGES) {
        std::string text(100, 'x');
        for (char& place : text) {
            for (const char c : texts::all_bytes()) {
                place = c;
                ASSERT_EQ(run()(text.data(), text.size(), exchange), is_exchanged(exchange, c))
                    << int{c} << " at " << &place - text.data();
            }
            place = 'x';
        }
    }
}

TEST_P(DoExchangeTest, WritesWhatAPlainLoopWritesWhereverTheTextIs) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (const Exchange& exchange : EXCHANGES) {
        for (std::size_t length = 0; length <= MOST; ++length) {
            ASSERT_TRUE(holds(some_text(noise, exchange, length), exchange)) << length;
            ASSERT_TRUE(holds(noise.bytes(length), exchange)) << length;
        }
    }
}

TEST_P(DoExchangeTest, KnowsEveryByteAtEveryPlace) {
    for (const Exchange& exchange : EXCHANGES) {
        for (std::size_t place = 0; place < 100; ++place) {
            for (const char c : texts::all_bytes()) {
                std::string text(100, 'x');
                text[place] = c;
                const std::string expected = exchanged(text, exchange);
                run()(text.data(), text.size(), exchange);
                ASSERT_EQ(text, expected) << int{c} << " at " << place;
            }
        }
    }
}

TEST_P(DoExchangeTest, TakesLongText) {
    Noise noise;
    SCOPED_TRACE(noise);
    for (const Exchange& exchange : EXCHANGES) {
        std::string text = some_text(noise, exchange, 100000 + noise.below(100));
        const std::string expected = exchanged(text, exchange);
        run()(text.data(), text.size(), exchange);
        ASSERT_TRUE(text == expected);
    }
}
