// deque: one ring of slots, its growth, and what a failure leaves behind.
//
//   deque(), deque(const Allocator&)     DequeNew, DequeAllocator
//   deque(const deque&)                  DequeCopy
//   deque(deque&&)                       DequeMove
//   operator= (both)                     DequeCopy, DequeMove
//   ~deque(), clear()                    DequeEnd
//   swap() (both)                        DequeSwap
//   push_back(), push_front()            DequeRing (slots), DequeGrowth, DequeOwnElement,
//                                        DequeOutOfMemory, DequeThrowingCopy
//   pop_front(), pop_back(),
//     front(), back()                    DequeEnds
//   begin() ... cend()                   DequeIterator
//   size(), empty(), slot_count()        DequeNew, DequeRing, DequeGrowth
//   element types                        DequeElements
//   every operation                      DequeRandom (against std::deque)

#include <nuriccl/deque.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <deque>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using nuriccl::deque;
using testing::AssertionFailure;
using testing::AssertionResult;
using testing::AssertionSuccess;

// Slots of a ring that is pushed to again and again.
const std::uint32_t SLOT_COUNTS[] = {10, 15, 22, 33, 49, 73, 109, 163, 244};

// Elements and rings that live, and the failures that are due

struct Elements {
    std::set<const void*> live;
    std::vector<int> destroyed; // their values, in order
    int copies = 0;
    int moves = 0;
    int until_throw = NEVER; // copies that are made before one throws

    static constexpr int NEVER = -1;
};

Elements elements;

struct CopyFailed : std::runtime_error {
    CopyFailed() : std::runtime_error("copy failed") {}
};

void count_copy() {
    if (elements.until_throw != Elements::NEVER && elements.until_throw-- == 0) {
        throw CopyFailed(); // and the count is at NEVER again
    }
    ++elements.copies;
}

void count_birth(const void* element) {
    EXPECT_TRUE(elements.live.insert(element).second) << "constructed twice";
}

void count_death(const void* element, int value) {
    EXPECT_EQ(elements.live.erase(element), 1u) << "destroyed without being there";
    elements.destroyed.push_back(value);
}

constexpr int MOVED = -1;

// An element that can be copied, which may throw, and moved.
class Item {
public:
    Item(int number) : number_(number) { count_birth(this); }
    Item(const Item& other) : number_(other.number_) {
        count_copy();
        count_birth(this);
    }
    Item(Item&& other) noexcept : number_(std::exchange(other.number_, MOVED)) {
        ++elements.moves;
        count_birth(this);
    }
    Item& operator=(const Item&) = delete;
    ~Item() { count_death(this, number_); }

    int number() const { return number_; }

private:
    int number_;
};

// An element that can only be copied, which may throw.
class CopyOnly {
public:
    CopyOnly(int number) : number_(number) { count_birth(this); }
    CopyOnly(const CopyOnly& other) : number_(other.number_) {
        count_copy();
        count_birth(this);
    }
    CopyOnly& operator=(const CopyOnly&) = delete;
    ~CopyOnly() { count_death(this, number_); }

    int number() const { return number_; }

private:
    int number_;
};

struct Rings {
    std::map<void*, std::size_t> live;
    std::vector<std::size_t> asked; // slots of every ring that was asked for
    std::size_t max_size = std::numeric_limits<std::size_t>::max();
    bool out_of_memory = false;
};

Rings rings;

// Counts the slots that are asked for, and can refuse.
template <class T>
struct RingAllocator {
    using value_type = T;

    RingAllocator() = default;
    template <class U>
    RingAllocator(const RingAllocator<U>&) noexcept {}

    T* allocate(std::size_t count) {
        rings.asked.push_back(count);
        if (rings.out_of_memory) {
            throw std::bad_alloc();
        }
        T* const slots = std::allocator<T>().allocate(count);
        rings.live[slots] = count;
        return slots;
    }

    void deallocate(T* slots, std::size_t count) {
        const auto ring = rings.live.find(slots);
        if (ring == rings.live.end()) {
            ADD_FAILURE() << "freed a ring that is none";
            return;
        }
        EXPECT_EQ(ring->second, count);
        rings.live.erase(ring);
        std::allocator<T>().deallocate(slots, count);
    }

    std::size_t max_size() const { return rings.max_size; }

    friend bool operator==(const RingAllocator&, const RingAllocator&) { return true; }
    friend bool operator!=(const RingAllocator&, const RingAllocator&) { return false; }
};

template <class T>
using Ring = deque<T, RingAllocator<T>>;

// Every test ends with nothing alive.
class DequeTest : public testing::Test {
protected:
    void SetUp() override {
        elements = Elements();
        rings = Rings();
    }
    void TearDown() override {
        EXPECT_TRUE(elements.live.empty());
        EXPECT_TRUE(rings.live.empty());
    }
};

class DequeNew : public DequeTest {};
class DequeRing : public DequeTest {};
class DequeGrowth : public DequeTest {};
class DequeOwnElement : public DequeTest {};
class DequeOutOfMemory : public DequeTest {};
class DequeThrowingCopy : public DequeTest {};
class DequeCopy : public DequeTest {};
class DequeMove : public DequeTest {};
class DequeEnd : public DequeTest {};
class DequeEnds : public DequeTest {};
class DequeSwap : public DequeTest {};
class DequeIterator : public DequeTest {};
class DequeElements : public DequeTest {};
class DequeAllocator : public DequeTest {};
class DequeRandom : public DequeTest {};

int number_of(int number) { return number; }
int number_of(const std::unique_ptr<int>& number) { return *number; }
template <class T>
int number_of(const T& element) {
    return element.number();
}

