// MultiBuffer: a stream of bytes in pieces.
//
//   MultiBuffer()                        MultiBufferNew
//   MultiBuffer(const Buffer&),
//     MultiBuffer(Buffer&&)              MultiBufferOfOneBuffer
//   MultiBuffer(const MultiBuffer&),
//     operator=(const MultiBuffer&)      MultiBufferCopied
//   MultiBuffer(MultiBuffer&&),
//     operator=(MultiBuffer&&)           MultiBufferMoved
//   ~MultiBuffer(), clear()              MultiBufferEnd
//   swap() (both)                        MultiBufferSwap
//   push_back(), push_front()            MultiBufferPush
//   pop_front(), pop_back(),
//     front(), back()                    MultiBufferEnds
//   begin() ... cend()                   MultiBufferIterator
//   buffer_count(), data_length(),
//     empty()                            MultiBufferSize
//   copy()                               MultiBufferCopy
//   coalesce()                           MultiBufferCoalesce
//   split()                              MultiBufferSplit
//   copy(), coalesce(), split()          MultiBufferEveryCut (all small streams and positions)
//   operations that allocate             MultiBufferOutOfMemory
//   every operation                      MultiBufferRandom (against a naive model)

#include "support/allocation.hpp"

#include <nuriccl/MultiBuffer.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <new>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using nuriccl::Buffer;
using nuriccl::MultiBuffer;
using testing::AssertionFailure;
using testing::AssertionResult;
using testing::AssertionSuccess;

using Texts = std::vector<std::string>;

Buffer holding(const std::string& text) {
    Buffer buffer(static_cast<unsigned int>(text.size()));
    std::memcpy(buffer.begin_update(), text.data(), text.size());
    buffer.end_update(static_cast<unsigned int>(text.size()));
    return buffer;
}

std::string text_of(const Buffer& buffer) {
    return std::string(buffer.data(), buffer.data() + buffer.data_length());
}

MultiBuffer stream_of(const Texts& texts) {
    MultiBuffer stream;
    for (const std::string& text : texts) {
        stream.push_back(holding(text));
    }
    return stream;
}

Texts texts_of(const MultiBuffer& stream) {
    Texts texts;
    for (const Buffer& buffer : stream) {
        texts.push_back(text_of(buffer));
    }
    return texts;
}

Texts numbered(int first, int count) {
    Texts texts;
    for (int i = first; i < first + count; ++i) {
        texts.push_back(std::to_string(i));
    }
    return texts;
}

std::string joined(const Texts& texts) {
    return std::accumulate(texts.begin(), texts.end(), std::string());
}

// Closes every level of update that is open and tells how many there were.
unsigned int close_all(Buffer& buffer) {
    for (unsigned int closed = 0;; ++closed) {
        try {
            buffer.end_update(buffer.data_length());
        } catch (const std::logic_error&) {
            return closed;
        }
    }
}

// What `read(destination, size)` reads and returns; it must not touch what lies behind.
template <class Read>
std::pair<std::string, unsigned int> bytes_read(unsigned int size, Read read) {
    std::vector<unsigned char> place(size + 4, 0xEE);
    const unsigned int count = read(place.data(), size);
    EXPECT_LE(count, size);
    EXPECT_TRUE(std::all_of(place.begin() + count, place.end(),
                            [](unsigned char byte) { return byte == 0xEE; }));
    return {std::string(place.begin(), place.begin() + count), count};
}

std::pair<std::string, unsigned int> copied(const MultiBuffer& stream, unsigned int size) {
    return bytes_read(size, [&](void* to, unsigned int n) { return stream.copy(to, n); });
}

std::pair<std::string, unsigned int> coalesced(MultiBuffer& stream, unsigned int size) {
    return bytes_read(size, [&](void* to, unsigned int n) { return stream.coalesce(to, n); });
}

// The members of a MultiBuffer, in order.
struct Members {
    const Buffer* slots;
    std::uint32_t slot_count;
    std::uint32_t head;
    std::uint32_t tail;
};

Members members(const MultiBuffer& stream) {
    static_assert(sizeof(MultiBuffer) == sizeof(Members));
    Members result;
    std::memcpy(&result, static_cast<const void*>(&stream), sizeof result);
    return result;
}

// Slot count, head and tail.
AssertionResult at(const MultiBuffer& stream, std::uint32_t slot_count, std::uint32_t head,
                   std::uint32_t tail) {
    const Members is = members(stream);
    if (is.slot_count == slot_count && is.head == head && is.tail == tail &&
        (is.slots == nullptr) == (slot_count == 1)) {
        return AssertionSuccess();
    }
    return AssertionFailure() << is.slots << ", " << is.slot_count << ", " << is.head << ", "
                              << is.tail;
}

AssertionResult is_new(const MultiBuffer& stream) { return at(stream, 1, 0, 0); }

// Moves the place of the next element to slot `head`.
void rotate(MultiBuffer& stream, int head) {
    for (int i = 0; i < head; ++i) {
        stream.push_back(Buffer());
        stream.pop_front();
    }
}

// New sequences

TEST(MultiBufferNew, IsEmptyAndAllocatesNothing) {
    const allocation::Watch watch;
    const MultiBuffer stream;
    EXPECT_EQ(watch.requests(), 0u);
    EXPECT_TRUE(is_new(stream));
    EXPECT_EQ(stream.buffer_count(), 0u);
    EXPECT_EQ(stream.data_length(), 0u);
    EXPECT_TRUE(stream.empty());
    EXPECT_TRUE(stream.begin() == stream.end());
}

TEST(MultiBufferOfOneBuffer, SharesACopiedOneInTenSlots) {
    const Buffer buffer = holding("abc");
    const allocation::Watch watch;
    const MultiBuffer stream(buffer);
    EXPECT_EQ(watch.requests(), 1u);
    EXPECT_EQ(watch.size(0), 10 * sizeof(Buffer));
    EXPECT_TRUE(at(stream, 10, 0, 1));
    EXPECT_EQ(members(stream).slots, &stream.front());
    EXPECT_EQ(stream.front().data(), buffer.data());
    EXPECT_EQ(texts_of(stream), Texts({"abc"}));
    EXPECT_EQ(text_of(buffer), "abc");
}

TEST(MultiBufferOfOneBuffer, TakesAMovedOneInTenSlots) {
    Buffer buffer = holding("abc");
    const unsigned char* const data = buffer.data();
    const allocation::Watch watch;
    const MultiBuffer stream(std::move(buffer));
    EXPECT_EQ(watch.requests(), 1u);
    EXPECT_EQ(watch.size(0), 10 * sizeof(Buffer));
    EXPECT_TRUE(at(stream, 10, 0, 1));
    EXPECT_EQ(stream.front().data(), data);
    EXPECT_EQ(buffer.data(), nullptr);
}

