#pragma once

/// @file
/// A handle onto a shared, reference-counted block of bytes, with copy on write.
///
/// Use Buffer to hand bytes from component to component: copies and segments of it share one block
/// and cost one atomic addition. Use `MultiBuffer` for a stream that arrives in pieces, and a plain
/// `std::vector` for bytes that never leave their owner.
///
///     a ----------------+
///     b ----------------+--> [ bytes, capacity() of them | control block ]   one heap block
///     a.segment(2, 5) --+        ^^^^^ sees its range only
///
/// Thread safety: the reference count is atomic (sequentially consistent), so handles onto one
/// block may be copied, used and destroyed on different threads. A single handle is
/// thread-compatible: it is not synchronised, its update least of all.
///
/// The reader's calls are `data()` and `data_length()`. The writer opens an update, writes through
/// the pointer that `begin_update()` returns, and closes the update with the number of valid bytes:
///
/// @code{.cpp}
/// nuriccl::Buffer buffer(4096);
/// unsigned char* bytes = buffer.begin_update();
/// std::memcpy(bytes, "hello", 5);
/// buffer.end_update(5);
/// const nuriccl::Buffer copy = buffer; // shares the bytes
/// assert(copy.data() == buffer.data() && copy.data_length() == 5);
/// @endcode
///
/// While the block is shared, `begin_update()` first moves the handle to a block of its own, so a
/// pointer taken before still shows the block of the others:
///
///     before a.begin_update():  a --+--> [ h e l l o ]      after:  a --> [ h e l l o ]
///                               b --+                               b --> [ h e l l o ]
///
///     bytes = const_cast<unsigned char*>(a.data()); // wrong: b sees what is written
///     bytes = a.begin_update();                     // right

#include <nuriccl/export.hpp>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <stdexcept>
#include <utility>

namespace nuriccl {

/// A handle onto a shared block of bytes. See the top of buffer.hpp.
class NURICCL_API Buffer {
public:
    class ControlBlockBase;
    template <class Deleter, bool Embedded>
    class ControlBlock;

    /// A Buffer without storage: no bytes, capacity 0, `data()` null.
    Buffer() noexcept;

    /// Allocates one block for at least `size` bytes; `data_length()` is 0 and the bytes are not
    /// set.
    ///
    /// `capacity()` is `size` rounded up to a multiple of the size of a control block
    /// (`sizeof(ControlBlockBase)`). Block sizes are 32-bit and wrap close to 2^32:
    ///
    /// | `size` in 32-bit programs | in 64-bit programs | result |
    /// |---|---|---|
    /// | 0xFFFFFFF1 to 0xFFFFFFF4 | 0xFFFFFFD9 to 0xFFFFFFE8 | std::logic_error |
    /// | above | above | capacity 0 |
    ///
    /// @throws std::bad_alloc
    /// @throws std::logic_error when the wrapped block cannot hold its control block. These few
    ///         bytes stay allocated.
    explicit Buffer(unsigned int size);

    /// Shares the block of `other`. When `other` is in an update, takes a copy of its bytes
    /// instead, in a block whose capacity is `other.capacity()` rounded up as for a new Buffer. The
    /// new handle is not in an update.
    ///
    /// @throws std::bad_alloc only when `other` is in an update
    Buffer(const Buffer& other);

    /// Takes over the block of `other`, which is left without storage but keeps its update depth.
    /// The new handle is not in an update.
    Buffer(Buffer&& other) noexcept;

    /// Replaces the contents by a copy as the copy constructor makes it; see the move assignment.
    Buffer& operator=(const Buffer& other);

    /// Takes over the block of `other` and leaves it without storage. An update that is open on
    /// this handle stays open; its replacement is written to the trace when `nuritrace::tMEMORY` is
    /// set.
    ///
    /// @throws std::bad_alloc only while writing the trace; nothing has changed then
    Buffer& operator=(Buffer&& other);

    /// Gives the block back when this was the last handle onto it.
    ~Buffer();

    /// Number of bytes that an update may write from `data()` on.
    unsigned int capacity() const noexcept;

    /// The first byte; null without storage. Valid until the handle is assigned to, updated or
    /// destroyed.
    const unsigned char* data() const noexcept;

    /// Number of valid bytes from `data()` on.
    unsigned int data_length() const noexcept;

    /// Sets the number of valid bytes within an update.
    ///
    /// @throws std::logic_error "No update operation is in progres on the buffer."
    /// @throws std::range_error "The buffer cannot contain more data than its capacity."; the
    ///         length stays as it was
    void data_length(unsigned int length);

    /// Whether `data_length()` is 0; the capacity does not matter.
    bool empty() const noexcept;

    /// Opens an update, or nests one in the update that is open, and makes the block this handle's
    /// own: while it is shared, its bytes are copied into a new block, whose capacity is rounded up
    /// as for a new Buffer, and `data_length()` reads 0 until it is set. The other handles keep the
    /// old block.
    ///
    /// @return the place of `capacity()` writable bytes; null without storage (the update is open
    ///         then, too)
    /// @throws std::bad_alloc; the Buffer is as it was then, and not in the update
    unsigned char* begin_update();

