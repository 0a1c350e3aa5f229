// Buffer: one block behind many handles, copy on write, updates and segments.
//
//   Buffer()                      BufferWithoutStorage
//   Buffer(unsigned int)          BufferAllocation
//   Buffer(const Buffer&)         BufferCopy; of a handle in an update: BufferCopyInUpdate
//   Buffer(Buffer&&)              BufferMove
//   operator= (both)              BufferAssignment; what they trace: BufferTrace
//   ~Buffer()                     BufferLifetime, BufferThreads
//   capacity(), data(),
//     data_length() const,
//     empty()                     BufferAllocation, BufferUpdate
//   data_length(unsigned int)     BufferUpdate
//   begin_update()                BufferUpdate (own block), BufferCopyOnWrite (shared block)
//   end_update()                  BufferUpdate
//   segment()                     BufferSegment
//   ControlBlockBase              BufferControlBlock
//   every operation               BufferRandom (against a naive model), BufferOutOfMemory

#include "support/allocation.hpp"

#include <nuriagent/trace.hpp>
#include <nuriccl/buffer.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace {

using nuriccl::Buffer;
using ControlBlock = Buffer::ControlBlockBase;

// Size of a control block: virtual table, 32-bit count, pointer to the block.
constexpr unsigned int UNIT = sizeof(void*) == 4 ? 12 : 24;

constexpr unsigned int TO_THE_END = 0xFFFFFFFF;

const char NO_PLACE_FOR_CONTROL_BLOCK[] =
    "Unable to set aside storage for the buffer's control block; the memory block is too small.";
const char NO_UPDATE_FOR_LENGTH[] = "No update operation is in progres on the buffer.";
const char NO_UPDATE_TO_END[] = "No update operation is in progress on the buffer.";
const char BEYOND_CAPACITY[] = "The buffer cannot contain more data than its capacity.";
const char SEGMENT_PAST_END[] = "The requested segment lies past the end of the buffer.";

unsigned int rounded_up(unsigned int size) { return (size + UNIT - 1) / UNIT * UNIT; }

void set_text(Buffer& buffer, const std::string& text) {
    std::memcpy(buffer.begin_update(), text.data(), text.size());
    buffer.end_update(static_cast<unsigned int>(text.size()));
}

Buffer holding(const std::string& text) {
    Buffer buffer(static_cast<unsigned int>(text.size()));
    set_text(buffer, text);
    return buffer;
}

std::string text_at(const unsigned char* bytes, std::size_t count) {
    return std::string(reinterpret_cast<const char*>(bytes), count);
}

std::string text_of(const Buffer& buffer) { return text_at(buffer.data(), buffer.data_length()); }

const ControlBlock& control_block(const Buffer& buffer) {
    return *reinterpret_cast<const ControlBlock*>(buffer.data() + buffer.capacity());
}

// The number of handles onto the block.
unsigned int handles(const Buffer& buffer) { return control_block(buffer).ref_count(); }

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

bool without_storage(const Buffer& buffer) {
    return buffer.data() == nullptr && buffer.data_length() == 0 && buffer.capacity() == 0;
}

// Whether `call` throws exactly an `Exception` with exactly this text.
template <class Exception, class Call>
testing::AssertionResult throws(const char* text, Call call) {
    try {
        call();
    } catch (const std::exception& e) {
        if (typeid(e) == typeid(Exception) && std::string(e.what()) == text) {
            return testing::AssertionSuccess();
        }
        return testing::AssertionFailure() << typeid(e).name() << ": " << e.what();
    }
    return testing::AssertionFailure() << "nothing was thrown";
}

// Catches the trace records and sets the memory-trace flag for as long as it lives.
class Trace {
public:
    explicit Trace(bool memory) : stream_before_(csl::set_trace_stream(&stream_)) {
        nuritrace::tMEMORY = memory;
    }
    ~Trace() {
        nuritrace::tMEMORY = false;
        csl::set_trace_stream(stream_before_);
    }
    Trace(const Trace&) = delete;
    Trace& operator=(const Trace&) = delete;

    std::string text() const { return stream_.str(); }

private:
    std::ostringstream stream_;
    std::ostream* stream_before_;
};

const std::string RECORD = "[1] SharedLibraries/nuriccl/source/buffer(217): operator=: "
                           "buffer contents were replaced during update\n";

// The members of a Buffer, in order.
struct Members {
    const void* control_block;
    const unsigned char* data;
    std::uint32_t data_length;
    std::uint32_t capacity;
    std::uint32_t update_depth;
};

Members members(const Buffer& buffer) {
    static_assert(sizeof(Buffer) == sizeof(Members));
    Members result;
    std::memcpy(&result, &buffer, sizeof result);
    return result;
}

// Control block

static_assert(std::is_polymorphic_v<ControlBlock> && !std::has_virtual_destructor_v<ControlBlock>);
static_assert(std::is_abstract_v<ControlBlock>);
static_assert(sizeof(ControlBlock) == UNIT);

class UnreleasedControlBlock : public ControlBlock {
public:
    using ControlBlock::ControlBlock;
    unsigned int Release() override { return 0; }
};

TEST(BufferControlBlock, CountsFromOneAndAddRefReturnsTheCountBefore) {
    char block = 0;
    UnreleasedControlBlock control(&block);
    EXPECT_EQ(control.ref_count(), 1u);
    EXPECT_EQ(control.AddRef(), 1u);
    EXPECT_EQ(control.AddRef(), 2u);
    EXPECT_EQ(control.ref_count(), 3u);
}

TEST(BufferControlBlock, HoldsTheCountAndThenTheBlockBehindItsVirtualTable) {
    char block = 0;
    UnreleasedControlBlock control(&block);
    control.AddRef();
    struct {
        const void* virtual_table;
        std::uint32_t count;
        const void* block;
    } layout;
    static_assert(sizeof layout == sizeof control);
    std::memcpy(&layout, static_cast<const void*>(&control), sizeof layout);
    EXPECT_EQ(layout.count, 2u);
    EXPECT_EQ(layout.block, &block);
}

TEST(BufferControlBlock, ReleaseReturnsTheCountAfterAndFreesTheBlockWithTheLastReference) {
    const allocation::Watch watch;
    alignas(Buffer) unsigned char place[sizeof(Buffer)];
    const Buffer* const buffer = new (place) Buffer(1); // never destroyed: Release stands in
    auto& control = const_cast<ControlBlock&>(control_block(*buffer));
    EXPECT_EQ(control.AddRef(), 1u);
    EXPECT_EQ(control.Release(), 1u);
    EXPECT_FALSE(watch.freed(0));
    EXPECT_EQ(control.Release(), 0u);
    EXPECT_TRUE(watch.freed(0));
    EXPECT_EQ(watch.live(), 0);
}

TEST(BufferLayout, ControlBlockThenDataThenLengthThenCapacityThenDepth) {
    Buffer buffer = holding("abc");
    buffer.begin_update();
    buffer.begin_update();
    const Members all = members(buffer);
    EXPECT_EQ(all.control_block, &control_block(buffer));
    EXPECT_EQ(all.data, buffer.data());
    EXPECT_EQ(all.data_length, 3u);
    EXPECT_EQ(all.capacity, UNIT);
    EXPECT_EQ(all.update_depth, 2u);
}

// Without storage