template <class Queue>
std::vector<int> numbers(const Queue& queue) {
    std::vector<int> result;
    for (const auto& element : queue) {
        result.push_back(number_of(element));
    }
    return result;
}

std::vector<int> numbers_from(int first, int count) {
    std::vector<int> result;
    for (int i = 0; i < count; ++i) {
        result.push_back(first + i);
    }
    return result;
}

// A queue of `count` numbers from 0 on, the first of them in slot `head` of 10.
template <class Queue>
Queue rotated(int head, int count) {
    Queue queue;
    for (int i = 0; i < head; ++i) {
        queue.push_back(MOVED);
        queue.pop_front();
    }
    for (int i = 0; i < count; ++i) {
        queue.push_back(i);
    }
    return queue;
}

// The members of a queue with the standard allocator, in order.
struct Members {
    const void* slots;
    std::uint32_t slot_count;
    std::uint32_t head;
    std::uint32_t tail;
};

Members members(const deque<int>& queue) {
    static_assert(sizeof(deque<int>) == sizeof(Members));
    Members result;
    std::memcpy(&result, static_cast<const void*>(&queue), sizeof result);
    return result;
}

// Slot count, head and tail.
AssertionResult at(const deque<int>& queue, std::uint32_t slot_count, std::uint32_t head,
                   std::uint32_t tail) {
    const Members is = members(queue);
    if (is.slot_count == slot_count && is.head == head && is.tail == tail) {
        return AssertionSuccess();
    }
    return AssertionFailure() << is.slot_count << ", " << is.head << ", " << is.tail;
}

template <class T, class Allocator>
AssertionResult is_new(const deque<T, Allocator>& queue) {
    if (queue.slot_count() == 1 && queue.empty() && queue.size() == 0 &&
        queue.begin() == queue.end()) {
        return AssertionSuccess();
    }
    return AssertionFailure() << queue.size() << " elements, " << queue.slot_count() << " slots";
}

// New queues

TEST_F(DequeNew, HasOneSlotNoRingAndNoElement) {
    const Ring<int> queue;
    EXPECT_TRUE(is_new(queue));
    EXPECT_TRUE(rings.asked.empty());
    const deque<int> standard;
    EXPECT_EQ(members(standard).slots, nullptr);
    EXPECT_TRUE(at(standard, 1, 0, 0));
}

TEST_F(DequeNew, IsMadeWithoutThrowing) {
    EXPECT_TRUE(std::is_nothrow_default_constructible_v<deque<int>>);
    EXPECT_TRUE(std::is_nothrow_destructible_v<deque<int>>);
}

// The ring: head and tail

TEST_F(DequeRing, FirstPushBackAllocatesTenSlotsAndTakesSlotZero) {
    deque<int> queue;
    queue.push_back(7);
    EXPECT_TRUE(at(queue, 10, 0, 1));
    EXPECT_EQ(numbers(queue), std::vector<int>({7}));
}

TEST_F(DequeRing, FirstPushFrontAllocatesTenSlotsAndTakesTheLastOne) {
    deque<int> queue;
    queue.push_front(7);
    EXPECT_TRUE(at(queue, 10, 9, 0));
    EXPECT_EQ(numbers(queue), std::vector<int>({7}));
    EXPECT_EQ(queue.size(), 1u);
}

TEST_F(DequeRing, PushAndPopMoveTheirOwnEndByOneSlot) {
    deque<int> queue = rotated<deque<int>>(3, 4);
    EXPECT_TRUE(at(queue, 10, 3, 7));
    queue.push_back(4);
    EXPECT_TRUE(at(queue, 10, 3, 8));
    queue.push_front(-1);
    EXPECT_TRUE(at(queue, 10, 2, 8));
    queue.pop_back();
    EXPECT_TRUE(at(queue, 10, 2, 7));
    queue.pop_front();
    EXPECT_TRUE(at(queue, 10, 3, 7));
}

TEST_F(DequeRing, EndsGoRound) {
    deque<int> queue = rotated<deque<int>>(9, 1);
    EXPECT_TRUE(at(queue, 10, 9, 0));
    queue.pop_front();
    EXPECT_TRUE(at(queue, 10, 0, 0));
    queue.push_front(1);
    EXPECT_TRUE(at(queue, 10, 9, 0));
    queue.pop_back();
    EXPECT_TRUE(at(queue, 10, 9, 9));
    queue.push_back(2);
    EXPECT_TRUE(at(queue, 10, 9, 0));
    EXPECT_EQ(numbers(queue), std::vector<int>({2}));
}

TEST_F(DequeRing, HoldsUpToNineElementsInTenSlotsFromEverySlotOn) {
    for (int head = 0; head < 10; ++head) {
        for (int count = 0; count <= 9; ++count) {
            const auto queue = rotated<Ring<int>>(head, count);
            EXPECT_EQ(queue.slot_count(), head + count == 0 ? 1u : 10u);
            EXPECT_EQ(queue.size(), static_cast<unsigned int>(count));
            EXPECT_EQ(queue.empty(), count == 0);
            EXPECT_EQ(numbers(queue), numbers_from(0, count));
        }
    }
}

// Growth

template <class Push>
void expect_growth(Ring<int>& queue, Push push) {
    for (const std::uint32_t slot_count : SLOT_COUNTS) {
        push(queue);
        EXPECT_EQ(queue.slot_count(), slot_count);
        EXPECT_EQ(rings.asked.back(), slot_count);
        EXPECT_EQ(rings.live.size(), 1u) << "the old ring must be freed";
        while (queue.size() != slot_count - 1) {
            push(queue);
            EXPECT_EQ(queue.slot_count(), slot_count);
        }
    }
    EXPECT_EQ(rings.asked.size(), std::size(SLOT_COUNTS));
}

