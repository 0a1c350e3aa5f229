// The inline functions of the header are kept, for the library to export them.
#define NURICCL_BUFFER_INLINE [[gnu::used]] inline
#include <nuriccl/buffer.hpp>

#include <nuriagent/safe.hpp>
#include <nuriagent/trace.hpp>
#include <nuriccl/util.hpp>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <stdexcept>
#include <utility>

namespace nuriccl {

// Control block

Buffer::ControlBlockBase::ControlBlockBase(void* block) noexcept : count_(1), block_(block) {}

// `Embedded`: the control block lies inside the block it governs and goes with it.
template <class Deleter, bool Embedded>
class Buffer::ControlBlock : private Deleter, public Buffer::ControlBlockBase {
    static_assert(Embedded, "a control block of its own would have to be destroyed, too");

public:
    using ControlBlockBase::ControlBlockBase;

    unsigned int Release() override {
        const unsigned int left = count_.fetch_sub(1) - 1;
        if (left == 0) {
            Deleter::operator()(block_);
        }
        return left;
    }
};

namespace {

struct FreeStoreDeleter {
    void operator()(void* block) const noexcept { ::operator delete(block); }
};

using EmbeddedControlBlock = Buffer::ControlBlock<FreeStoreDeleter, true>;

constexpr std::uint32_t UNIT = sizeof(EmbeddedControlBlock);
static_assert(UNIT == sizeof(Buffer::ControlBlockBase), "the deleter takes no space");

// The data rounded up to whole units, and one unit for the control block; modulo 2^32.
constexpr std::uint32_t block_size(std::uint32_t size) {
    const std::uint32_t sum = size + UNIT;
    const std::uint32_t remainder = sum % UNIT;
    return remainder == 0 ? sum : sum + (UNIT - remainder);
}

} // namespace

// Making and replacing handles

Buffer::Buffer(unsigned int size) : Buffer() {
    std::size_t space = block_size(size);
    void* const block = ::operator new(space);
    void* start = block;
    if (std::align(alignof(EmbeddedControlBlock), UNIT, start, space) == nullptr) {
        throw std::logic_error("Unable to set aside storage for the buffer's control block; the "
                               "memory block is too small.");
    }
    // The last whole unit behind the data.
    auto* const place = static_cast<unsigned char*>(start) + (space / UNIT - 1) * UNIT;
    control_ = new (place) EmbeddedControlBlock(block);
    data_ = static_cast<unsigned char*>(block);
    capacity_ = static_cast<unsigned int>(place - data_);
}

Buffer& Buffer::operator=(const Buffer& other) {
    if (other.update_depth_ == 0) {
        return *this = Buffer(other);
    }
    // Bytes that are being written are never shared.
    Buffer copy(other.capacity_);
    safe::MemoryCopy(copy.data_, copy.capacity_, other.data_, other.data_length_);
    copy.data_length_ = other.data_length_;
    return *this = std::move(copy);
}

Buffer& Buffer::operator=(Buffer&& other) {
    if (update_depth_ != 0 && nuritrace::tMEMORY) {
        // The place is part of the record's text, which tools look for.
        csl::NuriTrace trace(1);
        trace.Message("SharedLibraries/nuriccl/source/buffer", "operator=", 217).text +=
            to_str("buffer contents were replaced during update");
    }
    if (this != &other) {
        const Buffer old(std::move(*this)); // whose end lets go of the block
        control_ = std::exchange(other.control_, nullptr);
        data_ = std::exchange(other.data_, nullptr);
        data_length_ = std::exchange(other.data_length_, 0);
        capacity_ = std::exchange(other.capacity_, 0);
    }
    return *this;
}

// Updating

void Buffer::data_length(unsigned int length) {
    if (update_depth_ == 0) {
        throw std::logic_error(
            "No update operation is in progres on the buffer."); // spelling is fixed
    }
    if (length > capacity_) {
        throw std::range_error("The buffer cannot contain more data than its capacity.");
    }
    data_length_ = length;
}

unsigned char* Buffer::begin_update() {
    ++update_depth_;
    if (control_ == nullptr || control_->ref_count() <= 1) {
        return data_;
    }
    try {
        Buffer own(capacity_);
        safe::MemoryCopy(own.data_, own.capacity_, data_, data_length_);
        *this = std::move(own);
    } catch (...) {
        --update_depth_;
        throw;
    }
    return data_;
}

void Buffer::end_update(unsigned int length) {
    if (update_depth_ == 0) {
        throw std::logic_error("No update operation is in progress on the buffer.");
    }
    data_length(length);
    --update_depth_;
}

} // namespace nuriccl