TEST(MultiBufferOfOneBuffer, MayBeEmptyAndStillHoldsIt) {
    const MultiBuffer stream{Buffer()};
    EXPECT_EQ(stream.buffer_count(), 1u);
    EXPECT_FALSE(stream.empty());
    EXPECT_EQ(stream.data_length(), 0u);
}

TEST(MultiBufferOfOneBuffer, CopiesTheBytesOfOneInAnUpdate) {
    Buffer buffer = holding("abc");
    buffer.begin_update();
    MultiBuffer copy(buffer);
    EXPECT_NE(copy.front().data(), buffer.data());
    EXPECT_EQ(texts_of(copy), Texts({"abc"}));
    EXPECT_EQ(close_all(copy.front()), 0u);
    MultiBuffer moved(std::move(buffer));
    EXPECT_EQ(close_all(moved.front()), 0u);
    EXPECT_EQ(close_all(buffer), 1u);
}

// Copies of the whole sequence

TEST(MultiBufferCopied, HasTheSlotsOfTheSourceAndSharesTheBlocks) {
    for (int head = 0; head < 10; ++head) {
        MultiBuffer source;
        rotate(source, head);
        for (const std::string& text : numbered(0, 7)) {
            source.push_back(holding(text));
        }
        const allocation::Watch watch;
        const MultiBuffer copy(source);
        EXPECT_EQ(watch.requests(), 1u);
        EXPECT_EQ(watch.size(0), 10 * sizeof(Buffer));
        EXPECT_TRUE(at(copy, 10, 0, 7));
        EXPECT_EQ(texts_of(copy), numbered(0, 7));
        EXPECT_EQ(texts_of(source), numbered(0, 7));
        EXPECT_TRUE(
            std::equal(copy.begin(), copy.end(), source.begin(),
                       [](const Buffer& a, const Buffer& b) { return a.data() == b.data(); }));
    }
}

TEST(MultiBufferCopied, OfALargerRingIsAsLarge) {
    const MultiBuffer source = stream_of(numbered(0, 12));
    const allocation::Watch watch;
    const MultiBuffer copy(source);
    EXPECT_EQ(watch.size(0), 15 * sizeof(Buffer));
    EXPECT_TRUE(at(copy, 15, 0, 12));
}

TEST(MultiBufferCopied, OfANewSequenceIsNew) {
    const MultiBuffer source;
    const allocation::Watch watch;
    const MultiBuffer copy(source);
    EXPECT_EQ(watch.requests(), 0u);
    EXPECT_TRUE(is_new(copy));
}

TEST(MultiBufferCopied, OfAClearedSequenceHasItsSlots) {
    MultiBuffer source = stream_of({"a"});
    source.clear();
    EXPECT_TRUE(at(MultiBuffer(source), 10, 0, 0));
}

TEST(MultiBufferCopied, HasItsOwnBytesOfABufferInAnUpdate) {
    MultiBuffer source = stream_of({"abc", "def"});
    source.back().begin_update();
    MultiBuffer copy(source);
    EXPECT_EQ(texts_of(copy), Texts({"abc", "def"}));
    EXPECT_EQ(copy.front().data(), source.front().data());
    EXPECT_NE(copy.back().data(), source.back().data());
    EXPECT_EQ(close_all(copy.back()), 0u);
    EXPECT_EQ(close_all(source.back()), 1u);
}

TEST(MultiBufferCopied, AssignmentReplacesTheBuffers) {
    const MultiBuffer source = stream_of({"abc", "def"});
    MultiBuffer target = stream_of({"x"});
    MultiBuffer& result = (target = source);
    EXPECT_EQ(&result, &target);
    EXPECT_EQ(texts_of(target), Texts({"abc", "def"}));
    EXPECT_EQ(texts_of(source), Texts({"abc", "def"}));
    EXPECT_EQ(target.front().data(), source.front().data());
    target = *&target;
    EXPECT_EQ(texts_of(target), Texts({"abc", "def"}));
}

// Moves of the whole sequence

TEST(MultiBufferMoved, ConstructionTakesTheRingAndLeavesANewSequence) {
    MultiBuffer source;
    rotate(source, 8);
    for (const std::string& text : numbered(0, 5)) {
        source.push_back(holding(text));
    }
    const Members before = members(source);
    const allocation::Watch watch;
    const MultiBuffer target(std::move(source));
    EXPECT_EQ(watch.requests(), 0u);
    EXPECT_EQ(members(target).slots, before.slots);
    EXPECT_TRUE(at(target, 10, 8, 3));
    EXPECT_TRUE(is_new(source));
    EXPECT_EQ(texts_of(target), numbered(0, 5));
}

TEST(MultiBufferMoved, AssignmentFreesItsOwnBuffersAndLeavesANewSequence) {
    const allocation::Watch watch;
    MultiBuffer target(holding("old"));
    MultiBuffer source(holding("new"));
    const Members before = members(source);
    MultiBuffer& result = (target = std::move(source));
    EXPECT_EQ(&result, &target);
    EXPECT_EQ(watch.requests(), 4u);
    EXPECT_TRUE(watch.freed(0) && watch.freed(1)) << "the old block and its ring";
    EXPECT_FALSE(watch.freed(2) || watch.freed(3));
    EXPECT_EQ(members(target).slots, before.slots);
    EXPECT_EQ(texts_of(target), Texts({"new"}));
    EXPECT_TRUE(is_new(source));
}

TEST(MultiBufferMoved, IntoItselfIsEmpty) {
    const allocation::Watch watch;
    MultiBuffer stream(holding("abc"));
    MultiBuffer& same = stream;
    stream = std::move(same);
    EXPECT_TRUE(is_new(stream));
    EXPECT_EQ(watch.live(), 0);
}

TEST(MultiBufferMoved, MovedFromSequenceMayBeUsedAgain) {
    MultiBuffer source = stream_of({"abc"});
    const MultiBuffer target(std::move(source));
    source.push_back(holding("x"));
    EXPECT_TRUE(at(source, 10, 0, 1));
    EXPECT_EQ(texts_of(source), Texts({"x"}));
}

TEST(MultiBufferMoved, NeverThrows) {
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<MultiBuffer>);
    EXPECT_TRUE(std::is_nothrow_move_assignable_v<MultiBuffer>);
    EXPECT_TRUE(std::is_nothrow_destructible_v<MultiBuffer>);
    EXPECT_TRUE(std::is_nothrow_swappable_v<MultiBuffer>);
}

