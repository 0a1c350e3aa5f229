// A MultiBuffer under a sequence of operations, held against a list of strings that does the same.

#include "fuzz.hpp"

#include <nuriccl/MultiBuffer.hpp>

#include <algorithm>
#include <cstring>
#include <list>
#include <utility>

namespace {

using nuriccl::Buffer;
using nuriccl::MultiBuffer;

// The stream as its pieces; the naive counterpart of MultiBuffer.
using Model = std::list<std::string>;

std::string joined(const Model& model) {
    std::string text;
    for (const std::string& piece : model) {
        text += piece;
    }
    return text;
}

// Removes `size` bytes from the front of the model. Pieces go whole, empty ones as long as bytes
// are wanted, and at most one is cut.
Model split_model(Model& model, std::size_t size) {
    Model first;
    while (size != 0 && !model.empty()) {
        std::string& piece = model.front();
        const std::size_t count = std::min(size, piece.size());
        first.push_back(piece.substr(0, count));
        size -= count;
        if (count == piece.size()) {
            model.pop_front();
        } else {
            piece.erase(0, count);
        }
    }
    return first;
}

std::string bytes_of(const Buffer& buffer) {
    return buffer.empty() ? std::string() : text_of(buffer.data(), buffer.data_length());
}

Buffer buffer_of(const std::string& text) {
    Buffer buffer(static_cast<unsigned int>(text.size()));
    std::memcpy(buffer.begin_update(), text.data(), text.size());
    buffer.end_update(static_cast<unsigned int>(text.size()));
    return buffer;
}

void check(const MultiBuffer& buffers, const Model& model) {
    const std::string text = joined(model);
    FUZZ_REQUIRE(buffers.empty() == model.empty());
    FUZZ_REQUIRE(buffers.buffer_count() == model.size());
    FUZZ_REQUIRE(buffers.data_length() == text.size());
    FUZZ_REQUIRE(
        std::equal(buffers.begin(), buffers.end(), model.begin(), model.end(),
                   [](const Buffer& a, const std::string& b) { return bytes_of(a) == b; }));
    std::string flat(text.size() + 1, '#');
    FUZZ_REQUIRE(buffers.copy(flat.data(), static_cast<unsigned int>(flat.size())) == text.size());
    FUZZ_REQUIRE(flat == text + '#');
    if (!model.empty()) {
        FUZZ_REQUIRE(bytes_of(buffers.front()) == model.front());
        FUZZ_REQUIRE(bytes_of(buffers.back()) == model.back());
    }
}

class Machine {
public:
    explicit Machine(FuzzInput input) : input_(input) {}

    void run() {
        while (!input_.empty()) {
            step();
            check(buffers_, model_);
            check(other_, other_model_);
        }
    }

private:
    void step() {
        switch (input_.byte() % 14) {
        case 0:
        case 1: {
            const std::string piece = next_piece();
            buffers_.push_back(buffer_of(piece));
            model_.push_back(piece);
            break;
        }
        case 2: {
            const std::string piece = next_piece();
            buffers_.push_front(buffer_of(piece));
            model_.push_front(piece);
            break;
        }
        case 3:
            if (!model_.empty()) {
                buffers_.pop_back();
                model_.pop_back();
            }
            break;
        case 4:
            if (!model_.empty()) {
                buffers_.pop_front();
                model_.pop_front();
            }
            break;
        case 5: // a piece of its own, which shares the block
            if (!model_.empty() && model_.size() < MANY) {
                buffers_.push_back(buffers_.front());
                model_.push_back(model_.front());
            }
            break;
        case 6:
            coalesce(next_size());
            break;
        case 7: {
            const std::size_t size = next_size();
            other_ = buffers_.split(static_cast<unsigned int>(size));
            other_model_ = split_model(model_, size);
            break;
        }
        case 8:
            swap(buffers_, other_);
            model_.swap(other_model_);
            break;
        case 9:
            other_ = buffers_;
            other_model_ = model_;
            break;
        case 10:
            buffers_ = std::move(other_);
            model_ = std::move(other_model_);
            other_model_.clear();
            break;
        case 11:
            buffers_.clear();
            model_.clear();
            break;
        case 12:
            write_to_front();
            break;
        default: // what is left of a buffer that was moved away
            if (!model_.empty()) {
                buffers_.push_front(std::move(buffers_.back()));
                model_.push_front(std::exchange(model_.back(), std::string()));
            }
            break;
        }
    }

    void coalesce(std::size_t size) {
        const std::string expected = joined(split_model(model_, size));
        std::string flat(size, '#');
        const unsigned int count = buffers_.coalesce(flat.data(), static_cast<unsigned int>(size));
        FUZZ_REQUIRE(count == expected.size());
        FUZZ_REQUIRE(flat == expected + std::string(size - count, '#'));
    }

    // Changes bytes of one handle, which every other handle onto the block must not notice.
    void write_to_front() {
        if (model_.empty()) {
            return;
        }
        Buffer& buffer = buffers_.front();
        std::string& text = model_.front();
        const unsigned int length = buffer.data_length();
        unsigned char* const bytes = buffer.begin_update();
        if (length != 0) {
            const unsigned char value = input_.byte();
            bytes[length - 1] = value;
            text.back() = static_cast<char>(value);
        }
        buffer.end_update(length);
    }

    std::string next_piece() {
        std::string piece(input_.byte() % 40, '\0');
        for (char& c : piece) {
            c = static_cast<char>(input_.byte());
        }
        return piece;
    }

    std::size_t next_size() { return input_.byte() % 100U; }

    static constexpr std::size_t MANY = 200; // pieces, which keeps a run short

    FuzzInput input_;
    MultiBuffer buffers_;
    MultiBuffer other_;
    Model model_;
    Model other_model_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Machine(FuzzInput(data, size)).run();
    return 0;
}
