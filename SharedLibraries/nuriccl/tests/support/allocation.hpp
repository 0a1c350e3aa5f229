#pragma once

/// @file
/// Global operator new and delete that count, remember and, on demand, fail.
///
/// Include it in the one source file of a test program: it defines the replaceable functions. The
/// libraries in the process use them, too.
///
/// With NURICCL_TEST_MALLOC defined it replaces the C library's `malloc`, `calloc`, `realloc` and
/// `free` in the same way, which C libraries such as zlib use. Sanitizers have a malloc of their
/// own and do not allow that.
///
/// @code{.cpp}
/// allocation::Watch watch;
/// { const nuriccl::Buffer buffer(5); }
/// EXPECT_EQ(watch.requests(), 1u);
/// EXPECT_TRUE(watch.freed(0));
/// @endcode
///
/// Thread safety: any number of threads may allocate while one Watch lives. A failure is armed by
/// the only thread that allocates.

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

#ifdef NURICCL_TEST_MALLOC
// The C library's own functions behind those that are replaced.
extern "C" void* __libc_malloc(std::size_t size) noexcept;
extern "C" void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
extern "C" void* __libc_realloc(void* place, std::size_t size) noexcept;
extern "C" void __libc_free(void* place) noexcept;
#endif

namespace allocation {

/// Larger requests fail. A sanitizer would end the program if malloc got them.
inline constexpr std::size_t LIMIT = 0x10000000;

namespace detail {

// Loads and stores that order nothing else, so that counting hides no data race from a thread
// sanitizer.
template <class T>
class Relaxed {
public:
    constexpr Relaxed(T value) : value_(value) {}
    void operator=(T value) { value_.store(value, std::memory_order_relaxed); }
    operator T() const { return value_.load(std::memory_order_relaxed); }
    T fetch_add(T more) { return value_.fetch_add(more, std::memory_order_relaxed); }

private:
    std::atomic<T> value_;
};

inline constexpr std::size_t REMEMBERED = 64;
inline constexpr std::size_t NEVER = SIZE_MAX;

// What a block was asked for with.
enum class Form : unsigned char { OBJECT, ARRAY, RAW };

#ifdef NURICCL_TEST_MALLOC
inline void* get_memory(std::size_t size) { return __libc_malloc(size); }
inline void give_memory_back(void* place) { __libc_free(place); }
#else
inline void* get_memory(std::size_t size) { return std::malloc(size); }
inline void give_memory_back(void* place) { std::free(place); }
#endif

// An address in a form that a leak checker does not take for a reference.
inline std::uintptr_t disguised(const void* place) {
    return ~reinterpret_cast<std::uintptr_t>(place);
}

struct Block {
    Relaxed<std::uintptr_t> place = UINTPTR_MAX; // disguised
    Relaxed<std::size_t> size = 0;
    Relaxed<Form> form = Form::OBJECT;
    Relaxed<bool> freed = false;
};

struct Journal {
    Relaxed<std::size_t> requests = 0;
    Relaxed<std::size_t> bytes = 0;
    Relaxed<std::ptrdiff_t> live = 0;
    Relaxed<std::size_t> mismatches = 0;
    Relaxed<std::size_t> until_failure = NEVER;
    Relaxed<bool> goes_on_failing = false;
    Relaxed<bool> spares_malloc = false;
    Relaxed<std::size_t> failures = 0; // those that were asked for
    Block blocks[REMEMBERED];
};

inline Journal journal;

inline bool fails(Form form) {
    const std::size_t left = journal.until_failure;
    if (left == NEVER || (form == Form::RAW && journal.spares_malloc)) {
        return false;
    }
    if (left != 0) {
        journal.until_failure = left - 1;
        return false;
    }
    if (!journal.goes_on_failing) {
        journal.until_failure = NEVER;
    }
    journal.failures.fetch_add(1);
    return true;
}

// Counts a request, which `get` meets if it is to be met.
template <class Get>
void* allocate(std::size_t size, Form form, Get get) noexcept {
    const std::size_t index = journal.requests.fetch_add(1);
    journal.bytes.fetch_add(size);
    void* const place = fails(form) || size > LIMIT ? nullptr : get();
    if (place != nullptr) {
        journal.live.fetch_add(1);
    } else {
        errno = ENOMEM;
    }
    if (index < REMEMBERED) {
        Block& block = journal.blocks[index];
        block.size = size;
        block.form = form;
        block.place = disguised(place);
    }
    return place;
}

inline void* allocate(std::size_t size, Form form) noexcept {
    return allocate(size, form, [size] { return get_memory(std::max<std::size_t>(size, 1)); });
}

inline void* allocate_or_throw(std::size_t size, Form form) {
    void* const place = allocate(size, form);
    if (place == nullptr) {
        throw std::bad_alloc();
    }
    return place;
}

// Counts a block as freed.
inline void forget(void* place, Form form) noexcept {
    journal.live.fetch_add(-1);
    const std::size_t remembered = std::min<std::size_t>(journal.requests, REMEMBERED);
    for (std::size_t i = 0; i < remembered; ++i) {
        Block& block = journal.blocks[i];
        if (block.place == disguised(place) && !block.freed) {
            block.freed = true;
            journal.mismatches.fetch_add(block.form == form ? 0 : 1);
            break;
        }
    }
}

inline void release(void* place, Form form) noexcept {
    if (place != nullptr) {
        forget(place, form);
        give_memory_back(place);
    }
}

} // namespace detail

/// What is allocated and freed in the process from its construction on. One lives at a time.
class Watch {
public:
    Watch() {
        for (detail::Block& block : detail::journal.blocks) {
            block.place = detail::disguised(nullptr);
            block.freed = false;
        }
        detail::journal.bytes = 0;
        detail::journal.live = 0;
        detail::journal.mismatches = 0;
        detail::journal.requests = 0;
    }

    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    /// Number of allocations asked for, failed ones included.
    std::size_t requests() const { return detail::journal.requests; }