// Destruction

TEST(MultiBufferEnd, GivesEveryBlockAndTheRingBack) {
    const allocation::Watch watch;
    {
        MultiBuffer stream;
        rotate(stream, 7);
        for (int i = 0; i < 30; ++i) {
            stream.push_back(holding("x"));
        }
    }
    EXPECT_EQ(watch.live(), 0);
}

TEST(MultiBufferEnd, LeavesBlocksToTheirOtherHandles) {
    const Buffer buffer = holding("abc");
    { const MultiBuffer stream(buffer); }
    EXPECT_EQ(text_of(buffer), "abc");
}

TEST(MultiBufferEnd, ClearDropsTheBuffersAndKeepsTheRing) {
    const allocation::Watch watch;
    MultiBuffer stream(holding("abc"));
    const Members before = members(stream);
    stream.clear();
    EXPECT_TRUE(watch.freed(0));
    EXPECT_FALSE(watch.freed(1));
    EXPECT_EQ(members(stream).slots, before.slots);
    EXPECT_TRUE(at(stream, 10, 0, 0));
    EXPECT_TRUE(stream.empty());
    stream.push_back(Buffer());
    EXPECT_EQ(watch.requests(), 2u);
}

TEST(MultiBufferEnd, ClearOfARotatedRingStartsAtSlotZero) {
    MultiBuffer stream;
    rotate(stream, 7);
    for (int i = 0; i < 6; ++i) {
        stream.push_back(Buffer());
    }
    stream.clear();
    EXPECT_TRUE(at(stream, 10, 0, 0));
    MultiBuffer fresh;
    fresh.clear();
    EXPECT_TRUE(is_new(fresh));
}

TEST(MultiBufferSwap, ExchangesTheMembers) {
    MultiBuffer a;
    rotate(a, 8);
    a.push_back(holding("a"));
    a.push_back(holding("b"));
    const Members before = members(a);
    MultiBuffer b;
    const allocation::Watch watch;
    a.swap(b);
    EXPECT_TRUE(is_new(a));
    EXPECT_TRUE(at(b, 10, 8, 0));
    EXPECT_EQ(members(b).slots, before.slots);
    swap(a, b);
    EXPECT_TRUE(at(a, 10, 8, 0));
    EXPECT_TRUE(is_new(b));
    swap(a, a);
    EXPECT_EQ(texts_of(a), Texts({"a", "b"}));
    nuriccl::swap(a, b);
    EXPECT_EQ(texts_of(b), Texts({"a", "b"}));
}

// Pushes

TEST(MultiBufferPush, FirstOneAllocatesTenSlots) {
    const Buffer buffer = holding("abc");
    const allocation::Watch watch;
    MultiBuffer back;
    back.push_back(buffer);
    EXPECT_EQ(watch.size(0), 10 * sizeof(Buffer));
    EXPECT_TRUE(at(back, 10, 0, 1));
    MultiBuffer front;
    front.push_front(buffer);
    EXPECT_EQ(watch.size(1), 10 * sizeof(Buffer));
    EXPECT_TRUE(at(front, 10, 9, 0));
    EXPECT_EQ(watch.requests(), 2u);
}

TEST(MultiBufferPush, SharesACopiedBufferAndTakesAMovedOne) {
    Buffer buffer = holding("abc");
    const unsigned char* const data = buffer.data();
    MultiBuffer stream;
    stream.push_back(buffer);
    stream.push_front(buffer);
    EXPECT_EQ(buffer.data(), data);
    stream.push_back(std::move(buffer));
    EXPECT_EQ(buffer.data(), nullptr);
    buffer = stream.front();
    stream.push_front(std::move(buffer));
    EXPECT_EQ(buffer.data(), nullptr);
    EXPECT_EQ(stream.buffer_count(), 4u);
    for (const Buffer& piece : stream) {
        EXPECT_EQ(piece.data(), data);
    }
}

TEST(MultiBufferPush, AddsAtItsEnd) {
    MultiBuffer stream;
    stream.push_back(holding("c"));
    stream.push_front(holding("b"));
    stream.push_back(holding("d"));
    stream.push_front(holding("a"));
    EXPECT_EQ(texts_of(stream), Texts({"a", "b", "c", "d"}));
    EXPECT_TRUE(at(stream, 10, 8, 2));
}

TEST(MultiBufferPush, GrowsTenFifteenTwentyTwoThirtyThree) {
    const allocation::Watch watch;
    MultiBuffer stream;
    const Buffer none;
    const std::pair<unsigned int, std::uint32_t> last_of_slots[] = {
        {9, 10}, {14, 15}, {21, 22}, {32, 33}, {48, 49}};
    for (const auto& [count, slots] : last_of_slots) {
        while (stream.buffer_count() < count) {
            stream.push_back(none);
            EXPECT_EQ(members(stream).slot_count, slots);
        }
    }
    const std::size_t sizes[] = {10, 15, 22, 33, 49};
    ASSERT_EQ(watch.requests(), std::size(sizes));
    for (std::size_t i = 0; i < std::size(sizes); ++i) {
        EXPECT_EQ(watch.size(i), sizes[i] * sizeof(Buffer));
        EXPECT_EQ(watch.freed(i), i + 1 != std::size(sizes));
    }
}

TEST(MultiBufferPush, TenthOneKeepsTheOrderAcrossTheWrapAround) {
    for (int head = 0; head < 10; ++head) {
        for (const bool at_front : {false, true}) {
            MultiBuffer stream;
            rotate(stream, head);
            for (const std::string& text : numbered(1, 9)) {
                stream.push_back(holding(text));
            }
            Texts expected = numbered(1, 9);
            if (at_front) {
                stream.push_front(holding("0"));
                expected.insert(expected.begin(), "0");
                EXPECT_TRUE(at(stream, 15, 14, 9));
            } else {
                stream.push_back(holding("10"));
                expected.push_back("10");
                EXPECT_TRUE(at(stream, 15, 0, 10));
            }
            EXPECT_EQ(texts_of(stream), expected);
        }
    }
}

TEST(MultiBufferPush, OfItsOwnBufferPushesTheValueItHad) {
    for (const int count : {3, 9}) { // with room and with growth
        MultiBuffer stream = stream_of(numbered(0, count));
        stream.push_back(stream.front());
        stream.push_front(std::as_const(stream).back());
        Texts expected = numbered(0, count);
        expected.insert(expected.begin(), "0");
        expected.push_back("0");
        EXPECT_EQ(texts_of(stream), expected);
        EXPECT_EQ(stream.front().data(), stream.back().data());
    }
    for (const int count : {3, 9}) {
        MultiBuffer stream = stream_of(numbered(0, count));
        stream.push_back(std::move(stream.front()));
        Texts expected = numbered(0, count);
        expected.front() = "";
        expected.push_back("0");
        EXPECT_EQ(texts_of(stream), expected);
    }
}

