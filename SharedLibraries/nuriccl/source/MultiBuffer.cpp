#include <nuriccl/MultiBuffer.hpp>

#include <nuriagent/safe.hpp>

#include <algorithm>
#include <utility>

namespace nuriccl {

namespace {

constexpr unsigned int TO_THE_END = 0xFFFFFFFF; // as the length of a segment

} // namespace

MultiBuffer::MultiBuffer() noexcept = default;

MultiBuffer::MultiBuffer(const Buffer& buffer) { buffers_.push_back(buffer); }

MultiBuffer::MultiBuffer(Buffer&& buffer) { buffers_.push_back(std::move(buffer)); }

MultiBuffer::MultiBuffer(const MultiBuffer& other) = default;

MultiBuffer::MultiBuffer(MultiBuffer&& other) noexcept = default;

MultiBuffer& MultiBuffer::operator=(const MultiBuffer& other) = default;

MultiBuffer& MultiBuffer::operator=(MultiBuffer&& other) noexcept = default;

MultiBuffer::~MultiBuffer() = default;

void MultiBuffer::swap(MultiBuffer& other) noexcept { buffers_.swap(other.buffers_); }

void swap(MultiBuffer& a, MultiBuffer& b) noexcept { a.swap(b); }

void MultiBuffer::push_back(const Buffer& buffer) { buffers_.push_back(buffer); }

void MultiBuffer::push_back(Buffer&& buffer) { buffers_.push_back(std::move(buffer)); }

void MultiBuffer::push_front(const Buffer& buffer) { buffers_.push_front(buffer); }

void MultiBuffer::push_front(Buffer&& buffer) { buffers_.push_front(std::move(buffer)); }

void MultiBuffer::pop_front() noexcept { buffers_.pop_front(); }

void MultiBuffer::pop_back() noexcept { buffers_.pop_back(); }

Buffer& MultiBuffer::front() noexcept { return buffers_.front(); }

const Buffer& MultiBuffer::front() const noexcept { return buffers_.front(); }

Buffer& MultiBuffer::back() noexcept { return buffers_.back(); }

const Buffer& MultiBuffer::back() const noexcept { return buffers_.back(); }

MultiBuffer::iterator MultiBuffer::begin() noexcept { return buffers_.begin(); }

MultiBuffer::iterator MultiBuffer::end() noexcept { return buffers_.end(); }

MultiBuffer::const_iterator MultiBuffer::begin() const noexcept { return buffers_.begin(); }

MultiBuffer::const_iterator MultiBuffer::end() const noexcept { return buffers_.end(); }

MultiBuffer::const_iterator MultiBuffer::cbegin() const noexcept { return buffers_.cbegin(); }

MultiBuffer::const_iterator MultiBuffer::cend() const noexcept { return buffers_.cend(); }

unsigned int MultiBuffer::buffer_count() const noexcept { return buffers_.size(); }

unsigned int MultiBuffer::data_length() const noexcept {
    unsigned int length = 0;
    for (const Buffer& buffer : buffers_) {
        length += buffer.data_length();
    }
    return length;
}

bool MultiBuffer::empty() const noexcept { return buffers_.empty(); }

void MultiBuffer::clear() noexcept { buffers_.clear(); }

unsigned int MultiBuffer::copy(void* destination, unsigned int size) const {
    auto* to = static_cast<unsigned char*>(destination);
    unsigned int wanted = size;
    for (const Buffer& buffer : buffers_) {
        if (wanted == 0) {
            break;
        }
        const unsigned int count = std::min(buffer.data_length(), wanted);
        safe::MemoryCopy(to, buffer.data_length(), buffer.data(), count);
        to += count;
        wanted -= count;
    }
    return size - wanted;
}

unsigned int MultiBuffer::coalesce(void* destination, unsigned int size) {
    auto* to = static_cast<unsigned char*>(destination);
    unsigned int wanted = size;
    while (wanted != 0 && !buffers_.empty()) {
        Buffer& buffer = buffers_.front();
        const unsigned int count = std::min(buffer.data_length(), wanted);
        safe::MemoryCopy(to, buffer.data_length(), buffer.data(), count);
        to += count;
        wanted -= count;
        if (count == buffer.data_length()) {
            buffers_.pop_front();
        } else {
            buffer = buffer.segment(count, TO_THE_END);
        }
    }
    return size - wanted;
}

MultiBuffer MultiBuffer::split(unsigned int size) {
    MultiBuffer first;
    while (size != 0 && !buffers_.empty()) {
        Buffer& buffer = buffers_.front();
        const unsigned int length = buffer.data_length();
        if (size < length) {
            first.push_back(buffer.segment(0, size));
            buffer = buffer.segment(size, TO_THE_END);
            size = 0;
        } else {
            first.push_back(std::move(buffer));
            buffers_.pop_front();
            size -= length;
        }
    }
    return first;
}

} // namespace nuriccl