TEST_F(DequeGrowth, AtTheBackGoesByHalf) {
    Ring<int> queue;
    expect_growth(queue, [](auto& q) { q.push_back(static_cast<int>(q.size())); });
    EXPECT_EQ(numbers(queue), numbers_from(0, 243));
}

TEST_F(DequeGrowth, AtTheFrontGoesByHalf) {
    Ring<int> queue;
    expect_growth(queue, [](auto& q) { q.push_front(-static_cast<int>(q.size())); });
    EXPECT_EQ(numbers(queue), numbers_from(-242, 243));
}

TEST_F(DequeGrowth, TenthElementMakesFifteenSlotsAndKeepsTheOrderFromEverySlotOn) {
    for (int head = 0; head < 10; ++head) {
        auto back = rotated<deque<int>>(head, 9);
        back.push_back(9);
        EXPECT_TRUE(at(back, 15, 0, 10));
        EXPECT_EQ(numbers(back), numbers_from(0, 10));

        auto front = rotated<deque<int>>(head, 9);
        front.push_front(-1);
        EXPECT_TRUE(at(front, 15, 14, 9));
        EXPECT_EQ(numbers(front), numbers_from(-1, 10));
    }
}

TEST_F(DequeGrowth, MovesEachElementOnceAndCopiesNone) {
    for (const bool at_front : {false, true}) {
        auto queue = rotated<Ring<Item>>(7, 9);
        const Item item(9);
        elements.copies = elements.moves = 0;
        at_front ? queue.push_front(item) : queue.push_back(item);
        EXPECT_EQ(elements.moves, 9);
        EXPECT_EQ(elements.copies, 1) << "that of the new element";
        elements.copies = elements.moves = 0;
        at_front ? queue.push_front(Item(10)) : queue.push_back(Item(10));
        EXPECT_EQ(elements.moves, 1);
        EXPECT_EQ(elements.copies, 0);
    }
}

TEST_F(DequeGrowth, NeverShrinks) {
    Ring<int> queue;
    for (int i = 0; i < 40; ++i) {
        queue.push_back(i);
    }
    EXPECT_EQ(queue.slot_count(), 49u);
    while (!queue.empty()) {
        queue.pop_front();
    }
    queue.push_front(1);
    EXPECT_EQ(queue.slot_count(), 49u);
    EXPECT_EQ(rings.asked, std::vector<std::size_t>({10, 15, 22, 33, 49}));
}

TEST_F(DequeGrowth, EndsAtTheLargestCountThatTheAllocatorCanAddress) {
    for (const bool at_front : {false, true}) {
        const auto push = [&](Ring<Item>& queue, const Item& item) {
            at_front ? queue.push_front(item) : queue.push_back(item);
        };
        const Item item(9);
        for (const std::size_t max_size : {std::size_t{10}, std::size_t{14}}) {
            auto queue = rotated<Ring<Item>>(4, 9);
            rings.asked.clear();
            rings.max_size = max_size;
            EXPECT_THROW(push(queue, item), std::bad_alloc);
            EXPECT_EQ(numbers(queue), numbers_from(0, 9));
            EXPECT_EQ(queue.slot_count(), 10u);
            EXPECT_TRUE(rings.asked.empty());
            rings.max_size = 15;
            push(queue, item);
            EXPECT_EQ(queue.slot_count(), 15u);
        }
        Ring<Item> none;
        rings.asked.clear();
        rings.max_size = 9;
        EXPECT_THROW(push(none, item), std::bad_alloc);
        EXPECT_TRUE(is_new(none));
        EXPECT_TRUE(rings.asked.empty());
        rings.max_size = std::numeric_limits<std::size_t>::max();
    }
}

// Pushing an element of the queue itself

TEST_F(DequeOwnElement, IsPushedWithTheValueItHadAtTheCall) {
    for (int head = 0; head < 10; ++head) {
        for (const int count : {1, 5, 9}) { // 9 elements fill the ring
            for (int own = 0; own < count; ++own) {
                auto back = rotated<Ring<Item>>(head, count);
                back.push_back(*std::next(std::as_const(back).begin(), own));
                std::vector<int> expected = numbers_from(0, count);
                expected.push_back(own);
                EXPECT_EQ(numbers(back), expected);

                auto front = rotated<Ring<Item>>(head, count);
                front.push_front(*std::next(std::as_const(front).begin(), own));
                expected = numbers_from(0, count);
                expected.insert(expected.begin(), own);
                EXPECT_EQ(numbers(front), expected);
            }
        }
    }
}

TEST_F(DequeOwnElement, IsMovedOutOfItsPlaceWhenItIsPassedForMoving) {
    for (int head = 0; head < 10; ++head) {
        for (const int count : {1, 5, 9}) {
            for (int own = 0; own < count; ++own) {
                auto back = rotated<Ring<Item>>(head, count);
                back.push_back(std::move(*std::next(back.begin(), own)));
                std::vector<int> expected = numbers_from(0, count);
                expected[static_cast<std::size_t>(own)] = MOVED;
                expected.push_back(own);
                EXPECT_EQ(numbers(back), expected);

                auto front = rotated<Ring<Item>>(head, count);
                front.push_front(std::move(*std::next(front.begin(), own)));
                expected.pop_back();
                expected.insert(expected.begin(), own);
                EXPECT_EQ(numbers(front), expected);
            }
        }
    }
}

// Copies

