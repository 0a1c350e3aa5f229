#pragma once

/// @file
/// An ordered sequence of Buffers that together form one stream of bytes.
///
/// Use it for data that arrives or leaves in pieces: add pieces at either end, read the stream into
/// flat memory (`copy`), consume it from the front (`coalesce`), or cut it in two (`split`). No
/// byte is copied inside the sequence: pieces move as handles, and a cut piece becomes two segments
/// of one block.
///
///     [ a a a ][ b b b b ][ c c ]           three Buffers, a stream of 9 bytes
///
///     split(5):  returns [ a a a ][ b b ]   and keeps [ b b ][ c c ]; both [ b b ] share b's block
///
/// Updates do not travel. What is added of a Buffer in an update is not in one: a copy has bytes of
/// its own, and a move takes the block. The update of a Buffer in the sequence ends when that is
/// moved inside (by growth, or whole by `split`). A piece that is cut keeps its update, and its
/// rest is a copy.
///
/// Thread safety: thread-compatible; one MultiBuffer is used by one thread at a time. The Buffers
/// in it may share their blocks with handles on other threads.
///
/// @code{.cpp}
/// nuriccl::Buffer piece(3);
/// std::memcpy(piece.begin_update(), "abc", 3);
/// piece.end_update(3);
/// nuriccl::MultiBuffer stream(piece);
/// stream.push_back(piece);
/// char flat[6];
/// assert(stream.coalesce(flat, 4) == 4 && std::memcmp(flat, "abca", 4) == 0);
/// assert(stream.data_length() == 2);
/// @endcode

#include <nuriccl/buffer.hpp>
#include <nuriccl/deque.hpp>
#include <nuriccl/export.hpp>

namespace nuriccl {

/// A stream of bytes in pieces. See the top of MultiBuffer.hpp.
class NURICCL_API MultiBuffer {
public:
    /// Walks over the Buffers, not over the bytes.
    using iterator = deque<Buffer>::iterator;
    /// The same where the Buffers stay as they are.
    using const_iterator = deque<Buffer>::const_iterator;

    /// An empty sequence; nothing is allocated before the first push.
    MultiBuffer() noexcept;

    /// A sequence of one Buffer.
    /// @throws std::bad_alloc with `buffer` as it was, also when it is passed for moving
    MultiBuffer(const Buffer& buffer);
    /// The same with the handle taken over.
    MultiBuffer(Buffer&& buffer);

    /// Shares the blocks of the other's Buffers (a Buffer in an update is copied).
    /// @throws std::bad_alloc
    MultiBuffer(const MultiBuffer& other);

    /// Takes over the Buffers and leaves `other` as a new MultiBuffer.
    MultiBuffer(MultiBuffer&& other) noexcept;

    /// Strong exception guarantee.
    /// @throws std::bad_alloc
    MultiBuffer& operator=(const MultiBuffer& other);

    /// Drops the Buffers, takes over the other's and leaves `other` as a new MultiBuffer. Moving a
    /// MultiBuffer into itself empties it.
    MultiBuffer& operator=(MultiBuffer&& other) noexcept;

    ~MultiBuffer();

    /// Exchanges the Buffers in constant time. Iterators stay with their queue, not with its
    /// Buffers.
    void swap(MultiBuffer& other) noexcept;

    /// @name Adding a Buffer at an end
    ///
    /// Constant time, but for the growth of the ring (see `deque`). `buffer` may be one of this
    /// sequence. Strong exception guarantee: the sequence and `buffer`
    /// are as they were.
    /// @throws std::bad_alloc
    /// @{

    /// Adds a handle onto the same bytes behind the last Buffer.
    void push_back(const Buffer& buffer);
    /// Moves the handle behind the last Buffer.
    void push_back(Buffer&& buffer);
    /// Adds a handle onto the same bytes in front of the first Buffer.
    void push_front(const Buffer& buffer);
    /// Moves the handle in front of the first Buffer.
    void push_front(Buffer&& buffer);
    /// @}

    /// @name The Buffers at the ends
    /// Each requires a sequence that is not empty.
    /// @{

    /// Drops the first Buffer with all of its bytes.
    void pop_front() noexcept;
    /// Drops the last Buffer with all of its bytes.
    void pop_back() noexcept;
    /// The first Buffer.
    Buffer& front() noexcept;
    /// The first Buffer, to look at.
    const Buffer& front() const noexcept;
    /// The last Buffer.
    Buffer& back() noexcept;
    /// The last Buffer, to look at.
    const Buffer& back() const noexcept;
    /// @}

    /// @name The Buffers in order
    /// Bidirectional iterators; a push that grows the ring invalidates them.
    /// @{

    /// The place of the first Buffer; `end()` when there is none.
    iterator begin() noexcept;
    /// The place behind the last Buffer.
    iterator end() noexcept;
    /// The place of the first Buffer, to look at.
    const_iterator begin() const noexcept;
    /// The place behind the last Buffer, to look at.
    const_iterator end() const noexcept;
    /// `begin()` of a sequence that is not const, to look at.
    const_iterator cbegin() const noexcept;
    /// `end()` of a sequence that is not const, to look at.
    const_iterator cend() const noexcept;
    /// @}

    /// Number of Buffers, empty ones included.
    unsigned int buffer_count() const noexcept;

    /// Length of the stream in bytes, modulo 2^32. Linear in the number of Buffers.
    unsigned int data_length() const noexcept;

    /// Whether there are no Buffers; a MultiBuffer with one empty Buffer is not empty.
    bool empty() const noexcept;

    /// Drops all Buffers and keeps the ring for new ones.
    void clear() noexcept;

    /// Copies the first bytes of the stream, `size` of them at most, to `destination`.
    /// @return the number of bytes copied
    unsigned int copy(void* destination, unsigned int size) const;

    /// Moves the first bytes of the stream, `size` of them at most, to `destination` and removes
    /// them from the sequence. A Buffer that is used up is removed, and so is an empty one that is
    /// met while bytes are still wanted; one used in part is replaced by a segment of its rest.
    ///
    /// @return the number of bytes moved
    /// @throws std::bad_alloc only when a Buffer cut in two is in an update; that Buffer is whole
    ///         then
    unsigned int coalesce(void* destination, unsigned int size);

    /// Removes the first `size` bytes from the stream, all of it when it is shorter, and returns
    /// them. Whole Buffers move over, at most one is cut. Empty Buffers move along as long as bytes
    /// are still wanted.
    ///
    /// @throws std::bad_alloc; the Buffers that had moved over already are lost then
    MultiBuffer split(unsigned int size);

private:
    deque<Buffer> buffers_;
};

/// Calls the member; found by argument-dependent lookup.
NURICCL_API void swap(MultiBuffer& a, MultiBuffer& b) noexcept;

} // namespace nuriccl