TEST(MultiBufferPush, OfABufferInAnUpdateFollowsTheBuffersOwnRules) {
    Buffer buffer = holding("abc");
    buffer.begin_update();
    MultiBuffer stream;
    stream.push_back(buffer);
    stream.push_front(buffer);
    EXPECT_NE(stream.front().data(), buffer.data());
    EXPECT_NE(stream.back().data(), buffer.data());
    stream.push_back(std::move(buffer));
    EXPECT_EQ(texts_of(stream), Texts({"abc", "abc", "abc"}));
    for (Buffer& piece : stream) {
        EXPECT_EQ(close_all(piece), 0u);
    }
    EXPECT_EQ(close_all(buffer), 1u);
}

TEST(MultiBufferPush, GrowthEndsAnUpdateOfABufferInside) {
    // Growth moves the elements, and a moved-to Buffer is in no update.
    MultiBuffer stream = stream_of(numbered(0, 9));
    stream.front().begin_update();
    stream.push_back(Buffer());
    EXPECT_EQ(close_all(stream.front()), 0u);
}

// The ends

TEST(MultiBufferEnds, PopsRemoveTheBufferAtTheirEnd) {
    for (int head = 0; head < 10; ++head) {
        MultiBuffer stream;
        rotate(stream, head);
        for (const std::string& text : numbered(0, 5)) {
            stream.push_back(holding(text));
        }
        const allocation::Watch watch;
        stream.pop_front();
        stream.pop_back();
        EXPECT_EQ(watch.live(), -2) << "both blocks are freed";
        EXPECT_EQ(texts_of(stream), numbered(1, 3));
        const auto start = static_cast<std::uint32_t>(head);
        EXPECT_TRUE(at(stream, 10, (start + 1) % 10, (start + 4) % 10));
    }
}

TEST(MultiBufferEnds, FrontAndBackReferToTheBuffers) {
    for (int head = 0; head < 10; ++head) {
        MultiBuffer stream;
        rotate(stream, head);
        for (const std::string& text : numbered(0, 3)) {
            stream.push_back(holding(text));
        }
        const MultiBuffer& constant = stream;
        EXPECT_EQ(text_of(constant.front()), "0");
        EXPECT_EQ(text_of(constant.back()), "2");
        EXPECT_EQ(&constant.front(), &stream.front());
        EXPECT_EQ(&constant.back(), &stream.back());
        stream.front() = holding("first");
        stream.back() = holding("last");
        EXPECT_EQ(texts_of(stream), Texts({"first", "1", "last"}));
    }
}

TEST(MultiBufferIterator, WalksFromHeadToTail) {
    MultiBuffer stream;
    rotate(stream, 8);
    for (const std::string& text : numbered(0, 5)) {
        stream.push_back(holding(text));
    }
    const MultiBuffer& constant = stream;
    EXPECT_EQ(&*stream.begin(), &stream.front());
    EXPECT_EQ(&*constant.begin(), &stream.front());
    EXPECT_EQ(&*constant.cbegin(), &stream.front());
    EXPECT_EQ(std::distance(stream.begin(), stream.end()), 5);
    EXPECT_EQ(std::distance(constant.begin(), constant.end()), 5);
    EXPECT_EQ(std::distance(constant.cbegin(), constant.cend()), 5);
    EXPECT_TRUE(constant.cbegin() == constant.begin() && constant.cend() == constant.end());
    MultiBuffer::iterator place = stream.begin();
    *++place = holding("one");
    const MultiBuffer::const_iterator same = place;
    EXPECT_EQ(text_of(*same), "one");
    EXPECT_EQ(texts_of(stream), Texts({"0", "one", "2", "3", "4"}));
    EXPECT_TRUE(stream.begin() != MultiBuffer(stream).begin());
    EXPECT_TRUE((std::is_same_v<decltype(constant.begin()), MultiBuffer::const_iterator>));
    EXPECT_TRUE((std::is_same_v<decltype(*constant.begin()), const Buffer&>));
}

// Sizes

TEST(MultiBufferSize, CountsBuffersAndBytes) {
    MultiBuffer stream;
    stream.push_back(Buffer());
    EXPECT_FALSE(stream.empty());
    EXPECT_EQ(stream.buffer_count(), 1u);
    EXPECT_EQ(stream.data_length(), 0u);
    stream.push_back(holding("abc"));
    stream.push_front(holding("de"));
    stream.push_front(Buffer(100));
    EXPECT_EQ(stream.buffer_count(), 4u);
    EXPECT_EQ(stream.data_length(), 5u);
    stream.pop_back();
    EXPECT_EQ(stream.data_length(), 2u);
    stream.clear();
    EXPECT_EQ(stream.buffer_count(), 0u);
    EXPECT_EQ(stream.data_length(), 0u);
    EXPECT_TRUE(stream.empty());
}

TEST(MultiBufferSize, LengthIsASumOf32Bits) {
    Buffer large(1u << 24);
    large.begin_update();
    large.end_update(1u << 24);
    MultiBuffer stream;
    for (int i = 0; i < 255; ++i) {
        stream.push_back(large);
    }
    EXPECT_EQ(stream.data_length(), 0xFF000000u);
    stream.push_back(large.segment(1, 0xFFFFFFFF));
    EXPECT_EQ(stream.data_length(), 0xFFFFFFFFu);
    stream.push_back(holding("a"));
    EXPECT_EQ(stream.data_length(), 0u);
    EXPECT_FALSE(stream.empty());
    stream.push_back(holding("bcd"));
    EXPECT_EQ(stream.data_length(), 3u);
}

// Copying out

TEST(MultiBufferCopy, GivesTheFirstBytesAndChangesNothing) {
    const MultiBuffer stream = stream_of({"abc", "", "defg"});
    const allocation::Watch watch;
    char place[] = "--------";
    EXPECT_EQ(stream.copy(place, 5), 5u);
    EXPECT_EQ(watch.requests(), 0u);
    EXPECT_STREQ(place, "abcde---");
    EXPECT_EQ(texts_of(stream), Texts({"abc", "", "defg"}));
}

