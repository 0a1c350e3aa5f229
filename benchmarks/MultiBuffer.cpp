#include "benchmark.hpp"
#include "data.hpp"
#include "second_thread.hpp"

#include <nuriccl/MultiBuffer.hpp>

#include <boost/container/deque.hpp>
#include <cstring>
#include <deque>
#include <memory>
#include <string_view>
#include <vector>
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
#include <absl/strings/cord.h>
#endif

namespace {

using namespace benchmarks;
using nuriccl::Buffer;
using nuriccl::MultiBuffer;

constexpr std::size_t COUNT = 1000;
constexpr std::size_t SIZE = 4096;

using Block = std::shared_ptr<const std::vector<char>>;

// The same blocks in the form of each contestant.
struct Blocks {
    Blocks() : bytes(random_bytes(COUNT * SIZE)) {
        for (std::size_t i = 0; i < COUNT; ++i) {
            const char* const block = bytes.data() + i * SIZE;
            Buffer buffer(SIZE);
            std::memcpy(buffer.begin_update(), block, SIZE);
            buffer.end_update(SIZE);
            buffers.push_back(buffer);
            vectors.push_back(std::make_shared<const std::vector<char>>(block, block + SIZE));
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
            cords.emplace_back(absl::string_view(block, SIZE));
#endif
        }
    }

    std::string bytes;
    std::vector<Buffer> buffers;
    std::vector<Block> vectors;
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    std::vector<absl::Cord> cords;
#endif
};

// Shares each block and lets go of it again.
template <class Sequence, class Element>
std::size_t gather(const std::vector<Element>& elements) {
    Sequence sequence;
    for (const Element& element : elements) {
        sequence.push_back(element);
    }
    return sequence.size();
}

std::size_t gather_buffers(const std::vector<Buffer>& buffers) {
    MultiBuffer sequence;
    for (const Buffer& buffer : buffers) {
        sequence.push_back(buffer);
    }
    return sequence.buffer_count();
}

} // namespace

TEST_CASE("Appending", "[MultiBuffer]") {
    const SecondThread second;
    const Blocks blocks;
    Row row("MultiBuffer.append", [&] { return gather_buffers(blocks.buffers); });
    row.peer("deque of shared_ptr", [&] { return gather<std::deque<Block>>(blocks.vectors); });
    row.peer("Boost deque of shared_ptr",
             [&] { return gather<boost::container::deque<Block>>(blocks.vectors); });
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    row.peer("Abseil Cord", [&] {
        absl::Cord cord;
        for (const absl::Cord& block : blocks.cords) {
            cord.Append(block);
        }
        return cord.size() / SIZE;
    });
#endif
}

TEST_CASE("Copying out", "[MultiBuffer]") {
    const SecondThread second;
    const Blocks blocks;
    MultiBuffer sequence;
    for (const Buffer& buffer : blocks.buffers) {
        sequence.push_back(buffer);
    }
    // The room is shared by all, so that none of them meets other memory.
    std::string room(COUNT * SIZE, '\0');
    const std::string_view written(room.data(), room.size());
    const auto copy_out = [&] {
        const unsigned int count =
            sequence.copy(room.data(), static_cast<unsigned int>(room.size()));
        return written.substr(0, count) == blocks.bytes;
    };
    REQUIRE(copy_out());
    Row row("MultiBuffer.copy", [&] {
        return std::size_t{sequence.copy(room.data(), static_cast<unsigned int>(room.size()))};
    });
    const std::deque<Block> deque(blocks.vectors.begin(), blocks.vectors.end());
    const auto by_memcpy = [&] {
        char* to = room.data();
        for (const Block& block : deque) {
            std::memcpy(to, block->data(), block->size());
            to += block->size();
        }
        return static_cast<std::size_t>(to - room.data());
    };
    room.assign(room.size(), '\0');
    by_memcpy();
    REQUIRE(room == blocks.bytes);
    row.peer("memcpy loop", by_memcpy);
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    absl::Cord cord;
    for (const absl::Cord& block : blocks.cords) {
        cord.Append(block);
    }
    const auto by_cord = [&] {
        char* to = room.data();
        for (const absl::string_view chunk : cord.Chunks()) {
            std::memcpy(to, chunk.data(), chunk.size());
            to += chunk.size();
        }
        return static_cast<std::size_t>(to - room.data());
    };
    room.assign(room.size(), '\0');
    by_cord();
    REQUIRE(room == blocks.bytes);
    row.peer("Abseil Cord", by_cord);
#endif
    row.limit("memcpy in one piece", [&] {
        std::memcpy(room.data(), blocks.bytes.data(), room.size());
        return room.size();
    });
}