TEST(BufferWithoutStorage, EveryMemberIsZero) {
    const allocation::Watch watch;
    const Buffer buffer;
    EXPECT_EQ(watch.requests(), 0u);
    EXPECT_EQ(buffer.data(), nullptr);
    EXPECT_EQ(buffer.data_length(), 0u);
    EXPECT_EQ(buffer.capacity(), 0u);
    EXPECT_TRUE(buffer.empty());
    EXPECT_EQ(members(buffer).control_block, nullptr);
    EXPECT_EQ(members(buffer).update_depth, 0u);
}

TEST(BufferWithoutStorage, BeginUpdateReturnsNullAndOpensTheUpdateAllTheSame) {
    Buffer buffer;
    EXPECT_EQ(buffer.begin_update(), nullptr);
    EXPECT_EQ(buffer.begin_update(), nullptr);
    EXPECT_EQ(close_all(buffer), 2u);
}

TEST(BufferWithoutStorage, OnlyALengthOfZeroIsAccepted) {
    Buffer buffer;
    buffer.begin_update();
    buffer.data_length(0);
    EXPECT_TRUE(throws<std::range_error>(BEYOND_CAPACITY, [&] { buffer.data_length(1); }));
    EXPECT_TRUE(throws<std::range_error>(BEYOND_CAPACITY, [&] { buffer.end_update(1); }));
    EXPECT_NO_THROW(buffer.end_update(0));
    EXPECT_TRUE(throws<std::logic_error>(NO_UPDATE_TO_END, [&] { buffer.end_update(0); }));
}

TEST(BufferWithoutStorage, CopiesMovesAndSegmentsHaveNoStorageEither) {
    const allocation::Watch watch;
    Buffer buffer;
    Buffer copy(buffer);
    Buffer assigned(5);
    assigned = buffer;
    const Buffer segment = buffer.segment(0, 10);
    const Buffer moved(std::move(buffer));
    EXPECT_TRUE(without_storage(copy));
    EXPECT_TRUE(without_storage(assigned));
    EXPECT_TRUE(without_storage(segment));
    EXPECT_TRUE(without_storage(moved));
    EXPECT_EQ(watch.requests(), 1u);
    EXPECT_TRUE(watch.freed(0));
}

// Allocation

TEST(BufferAllocation, CapacityIsTheSizeRoundedUpToWholeControlBlocks) {
    if (UNIT == 12) {
        EXPECT_EQ(Buffer(0).capacity(), 0u);
        EXPECT_EQ(Buffer(1).capacity(), 12u);
        EXPECT_EQ(Buffer(12).capacity(), 12u);
        EXPECT_EQ(Buffer(13).capacity(), 24u);
        EXPECT_EQ(Buffer(1000).capacity(), 1008u);
    } else {
        EXPECT_EQ(Buffer(0).capacity(), 0u);
        EXPECT_EQ(Buffer(1).capacity(), 24u);
        EXPECT_EQ(Buffer(24).capacity(), 24u);
        EXPECT_EQ(Buffer(25).capacity(), 48u);
        EXPECT_EQ(Buffer(1000).capacity(), 1008u);
    }
}

TEST(BufferAllocation, OneBlockOfCapacityPlusControlBlockStartsWithTheData) {
    for (unsigned int size = 0; size <= 200; ++size) {
        SCOPED_TRACE(size);
        const allocation::Watch watch;
        {
            const Buffer buffer(size);
            EXPECT_EQ(watch.requests(), 1u);
            EXPECT_EQ(buffer.capacity(), rounded_up(size));
            EXPECT_EQ(watch.size(0), rounded_up(size) + UNIT);
            EXPECT_NE(buffer.data(), nullptr);
            EXPECT_EQ(buffer.data(), watch.place(0));
            EXPECT_EQ(buffer.data_length(), 0u);
            EXPECT_TRUE(buffer.empty());
            EXPECT_EQ(members(buffer).update_depth, 0u);
            EXPECT_FALSE(watch.freed(0));
        }
        EXPECT_TRUE(watch.freed(0));
        EXPECT_EQ(watch.live(), 0);
    }
}

TEST(BufferAllocation, ControlBlockSitsInTheLastSlotOfTheBlock) {
    for (unsigned int size = 0; size <= 200; ++size) {
        SCOPED_TRACE(size);
        const allocation::Watch watch;
        const Buffer buffer(size);
        const auto* const end = static_cast<const unsigned char*>(watch.place(0)) + watch.size(0);
        EXPECT_EQ(members(buffer).control_block, end - UNIT);
        EXPECT_EQ(handles(buffer), 1u);
    }
}

TEST(BufferAllocation, TheWholeCapacityIsUsable) {
    for (unsigned int size = 0; size <= 200; ++size) {
        SCOPED_TRACE(size);
        Buffer buffer(size);
        std::memset(buffer.begin_update(), 0xFF, buffer.capacity());
        buffer.end_update(buffer.capacity());
        EXPECT_EQ(text_of(buffer), std::string(rounded_up(size), '\xFF'));
        EXPECT_EQ(handles(buffer), 1u);
    }
}

// 2^32 is 4 modulo 12 and 16 modulo 24: the last whole unit below it starts the sizes that wrap.
struct WrapLimits {
    unsigned int last_unwrapped;    // the last size with the largest block
    unsigned int largest_block;     // the last whole unit below 2^32
    unsigned int wraps_by_rounding; // the first size with a block of 2^32 + 8, which is 8
    unsigned int wraps_to_zero;     // size + UNIT is 2^32, the block 0
    unsigned int wraps_to_one_unit; // the first size with a block of one unit
    unsigned int above_half;        // the block for 0x7FFFFFFF
};

constexpr WrapLimits LIMITS =
    UNIT == 12 ? WrapLimits{0xFFFFFFF0, 0xFFFFFFFC, 0xFFFFFFF1, 0xFFFFFFF4, 0xFFFFFFF5, 0x80000010}
               : WrapLimits{0xFFFFFFD8, 0xFFFFFFF0, 0xFFFFFFD9, 0xFFFFFFE8, 0xFFFFFFE9, 0x80000028};

TEST(BufferAllocation, SizesBelowTheWrapAskForAHugeBlock) {
    const std::pair<unsigned int, unsigned int> cases[] = {
        {0x7FFFFFFF, LIMITS.above_half},
        {LIMITS.last_unwrapped, LIMITS.largest_block},
        {LIMITS.last_unwrapped - 1, LIMITS.largest_block},
        {LIMITS.last_unwrapped - UNIT + 1, LIMITS.largest_block},
        {LIMITS.last_unwrapped - UNIT, LIMITS.largest_block - UNIT},
    };
    for (const auto& [size, block_size] : cases) {
        SCOPED_TRACE(size);
        const allocation::Watch watch;
        EXPECT_THROW(Buffer{size}, std::bad_alloc);
        EXPECT_EQ(watch.size(0), block_size);
        EXPECT_EQ(watch.live(), 0);
    }
}

TEST(BufferAllocation, WrappedBlockTooSmallForAControlBlockIsRefusedAndNotFreed) {
    for (unsigned int size = LIMITS.wraps_by_rounding; size <= LIMITS.wraps_to_zero; ++size) {
        SCOPED_TRACE(size);
        const allocation::Watch watch;
        EXPECT_TRUE(
            throws<std::logic_error>(NO_PLACE_FOR_CONTROL_BLOCK, [&] { const Buffer b(size); }));
        EXPECT_EQ(watch.size(0), size == LIMITS.wraps_to_zero ? 0u : 8u);
        EXPECT_FALSE(watch.freed(0));
        EXPECT_EQ(watch.live(), 1);
        ::operator delete(watch.place(0)); // for the leak checker
    }
}