TEST(MultiBufferCopy, OfMoreThanTheTotalGivesTheTotal) {
    const MultiBuffer stream = stream_of({"abc", "defg"});
    for (const unsigned int size : {7u, 8u, 100u}) {
        EXPECT_EQ(copied(stream, size), std::make_pair(std::string("abcdefg"), 7u));
    }
    char place[7];
    EXPECT_EQ(stream.copy(place, 0xFFFFFFFF), 7u);
    EXPECT_EQ(std::string(place, 7), "abcdefg");
}

TEST(MultiBufferCopy, OfNothingGivesNothing) {
    EXPECT_EQ(stream_of({"abc"}).copy(nullptr, 0), 0u);
    EXPECT_EQ(MultiBuffer().copy(nullptr, 100), 0u);
    EXPECT_EQ(stream_of({"", ""}).copy(nullptr, 100), 0u);
    EXPECT_EQ(MultiBuffer(Buffer()).copy(nullptr, 100), 0u);
}

TEST(MultiBufferCopy, ReadsBuffersInAnUpdate) {
    MultiBuffer stream = stream_of({"abc", "defg"});
    stream.front().begin_update()[0] = 'X';
    EXPECT_EQ(copied(stream, 100).first, "Xbcdefg");
    stream.front().data_length(1);
    EXPECT_EQ(copied(stream, 100).first, "Xdefg");
    EXPECT_EQ(close_all(stream.front()), 1u);
}

// Consuming

TEST(MultiBufferCoalesce, CutsThePieceThatIsUsedInPart) {
    MultiBuffer stream = stream_of({"abc", "defg"});
    const Buffer second = stream.back();
    const allocation::Watch watch;
    char place[] = "--------";
    EXPECT_EQ(stream.coalesce(place, 5), 5u);
    EXPECT_EQ(watch.requests(), 0u);
    EXPECT_STREQ(place, "abcde---");
    EXPECT_EQ(texts_of(stream), Texts({"fg"}));
    EXPECT_EQ(stream.front().data(), second.data() + 2);
    EXPECT_EQ(stream.front().capacity(), second.capacity() - 2);
    EXPECT_EQ(text_of(second), "defg");
}

TEST(MultiBufferCoalesce, KeepsTheRestOfALargeBuffer) {
    const std::string large(200000, 'a');
    MultiBuffer stream = stream_of({'b' + large});
    char first = '-';
    EXPECT_EQ(stream.coalesce(&first, 1), 1u);
    EXPECT_EQ(first, 'b');
    EXPECT_EQ(texts_of(stream), Texts({large}));
}

TEST(MultiBufferCoalesce, OfEverythingLeavesAnEmptySequenceWithItsRing) {
    for (const unsigned int size : {7u, 8u, 0xFFFFFFFFu}) {
        MultiBuffer stream = stream_of({"abc", "defg"});
        char place[7];
        EXPECT_EQ(stream.coalesce(place, size), 7u);
        EXPECT_EQ(std::string(place, 7), "abcdefg");
        EXPECT_TRUE(stream.empty());
        EXPECT_TRUE(at(stream, 10, 2, 2));
    }
}

TEST(MultiBufferCoalesce, RemovesEmptyBuffersOnlyWhileBytesAreWanted) {
    MultiBuffer stream = stream_of({"", "abc", "", "", "d", ""});
    EXPECT_EQ(stream.coalesce(nullptr, 0), 0u);
    EXPECT_EQ(texts_of(stream), Texts({"", "abc", "", "", "d", ""}));
    EXPECT_EQ(coalesced(stream, 3).first, "abc");
    EXPECT_EQ(texts_of(stream), Texts({"", "", "d", ""}));
    EXPECT_EQ(coalesced(stream, 1).first, "d");
    EXPECT_EQ(texts_of(stream), Texts({""}));
    EXPECT_EQ(coalesced(stream, 1), std::make_pair(std::string(), 0u));
    EXPECT_TRUE(stream.empty());
    EXPECT_EQ(stream.coalesce(nullptr, 1), 0u);
}

TEST(MultiBufferCoalesce, GivesTheBlocksThatAreUsedUpBack) {
    MultiBuffer stream = stream_of({"abc", "defg"});
    const allocation::Watch watch;
    char place[5];
    stream.coalesce(place, 3);
    EXPECT_EQ(watch.live(), -1);
    stream.coalesce(place, 3);
    EXPECT_EQ(watch.live(), -1);
    stream.coalesce(place, 3);
    EXPECT_EQ(watch.live(), -2);
}

TEST(MultiBufferCoalesce, OfABufferInAnUpdateGoesOnInACopyOfTheRest) {
    MultiBuffer stream = stream_of({"abcd"});
    stream.front().begin_update();
    const unsigned char* const data = stream.front().data();
    EXPECT_EQ(coalesced(stream, 1).first, "a");
    EXPECT_EQ(texts_of(stream), Texts({"bcd"}));
    EXPECT_NE(stream.front().data(), data + 1);
    EXPECT_EQ(close_all(stream.front()), 1u) << "an assignment keeps the update";
}

// Splitting

TEST(MultiBufferSplit, MovesWholeBuffersAndCutsAtMostOne) {
    MultiBuffer stream = stream_of({"abc", "defg"});
    const Buffer first = stream.front();
    const Buffer second = stream.back();
    const allocation::Watch watch;
    const MultiBuffer head = stream.split(5);
    EXPECT_EQ(watch.requests(), 1u) << "the ring of the result";
    EXPECT_EQ(watch.size(0), 10 * sizeof(Buffer));
    EXPECT_EQ(texts_of(head), Texts({"abc", "de"}));
    EXPECT_EQ(texts_of(stream), Texts({"fg"}));
    EXPECT_EQ(head.front().data(), first.data());
    EXPECT_EQ(head.back().data(), second.data());
    EXPECT_EQ(head.back().capacity(), second.capacity());
    EXPECT_EQ(stream.front().data(), second.data() + 2);
    EXPECT_EQ(stream.front().capacity(), second.capacity() - 2);
}

TEST(MultiBufferSplit, KeepsTheRestOfALargeBuffer) {
    const std::string large(200000, 'a');
    MultiBuffer stream = stream_of({'b' + large});
    EXPECT_EQ(texts_of(stream.split(1)), Texts({"b"}));
    EXPECT_EQ(texts_of(stream), Texts({large}));
}

TEST(MultiBufferSplit, AtABoundaryCutsNone) {
    MultiBuffer stream = stream_of({"abc", "defg"});
    EXPECT_EQ(texts_of(stream.split(3)), Texts({"abc"}));
    EXPECT_EQ(texts_of(stream), Texts({"defg"}));
}