    /// Closes one level of update and sets the number of valid bytes.
    ///
    /// @throws std::logic_error "No update operation is in progress on the buffer."
    /// @throws std::range_error "The buffer cannot contain more data than its capacity."; length
    ///         and update stay as they were
    void end_update(unsigned int length);

    /// A handle onto the bytes from `offset` on, `length` of them at most, with the capacity that
    /// is left behind `offset`. It shares the block (or, within an update, a copy of it).
    ///
    /// @throws std::range_error "The requested segment lies past the end of the buffer." when
    ///         `offset` exceeds the capacity
    /// @throws std::bad_alloc only within an update
    Buffer segment(unsigned int offset, unsigned int length) const;

private:
    ControlBlockBase* control_;
    unsigned char* data_;
    unsigned int data_length_;
    unsigned int capacity_;
    unsigned int update_depth_; // belongs to the handle, never to the block
};

/// The shared bookkeeping of a heap block: who is left to use it, and how it is given back.
class NURICCL_API Buffer::ControlBlockBase {
public:
    /// Governs `block` on behalf of one handle.
    explicit ControlBlockBase(void* block) noexcept;

    ControlBlockBase(const ControlBlockBase&) = delete;
    ControlBlockBase& operator=(const ControlBlockBase&) = delete;

    /// Adds a handle; returns the count before.
    unsigned int AddRef() noexcept;

    /// Removes a handle, and the block with the last one; returns the count after.
    virtual unsigned int Release() = 0;

    /// The number of handles.
    unsigned int ref_count() const noexcept;

protected:
    ~ControlBlockBase() = default; // never destroyed by itself: the block takes it along

    mutable std::atomic<std::uint32_t> count_; ///< handles onto the block
    void* block_;                              ///< what is governed

private:
    friend class Buffer; // counts its handles inline
};

// Implementation

// What handles do all the time, for callers to inline. The library has to export it all the same,
// so its source file adds to the macro that the functions are kept.
/// @cond implementation
#ifndef NURICCL_BUFFER_INLINE
#define NURICCL_BUFFER_INLINE inline
#endif
/// @endcond

NURICCL_BUFFER_INLINE unsigned int Buffer::ControlBlockBase::AddRef() noexcept {
    return count_.fetch_add(1);
}

NURICCL_BUFFER_INLINE unsigned int Buffer::ControlBlockBase::ref_count() const noexcept {
    return count_.fetch_add(0);
}

NURICCL_BUFFER_INLINE Buffer::Buffer() noexcept
    : control_(nullptr), data_(nullptr), data_length_(0), capacity_(0), update_depth_(0) {}

NURICCL_BUFFER_INLINE Buffer::Buffer(const Buffer& other)
    : control_(other.control_), data_(other.data_), data_length_(other.data_length_),
      capacity_(other.capacity_), update_depth_(0) {
    if (other.update_depth_ != 0) {
        control_ = nullptr; // nothing to let go of
        *this = other;      // copies the bytes
    } else if (control_ != nullptr) {
        control_->AddRef();
    }
}

NURICCL_BUFFER_INLINE Buffer::Buffer(Buffer&& other) noexcept
    : control_(other.control_), data_(other.data_), data_length_(other.data_length_),
      capacity_(other.capacity_), update_depth_(0) {
    other.control_ = nullptr;
    other.data_ = nullptr;
    other.data_length_ = 0;
    other.capacity_ = 0;
}

NURICCL_BUFFER_INLINE Buffer::~Buffer() {
    if (control_ == nullptr) {
        return;
    }
    // The virtual call is for the last handle only; one of several just counts itself out. When the
    // others go at that moment, nobody else is left to see the block, and the count is put back to
    // the 1 that Release() takes away.
    if (control_->count_.load() != 1) {
        if (control_->count_.fetch_sub(1) != 1) {
            return;
        }
        control_->AddRef();
    }
    control_->Release();
}

NURICCL_BUFFER_INLINE unsigned int Buffer::capacity() const noexcept { return capacity_; }

NURICCL_BUFFER_INLINE const unsigned char* Buffer::data() const noexcept { return data_; }

NURICCL_BUFFER_INLINE unsigned int Buffer::data_length() const noexcept { return data_length_; }

NURICCL_BUFFER_INLINE bool Buffer::empty() const noexcept { return data_length_ == 0; }

NURICCL_BUFFER_INLINE Buffer Buffer::segment(unsigned int offset, unsigned int length) const {
    if (offset > capacity_) {
        throw std::range_error("The requested segment lies past the end of the buffer.");
    }
    const unsigned int available = offset <= data_length_ ? data_length_ - offset : 0;
    Buffer part = *this;
    part.data_ += offset;
    part.data_length_ = std::min(available, length);
    part.capacity_ -= offset;
    return part;
}

#undef NURICCL_BUFFER_INLINE

} // namespace nuriccl