TEST_F(DequeCopy, AllocatesTheSlotsOfTheSourceAndFillsThemFromTheFirstOn) {
    for (int head = 0; head < 10; ++head) {
        for (int count = 1; count <= 9; ++count) {
            const auto source = rotated<Ring<Item>>(head, count);
            rings.asked.clear();
            elements.copies = elements.moves = 0;
            const Ring<Item> copy(source);
            EXPECT_EQ(rings.asked, std::vector<std::size_t>({10}));
            EXPECT_EQ(copy.slot_count(), 10u);
            EXPECT_EQ(numbers(copy), numbers_from(0, count));
            EXPECT_EQ(numbers(source), numbers_from(0, count));
            EXPECT_EQ(elements.copies, count);
            EXPECT_EQ(elements.moves, 0);
        }
    }
    const auto source = rotated<deque<int>>(8, 5);
    EXPECT_TRUE(at(deque<int>(source), 10, 0, 5));
}

TEST_F(DequeCopy, OfALargerRingIsAsLarge) {
    Ring<int> source;
    for (int i = 0; i < 12; ++i) {
        source.push_back(i);
    }
    source.pop_back();
    rings.asked.clear();
    const Ring<int> copy(source);
    EXPECT_EQ(rings.asked, std::vector<std::size_t>({15}));
    EXPECT_EQ(copy.slot_count(), 15u);
}

TEST_F(DequeCopy, OfAnEmptyQueueWithoutSlotsAllocatesNothing) {
    const Ring<int> source;
    const Ring<int> copy(source);
    EXPECT_TRUE(rings.asked.empty());
    EXPECT_TRUE(is_new(copy));
}

TEST_F(DequeCopy, OfAnEmptyQueueWithSlotsHasAsMany) {
    auto source = rotated<Ring<int>>(4, 3);
    source.clear();
    rings.asked.clear();
    Ring<int> copy(source);
    EXPECT_EQ(rings.asked, std::vector<std::size_t>({10}));
    EXPECT_EQ(copy.slot_count(), 10u);
    EXPECT_TRUE(copy.empty());
    copy.push_back(1);
    EXPECT_EQ(rings.asked.size(), 1u);
}

TEST_F(DequeCopy, ThrowingAtAnyElementGivesEverythingBack) {
    const auto source = rotated<Ring<Item>>(6, 9);
    for (int failing = 0; failing < 9; ++failing) {
        elements.destroyed.clear();
        elements.until_throw = failing;
        EXPECT_THROW(Ring<Item>{source}, CopyFailed);
        EXPECT_EQ(elements.destroyed, numbers_from(0, failing));
        EXPECT_EQ(elements.live.size(), 9u);
        EXPECT_EQ(rings.live.size(), 1u);
        EXPECT_EQ(numbers(source), numbers_from(0, 9));
    }
}

TEST_F(DequeCopy, WithoutMemoryLeavesNothing) {
    const auto source = rotated<Ring<Item>>(6, 9);
    rings.out_of_memory = true;
    EXPECT_THROW(Ring<Item>{source}, std::bad_alloc);
    EXPECT_EQ(elements.live.size(), 9u);
}

TEST_F(DequeCopy, AssignmentReplacesTheElements) {
    const auto source = rotated<Ring<Item>>(6, 9);
    auto target = rotated<Ring<Item>>(2, 3);
    Ring<Item>& result = (target = source);
    EXPECT_EQ(&result, &target);
    EXPECT_EQ(numbers(target), numbers_from(0, 9));
    EXPECT_EQ(numbers(source), numbers_from(0, 9));
    EXPECT_EQ(elements.live.size(), 18u);
    EXPECT_EQ(rings.live.size(), 2u);
    target = Ring<Item>();
    EXPECT_TRUE(is_new(target));
}

TEST_F(DequeCopy, FailedAssignmentLeavesTheTargetAsItWas) {
    const auto source = rotated<Ring<Item>>(6, 9);
    auto target = rotated<Ring<Item>>(2, 3);
    for (int failing = 0; failing < 9; ++failing) {
        elements.until_throw = failing;
        EXPECT_THROW(target = source, CopyFailed);
        EXPECT_EQ(numbers(target), numbers_from(0, 3));
    }
    rings.out_of_memory = true;
    EXPECT_THROW(target = source, std::bad_alloc);
    EXPECT_EQ(numbers(target), numbers_from(0, 3));
}

TEST_F(DequeCopy, AssignmentToItselfKeepsTheElements) {
    auto queue = rotated<Ring<Item>>(6, 9);
    queue = *&queue;
    EXPECT_EQ(numbers(queue), numbers_from(0, 9));
    EXPECT_EQ(queue.slot_count(), 10u);
}

// Moves

TEST_F(DequeMove, ConstructionTakesTheRingAndLeavesANewQueue) {
    auto source = rotated<Ring<Item>>(6, 9);
    const Item* const first = &source.front();
    rings.asked.clear();
    elements.copies = elements.moves = 0;
    const Ring<Item> target(std::move(source));
    EXPECT_EQ(&target.front(), first);
    EXPECT_EQ(numbers(target), numbers_from(0, 9));
    EXPECT_EQ(target.slot_count(), 10u);
    EXPECT_TRUE(is_new(source));
    EXPECT_TRUE(rings.asked.empty());
    EXPECT_EQ(elements.copies + elements.moves, 0);
}

TEST_F(DequeMove, TakesHeadAndTailAsTheyAre) {
    auto source = rotated<deque<int>>(6, 7);
    const deque<int> target(std::move(source));
    EXPECT_TRUE(at(target, 10, 6, 3));
    EXPECT_TRUE(at(source, 1, 0, 0));
    EXPECT_EQ(members(source).slots, nullptr);
    source = rotated<deque<int>>(9, 2);
    EXPECT_TRUE(at(source, 10, 9, 1));
}