TEST(BufferAllocation, WrappedBlockOfOneUnitHasCapacityZero) {
    for (unsigned int size = LIMITS.wraps_to_one_unit; size != 0; ++size) {
        SCOPED_TRACE(size);
        const allocation::Watch watch;
        const Buffer buffer(size);
        EXPECT_EQ(watch.size(0), UNIT);
        EXPECT_EQ(buffer.capacity(), 0u);
        EXPECT_EQ(buffer.data(), watch.place(0));
        EXPECT_EQ(handles(buffer), 1u);
    }
}

// Copies and moves

TEST(BufferCopy, SharesTheBytes) {
    const Buffer buffer = holding("hello");
    const allocation::Watch watch;
    const Buffer copy(buffer);
    EXPECT_EQ(watch.requests(), 0u);
    EXPECT_EQ(copy.data(), buffer.data());
    EXPECT_EQ(copy.data_length(), 5u);
    EXPECT_EQ(copy.capacity(), buffer.capacity());
    EXPECT_EQ(members(copy).control_block, members(buffer).control_block);
    EXPECT_EQ(handles(buffer), 2u);
}

TEST(BufferCopy, OfACopyCountsOn) {
    const Buffer a = holding("x");
    const Buffer b(a);
    const Buffer c(b);
    EXPECT_EQ(handles(a), 3u);
    EXPECT_EQ(c.data(), a.data());
}

TEST(BufferCopyInUpdate, HasItsOwnBytesAndNoUpdate) {
    Buffer buffer = holding("hello");
    unsigned char* const bytes = buffer.begin_update();
    const allocation::Watch watch;
    Buffer copy(buffer);
    EXPECT_EQ(watch.requests(), 1u);
    EXPECT_NE(copy.data(), buffer.data());
    EXPECT_EQ(text_of(copy), "hello");
    EXPECT_EQ(copy.capacity(), buffer.capacity());
    EXPECT_EQ(handles(copy), 1u);
    EXPECT_EQ(handles(buffer), 1u);
    EXPECT_EQ(close_all(copy), 0u);

    bytes[0] = 'J';
    EXPECT_EQ(text_of(copy), "hello");
    buffer.end_update(5);
    EXPECT_EQ(text_of(buffer), "Jello");
}

TEST(BufferCopyInUpdate, TakesTheLengthThatTheUpdateHasSetSoFar) {
    Buffer buffer(10);
    std::memcpy(buffer.begin_update(), "0123456789", 10);
    EXPECT_EQ(Buffer(buffer).data_length(), 0u);
    buffer.data_length(4);
    EXPECT_EQ(text_of(Buffer(buffer)), "0123");
    buffer.end_update(10);
    EXPECT_EQ(text_of(Buffer(buffer)), "0123456789");
}

TEST(BufferCopyInUpdate, RoundsTheCapacityOfASegmentUp) {
    const Buffer buffer = holding(std::string(2 * UNIT, 'x'));
    Buffer segment = buffer.segment(UNIT - 1, TO_THE_END);
    EXPECT_EQ(segment.capacity(), UNIT + 1);
    segment.begin_update(); // the block is shared: the segment gets its own, already rounded up
    EXPECT_EQ(segment.capacity(), 2 * UNIT);

    Buffer alone = Buffer(2 * UNIT).segment(UNIT - 1, TO_THE_END); // the only handle: stays
    alone.begin_update();
    EXPECT_EQ(alone.capacity(), UNIT + 1);
    const allocation::Watch watch;
    const Buffer copy(alone);
    EXPECT_EQ(copy.capacity(), 2 * UNIT);
    EXPECT_EQ(watch.size(0), 3 * UNIT);
}

TEST(BufferCopyInUpdate, OfAHandleWithoutStorageHasABlockOfCapacityZero) {
    Buffer buffer;
    buffer.begin_update();
    const allocation::Watch watch;
    Buffer copy(buffer);
    EXPECT_EQ(watch.requests(), 1u);
    EXPECT_EQ(watch.size(0), UNIT);
    EXPECT_EQ(copy.data(), watch.place(0));
    EXPECT_EQ(copy.capacity(), 0u);
    EXPECT_EQ(copy.data_length(), 0u);
    EXPECT_EQ(close_all(copy), 0u);
}

TEST(BufferCopyInUpdate, OfANestedUpdateHasNoUpdate) {
    Buffer buffer = holding("ab");
    buffer.begin_update();
    buffer.begin_update();
    buffer.end_update(2);
    Buffer copy(buffer); // one level is still open
    EXPECT_NE(copy.data(), buffer.data());
    EXPECT_EQ(close_all(copy), 0u);
    buffer.end_update(2);
    EXPECT_EQ(Buffer(buffer).data(), buffer.data());
}

TEST(BufferMove, TakesTheBlockAndLeavesNoStorage) {
    Buffer buffer = holding("hello");
    const unsigned char* const data = buffer.data();
    const allocation::Watch watch;
    const Buffer moved(std::move(buffer));
    EXPECT_EQ(watch.requests(), 0u);
    EXPECT_EQ(moved.data(), data);
    EXPECT_EQ(text_of(moved), "hello");
    EXPECT_EQ(moved.capacity(), UNIT);
    EXPECT_EQ(handles(moved), 1u);
    EXPECT_TRUE(without_storage(buffer));
    EXPECT_EQ(members(buffer).control_block, nullptr);
}

TEST(BufferMove, LeavesTheSourceItsDepthAndStartsWithNone) {
    Buffer buffer = holding("hello");
    buffer.begin_update();
    buffer.begin_update();
    Buffer moved(std::move(buffer));
    EXPECT_EQ(text_of(moved), "hello");
    EXPECT_EQ(close_all(moved), 0u);
    EXPECT_TRUE(without_storage(buffer));
    EXPECT_EQ(close_all(buffer), 2u);
}

TEST(BufferMove, NeverThrows) {
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<Buffer>);
    EXPECT_TRUE(std::is_nothrow_destructible_v<Buffer>);
}

TEST(BufferMove, AMovedFromBufferMayBeUsedAgain) {
    Buffer buffer = holding("hello");
    const Buffer moved(std::move(buffer));
    buffer = holding("again");
    EXPECT_EQ(text_of(buffer), "again");
    EXPECT_EQ(text_of(moved), "hello");
}

// Assignments

TEST(BufferAssignment, CopySharesTheBytesAndReleasesTheOldBlock) {
    const allocation::Watch watch;
    Buffer target = holding("old");
    const Buffer source = holding("new");
    Buffer& result = (target = source);
    EXPECT_EQ(&result, &target);
    EXPECT_EQ(watch.requests(), 2u);
    EXPECT_TRUE(watch.freed(0));
    EXPECT_EQ(target.data(), source.data());
    EXPECT_EQ(target.data_length(), 3u);
    EXPECT_EQ(target.capacity(), source.capacity());
    EXPECT_EQ(handles(source), 2u);
}