    /// Sum of the sizes asked for; an upper bound of what was in use at any one time.
    std::size_t bytes() const { return detail::journal.bytes; }

    /// Number of blocks allocated and not freed; negative when older blocks were freed.
    std::ptrdiff_t live() const { return detail::journal.live; }

    /// Number of remembered blocks that were made by `new` and freed by `delete[]`, or the other
    /// way round.
    std::size_t mismatches() const { return detail::journal.mismatches; }

    /// @name The allocation with this number, counted from 0; the first 64 are remembered
    /// @{
    std::size_t size(std::size_t index) const { return detail::journal.blocks[index].size; }
    void* place(std::size_t index) const {
        return reinterpret_cast<void*>(~std::uintptr_t{detail::journal.blocks[index].place});
    }
    bool freed(std::size_t index) const { return detail::journal.blocks[index].freed; }
    /// @}
};

/// Has an allocation fail, for the length of a scope.
class Failure {
public:
    /// @param index       number of the allocation, counted from 0 and from now on
    /// @param and_later   whether all later ones fail, too
    explicit Failure(std::size_t index, bool and_later = false) {
        detail::journal.failures = 0;
        detail::journal.goes_on_failing = and_later;
        detail::journal.until_failure = index;
    }
    ~Failure() { stop(); }
    Failure(const Failure&) = delete;
    Failure& operator=(const Failure&) = delete;