TEST(MultiBufferSplit, AtZeroReturnsANewSequence) {
    MultiBuffer stream = stream_of({"", "abc"});
    const allocation::Watch watch;
    EXPECT_TRUE(is_new(stream.split(0)));
    EXPECT_EQ(watch.requests(), 0u);
    EXPECT_EQ(texts_of(stream), Texts({"", "abc"}));
    EXPECT_TRUE(is_new(MultiBuffer().split(5)));
}

TEST(MultiBufferSplit, PastTheEndMovesEverything) {
    for (const unsigned int size : {8u, 100u, 0xFFFFFFFFu}) {
        MultiBuffer stream = stream_of({"abc", "", "defg", ""});
        EXPECT_EQ(texts_of(stream.split(size)), Texts({"abc", "", "defg", ""}));
        EXPECT_TRUE(stream.empty());
        EXPECT_TRUE(at(stream, 10, 4, 4));
    }
}

TEST(MultiBufferSplit, MovesEmptyBuffersOnlyWhileBytesAreWanted) {
    MultiBuffer stream = stream_of({"", "abc", "", "", "d", ""});
    EXPECT_EQ(texts_of(stream.split(3)), Texts({"", "abc"}));
    EXPECT_EQ(texts_of(stream), Texts({"", "", "d", ""}));
    EXPECT_EQ(texts_of(stream.split(1)), Texts({"", "", "d"}));
    EXPECT_EQ(texts_of(stream), Texts({""}));
    EXPECT_EQ(texts_of(stream.split(1)), Texts({""}));
}

TEST(MultiBufferSplit, OfABufferInAnUpdateCopiesBothParts) {
    MultiBuffer stream = stream_of({"abcd"});
    stream.front().begin_update();
    const unsigned char* const data = stream.front().data();
    MultiBuffer head = stream.split(1);
    EXPECT_EQ(texts_of(head), Texts({"a"}));
    EXPECT_EQ(texts_of(stream), Texts({"bcd"}));
    EXPECT_NE(head.front().data(), data);
    EXPECT_EQ(close_all(head.front()), 0u);
    EXPECT_EQ(close_all(stream.front()), 1u) << "an assignment keeps the update";
}

TEST(MultiBufferSplit, OfABufferInAnUpdateMovesItWholeWithoutACopy) {
    MultiBuffer stream = stream_of({"abcd"});
    const unsigned char* const data = stream.front().begin_update();
    const allocation::Watch watch;
    MultiBuffer whole = stream.split(4);
    EXPECT_EQ(watch.requests(), 1u) << "the ring of the result";
    EXPECT_EQ(whole.front().data(), data);
    EXPECT_EQ(texts_of(whole), Texts({"abcd"}));
    EXPECT_EQ(close_all(whole.front()), 0u) << "a moved-to Buffer is in no update";
}

TEST(MultiBufferSplit, PartsMayBeWrittenApart) {
    MultiBuffer stream = stream_of({"abcd"});
    MultiBuffer head = stream.split(2);
    std::memcpy(head.front().begin_update(), "XYZ", 3);
    head.front().end_update(3);
    EXPECT_EQ(texts_of(head), Texts({"XYZ"}));
    EXPECT_EQ(texts_of(stream), Texts({"cd"}));
}

// Every stream of up to ten bytes in up to four pieces, cut at every position

// A piece as a stream holds it.
struct Piece {
    const unsigned char* data;
    unsigned int length;
    unsigned int capacity;

    friend bool operator==(const Piece& a, const Piece& b) {
        return a.data == b.data && a.length == b.length && a.capacity == b.capacity;
    }
};

std::vector<Piece> pieces_of(const MultiBuffer& stream) {
    std::vector<Piece> pieces;
    for (const Buffer& buffer : stream) {
        pieces.push_back({buffer.data(), buffer.data_length(), buffer.capacity()});
    }
    return pieces;
}

class EveryCut {
public:
    explicit EveryCut(const std::vector<unsigned int>& lengths) {
        for (const unsigned int length : lengths) {
            // Every other empty piece has no storage at all.
            const bool none = length == 0 && buffers_.size() % 2 != 0;
            buffers_.push_back(none ? Buffer() : holding(bytes_.substr(total_, length)));
            total_ += length;
        }
    }

    void check() const {
        for (unsigned int size = 0; size <= total_ + 2; ++size) {
            SCOPED_TRACE("cut at " + std::to_string(size));
            const allocation::Watch watch;
            check_copy(size);
            check_coalesce(size);
            check_split(size);
            EXPECT_EQ(watch.live(), 0);
        }
    }

private:
    MultiBuffer stream(unsigned int head) const {
        MultiBuffer stream;
        rotate(stream, static_cast<int>(head));
        for (const Buffer& buffer : buffers_) {
            stream.push_back(buffer);
        }
        return stream;
    }

    std::pair<std::string, unsigned int> first_bytes(unsigned int size) const {
        return {bytes_.substr(0, std::min(size, total_)), std::min(size, total_)};
    }

    // The pieces before and behind `size`. A piece belongs to the first ones when it starts before
    // `size`, so an empty piece right at `size` does not.
    std::pair<std::vector<Piece>, std::vector<Piece>> cut(unsigned int size) const {
        std::vector<Piece> before, behind;
        unsigned int start = 0;
        for (const Buffer& buffer : buffers_) {
            const unsigned int length = buffer.data_length();
            if (start >= size) {
                behind.push_back({buffer.data(), length, buffer.capacity()});
            } else if (start + length <= size) {
                before.push_back({buffer.data(), length, buffer.capacity()});
            } else {
                const unsigned int taken = size - start;
                before.push_back({buffer.data(), taken, buffer.capacity()});
                behind.push_back(
                    {buffer.data() + taken, length - taken, buffer.capacity() - taken});
            }
            start += length;
        }
        return {before, behind};
    }

    void check_copy(unsigned int size) const {
        const MultiBuffer source = stream(size);
        EXPECT_EQ(copied(source, size), first_bytes(size));
        EXPECT_TRUE(pieces_of(source) == cut(0).second) << "changed by copy";
    }

    void check_coalesce(unsigned int size) const {
        MultiBuffer source = stream(size);
        EXPECT_EQ(coalesced(source, size), first_bytes(size));
        EXPECT_TRUE(pieces_of(source) == cut(size).second) << "what coalesce leaves";
        EXPECT_EQ(source.data_length(), total_ - first_bytes(size).second);
    }

    void check_split(unsigned int size) const {
        MultiBuffer source = stream(size);
        const MultiBuffer first = source.split(size);
        EXPECT_TRUE(pieces_of(first) == cut(size).first) << "what split returns";
        EXPECT_TRUE(pieces_of(source) == cut(size).second) << "what split leaves";
    }

