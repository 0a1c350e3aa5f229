#pragma once

/// @file
/// A double-ended queue in one ring of slots.
///
/// Use it for a queue that is filled at one end, drained at the other and walked in order; pushes
/// and pops at both ends move no other element. Use `std::deque` where elements must be indexed or
/// stay at their address while the queue grows.
///
///     slots   [ d | e |   |   | a | b | c ]      7 slots hold the 5 elements a b c d e
///                   ^tail       ^head
///
/// The elements are the slots from head up to, not including, tail, going round. One slot always
/// stays unused, so that head == tail means empty. A full ring of n slots grows to max(n + 1, n * 3
/// / 2) slots, the first one has 10: 10, 15, 22, 33 ... It never shrinks.
///
/// Thread safety: thread-compatible; one queue is used by one thread at a time.
///
/// @code{.cpp}
/// nuriccl::deque<int> queue;
/// queue.push_back(2);
/// queue.push_front(1);
/// assert(queue.front() == 1 && queue.back() == 2 && queue.slot_count() == 10);
/// @endcode
///
/// Pushes invalidate iterators and references when the ring grows. An element that is pushed may be
/// one of the queue's own.

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace nuriccl {

/// A double-ended queue in one ring of slots. See the top of deque.hpp.
///
/// @tparam T          element type; must not throw when it is destroyed
/// @tparam Allocator  allocator of `T`; it moves and swaps along with the slots
template <class T, class Allocator = std::allocator<T>>
class deque : private Allocator { // a base, so that an empty allocator takes no space
    using traits = std::allocator_traits<Allocator>;

    template <bool Const>
    class basic_iterator;

public:
    /// What the queue holds.
    using value_type = T;
    /// What the slots come from.
    using allocator_type = Allocator;
    /// Counts elements and slots, in both pointer sizes alike.
    using size_type = std::uint32_t;
    /// Steps between two places.
    using difference_type = std::ptrdiff_t;
    /// An element.
    using reference = T&;
    /// An element, to look at.
    using const_reference = const T&;
    /// A bidirectional iterator: the queue and a slot of it.
    using iterator = basic_iterator<false>;
    /// The same, to look at; an `iterator` turns into one.
    using const_iterator = basic_iterator<true>;

    /// An empty queue without slots.
    deque() noexcept(std::is_nothrow_default_constructible_v<Allocator>) = default;
    /// The same, whose slots will come from a copy of `with`.
    explicit deque(const Allocator& with) noexcept : Allocator(with) {}

    /// Copies the elements into as many slots as `other` has. Strong exception guarantee.
    deque(const deque& other);

    /// Takes over the slots of `other` and leaves it as a new queue.
    deque(deque&& other) noexcept;

    /// Replaces the elements by copies, in slots as the copy constructor makes them. Strong
    /// exception guarantee.
    deque& operator=(const deque& other);

    /// Drops the elements, takes over the slots of `other` and leaves it as a new queue; so moving
    /// a queue into itself empties it.
    deque& operator=(deque&& other) noexcept;

    ~deque();

    /// Exchanges slots and allocators in constant time. Iterators stay with their queue, not with
    /// its elements.
    void swap(deque& other) noexcept;

    /// @name Adding an element at an end
    ///
    /// Constant time, but for the growth of a full ring, which moves each element once. Strong
    /// exception guarantee, the argument included, as long as moving a `T` cannot throw.
    /// @throws std::bad_alloc, and what copying or moving the element throws
    /// @{

    /// Copies the value behind the last element.
    void push_back(const T& value) { insert_back(value); }
    /// Moves the value behind the last element.
    void push_back(T&& value) { insert_back(std::move(value)); }
    /// Copies the value in front of the first element.
    void push_front(const T& value) { insert_front(value); }
    /// Moves the value in front of the first element.
    void push_front(T&& value) { insert_front(std::move(value)); }
    /// @}

    /// @name Access to the ends
    /// Each requires a queue that is not empty.
    /// @{

    /// Destroys the first element.
    void pop_front() noexcept;
    /// Destroys the last element.
    void pop_back() noexcept;
    /// The first element.
    T& front() noexcept { return const_cast<T&>(std::as_const(*this).front()); }
    /// The first element, to look at.
    const T& front() const noexcept;
    /// The last element.
    T& back() noexcept { return const_cast<T&>(std::as_const(*this).back()); }
    /// The last element, to look at.
    const T& back() const noexcept;
    /// @}

    /// @name Bidirectional iterators
    /// @{

    /// The place of the first element; `end()` when there is none.
    iterator begin() noexcept { return {this, head_}; }
    /// The place behind the last element.
    iterator end() noexcept { return {this, tail_}; }
    /// The place of the first element, to look at.
    const_iterator begin() const noexcept { return {this, head_}; }
    /// The place behind the last element, to look at.
    const_iterator end() const noexcept { return {this, tail_}; }
    /// `begin()` of a queue that is not const, to look at.
    const_iterator cbegin() const noexcept { return begin(); }
    /// `end()` of a queue that is not const, to look at.
    const_iterator cend() const noexcept { return end(); }
    /// @}

    /// The number of elements.
    size_type size() const noexcept {
        return tail_ >= head_ ? tail_ - head_ : slot_count_ - head_ + tail_;
    }

    /// Whether there are no elements; the slots do not matter.
    bool empty() const noexcept { return head_ == tail_; }

    /// The number of slots of the ring; 1 as long as there is no ring.
    size_type slot_count() const noexcept { return slot_count_; }

    /// Destroys the elements from head to tail and keeps the slots.
    void clear() noexcept;

private:
    size_type after(size_type slot) const noexcept {
        return slot + 1 == slot_count_ ? 0 : slot + 1;
    }
    size_type before(size_type slot) const noexcept { return (slot == 0 ? slot_count_ : slot) - 1; }
    bool full() const noexcept { return after(tail_) == head_; }

    template <class Act>
    void for_each_run(Act act);
    template <class Value>
    void insert_back(Value&& value);
    template <class Value>
    void insert_front(Value&& value);
    template <class Value>
    void grow_and_insert(Value&& value, bool at_front);
    void move_elements_to(deque& other);
    size_type grown_slot_count() const;
    void take(deque& other) noexcept;
    void release() noexcept;

    T* slots_ = nullptr;
    size_type slot_count_ = 1;
    size_type head_ = 0;
    size_type tail_ = 0;
};

/// A place in a queue: the queue and a slot of it.
template <class T, class Allocator>
template <bool Const>
class deque<T, Allocator>::basic_iterator {
    using container = std::conditional_t<Const, const deque, deque>;

public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using reference = std::conditional_t<Const, const T&, T&>;
    using pointer = std::conditional_t<Const, const T*, T*>;

    basic_iterator() noexcept = default;
    basic_iterator(container* queue, size_type slot) noexcept : queue_(queue), slot_(slot) {}

    /// An iterator serves where a const_iterator is wanted.
    template <bool FromConst, class = std::enable_if_t<Const && !FromConst>>
    basic_iterator(const basic_iterator<FromConst>& other) noexcept
        : queue_(other.queue_), slot_(other.slot_) {}

    reference operator*() const noexcept { return queue_->slots_[slot_]; }
    pointer operator->() const noexcept { return queue_->slots_ + slot_; }

    basic_iterator& operator++() noexcept {
        slot_ = queue_->after(slot_);
        return *this;
    }
    basic_iterator operator++(int) noexcept {
        const basic_iterator old = *this;
        ++*this;
        return old;
    }
    basic_iterator& operator--() noexcept {
        slot_ = queue_->before(slot_);
        return *this;
    }
    basic_iterator operator--(int) noexcept {
        const basic_iterator old = *this;
        --*this;
        return old;
    }

    friend bool operator==(const basic_iterator& a, const basic_iterator& b) noexcept {
        return a.queue_ == b.queue_ && a.slot_ == b.slot_;
    }
    friend bool operator!=(const basic_iterator& a, const basic_iterator& b) noexcept {
        return !(a == b);
    }

private:
    template <bool>
    friend class basic_iterator;

    container* queue_ = nullptr;
    size_type slot_ = 0;
};

/// Calls the member; found by argument-dependent lookup.
template <class T, class Allocator>
void swap(deque<T, Allocator>& a, deque<T, Allocator>& b) noexcept {
    a.swap(b);
}

// Implementation

template <class T, class Allocator>
deque<T, Allocator>::deque(const deque& other)
    : deque(Allocator(traits::select_on_container_copy_construction(other))) {
    // The delegate has made a whole object: the destructor cleans up when a copy throws.
    if (other.slots_ != nullptr) {
        slots_ = traits::allocate(*this, other.slot_count_);
        slot_count_ = other.slot_count_;
        for (const T& element : other) {
            traits::construct(*this, slots_ + tail_, element);
            ++tail_;
        }
    }
}

template <class T, class Allocator>
deque<T, Allocator>::deque(deque&& other) noexcept : Allocator(std::move(other)) {
    take(other);
}

template <class T, class Allocator>
deque<T, Allocator>& deque<T, Allocator>::operator=(const deque& other) {
    return *this = deque(other);
}

template <class T, class Allocator>
deque<T, Allocator>& deque<T, Allocator>::operator=(deque&& other) noexcept {
    release();
    static_cast<Allocator&>(*this) = std::move(static_cast<Allocator&>(other));
    take(other);
    return *this;
}

template <class T, class Allocator>
deque<T, Allocator>::~deque() {
    release();
}

template <class T, class Allocator>
void deque<T, Allocator>::swap(deque& other) noexcept {
    using std::swap;
    swap(static_cast<Allocator&>(*this), static_cast<Allocator&>(other));
    swap(slots_, other.slots_);
    swap(slot_count_, other.slot_count_);
    swap(head_, other.head_);
    swap(tail_, other.tail_);
}

template <class T, class Allocator>
void deque<T, Allocator>::pop_front() noexcept {
    assert(!empty());
    traits::destroy(*this, slots_ + head_);
    head_ = after(head_);
}

template <class T, class Allocator>
void deque<T, Allocator>::pop_back() noexcept {
    assert(!empty());
    tail_ = before(tail_);
    traits::destroy(*this, slots_ + tail_);
}

template <class T, class Allocator>
const T& deque<T, Allocator>::front() const noexcept {
    assert(!empty());
    return slots_[head_];
}

template <class T, class Allocator>
const T& deque<T, Allocator>::back() const noexcept {
    assert(!empty());
    return slots_[before(tail_)];
}

template <class T, class Allocator>
void deque<T, Allocator>::clear() noexcept {
    for_each_run([this](T* first, const T* last) {
        for (; first != last; ++first) {
            traits::destroy(*this, first);
        }
    });
    head_ = tail_ = 0;
}

// Calls `act` with the elements in order, as the one or two runs of slots that they fill. Loops
// over these are shorter than one that looks for the end of the ring at each element.
template <class T, class Allocator>
template <class Act>
void deque<T, Allocator>::for_each_run(Act act) {
    if (head_ <= tail_) {
        act(slots_ + head_, slots_ + tail_);
    } else {
        act(slots_ + head_, slots_ + slot_count_);
        act(slots_, slots_ + tail_);
    }
}

template <class T, class Allocator>
template <class Value>
void deque<T, Allocator>::insert_back(Value&& value) {
    if (full()) {
        grow_and_insert(std::forward<Value>(value), false);
    } else {
        traits::construct(*this, slots_ + tail_, std::forward<Value>(value));
        tail_ = after(tail_);
    }
}

template <class T, class Allocator>
template <class Value>
void deque<T, Allocator>::insert_front(Value&& value) {
    if (full()) {
        grow_and_insert(std::forward<Value>(value), true);
    } else {
        const size_type slot = before(head_);
        traits::construct(*this, slots_ + slot, std::forward<Value>(value));
        head_ = slot;
    }
}

template <class T, class Allocator>
template <class Value>
void deque<T, Allocator>::grow_and_insert(Value&& value, bool at_front) {
    deque grown(static_cast<const Allocator&>(*this));
    const size_type slots = grown_slot_count();
    grown.slots_ = traits::allocate(grown, slots);
    grown.slot_count_ = slots;

    // The new element comes first: the value may be one of the elements that move.
    const size_type slot = at_front ? slots - 1 : size();
    traits::construct(grown, grown.slots_ + slot, std::forward<Value>(value));
    try {
        move_elements_to(grown);
    } catch (...) {
        traits::destroy(grown, grown.slots_ + slot);
        throw;
    }
    (at_front ? grown.head_ : grown.tail_) = at_front ? slot : slot + 1;
    *this = std::move(grown);
}

template <class T, class Allocator>
void deque<T, Allocator>::move_elements_to(deque& other) {
    // What cannot throw half-way is destroyed on the way: the compiler sees then that nothing need
    // be written to an element that was moved.
    constexpr bool at_once = noexcept(traits::construct(other, slots_, std::move(*slots_)));
    for_each_run([&](T* first, const T* last) {
        for (; first != last; ++first, ++other.tail_) {
            traits::construct(other, other.slots_ + other.tail_, std::move(*first));
            if constexpr (at_once) {
                traits::destroy(*this, first);
            }
        }
    });
    if constexpr (at_once) {
        head_ = tail_;
    }
}

template <class T, class Allocator>
auto deque<T, Allocator>::grown_slot_count() const -> size_type {
    const auto wanted = std::max<std::uint64_t>(
        {std::uint64_t{size()} + 2, std::uint64_t{slot_count_} * 3 / 2, std::uint64_t{10}});
    if (wanted > std::min<std::uint64_t>(traits::max_size(*this), UINT32_MAX)) {
        throw std::bad_alloc();
    }
    return static_cast<size_type>(wanted);
}

template <class T, class Allocator>
void deque<T, Allocator>::take(deque& other) noexcept {
    slots_ = std::exchange(other.slots_, nullptr);
    slot_count_ = std::exchange(other.slot_count_, 1);
    head_ = std::exchange(other.head_, 0);
    tail_ = std::exchange(other.tail_, 0);
}

template <class T, class Allocator>
void deque<T, Allocator>::release() noexcept {
    if (slots_ != nullptr) {
        clear();
        traits::deallocate(*this, slots_, slot_count_);
        slots_ = nullptr;
        slot_count_ = 1;
    }
}

} // namespace nuriccl