TEST(BufferAssignment, CopyOfAHandleInUpdateHasItsOwnBytes) {
    Buffer source = holding("text");
    source.begin_update();
    Buffer target;
    target = source;
    EXPECT_NE(target.data(), source.data());
    EXPECT_EQ(text_of(target), "text");
    EXPECT_EQ(close_all(target), 0u);
    EXPECT_EQ(close_all(source), 1u);
}

TEST(BufferAssignment, CopyKeepsTheDepthOfTheTarget) {
    Buffer target = holding("target");
    const Buffer source = holding("source");
    target.begin_update();
    target.begin_update();
    target = source;
    EXPECT_EQ(target.data(), source.data());
    EXPECT_EQ(close_all(target), 2u);
}

TEST(BufferAssignment, MoveTakesTheBlockAndReleasesTheOldOne) {
    const allocation::Watch watch;
    Buffer target = holding("old");
    Buffer source = holding("new");
    const unsigned char* const data = source.data();
    Buffer& result = (target = std::move(source));
    EXPECT_EQ(&result, &target);
    EXPECT_EQ(watch.requests(), 2u);
    EXPECT_TRUE(watch.freed(0));
    EXPECT_FALSE(watch.freed(1));
    EXPECT_EQ(target.data(), data);
    EXPECT_EQ(text_of(target), "new");
    EXPECT_EQ(handles(target), 1u);
    EXPECT_TRUE(without_storage(source));
}

TEST(BufferAssignment, MoveLeavesTheOldBlockToItsOtherHandles) {
    Buffer target = holding("old");
    const Buffer other(target);
    target = holding("new");
    EXPECT_EQ(text_of(other), "old");
    EXPECT_EQ(handles(other), 1u);
}

TEST(BufferAssignment, MoveKeepsBothDepths) {
    Buffer target = holding("target");
    target.begin_update();
    Buffer source = holding("source");
    source.begin_update();
    source.begin_update();
    target = std::move(source);
    EXPECT_EQ(text_of(target), "source");
    EXPECT_TRUE(without_storage(source));
    EXPECT_NO_THROW(target.end_update(3));
    EXPECT_EQ(text_of(target), "sou");
    EXPECT_EQ(close_all(target), 0u);
    EXPECT_EQ(close_all(source), 2u);
}

TEST(BufferAssignment, MoveOfAHandleInUpdateIntoOneThatIsNotOpensNone) {
    Buffer source = holding("source");
    source.begin_update();
    Buffer target;
    target = std::move(source);
    EXPECT_EQ(close_all(target), 0u);
    EXPECT_EQ(close_all(source), 1u);
}

TEST(BufferAssignment, ToItselfChangesNothing) {
    Buffer buffer = holding("hello");
    Buffer& same = buffer;
    const unsigned char* const data = buffer.data();
    const allocation::Watch watch;
    buffer = same;
    EXPECT_EQ(buffer.data(), data);
    EXPECT_EQ(handles(buffer), 1u);
    buffer = std::move(same);
    EXPECT_EQ(buffer.data(), data);
    EXPECT_EQ(text_of(buffer), "hello");
    EXPECT_EQ(handles(buffer), 1u);
    EXPECT_EQ(watch.requests(), 0u);
}

TEST(BufferAssignment, ToItselfInAnUpdateKeepsTheUpdate) {
    Buffer buffer = holding("hello");
    Buffer& same = buffer;
    buffer.begin_update();
    buffer = std::move(same);
    EXPECT_EQ(text_of(buffer), "hello");
    const unsigned char* const data = buffer.data();
    buffer = same; // through a copy of the bytes that are being written
    EXPECT_NE(buffer.data(), data);
    EXPECT_EQ(text_of(buffer), "hello");
    EXPECT_EQ(handles(buffer), 1u);
    EXPECT_EQ(close_all(buffer), 1u);
}

TEST(BufferAssignment, BetweenHandlesOntoOneBlockChangesNothing) {
    Buffer a = holding("hello");
    Buffer b(a);
    a = b;
    EXPECT_EQ(handles(a), 2u);
    a = std::move(b);
    EXPECT_EQ(handles(a), 1u);
    EXPECT_EQ(text_of(a), "hello");
    EXPECT_TRUE(without_storage(b));
}

TEST(BufferAssignment, OfItsOwnSegmentKeepsTheBlock) {
    const allocation::Watch watch;
    Buffer buffer = holding("hello");
    buffer = buffer.segment(1, 3);
    EXPECT_EQ(text_of(buffer), "ell");
    EXPECT_EQ(handles(buffer), 1u);
    EXPECT_FALSE(watch.freed(0));
    EXPECT_EQ(watch.requests(), 1u);
}

// Updates of a block that is not shared

TEST(BufferUpdate, OfAnUnsharedBlockReturnsItAndKeepsTheLength) {
    Buffer buffer = holding("hello");
    const unsigned char* const data = buffer.data();
    const allocation::Watch watch;
    EXPECT_EQ(buffer.begin_update(), data);
    EXPECT_EQ(watch.requests(), 0u);
    EXPECT_EQ(buffer.data(), data);
    EXPECT_EQ(text_of(buffer), "hello");
    EXPECT_FALSE(buffer.empty());
    buffer.end_update(2);
    EXPECT_EQ(text_of(buffer), "he");
}

TEST(BufferUpdate, EmptyMeansNoDataWhateverTheCapacity) {
    Buffer buffer(100);
    EXPECT_TRUE(buffer.empty());
    buffer.begin_update();
    buffer.end_update(1);
    EXPECT_FALSE(buffer.empty());
    buffer.begin_update();
    buffer.end_update(0);
    EXPECT_TRUE(buffer.empty());
}

TEST(BufferUpdate, Nests) {
    Buffer buffer(10);
    unsigned char* const bytes = buffer.begin_update();
    EXPECT_EQ(buffer.begin_update(), bytes);
    EXPECT_EQ(buffer.begin_update(), bytes);
    buffer.end_update(1);
    buffer.end_update(2);
    EXPECT_EQ(buffer.data_length(), 2u);
    buffer.end_update(3);
    EXPECT_EQ(buffer.data_length(), 3u);
    EXPECT_TRUE(throws<std::logic_error>(NO_UPDATE_TO_END, [&] { buffer.end_update(4); }));
    EXPECT_EQ(buffer.data_length(), 3u);
}

TEST(BufferUpdate, LengthMayBeSetAnyNumberOfTimesUpToTheCapacity) {
    Buffer buffer(1);
    buffer.begin_update();
    for (unsigned int length = 0; length <= UNIT; ++length) {
        buffer.data_length(length);
        EXPECT_EQ(buffer.data_length(), length);
    }
    buffer.data_length(3);
    EXPECT_EQ(buffer.data_length(), 3u);
    EXPECT_EQ(close_all(buffer), 1u);
}

TEST(BufferUpdate, LengthAboveTheCapacityIsRefusedAndStaysAsItWas) {
    Buffer buffer(1);
    buffer.begin_update();
    buffer.data_length(5);
    for (const unsigned int length : {UNIT + 1, UNIT + 2, 0x80000000, 0xFFFFFFFF}) {
        EXPECT_TRUE(throws<std::range_error>(BEYOND_CAPACITY, [&] { buffer.data_length(length); }));
        EXPECT_EQ(buffer.data_length(), 5u);
    }
    EXPECT_EQ(close_all(buffer), 1u);
}