TEST_F(DequeMove, AssignmentDropsTheOldElementsAndRing) {
    auto source = rotated<Ring<Item>>(6, 9);
    auto target = rotated<Ring<Item>>(9, 3);
    const Item* const first = &source.front();
    rings.asked.clear();
    elements.destroyed.clear();
    Ring<Item>& result = (target = std::move(source));
    EXPECT_EQ(&result, &target);
    EXPECT_EQ(elements.destroyed, numbers_from(0, 3));
    EXPECT_EQ(&target.front(), first);
    EXPECT_EQ(numbers(target), numbers_from(0, 9));
    EXPECT_TRUE(is_new(source));
    EXPECT_EQ(rings.live.size(), 1u);
    EXPECT_TRUE(rings.asked.empty());
}

TEST_F(DequeMove, OfANewQueueLeavesANewOne) {
    auto target = rotated<Ring<Item>>(9, 3);
    target = Ring<Item>();
    EXPECT_TRUE(is_new(target));
    EXPECT_TRUE(rings.live.empty());
    EXPECT_TRUE(is_new(Ring<Item>(Ring<Item>())));
}

TEST_F(DequeMove, IntoItselfEmpties) {
    auto queue = rotated<Ring<Item>>(6, 9);
    Ring<Item>& same = queue;
    queue = std::move(same);
    EXPECT_TRUE(is_new(queue));
    EXPECT_TRUE(elements.live.empty());
    EXPECT_TRUE(rings.live.empty());
}

TEST_F(DequeMove, MovedFromQueueMayBeUsedAgain) {
    auto source = rotated<Ring<Item>>(6, 9);
    const Ring<Item> target(std::move(source));
    source.push_back(1);
    source.push_front(0);
    EXPECT_EQ(numbers(source), numbers_from(0, 2));
    EXPECT_EQ(source.slot_count(), 10u);
}

TEST_F(DequeMove, NeverThrows) {
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<deque<CopyOnly>>);
    EXPECT_TRUE(std::is_nothrow_move_assignable_v<deque<CopyOnly>>);
    EXPECT_TRUE(std::is_nothrow_swappable_v<deque<CopyOnly>>);
}

// Swap

TEST_F(DequeSwap, ExchangesTheMembers) {
    auto a = rotated<deque<int>>(6, 9);
    deque<int> b;
    const void* const slots = members(a).slots;
    a.swap(b);
    EXPECT_TRUE(at(a, 1, 0, 0));
    EXPECT_EQ(members(a).slots, nullptr);
    EXPECT_TRUE(at(b, 10, 6, 5));
    EXPECT_EQ(members(b).slots, slots);
    EXPECT_EQ(numbers(b), numbers_from(0, 9));
}

TEST_F(DequeSwap, FreeFunctionIsFoundByItsArguments) {
    auto a = rotated<Ring<Item>>(6, 9);
    auto b = rotated<Ring<Item>>(1, 2);
    rings.asked.clear();
    elements.copies = elements.moves = 0;
    swap(a, b);
    EXPECT_EQ(numbers(a), numbers_from(0, 2));
    EXPECT_EQ(numbers(b), numbers_from(0, 9));
    swap(a, a);
    EXPECT_EQ(numbers(a), numbers_from(0, 2));
    EXPECT_TRUE(rings.asked.empty());
    EXPECT_EQ(elements.copies + elements.moves, 0);
}

// Destruction

TEST_F(DequeEnd, ElementsGoFromHeadToTail) {
    for (int head = 0; head < 10; ++head) {
        {
            const auto queue = rotated<Ring<Item>>(head, 9);
            elements.destroyed.clear();
        }
        EXPECT_EQ(elements.destroyed, numbers_from(0, 9));
        EXPECT_TRUE(rings.live.empty());
    }
}

TEST_F(DequeEnd, ClearDestroysFromHeadToTailAndKeepsTheSlots) {
    for (int head = 0; head < 10; ++head) {
        auto queue = rotated<Ring<Item>>(head, 9);
        rings.asked.clear();
        elements.destroyed.clear();
        queue.clear();
        EXPECT_EQ(elements.destroyed, numbers_from(0, 9));
        EXPECT_TRUE(queue.empty());
        EXPECT_EQ(queue.slot_count(), 10u);
        EXPECT_EQ(rings.live.size(), 1u);
        for (int i = 0; i < 9; ++i) {
            queue.push_back(i);
        }
        EXPECT_EQ(numbers(queue), numbers_from(0, 9));
        EXPECT_TRUE(rings.asked.empty());
    }
}

TEST_F(DequeEnd, ClearSetsHeadAndTailToZero) {
    auto queue = rotated<deque<int>>(6, 9);
    const void* const slots = members(queue).slots;
    queue.clear();
    EXPECT_TRUE(at(queue, 10, 0, 0));
    EXPECT_EQ(members(queue).slots, slots);
    deque<int> fresh;
    fresh.clear();
    EXPECT_TRUE(at(fresh, 1, 0, 0));
}

// The ends

TEST_F(DequeEnds, PopsDestroyTheElementAtTheirEnd) {
    for (int head = 0; head < 10; ++head) {
        auto queue = rotated<Ring<Item>>(head, 5);
        elements.destroyed.clear();
        queue.pop_front();
        queue.pop_back();
        queue.pop_back();
        EXPECT_EQ(elements.destroyed, std::vector<int>({0, 4, 3}));
        EXPECT_EQ(numbers(queue), numbers_from(1, 2));
    }
}