    const std::string bytes_ = "0123456789";
    std::vector<Buffer> buffers_;
    unsigned int total_ = 0;
};

void check_every_cut(std::vector<unsigned int>& lengths, unsigned int left) {
    {
        std::string name = "pieces of";
        for (const unsigned int length : lengths) {
            name += ' ' + std::to_string(length);
        }
        SCOPED_TRACE(name);
        EveryCut(lengths).check();
    }
    for (unsigned int length = 0; lengths.size() < 4 && length <= left; ++length) {
        lengths.push_back(length);
        check_every_cut(lengths, left - length);
        lengths.pop_back();
    }
}

TEST(MultiBufferEveryCut, ReadsAndLeavesTheRightPieces) {
    std::vector<unsigned int> lengths;
    check_every_cut(lengths, 10);
}

TEST(MultiBufferEveryCut, WorksOnAHundredThousandPieces) {
    constexpr unsigned int COUNT = 100000;
    const Buffer digits = holding("0123456789");
    MultiBuffer stream;
    for (unsigned int i = 0; i < COUNT; ++i) {
        stream.push_back(digits.segment(i % 10, 1));
    }
    EXPECT_EQ(stream.buffer_count(), COUNT);
    EXPECT_EQ(stream.data_length(), COUNT);
    std::string expected;
    for (unsigned int i = 0; i < COUNT; ++i) {
        expected += static_cast<char>('0' + i % 10);
    }
    EXPECT_TRUE(copied(stream, COUNT).first == expected);

    MultiBuffer first = stream.split(30005);
    EXPECT_EQ(first.buffer_count(), 30005u);
    EXPECT_EQ(stream.buffer_count(), 69995u);
    EXPECT_TRUE(coalesced(first, 20000).first == expected.substr(0, 20000));
    EXPECT_EQ(first.buffer_count(), 10005u);
    EXPECT_TRUE(coalesced(stream, COUNT).first == expected.substr(30005));
    EXPECT_TRUE(stream.empty());
}

// Failing allocations

using Push = void (*)(MultiBuffer&, Buffer&);

const Push PUSHES[] = {
    [](MultiBuffer& stream, Buffer& buffer) { stream.push_back(std::as_const(buffer)); },
    [](MultiBuffer& stream, Buffer& buffer) { stream.push_back(std::move(buffer)); },
    [](MultiBuffer& stream, Buffer& buffer) { stream.push_front(std::as_const(buffer)); },
    [](MultiBuffer& stream, Buffer& buffer) { stream.push_front(std::move(buffer)); },
};

TEST(MultiBufferOutOfMemory, PushThatCannotGrowLeavesEverythingAsItWas) {
    for (const Push push : PUSHES) {
        for (const int count : {0, 9, 14}) {
            MultiBuffer stream = stream_of(numbered(0, count));
            const Members before = members(stream);
            Buffer buffer = holding("abc");
            const allocation::Watch watch;
            ASSERT_TRUE(allocation::fails_at(0, [&] { push(stream, buffer); }));
            EXPECT_EQ(watch.live(), 0);
            EXPECT_EQ(text_of(buffer), "abc");
            EXPECT_EQ(texts_of(stream), numbered(0, count));
            EXPECT_EQ(members(stream).slots, before.slots);
            EXPECT_TRUE(at(stream, before.slot_count, before.head, before.tail));
            EXPECT_FALSE(allocation::fails_at(1, [&] { push(stream, buffer); }));
        }
    }
}

TEST(MultiBufferOutOfMemory, PushThatCannotCopyABufferInAnUpdateLeavesEverythingAsItWas) {
    for (const Push push : {PUSHES[0], PUSHES[2]}) {
        for (const int count : {0, 5, 9}) {
            std::size_t failing = 0;
            for (;; ++failing) {
                MultiBuffer stream = stream_of(numbered(0, count));
                const Members before = members(stream);
                Buffer buffer = holding("abc");
                buffer.begin_update();
                if (!allocation::fails_at(failing, [&] { push(stream, buffer); })) {
                    break;
                }
                EXPECT_EQ(text_of(buffer), "abc");
                EXPECT_EQ(close_all(buffer), 1u);
                EXPECT_EQ(texts_of(stream), numbered(0, count));
                EXPECT_EQ(members(stream).slots, before.slots);
                EXPECT_TRUE(at(stream, before.slot_count, before.head, before.tail));
            }
            EXPECT_EQ(failing,
                      count == 5 ? 1u : 2u); // the copy, and the ring where there is no room
        }
    }
}

TEST(MultiBufferOutOfMemory, ConstructionLeavesTheBufferAsItWas) {
    Buffer buffer = holding("abc");
    const allocation::Watch watch;
    EXPECT_TRUE(allocation::fails_at(0, [&] { MultiBuffer(std::as_const(buffer)); }));
    EXPECT_TRUE(allocation::fails_at(0, [&] { MultiBuffer(std::move(buffer)); }));
    buffer.begin_update();
    EXPECT_TRUE(allocation::fails_at(0, [&] { MultiBuffer(std::as_const(buffer)); }));
    EXPECT_TRUE(allocation::fails_at(1, [&] { MultiBuffer(std::as_const(buffer)); }));
    EXPECT_TRUE(allocation::fails_at(0, [&] { MultiBuffer(std::move(buffer)); }));
    EXPECT_EQ(watch.live(), 0);
    EXPECT_EQ(text_of(buffer), "abc");
    EXPECT_EQ(close_all(buffer), 1u);
}

TEST(MultiBufferOutOfMemory, CopyLeavesNothingBehind) {
    MultiBuffer source = stream_of(numbered(0, 5));
    for (Buffer& buffer : source) {
        buffer.begin_update(); // so that each takes an allocation
    }
    MultiBuffer target = stream_of({"x"});
    const allocation::Watch watch;
    std::size_t failing = 0;
    while (allocation::fails_at(failing, [&] { const MultiBuffer copy(source); })) {
        EXPECT_EQ(watch.live(), 0);
        EXPECT_TRUE(allocation::fails_at(failing, [&] { target = source; }));
        EXPECT_EQ(watch.live(), 0);
        ++failing;
    }
    EXPECT_EQ(failing, 6u); // the ring and five blocks
    EXPECT_EQ(texts_of(source), numbered(0, 5));
    EXPECT_EQ(texts_of(target), Texts({"x"}));
}