    /// Ends it.
    /// @return whether there was an allocation of that number
    bool stop() {
        detail::journal.until_failure = detail::NEVER;
        return detail::journal.failures != 0;
    }
};

/// Lets only `operator new` fail, for the length of a scope.
class SparedMalloc {
public:
    SparedMalloc() { detail::journal.spares_malloc = true; }
    ~SparedMalloc() { detail::journal.spares_malloc = false; }
    SparedMalloc(const SparedMalloc&) = delete;
    SparedMalloc& operator=(const SparedMalloc&) = delete;
};

/// Runs `call` while its allocation number `index`, counted from 0, fails.
/// @return whether std::bad_alloc came out
template <class Call>
bool fails_at(std::size_t index, Call call) {
    const Failure failure(index);
    try {
        call();
    } catch (const std::bad_alloc&) {
        return true;
    }
    return false;
}

/// Runs `operation` over and over, with its first allocation failing, then its second and so on,
/// until it succeeds. After each failure `check` looks at what was left behind.
/// @return the number of failures
template <class Operation, class Check>
std::size_t fail_each(Operation operation, Check check) {
    std::size_t failing = 0;
    for (; fails_at(failing, operation); ++failing) {
        check();
    }
    return failing;
}

/// Number of allocations that `operation` asks for.
template <class Operation>
std::size_t count(Operation operation) {
    const Watch watch;
    operation();
    return watch.requests();
}

} // namespace allocation

// Not to be inlined: the compiler takes a visible malloc for a mismatch with operator delete.
#define NURICCL_TEST_NOINLINE __attribute__((noinline))

NURICCL_TEST_NOINLINE void* operator new(std::size_t size) {
    return allocation::detail::allocate_or_throw(size, allocation::detail::Form::OBJECT);
}

NURICCL_TEST_NOINLINE void* operator new[](std::size_t size) {
    return allocation::detail::allocate_or_throw(size, allocation::detail::Form::ARRAY);
}

NURICCL_TEST_NOINLINE void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocation::detail::allocate(size, allocation::detail::Form::OBJECT);
}

NURICCL_TEST_NOINLINE void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocation::detail::allocate(size, allocation::detail::Form::ARRAY);
}

NURICCL_TEST_NOINLINE void operator delete(void* place) noexcept {
    allocation::detail::release(place, allocation::detail::Form::OBJECT);
}

NURICCL_TEST_NOINLINE void operator delete[](void* place) noexcept {
    allocation::detail::release(place, allocation::detail::Form::ARRAY);
}

NURICCL_TEST_NOINLINE void operator delete(void* place, std::size_t) noexcept {
    allocation::detail::release(place, allocation::detail::Form::OBJECT);
}

NURICCL_TEST_NOINLINE void operator delete[](void* place, std::size_t) noexcept {
    allocation::detail::release(place, allocation::detail::Form::ARRAY);
}

NURICCL_TEST_NOINLINE void operator delete(void* place, const std::nothrow_t&) noexcept {
    allocation::detail::release(place, allocation::detail::Form::OBJECT);
}

NURICCL_TEST_NOINLINE void operator delete[](void* place, const std::nothrow_t&) noexcept {
    allocation::detail::release(place, allocation::detail::Form::ARRAY);
}

#ifdef NURICCL_TEST_MALLOC

NURICCL_TEST_NOINLINE void* malloc(std::size_t size) noexcept {
    return allocation::detail::allocate(size, allocation::detail::Form::RAW);
}

NURICCL_TEST_NOINLINE void* calloc(std::size_t count, std::size_t size) noexcept {
    const std::size_t bytes = size != 0 && count > SIZE_MAX / size ? SIZE_MAX : count * size;
    return allocation::detail::allocate(bytes, allocation::detail::Form::RAW,
                                        [=] { return __libc_calloc(count, size); });
}

NURICCL_TEST_NOINLINE void* realloc(void* place, std::size_t size) noexcept {
    void* const moved = allocation::detail::allocate(size, allocation::detail::Form::RAW,
                                                     [=] { return __libc_realloc(place, size); });
    if (place != nullptr && (moved != nullptr || size == 0)) {
        allocation::detail::forget(place, allocation::detail::Form::RAW);
    }
    return moved;
}

NURICCL_TEST_NOINLINE void free(void* place) noexcept {
    allocation::detail::release(place, allocation::detail::Form::RAW);
}

#endif

#undef NURICCL_TEST_NOINLINE