TEST_F(DequeEnds, FrontAndBackReferToTheElements) {
    for (int head = 0; head < 10; ++head) {
        auto queue = rotated<Ring<int>>(head, 3);
        const Ring<int>& constant = queue;
        EXPECT_EQ(constant.front(), 0);
        EXPECT_EQ(constant.back(), 2);
        EXPECT_EQ(&constant.front(), &queue.front());
        EXPECT_EQ(&constant.back(), &queue.back());
        queue.front() = 10;
        queue.back() = 12;
        EXPECT_EQ(numbers(queue), std::vector<int>({10, 1, 12}));
        queue.pop_back();
        queue.pop_back();
        EXPECT_EQ(&queue.front(), &queue.back());
        EXPECT_TRUE((std::is_same_v<decltype(constant.front()), const int&>));
        EXPECT_TRUE((std::is_same_v<decltype(constant.back()), const int&>));
    }
}

// Iterators

TEST_F(DequeIterator, BeginsAtTheHeadAndEndsAtTheTail) {
    for (int head = 0; head < 10; ++head) {
        auto queue = rotated<Ring<int>>(head, 9);
        const Ring<int>& constant = queue;
        EXPECT_EQ(&*queue.begin(), &queue.front());
        EXPECT_EQ(&*constant.begin(), &queue.front());
        EXPECT_EQ(&*constant.cbegin(), &queue.front());
        EXPECT_EQ(&*--queue.end(), &queue.back());
        EXPECT_EQ(&*--constant.end(), &queue.back());
        EXPECT_EQ(&*--constant.cend(), &queue.back());
        EXPECT_EQ(std::distance(queue.begin(), queue.end()), 9);
    }
}

TEST_F(DequeIterator, GoesForwardAndBackRoundTheRing) {
    for (int head = 0; head < 10; ++head) {
        auto queue = rotated<Ring<int>>(head, 9);
        auto place = queue.begin();
        for (int i = 0; i < 9; ++i) {
            const auto before = place;
            EXPECT_EQ(*place, i);
            const auto same = place++;
            EXPECT_EQ(same, before);
            auto next = before;
            EXPECT_EQ(&++next, &next);
            EXPECT_EQ(next, place);
        }
        EXPECT_EQ(place, queue.end());
        for (int i = 8; i >= 0; --i) {
            const auto before = place;
            const auto same = place--;
            EXPECT_EQ(same, before);
            EXPECT_EQ(*place, i);
            auto previous = before;
            EXPECT_EQ(&--previous, &previous);
            EXPECT_EQ(previous, place);
        }
        EXPECT_EQ(place, queue.begin());
    }
}

TEST_F(DequeIterator, IsBidirectional) {
    using iterator = Ring<int>::iterator;
    using const_iterator = Ring<int>::const_iterator;
    using traits = std::iterator_traits<iterator>;
    using const_traits = std::iterator_traits<const_iterator>;
    EXPECT_TRUE((std::is_same_v<traits::iterator_category, std::bidirectional_iterator_tag>));
    EXPECT_TRUE((std::is_same_v<traits::value_type, int>));
    EXPECT_TRUE((std::is_same_v<traits::reference, int&>));
    EXPECT_TRUE((std::is_same_v<traits::pointer, int*>));
    EXPECT_TRUE((std::is_same_v<const_traits::value_type, int>));
    EXPECT_TRUE((std::is_same_v<const_traits::reference, const int&>));
    EXPECT_TRUE((std::is_same_v<const_traits::pointer, const int*>));
    const auto queue = rotated<Ring<int>>(6, 9);
    const std::vector<int> backwards(std::make_reverse_iterator(queue.end()),
                                     std::make_reverse_iterator(queue.begin()));
    EXPECT_EQ(backwards, std::vector<int>({8, 7, 6, 5, 4, 3, 2, 1, 0}));
}

TEST_F(DequeIterator, ServesWhereAConstIteratorIsWantedAndNotTheOtherWayRound) {
    using iterator = Ring<int>::iterator;
    using const_iterator = Ring<int>::const_iterator;
    EXPECT_TRUE((std::is_convertible_v<iterator, const_iterator>));
    EXPECT_FALSE((std::is_constructible_v<iterator, const_iterator>));
    auto queue = rotated<Ring<int>>(6, 9);
    const_iterator place = queue.begin();
    EXPECT_EQ(place, queue.cbegin());
    EXPECT_TRUE(queue.begin() == place);
    EXPECT_TRUE(place == queue.begin());
    EXPECT_TRUE(queue.end() != place);
    place = queue.end();
    EXPECT_TRUE(place == queue.cend());
}

TEST_F(DequeIterator, IsEqualWhenQueueAndSlotAreEqual) {
    const auto a = rotated<Ring<int>>(3, 4);
    const auto b = rotated<Ring<int>>(3, 4);
    EXPECT_TRUE(a.begin() == a.begin());
    EXPECT_FALSE(a.begin() != a.begin());
    EXPECT_TRUE(a.begin() != std::next(a.begin()));
    EXPECT_FALSE(a.begin() == std::next(a.begin()));
    EXPECT_TRUE(a.begin() != b.begin());
    EXPECT_FALSE(a.begin() == b.begin());
    EXPECT_TRUE(Ring<int>::iterator() == Ring<int>::iterator());
}

TEST_F(DequeIterator, WritesAndReachesMembers) {
    deque<std::string> queue;
    queue.push_front("a");
    queue.push_back("bc");
    for (std::string& text : queue) {
        text += '!';
    }
    auto place = queue.begin();
    EXPECT_EQ(place->size(), 2u);
    place->clear();
    EXPECT_EQ(*place, "");
    const deque<std::string>::const_iterator constant = std::next(place);
    EXPECT_EQ(constant->size(), 3u);
    EXPECT_EQ(*constant, "bc!");
}