TEST(BufferUpdate, EndWithALengthAboveTheCapacityStaysOpenWithTheOldLength) {
    Buffer buffer(1);
    buffer.begin_update();
    buffer.begin_update();
    buffer.data_length(5);
    for (const unsigned int length : {UNIT + 1, UNIT + 2, 0x80000000, 0xFFFFFFFF}) {
        EXPECT_TRUE(throws<std::range_error>(BEYOND_CAPACITY, [&] { buffer.end_update(length); }));
        EXPECT_EQ(buffer.data_length(), 5u);
    }
    buffer.end_update(UNIT);
    EXPECT_EQ(buffer.data_length(), UNIT);
    EXPECT_EQ(close_all(buffer), 1u);
}

TEST(BufferUpdate, LengthAndEndWithoutAnUpdateAreRefusedInTheirOwnWords) {
    Buffer buffer = holding("hello");
    for (const unsigned int length : {0u, 5u, UNIT + 1}) {
        EXPECT_TRUE(
            throws<std::logic_error>(NO_UPDATE_FOR_LENGTH, [&] { buffer.data_length(length); }));
        EXPECT_TRUE(throws<std::logic_error>(NO_UPDATE_TO_END, [&] { buffer.end_update(length); }));
    }
    EXPECT_EQ(text_of(buffer), "hello");
}

TEST(BufferUpdate, BelongsToTheHandleNotToTheBlock) {
    Buffer a = holding("hello");
    Buffer b(a);
    a.begin_update();
    EXPECT_TRUE(throws<std::logic_error>(NO_UPDATE_TO_END, [&] { b.end_update(5); }));
    EXPECT_EQ(close_all(a), 1u);
}

// Updates of a shared block

TEST(BufferCopyOnWrite, MovesTheHandleToABlockOfItsOwnWithTheOldBytesAndLengthZero) {
    Buffer a = holding("hello");
    const Buffer b(a);
    const unsigned char* const shared = a.data();
    const allocation::Watch watch;
    unsigned char* const bytes = a.begin_update();
    EXPECT_EQ(watch.requests(), 1u);
    EXPECT_EQ(watch.size(0), 2 * UNIT);
    EXPECT_NE(bytes, shared);
    EXPECT_EQ(a.data(), bytes);
    EXPECT_EQ(bytes, watch.place(0));
    EXPECT_EQ(a.data_length(), 0u);
    EXPECT_TRUE(a.empty());
    EXPECT_EQ(a.capacity(), UNIT);
    EXPECT_EQ(text_at(bytes, 5), "hello");
    EXPECT_EQ(handles(a), 1u);

    bytes[0] = 'J';
    EXPECT_EQ(b.data(), shared);
    EXPECT_EQ(text_of(b), "hello");
    EXPECT_EQ(handles(b), 1u);

    a.data_length(5);
    EXPECT_EQ(text_of(a), "Jello");
    a.end_update(4);
    EXPECT_EQ(text_of(a), "Jell");
    EXPECT_EQ(text_of(b), "hello");
}

TEST(BufferCopyOnWrite, NestedUpdateCopiesNothingMore) {
    Buffer a = holding("hello");
    const Buffer b(a);
    unsigned char* const bytes = a.begin_update();
    a.data_length(5);
    const allocation::Watch watch;
    EXPECT_EQ(a.begin_update(), bytes);
    EXPECT_EQ(watch.requests(), 0u);
    EXPECT_EQ(a.data_length(), 5u);
    EXPECT_EQ(close_all(a), 2u);
}

TEST(BufferCopyOnWrite, NestedUpdateCopiesABlockThatWasAssignedMeanwhile) {
    Buffer a = holding("first");
    a.begin_update();
    const Buffer b = holding("second");
    a = b;
    const unsigned char* const bytes = a.begin_update();
    EXPECT_NE(bytes, b.data());
    EXPECT_EQ(a.data_length(), 0u);
    EXPECT_EQ(text_at(bytes, 6), "second");
    EXPECT_EQ(text_of(b), "second");
    EXPECT_EQ(close_all(a), 2u);
}

TEST(BufferCopyOnWrite, LastHandleLeftKeepsTheBlock) {
    Buffer a = holding("hello");
    {
        Buffer b(a);
        b.begin_update();
        b.end_update(0);
    }
    const unsigned char* const data = a.data();
    EXPECT_EQ(a.begin_update(), data);
    EXPECT_EQ(a.data_length(), 5u);
}

TEST(BufferCopyOnWrite, EveryOtherHandleKeepsTheOldBlock) {
    const Buffer original = holding("hello");
    std::vector<Buffer> copies(5, original);
    copies[2].begin_update()[0] = 'J';
    copies[2].end_update(5);
    EXPECT_EQ(handles(original), 5u);
    for (std::size_t i = 0; i < copies.size(); ++i) {
        EXPECT_EQ(text_of(copies[i]), i == 2 ? "Jello" : "hello");
        EXPECT_EQ(copies[i].data() == original.data(), i != 2);
    }
}

TEST(BufferCopyOnWrite, OfASegmentCopiesItsRangeOnly) {
    const Buffer buffer = holding("0123456789");
    Buffer segment = buffer.segment(3, 4);
    const allocation::Watch watch;
    unsigned char* const bytes = segment.begin_update();
    EXPECT_EQ(watch.size(0), rounded_up(buffer.capacity() - 3) + UNIT);
    EXPECT_EQ(text_at(bytes, 4), "3456");
    EXPECT_EQ(segment.capacity(), rounded_up(buffer.capacity() - 3));
    EXPECT_EQ(segment.data_length(), 0u);
    std::memcpy(bytes, "abcd", 4);
    segment.end_update(4);
    EXPECT_EQ(text_of(segment), "abcd");
    EXPECT_EQ(text_of(buffer), "0123456789");
}

TEST(BufferCopyOnWrite, OfAnEmptySegmentAtTheEndHasABlockOfCapacityZero) {
    const Buffer buffer = holding("0123456789");
    Buffer segment = buffer.segment(buffer.capacity(), TO_THE_END);
    EXPECT_NE(segment.begin_update(), buffer.data() + buffer.capacity());
    EXPECT_EQ(segment.capacity(), 0u);
    EXPECT_TRUE(throws<std::range_error>(BEYOND_CAPACITY, [&] { segment.end_update(1); }));
    EXPECT_NO_THROW(segment.end_update(0));
}

TEST(BufferCopyOnWrite, ASegmentThatIsTheOnlyHandleWritesInPlace) {
    const allocation::Watch watch;
    Buffer segment = holding("0123456789").segment(3, 4);
    const std::size_t requests = watch.requests();
    EXPECT_EQ(segment.begin_update(), static_cast<unsigned char*>(watch.place(0)) + 3);
    EXPECT_EQ(watch.requests(), requests);
    EXPECT_EQ(segment.data_length(), 4u);
    segment.end_update(7);
    EXPECT_EQ(text_of(segment), "3456789");
}

// Segments

TEST(BufferSegment, SharesTheBlock) {
    const Buffer buffer = holding("hello");
    const allocation::Watch watch;
    Buffer segment = buffer.segment(1, 3);
    EXPECT_EQ(watch.requests(), 0u);
    EXPECT_EQ(segment.data(), buffer.data() + 1);
    EXPECT_EQ(text_of(segment), "ell");
    EXPECT_EQ(segment.capacity(), UNIT - 1);
    EXPECT_EQ(members(segment).control_block, members(buffer).control_block);
    EXPECT_EQ(handles(buffer), 2u);
    EXPECT_EQ(close_all(segment), 0u);
    EXPECT_EQ(text_of(buffer), "hello");
}