TEST(MultiBufferOutOfMemory, SplitWithoutARingForTheResultChangesNothing) {
    for (const unsigned int size : {1u, 3u, 5u, 100u}) {
        MultiBuffer stream = stream_of({"abc", "defg"});
        EXPECT_TRUE(allocation::fails_at(0, [&] { stream.split(size); }));
        EXPECT_EQ(texts_of(stream), Texts({"abc", "defg"}));
    }
}

TEST(MultiBufferOutOfMemory, SplitKeepsWhatItStillHolds) {
    // The ring of the result, its growth at the tenth Buffer, both copies of the Buffer in update.
    const std::vector<int> kept = {12, 3, 1, 1};
    std::size_t failing = 0;
    const allocation::Watch watch;
    for (;; ++failing) {
        MultiBuffer stream = stream_of(numbered(100, 12));
        stream.back().begin_update();
        if (!allocation::fails_at(failing, [&] { stream.split(35); })) {
            EXPECT_EQ(texts_of(stream), Texts({"1"}));
            break;
        }
        ASSERT_LT(failing, kept.size());
        EXPECT_EQ(texts_of(stream), numbered(112 - kept[failing], kept[failing]));
        EXPECT_EQ(close_all(stream.back()), 1u);
    }
    EXPECT_EQ(failing, kept.size());
    EXPECT_EQ(watch.live(), 0) << "the partly built result is destroyed";
}

TEST(MultiBufferOutOfMemory, CoalesceKeepsABufferInAnUpdateThatItCannotCut) {
    MultiBuffer stream = stream_of({"abc", "defg", "h"});
    (++stream.begin())->begin_update();
    char place[5];
    EXPECT_TRUE(allocation::fails_at(0, [&] { stream.coalesce(place, 5); }));
    EXPECT_EQ(texts_of(stream), Texts({"defg", "h"}));
    EXPECT_EQ(close_all(stream.front()), 1u);
}

TEST(MultiBufferOutOfMemory, ReadingNeedsNoMemory) {
    MultiBuffer stream = stream_of({"abc", "", "defg"});
    char place[5];
    EXPECT_FALSE(allocation::fails_at(0, [&] { stream.copy(place, 5); }));
    EXPECT_FALSE(allocation::fails_at(0, [&] { stream.coalesce(place, 5); }));
}

// Random operations against a naive model

class RandomStreams {
public:
    explicit RandomStreams(unsigned int seed) : random_(seed) {}

    void step() {
        MultiBuffer& stream = streams_[which_];
        Texts& model = models_[which_];
        MultiBuffer& other = streams_[1 - which_];
        Texts& other_model = models_[1 - which_];
        switch (below(14)) {
        case 0:
        case 1:
        case 2: {
            const std::string text = random_text();
            stream.push_back(holding(text));
            model.push_back(text);
            break;
        }
        case 3:
        case 4: {
            const std::string text = random_text();
            const Buffer buffer = holding('-' + text + '-').segment(1, below(2) + text_size(text));
            stream.push_front(buffer);
            model.insert(model.begin(), text_of(buffer));
            break;
        }
        case 5:
            if (!model.empty()) {
                const std::string text = model.front();
                stream.push_back(stream.front());
                model.push_back(text);
            }
            break;
        case 6:
            if (!model.empty()) {
                const bool front = below(2) == 0;
                front ? stream.pop_front() : stream.pop_back();
                model.erase(front ? model.begin() : model.end() - 1);
            }
            break;
        case 7: {
            const unsigned int size = below(30);
            const std::string expected = joined(model).substr(0, size);
            EXPECT_EQ(coalesced(stream, size).first, expected);
            take(model, size);
            break;
        }
        case 8: {
            const unsigned int size = below(30);
            other = stream.split(size);
            other_model = take(model, size);
            break;
        }
        case 9:
            other = stream;
            other_model = model;
            break;
        case 10:
            other = std::move(stream);
            other_model = std::exchange(model, {});
            break;
        case 11:
            swap(stream, other);
            swap(model, other_model);
            break;
        case 12:
            write(stream, model);
            break;
        default:
            which_ = 1 - which_;
            if (below(20) == 0) {
                stream.clear();
                model.clear();
            }
        }
    }

    void check() {
        for (int i = 0; i < 2; ++i) {
            ASSERT_EQ(texts_of(streams_[i]), models_[i]);
            const std::string all = joined(models_[i]);
            ASSERT_EQ(streams_[i].buffer_count(), models_[i].size());
            ASSERT_EQ(streams_[i].data_length(), all.size());
            ASSERT_EQ(streams_[i].empty(), models_[i].empty());
            const unsigned int size = below(40);
            ASSERT_EQ(copied(streams_[i], size).first, all.substr(0, size));
        }
    }

private:
    unsigned int below(unsigned int limit) { return static_cast<unsigned int>(random_() % limit); }

    static unsigned int text_size(const std::string& text) {
        return static_cast<unsigned int>(text.size());
    }

    std::string random_text() {
        std::string text(below(6), ' ');
        for (char& c : text) {
            c = static_cast<char>('a' + below(26));
        }
        return text;
    }

    // The pieces that start before `size`, the last one cut there, are taken off `model`.
    static Texts take(Texts& model, unsigned int size) {
        Texts taken;
        while (size != 0 && !model.empty()) {
            std::string& text = model.front();
            const std::string part = text.substr(0, size);
            taken.push_back(part);
            size -= text_size(part);
            text.erase(0, part.size());
            if (text.empty()) {
                model.erase(model.begin());
            }
        }
        return taken;
    }

    // Other handles onto the same block must not see it.
    void write(MultiBuffer& stream, Texts& model) {
        if (model.empty()) {
            return;
        }
        const unsigned int index = below(static_cast<unsigned int>(model.size()));
        Buffer& buffer = *std::next(stream.begin(), index);
        const std::string text = random_text().substr(0, buffer.capacity());
        std::copy(text.begin(), text.end(), buffer.begin_update());
        buffer.end_update(text_size(text));
        model[index] = text;
    }

    std::mt19937 random_;
    int which_ = 0;
    MultiBuffer streams_[2];
    Texts models_[2];
};

TEST(MultiBufferRandom, HoldsWhatTheModelHolds) {
    for (unsigned int round = 0; round < 20; ++round) {
        const unsigned int seed =
            static_cast<unsigned int>(GTEST_FLAG_GET(random_seed)) * 1000 + round;
        SCOPED_TRACE("seed " + std::to_string(seed));
        const allocation::Watch watch;
        {
            RandomStreams streams(seed);
            for (int turn = 0; turn < 2000 && !HasFatalFailure(); ++turn) {
                streams.step();
                streams.check();
            }
        }
        EXPECT_EQ(watch.live(), 0);
    }
}

} // namespace