TEST_F(DequeIterator, WorksWithAlgorithms) {
    auto queue = rotated<Ring<int>>(6, 9);
    std::reverse(queue.begin(), queue.end());
    EXPECT_EQ(queue.front(), 8);
    EXPECT_EQ(*std::find(queue.begin(), queue.end(), 3), 3);
    EXPECT_EQ(std::find(queue.cbegin(), queue.cend(), 9), queue.cend());
}

// Failures

TEST_F(DequeOutOfMemory, PushLeavesQueueAndArgumentAsTheyWere) {
    for (const int count : {0, 9}) { // no ring yet, and a full one
        auto queue = rotated<Ring<Item>>(count == 0 ? 0 : 6, count);
        const std::uint32_t slot_count = queue.slot_count();
        const void* const first = count == 0 ? nullptr : &queue.front();
        Item item(count);
        rings.out_of_memory = true;
        EXPECT_THROW(queue.push_back(item), std::bad_alloc);
        EXPECT_THROW(queue.push_back(std::move(item)), std::bad_alloc);
        EXPECT_THROW(queue.push_front(item), std::bad_alloc);
        EXPECT_THROW(queue.push_front(std::move(item)), std::bad_alloc);
        EXPECT_EQ(item.number(), count);
        EXPECT_EQ(numbers(queue), numbers_from(0, count));
        EXPECT_EQ(queue.slot_count(), slot_count);
        EXPECT_TRUE(count == 0 || &queue.front() == first);
        rings.out_of_memory = false;
        queue.push_back(std::move(item));
        EXPECT_EQ(numbers(queue), numbers_from(0, count + 1));
    }
}

TEST_F(DequeOutOfMemory, PushOfAnOwnElementLeavesItInItsPlace) {
    auto queue = rotated<Ring<Item>>(6, 9);
    rings.out_of_memory = true;
    EXPECT_THROW(queue.push_back(std::move(queue.front())), std::bad_alloc);
    EXPECT_THROW(queue.push_front(std::move(queue.back())), std::bad_alloc);
    EXPECT_EQ(numbers(queue), numbers_from(0, 9));
}

TEST_F(DequeThrowingCopy, PushLeavesTheQueueAsItWas) {
    for (const int count : {0, 5, 9}) { // no ring yet, room, and a full ring
        auto queue = rotated<Ring<Item>>(count == 0 ? 0 : 6, count);
        const std::uint32_t slot_count = queue.slot_count();
        const void* const first = count == 0 ? nullptr : &queue.front();
        const Item item(9);
        for (const bool at_front : {false, true}) {
            elements.until_throw = 0;
            EXPECT_THROW(at_front ? queue.push_front(item) : queue.push_back(item), CopyFailed);
            EXPECT_EQ(numbers(queue), numbers_from(0, count));
            EXPECT_EQ(queue.slot_count(), slot_count);
            EXPECT_TRUE(count == 0 || &queue.front() == first);
            EXPECT_EQ(elements.live.size(), static_cast<std::size_t>(count) + 1);
            EXPECT_EQ(rings.live.size(), count == 0 ? 0u : 1u);
        }
    }
}

TEST_F(DequeThrowingCopy, GrowthOfElementsThatOnlyCopyFailsAtAnyOneWithoutATrace) {
    for (const bool at_front : {false, true}) {
        for (int failing = 0; failing < 10; ++failing) { // the new element and nine old ones
            auto queue = rotated<Ring<CopyOnly>>(6, 9);
            const CopyOnly item(9);
            elements.until_throw = failing;
            EXPECT_THROW(at_front ? queue.push_front(item) : queue.push_back(item), CopyFailed);
            EXPECT_EQ(numbers(queue), numbers_from(0, 9));
            EXPECT_EQ(queue.slot_count(), 10u);
            EXPECT_EQ(elements.live.size(), 10u);
            EXPECT_EQ(rings.live.size(), 1u);
            at_front ? queue.push_front(item) : queue.push_back(item);
            EXPECT_EQ(queue.size(), 10u);
        }
    }
}

// Element types and allocators

TEST_F(DequeElements, MayBeMoveOnly) {
    auto queue = deque<std::unique_ptr<int>>();
    for (int i = 0; i < 20; ++i) {
        queue.push_back(std::make_unique<int>(i));
        queue.push_front(std::make_unique<int>(-1 - i));
    }
    EXPECT_EQ(numbers(queue), numbers_from(-20, 40));
    deque<std::unique_ptr<int>> moved(std::move(queue));
    std::unique_ptr<int> first = std::move(moved.front());
    EXPECT_EQ(*first, -20);
    moved.pop_front();
    moved.pop_back();
    EXPECT_EQ(numbers(moved), numbers_from(-19, 38));
    moved.push_back(std::move(first));
    EXPECT_EQ(first, nullptr);
}

TEST_F(DequeElements, MayBeCopyOnly) {
    Ring<CopyOnly> queue;
    for (int i = 0; i < 20; ++i) {
        queue.push_back(CopyOnly(i));
        queue.push_front(CopyOnly(-1 - i));
    }
    EXPECT_EQ(numbers(queue), numbers_from(-20, 40));
    EXPECT_EQ(numbers(Ring<CopyOnly>(queue)), numbers_from(-20, 40));
}

struct alignas(64) Aligned {
    Aligned(int n) : number_(n) {}
    int number() const { return number_; }
    int number_;
};