TEST(BufferSegment, IsCutToTheDataAndTheCapacityForEveryOffsetAndLength) {
    for (unsigned int held = 0; held <= UNIT; ++held) {
        Buffer buffer(UNIT);
        buffer.begin_update();
        buffer.end_update(held);
        for (unsigned int offset = 0; offset <= UNIT; ++offset) {
            for (unsigned int length = 0; length <= UNIT + 1; ++length) {
                const unsigned int end = std::min(held, offset + length);
                const Buffer segment = buffer.segment(offset, length);
                ASSERT_EQ(segment.data(), buffer.data() + offset);
                ASSERT_EQ(segment.capacity(), UNIT - offset);
                ASSERT_EQ(segment.data_length(), end > offset ? end - offset : 0)
                    << "of " << held << " from " << offset << " length " << length;
            }
            const Buffer rest = buffer.segment(offset, TO_THE_END);
            ASSERT_EQ(rest.data_length(), held > offset ? held - offset : 0);
        }
    }
}

TEST(BufferSegment, TenBytesFromTwoOnAreEight) {
    EXPECT_EQ(text_of(holding("0123456789").segment(2, 100)), "23456789");
}

TEST(BufferSegment, AtTheCapacityIsEmpty) {
    const Buffer buffer = holding("hello");
    for (const unsigned int length : {0u, 1u, TO_THE_END}) {
        const Buffer segment = buffer.segment(UNIT, length);
        EXPECT_EQ(segment.data(), buffer.data() + UNIT);
        EXPECT_EQ(segment.capacity(), 0u);
        EXPECT_TRUE(segment.empty());
    }
}

TEST(BufferSegment, PastTheCapacityIsRefused) {
    const Buffer buffer = holding("hello");
    for (const unsigned int offset : {UNIT + 1, 0x80000000, 0xFFFFFFFF}) {
        for (const unsigned int length : {0u, 1u, TO_THE_END}) {
            EXPECT_TRUE(throws<std::range_error>(SEGMENT_PAST_END,
                                                 [&] { buffer.segment(offset, length); }));
        }
    }
    EXPECT_TRUE(throws<std::range_error>(SEGMENT_PAST_END, [&] { Buffer().segment(1, 0); }));
    EXPECT_EQ(handles(buffer), 1u);
}

TEST(BufferSegment, PastTheDataWithinTheCapacityIsEmpty) {
    const Buffer segment = holding("hello").segment(6, 2);
    EXPECT_TRUE(segment.empty());
    EXPECT_EQ(segment.capacity(), UNIT - 6);
}

TEST(BufferSegment, OfASegmentCountsFromTheSegment) {
    const Buffer buffer = holding("0123456789");
    const Buffer segment = buffer.segment(2, 5);
    const Buffer inner = segment.segment(1, TO_THE_END);
    EXPECT_EQ(text_of(inner), "3456");
    EXPECT_EQ(inner.data(), buffer.data() + 3);
    EXPECT_EQ(inner.capacity(), buffer.capacity() - 3);
    EXPECT_EQ(handles(buffer), 3u);
    EXPECT_EQ(segment.segment(segment.capacity(), 1).capacity(), 0u);
    EXPECT_TRUE(throws<std::range_error>(SEGMENT_PAST_END,
                                         [&] { segment.segment(segment.capacity() + 1, 1); }));
}

TEST(BufferSegment, ShowsTheRestOfTheDataOnlyUpToItsLengthButMayGrowIntoItsCapacity) {
    Buffer segment = holding("0123456789").segment(2, 3);
    segment.begin_update();
    segment.end_update(segment.capacity());
    EXPECT_EQ(text_at(segment.data(), 8), "23456789");
}

TEST(BufferSegment, OfAHandleInUpdateHasItsOwnBytes) {
    Buffer buffer = holding("0123456789");
    unsigned char* const bytes = buffer.begin_update();
    const allocation::Watch watch;
    Buffer segment = buffer.segment(2, 3);
    EXPECT_EQ(watch.requests(), 1u);
    EXPECT_EQ(segment.data(), static_cast<unsigned char*>(watch.place(0)) + 2);
    EXPECT_EQ(segment.capacity(), buffer.capacity() - 2);
    bytes[2] = 'X';
    EXPECT_EQ(text_of(segment), "234");
    EXPECT_EQ(handles(segment), 1u);
    EXPECT_EQ(close_all(segment), 0u);
    EXPECT_EQ(close_all(buffer), 1u);
}

TEST(BufferSegment, IsNotTouchedByAnUpdateOfTheWhole) {
    Buffer buffer = holding("0123456789");
    const Buffer segment = buffer.segment(2, 3);
    buffer.begin_update()[2] = 'X';
    buffer.end_update(10);
    EXPECT_EQ(text_of(buffer), "01X3456789");
    EXPECT_EQ(text_of(segment), "234");
}

// Lifetime of the block

