// Buffer handles under a sequence of operations: each is held against a model of what it shows, and
// of which handles share a block.

#include "fuzz.hpp"

#include <nuriccl/buffer.hpp>

#include <algorithm>
#include <array>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

using nuriccl::Buffer;

constexpr unsigned int UNIT = sizeof(Buffer::ControlBlockBase);

unsigned int rounded_up(unsigned int size) { return (size + UNIT - 1) / UNIT * UNIT; }

constexpr int ANYTHING = -1; // a byte that nobody has written yet

// What a handle is to show. Models of handles share their bytes as the handles do.
struct Model {
    std::shared_ptr<std::vector<int>> block; // null without storage
    unsigned int offset = 0;
    unsigned int length = 0;
    unsigned int capacity = 0;
    unsigned int depth = 0; // of the update

    explicit Model(unsigned int size = 0, bool storage = false) {
        if (storage) {
            capacity = rounded_up(size);
            block = std::make_shared<std::vector<int>>(capacity, ANYTHING);
        }
    }

    int& byte(unsigned int i) const { return (*block)[offset + i]; }

    // The bytes in a block of their own.
    Model deep_copy() const {
        Model copy(capacity, true);
        for (unsigned int i = 0; i < length; ++i) {
            copy.byte(i) = byte(i);
        }
        copy.length = length;
        return copy;
    }

    // As another handle sees them that is made from this one.
    Model copy() const {
        Model copy = depth != 0 ? deep_copy() : *this;
        copy.depth = 0;
        return copy;
    }

    // Takes the contents of another; the update stays as it is.
    void take(Model other) {
        const unsigned int own_depth = depth;
        *this = std::move(other);
        depth = own_depth;
    }

    void begin_update() {
        ++depth;
        if (block.use_count() > 1) {
            take(deep_copy());
            length = 0;
        }
    }

    Model segment(unsigned int from, unsigned int count) const {
        Model part = copy();
        part.offset += from;
        part.length = from <= length ? std::min(length - from, count) : 0;
        part.capacity -= from;
        return part;
    }
};

// Whether a call throws this, of all exceptions.
template <class Exception, class Call>
bool throws(Call call) {
    try {
        call();
    } catch (const Exception&) {
        return true;
    }
    return false;
}

class Machine {
public:
    explicit Machine(FuzzInput input) : input_(input) {}

    void run() {
        while (!input_.empty()) {
            step();
            check();
        }
    }

private:
    static constexpr std::size_t COUNT = 5; // handles

    void step() {
        const unsigned int operation = input_.byte() % 12U;
        const std::size_t a = input_.byte() % COUNT;
        const std::size_t b = input_.byte() % COUNT;
        Buffer& buffer = buffers_[a];
        Model& model = models_[a];
        switch (operation) {
        case 0: {
            const unsigned int size = input_.byte();
            buffer = Buffer(size);
            model.take(Model(size, true));
            break;
        }
        case 1:
            if (a != b) {
                buffer = buffers_[b];
                model.take(models_[b].copy());
            }
            break;
        case 2:
            if (a != b) {
                buffer = std::move(buffers_[b]);
                model.take(models_[b]);
                models_[b].take(Model());
            }
            break;
        case 3: { // there and back, by way of new handles
            Buffer moved(std::move(buffer));
            // What is left behind is promised.
            FUZZ_REQUIRE(buffer.data() == nullptr); // NOLINT(bugprone-use-after-move)
            FUZZ_REQUIRE(Buffer(moved).data() == moved.data());
            buffer = std::move(moved);
            break;
        }
        case 4:
        case 5:
            begin(a);
            break;
        case 6:
        case 7:
            write(a);
            break;
        case 8:
        case 9:
            end(a);
            break;
        case 10:
            set_length(a);
            break;
        default:
            cut(a, b);
            break;
        }
    }

    void begin(std::size_t a) {
        models_[a].begin_update();
        FUZZ_REQUIRE(buffers_[a].begin_update() == buffers_[a].data());
    }

    // Writes within the update, at its two ends, too.
    void write(std::size_t a) {
        Model& model = models_[a];
        if (model.depth == 0 || model.capacity == 0 || model.block.use_count() > 1) {
            return;
        }
        auto* const bytes = const_cast<unsigned char*>(buffers_[a].data());
        const unsigned int place = input_.byte() % model.capacity;
        const unsigned char value = input_.byte();
        for (const unsigned int i : {0U, place, model.capacity - 1}) {
            bytes[i] = value;
            model.byte(i) = value;
        }
    }

    void end(std::size_t a) {
        Model& model = models_[a];
        const unsigned int length = input_.byte();
        if (model.depth == 0) {
            FUZZ_REQUIRE(throws<std::logic_error>([&] { buffers_[a].end_update(length); }));
        } else if (length > model.capacity) {
            FUZZ_REQUIRE(throws<std::range_error>([&] { buffers_[a].end_update(length); }));
        } else {
            buffers_[a].end_update(length);
            model.length = length;
            --model.depth;
        }
    }

    void set_length(std::size_t a) {
        Model& model = models_[a];
        const unsigned int length = input_.byte();
        if (model.depth == 0) {
            FUZZ_REQUIRE(throws<std::logic_error>([&] { buffers_[a].data_length(length); }));
        } else if (length > model.capacity) {
            FUZZ_REQUIRE(throws<std::range_error>([&] { buffers_[a].data_length(length); }));
        } else {
            buffers_[a].data_length(length);
            model.length = length;
        }
    }

    void cut(std::size_t a, std::size_t b) {
        const unsigned int from = input_.byte();
        const unsigned int count = input_.byte() % 2 == 0 ? input_.byte() : ~0U;
        if (from > models_[b].capacity) {
            FUZZ_REQUIRE(throws<std::range_error>([&] { buffers_[b].segment(from, count); }));
            return;
        }
        buffers_[a] = buffers_[b].segment(from, count);
        models_[a].take(models_[b].segment(from, count));
    }

    void check() const {
        for (std::size_t a = 0; a < COUNT; ++a) {
            const Buffer& buffer = buffers_[a];
            const Model& model = models_[a];
            FUZZ_REQUIRE(buffer.data_length() == model.length);
            FUZZ_REQUIRE(buffer.capacity() == model.capacity);
            FUZZ_REQUIRE(buffer.empty() == (model.length == 0));
            FUZZ_REQUIRE((buffer.data() == nullptr) == (model.block == nullptr));
            for (unsigned int i = 0; i < model.length; ++i) {
                FUZZ_REQUIRE(model.byte(i) == ANYTHING || model.byte(i) == buffer.data()[i]);
            }
            for (std::size_t b = 0; b < a; ++b) {
                check_sharing(a, b);
            }
        }
    }

    void check_sharing(std::size_t a, std::size_t b) const {
        if (models_[a].block == nullptr || models_[b].block == nullptr) {
            return;
        }
        const unsigned char* const start = buffers_[a].data() - models_[a].offset;
        const unsigned char* const other = buffers_[b].data() - models_[b].offset;
        FUZZ_REQUIRE((start == other) == (models_[a].block == models_[b].block));
    }

    FuzzInput input_;
    std::array<Buffer, COUNT> buffers_;
    std::array<Model, COUNT> models_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Machine(FuzzInput(data, size)).run();
    return 0;
}