TEST_F(DequeElements, MayBeOverAligned) {
    deque<Aligned> queue;
    for (int i = 0; i < 40; ++i) {
        queue.push_back(i);
        for (const Aligned& element : queue) {
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(&element) % 64, 0u);
        }
    }
    EXPECT_EQ(numbers(queue), numbers_from(0, 40));
}

// Where the rings of a queue come from; each must go back where it came from.
struct Arena {
    int rings = 0;
};

template <class T>
struct ArenaAllocator {
    using value_type = T;

    explicit ArenaAllocator(Arena* from) : arena(from) {}

    T* allocate(std::size_t count) {
        T* const slots = std::allocator<T>().allocate(count);
        owners()[slots] = arena;
        ++arena->rings;
        return slots;
    }
    void deallocate(T* slots, std::size_t count) {
        EXPECT_EQ(owners()[slots], arena);
        --arena->rings;
        std::allocator<T>().deallocate(slots, count);
    }

    static std::map<T*, Arena*>& owners() {
        static std::map<T*, Arena*> result;
        return result;
    }

    Arena* arena;
};

TEST_F(DequeAllocator, MovesAndSwapsAlongWithTheRing) {
    using Queue = deque<int, ArenaAllocator<int>>;
    Arena first, second;
    {
        Queue a{ArenaAllocator<int>(&first)};
        Queue b{ArenaAllocator<int>(&second)};
        for (int i = 0; i < 30; ++i) {
            a.push_back(i);
            b.push_front(-i);
        }
        EXPECT_EQ(first.rings, 1);
        EXPECT_EQ(second.rings, 1);
        swap(a, b);
        a.push_back(1);
        Queue moved(std::move(a));
        EXPECT_EQ(moved.size(), 31u);
        moved = std::move(b);
        EXPECT_EQ(second.rings, 0);
        EXPECT_EQ(numbers(moved), numbers_from(0, 30));
        const Queue copy(moved);
        EXPECT_EQ(first.rings, 2);
        b.push_back(2);
    }
    EXPECT_EQ(first.rings, 0);
    EXPECT_EQ(second.rings, 0);
}

TEST_F(DequeAllocator, TakesNoSpaceWhenItIsEmpty) { EXPECT_EQ(sizeof(Ring<int>), sizeof(Members)); }

// Random operations against std::deque

class RandomQueues {
public:
    explicit RandomQueues(unsigned int seed) : random_(seed) {}

    void step() {
        Ring<Item>& queue = queues_[which_];
        std::deque<int>& model = models_[which_];
        const int number = static_cast<int>(random_() % 1000);
        switch (random_() % 16) {
        case 0:
        case 1:
        case 2:
            queue.push_back(number);
            model.push_back(number);
            break;
        case 3:
        case 4:
        case 5:
            queue.push_front(number);
            model.push_front(number);
            break;
        case 6:
        case 7:
            if (!model.empty()) {
                queue.pop_front();
                model.pop_front();
            }
            break;
        case 8:
        case 9:
            if (!model.empty()) {
                queue.pop_back();
                model.pop_back();
            }
            break;
        case 10:
            push_own(queue, model);
            break;
        case 11:
            queues_[1 - which_] = queue;
            models_[1 - which_] = model;
            break;
        case 12:
            queues_[1 - which_] = std::move(queue);
            models_[1 - which_] = std::exchange(model, {});
            break;
        case 13:
            queue.swap(queues_[1 - which_]);
            model.swap(models_[1 - which_]);
            break;
        case 14:
            fail_a_push(queue);
            break;
        default:
            which_ = 1 - which_;
            if (random_() % 20 == 0) {
                queue.clear();
                model.clear();
            }
        }
    }

    void check() const {
        for (int i = 0; i < 2; ++i) {
            const std::vector<int> expected(models_[i].begin(), models_[i].end());
            ASSERT_EQ(numbers(queues_[i]), expected);
            ASSERT_EQ(queues_[i].size(), expected.size());
            ASSERT_EQ(queues_[i].empty(), expected.empty());
            ASSERT_GT(queues_[i].slot_count(), expected.size());
        }
        ASSERT_EQ(elements.live.size(), models_[0].size() + models_[1].size());
        ASSERT_LE(rings.live.size(), 2u);
    }

private:
    void push_own(Ring<Item>& queue, std::deque<int>& model) {
        if (model.empty()) {
            return;
        }
        const std::size_t own = random_() % model.size();
        const Item& element = *std::next(queue.begin(), static_cast<std::ptrdiff_t>(own));
        const int number = model[own];
        if (random_() % 2 == 0) {
            queue.push_back(element);
            model.push_back(number);
        } else {
            queue.push_front(element);
            model.push_front(number);
        }
    }

    void fail_a_push(Ring<Item>& queue) {
        const Item item(0);
        elements.until_throw = 0;
        EXPECT_THROW(random_() % 2 == 0 ? queue.push_back(item) : queue.push_front(item),
                     CopyFailed);
    }

    std::mt19937 random_;
    int which_ = 0;
    Ring<Item> queues_[2];
    std::deque<int> models_[2];
};

TEST_F(DequeRandom, HoldsWhatTheModelHolds) {
    for (unsigned int round = 0; round < 20; ++round) {
        const unsigned int seed =
            static_cast<unsigned int>(GTEST_FLAG_GET(random_seed)) * 1000 + round;
        SCOPED_TRACE("seed " + std::to_string(seed));
        RandomQueues queues(seed);
        for (int turn = 0; turn < 2000 && !HasFatalFailure(); ++turn) {
            queues.step();
            queues.check();
        }
        elements.destroyed.clear();
    }
}

} // namespace