TEST(BufferLifetime, LastHandleFreesTheBlockInAnyOrderOfDestruction) {
    std::vector<std::size_t> order = {0, 1, 2, 3};
    do {
        const allocation::Watch watch;
        std::unique_ptr<Buffer> owners[4];
        owners[0] = std::make_unique<Buffer>(holding("0123456789"));
        owners[1] = std::make_unique<Buffer>(*owners[0]);
        owners[2] = std::make_unique<Buffer>(owners[0]->segment(2, 3));
        owners[3] = std::make_unique<Buffer>(owners[2]->segment(1, 1));
        ASSERT_EQ(owners[0]->data(), watch.place(0));
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_EQ(handles(*owners[order[i]]), 4 - i);
            EXPECT_FALSE(watch.freed(0));
            owners[order[i]].reset();
        }
        EXPECT_TRUE(watch.freed(0));
        EXPECT_EQ(watch.live(), 0);
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(BufferLifetime, ASegmentKeepsTheBlockOfItsOrigin) {
    const allocation::Watch watch;
    {
        const Buffer segment = Buffer(100).segment(100, 0);
        EXPECT_FALSE(watch.freed(0));
        EXPECT_EQ(handles(segment), 1u);
    }
    EXPECT_TRUE(watch.freed(0));
}

// Trace

TEST(BufferTrace, MoveAssignmentIntoAnUpdateIsWrittenOnce) {
    const Trace trace(true);
    Buffer buffer = holding("old");
    buffer.begin_update();
    buffer = holding("new");
    EXPECT_EQ(trace.text(), RECORD);
    EXPECT_NO_THROW(buffer.end_update(3));
    EXPECT_EQ(text_of(buffer), "new");
}

TEST(BufferTrace, EachAssignmentIntoANestedUpdateIsWrittenOnce) {
    const Trace trace(true);
    Buffer buffer;
    buffer.begin_update();
    buffer.begin_update();
    buffer = Buffer(1);
    buffer = Buffer();
    EXPECT_EQ(trace.text(), RECORD + RECORD);
}

TEST(BufferTrace, CopyAssignmentIntoAnUpdateIsWrittenOnce) {
    const Trace trace(true);
    Buffer buffer = holding("old");
    Buffer source = holding("new");
    buffer.begin_update();
    buffer = source;
    EXPECT_EQ(trace.text(), RECORD);
    source.begin_update(); // shared: written for itself, too
    buffer = source;
    EXPECT_EQ(trace.text(), RECORD + RECORD + RECORD);
}

TEST(BufferTrace, AssignmentOfABufferInUpdateToItselfIsWritten) {
    const Trace trace(true);
    Buffer buffer = holding("text");
    Buffer& same = buffer;
    buffer.begin_update();
    buffer = std::move(same);
    EXPECT_EQ(trace.text(), RECORD);
    buffer = same;
    EXPECT_EQ(trace.text(), RECORD + RECORD);
}

TEST(BufferTrace, BeginUpdateOfASharedBlockIsWrittenOnce) {
    const Trace trace(true);
    Buffer buffer = holding("text");
    const Buffer copy(buffer);
    buffer.begin_update();
    EXPECT_EQ(trace.text(), RECORD);
    buffer.begin_update();
    EXPECT_EQ(trace.text(), RECORD);
}

TEST(BufferTrace, NothingElseIsWritten) {
    const Trace trace(true);
    Buffer buffer = holding("text");
    buffer.begin_update();
    const Buffer copy(buffer);
    const Buffer segment = buffer.segment(1, 1);
    Buffer assigned(1);
    assigned = buffer;
    assigned = std::move(buffer);
    buffer.end_update(0);
    buffer = assigned;
    buffer = Buffer(2);
    EXPECT_EQ(trace.text(), "");
}

TEST(BufferTrace, NothingIsWrittenWithoutTheFlag) {
    const Trace trace(false);
    Buffer buffer = holding("text");
    const Buffer copy(buffer);
    buffer.begin_update();
    buffer = copy;
    buffer = Buffer(1);
    EXPECT_EQ(trace.text(), "");
    EXPECT_EQ(close_all(buffer), 1u);
}

// Failing allocations

TEST(BufferOutOfMemory, ConstructionLeavesNothingBehind) {
    const allocation::Watch watch;
    EXPECT_TRUE(allocation::fails_at(0, [] { const Buffer buffer(10); }));
    EXPECT_EQ(watch.live(), 0);
}

TEST(BufferOutOfMemory, BeginUpdateLeavesTheBufferAsItWasAndOpensNothing) {
    for (const bool traced : {false, true}) {
        const Trace trace(traced);
        std::size_t failing = 0;
        for (;; ++failing) {
            Buffer buffer = holding("hello");
            const Buffer copy(buffer);
            const allocation::Watch watch;
            if (!allocation::fails_at(failing, [&] { buffer.begin_update(); })) {
                break;
            }
            EXPECT_EQ(buffer.data(), copy.data());
            EXPECT_EQ(text_of(buffer), "hello");
            EXPECT_EQ(handles(buffer), 2u);
            EXPECT_EQ(close_all(buffer), 0u);
        }
        EXPECT_GE(failing, 1u); // the block; and, in the record, what its text takes
        EXPECT_EQ(failing > 1, traced);
    }
}

TEST(BufferOutOfMemory, NestedBeginUpdateKeepsTheLevelsThatWereOpen) {
    Buffer buffer;
    buffer.begin_update();
    const Buffer shared = holding("hello");
    buffer = shared;
    EXPECT_TRUE(allocation::fails_at(0, [&] { buffer.begin_update(); }));
    EXPECT_EQ(buffer.data(), shared.data());
    EXPECT_EQ(close_all(buffer), 1u);
}

TEST(BufferOutOfMemory, CopyOfAHandleInUpdateLeavesEverythingAsItWas) {
    Buffer source = holding("hello");
    source.begin_update();
    Buffer target = holding("target");
    target.begin_update();
    const unsigned char* const data = target.data();
    const allocation::Watch watch;
    EXPECT_TRUE(allocation::fails_at(0, [&] { const Buffer copy(source); }));
    EXPECT_TRUE(allocation::fails_at(0, [&] { source.segment(1, 1); }));
    EXPECT_TRUE(allocation::fails_at(0, [&] { target = source; }));
    EXPECT_TRUE(allocation::fails_at(0, [&] { source = *&source; }));
    EXPECT_EQ(watch.live(), 0);
    EXPECT_EQ(text_of(source), "hello");
    EXPECT_EQ(handles(source), 1u);
    EXPECT_EQ(target.data(), data);
    EXPECT_EQ(text_of(target), "target");
    EXPECT_EQ(close_all(source), 1u);
    EXPECT_EQ(close_all(target), 1u);
}

TEST(BufferOutOfMemory, AssignmentThatCannotBeTracedChangesNothing) {
    const Trace trace(true);
    std::size_t failing = 0;
    for (;; ++failing) {
        Buffer target = holding("target");
        target.begin_update();
        Buffer source = holding("source");
        if (!allocation::fails_at(failing, [&] { target = std::move(source); })) {
            break;
        }
        EXPECT_EQ(text_of(target), "target");
        EXPECT_EQ(text_of(source), "source");
        EXPECT_EQ(close_all(target), 1u);
        EXPECT_EQ(close_all(source), 0u);
    }
    EXPECT_GE(failing, 1u);
}

TEST(BufferOutOfMemory, SharingNeedsNoMemory) {
    Buffer buffer = holding("hello");
    EXPECT_FALSE(allocation::fails_at(0, [&] {
        Buffer copy(buffer);
        const Buffer segment = copy.segment(1, 3);
        Buffer assigned;
        assigned = segment;
        Buffer moved(std::move(copy));
        assigned = std::move(moved);
    }));
}

// Threads

constexpr int THREADS = 4;

// Runs `work(handle)` on every thread with a handle of its own, all at once, and leaves the handles
// to the threads.
template <class Work>
void run_together(Buffer&& buffer, Work work) {
    std::atomic<int> missing{THREADS};
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i) {
        threads.emplace_back([handle = buffer, &missing, work] {
            --missing;
            while (missing != 0) {
                std::this_thread::yield();
            }
            work(handle);
        });
    }
    buffer = Buffer(); // whichever thread ends last has the last handle
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(BufferThreads, HandlesOntoOneBlockAreCopiedCutAndDestroyedOnManyThreads) {
    for (int round = 0; round < 20; ++round) {
        std::atomic<int> damaged{0};
        const allocation::Watch watch;
        run_together(holding("shared bytes"), [&damaged](const Buffer& handle) {
            for (int turn = 0; turn < 5000; ++turn) {
                Buffer copy(handle);
                const Buffer segment = copy.segment(7, 5);
                const Buffer moved(std::move(copy));
                if (text_of(segment) != "bytes" || text_of(moved) != "shared bytes") {
                    ++damaged;
                }
            }
        });
        EXPECT_EQ(damaged, 0);
        EXPECT_TRUE(watch.freed(0));
        EXPECT_EQ(watch.live(), 0);
    }
}

TEST(BufferThreads, LastHandleFreesTheBlockOnWhicheverThreadItIs) {
    for (int round = 0; round < 300; ++round) {
        const allocation::Watch watch;
        run_together(holding("shared bytes"), [](const Buffer&) {});
        EXPECT_TRUE(watch.freed(0));
        EXPECT_EQ(watch.live(), 0);
    }
}

TEST(BufferThreads, EachThreadUpdatesItsOwnHandle) {
    const Buffer buffer = holding("original");
    std::atomic<char> next_mark{'a'};
    std::atomic<int> damaged{0};
    run_together(Buffer(buffer), [&](const Buffer& handle) {
        const char mark = next_mark++;
        for (int turn = 0; turn < 5000; ++turn) {
            Buffer own(handle);
            own.begin_update()[0] = static_cast<unsigned char>(mark);
            own.end_update(8);
            if (text_of(own) != mark + std::string("riginal") || text_of(handle) != "original") {
                ++damaged;
            }
        }
    });
    EXPECT_EQ(damaged, 0);
    EXPECT_EQ(text_of(buffer), "original");
    EXPECT_EQ(handles(buffer), 1u);
}

// Random operations against a naive model

// What a handle must show. Every handle has its bytes for itself; who shares a block matters only
// for what an update copies.
struct Model {
    static constexpr int UNKNOWN = -1; // a byte that nobody has written

    std::shared_ptr<int> block; // null without storage
    std::vector<int> bytes;     // as many as the capacity
    unsigned int length = 0;
    unsigned int depth = 0;

    unsigned int capacity() const { return static_cast<unsigned int>(bytes.size()); }

    static Model of_size(unsigned int size) {
        Model model;
        model.block = std::make_shared<int>();
        model.bytes.assign(rounded_up(size), UNKNOWN);
        return model;
    }

    // The data in a block of its own, its length not set.
    Model unshared() const {
        Model model = of_size(capacity());
        std::copy_n(bytes.begin(), length, model.bytes.begin());
        return model;
    }

    Model copied() const {
        Model model = depth == 0 ? *this : unshared();
        model.length = length;
        model.depth = 0;
        return model;
    }

    Model segment(unsigned int offset, unsigned int count) const {
        Model model = copied();
        model.bytes.erase(model.bytes.begin(), model.bytes.begin() + offset);
        model.length = length > offset ? std::min(length - offset, count) : 0;
        return model;
    }

    void assign(Model value) {
        value.depth = depth;
        *this = std::move(value);
    }

    Model moved() {
        Model model = *this;
        model.depth = 0;
        assign(Model());
        return model;
    }

    void begin_update() {
        ++depth;
        if (block.use_count() > 1) {
            assign(unshared());
        }
    }

    testing::AssertionResult shown_by(const Buffer& buffer) const {
        if ((buffer.data() != nullptr) != (block != nullptr)) {
            return testing::AssertionFailure() << "storage";
        }
        if (buffer.capacity() != capacity() || buffer.data_length() != length ||
            buffer.empty() != (length == 0)) {
            return testing::AssertionFailure()
                   << "capacity " << buffer.capacity() << ", length " << buffer.data_length()
                   << "; not " << capacity() << ", " << length;
        }
        for (unsigned int i = 0; i < length; ++i) {
            if (bytes[i] != UNKNOWN && bytes[i] != buffer.data()[i]) {
                return testing::AssertionFailure() << "byte " << i;
            }
        }
        return testing::AssertionSuccess();
    }
};

class RandomBuffers {
public:
    explicit RandomBuffers(unsigned int seed) : random_(seed) {}

    void step() {
        const std::size_t i = below(COUNT);
        const std::size_t j = below(COUNT);
        switch (below(9)) {
        case 0: {
            const unsigned int size = below(100);
            models_[i].assign(Model::of_size(size));
            buffers_[i] = Buffer(size);
            break;
        }
        case 1:
            models_[i].assign(models_[j].copied());
            buffers_[i] = buffers_[j];
            break;
        case 2:
            if (i != j) {
                models_[i].assign(models_[j].moved());
            }
            buffers_[i] = std::move(buffers_[j]);
            break;
        case 3:
            replace(i, j);
            break;
        case 4:
            write(i);
            break;
        case 5:
            set_length(i);
            break;
        case 6:
        case 7:
            end_update(i);
            break;
        default:
            cut(i, j);
        }
    }

    void check() const {
        for (std::size_t i = 0; i < COUNT; ++i) {
            ASSERT_TRUE(models_[i].shown_by(buffers_[i])) << "handle " << i;
            ASSERT_EQ(members(buffers_[i]).update_depth, models_[i].depth) << "handle " << i;
        }
    }

private:
    static constexpr unsigned int COUNT = 6;

    unsigned int below(unsigned int limit) { return static_cast<unsigned int>(random_() % limit); }

    // A new handle in the old place, so that depths come to an end.
    void replace(std::size_t i, std::size_t j) {
        if (i == j) {
            return;
        }
        const bool moves = below(2) == 0;
        models_[i] = moves ? models_[j].moved() : models_[j].copied();
        buffers_[i].~Buffer();
        if (moves) {
            new (&buffers_[i]) Buffer(std::move(buffers_[j]));
        } else {
            new (&buffers_[i]) Buffer(buffers_[j]);
        }
    }

    void write(std::size_t i) {
        models_[i].begin_update();
        unsigned char* const bytes = buffers_[i].begin_update();
        ASSERT_EQ(bytes, buffers_[i].data());
        for (unsigned int at = below(10); at < models_[i].capacity(); at += 1 + below(10)) {
            bytes[at] = static_cast<unsigned char>(random_());
            models_[i].bytes[at] = bytes[at];
        }
    }

    void set_length(std::size_t i) {
        const unsigned int length = below(models_[i].capacity() + 3);
        if (models_[i].depth == 0) {
            ASSERT_THROW(buffers_[i].data_length(length), std::logic_error);
        } else if (length > models_[i].capacity()) {
            ASSERT_THROW(buffers_[i].data_length(length), std::range_error);
        } else {
            models_[i].length = length;
            buffers_[i].data_length(length);
        }
    }

    void end_update(std::size_t i) {
        const unsigned int length = below(models_[i].capacity() + 3);
        if (models_[i].depth == 0) {
            ASSERT_THROW(buffers_[i].end_update(length), std::logic_error);
        } else if (length > models_[i].capacity()) {
            ASSERT_THROW(buffers_[i].end_update(length), std::range_error);
        } else {
            models_[i].length = length;
            --models_[i].depth;
            buffers_[i].end_update(length);
        }
    }

    void cut(std::size_t i, std::size_t j) {
        const unsigned int offset = below(models_[j].capacity() + 3);
        const unsigned int length = below(4) == 0 ? TO_THE_END : below(100);
        if (offset > models_[j].capacity()) {
            ASSERT_THROW(buffers_[j].segment(offset, length), std::range_error);
        } else {
            models_[i].assign(models_[j].segment(offset, length));
            buffers_[i] = buffers_[j].segment(offset, length);
        }
    }

    std::mt19937 random_;
    Buffer buffers_[COUNT];
    Model models_[COUNT];
};

TEST(BufferRandom, EveryHandleShowsWhatTheModelShows) {
    for (unsigned int round = 0; round < 30; ++round) {
        const unsigned int seed =
            static_cast<unsigned int>(GTEST_FLAG_GET(random_seed)) * 1000 + round;
        SCOPED_TRACE("seed " + std::to_string(seed));
        const allocation::Watch watch;
        {
            RandomBuffers buffers(seed);
            for (int turn = 0; turn < 3000 && !HasFatalFailure(); ++turn) {
                buffers.step();
                buffers.check();
            }
        }
        EXPECT_EQ(watch.live(), 0);
    }
}

} // namespace
