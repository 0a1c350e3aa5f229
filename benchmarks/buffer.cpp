#include "benchmark.hpp"
#include "data.hpp"
#include "second_thread.hpp"

#include <nuriccl/buffer.hpp>

#include <atomic>
#include <boost/make_shared.hpp>
#include <boost/shared_array.hpp>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
#include <absl/strings/cord.h>
#include <glib.h>
#endif

namespace {

using namespace benchmarks;
using nuriccl::Buffer;

constexpr unsigned int SIZE = 4096;
constexpr unsigned int OFFSET = 1000;
constexpr unsigned int LENGTH = 2000;

// A part of shared bytes as one writes it without a class for it.
struct Slice {
    std::shared_ptr<const std::vector<char>> owner;
    const char* data;
    std::size_t size;
};

// What the first byte of a part is: enough to tell that it is the right one.
bool begins(const void* data, std::size_t size, const std::string& bytes) {
    return size == LENGTH && std::memcmp(data, bytes.data() + OFFSET, size) == 0;
}

// What two atomic additions cost, which every shared handle takes to come and go.
struct Locked {
    std::atomic<int>& count;
    explicit Locked(std::atomic<int>& counter) : count(counter) { ++count; }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;
    ~Locked() { --count; }
};

Buffer make_buffer(const std::string& bytes) {
    Buffer buffer(static_cast<unsigned int>(bytes.size()));
    std::memcpy(buffer.begin_update(), bytes.data(), bytes.size());
    buffer.end_update(static_cast<unsigned int>(bytes.size()));
    return buffer;
}

} // namespace

TEST_CASE("A new block", "[buffer]") {
    const SecondThread second;
    // Each gives room for SIZE bytes that may be written.
    Row row("buffer.new", [] { return Buffer(SIZE).capacity() >= SIZE; });
    row.peer("shared_ptr<vector<char>>",
             [] { return std::make_shared<std::vector<char>>(SIZE)->size() >= SIZE; });
    row.peer("shared_ptr<char[]>", [] {
        const std::shared_ptr<char[]> bytes(new char[SIZE]);
        return bytes != nullptr;
    });
    row.peer("Boost, not initialised",
             [] { return boost::make_shared_noinit<char[]>(SIZE) != nullptr; });
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    row.peer("GLib", [] {
        GByteArray* const bytes = g_byte_array_sized_new(SIZE);
        g_byte_array_unref(bytes);
        return bytes != nullptr;
    });
#endif
    row.limit("malloc and free", [] {
        void* const place = std::malloc(SIZE);
        std::free(place);
        return place != nullptr;
    });
}

TEST_CASE("A copy", "[buffer]") {
    const SecondThread second;
    const std::string bytes = random_bytes(SIZE);
    const Buffer buffer = make_buffer(bytes);
    Row row("buffer.copy", [&] { return Buffer(buffer).data_length(); });
    const auto vector = std::make_shared<const std::vector<char>>(bytes.begin(), bytes.end());
    const auto copy_of_vector = [&] {
        return std::shared_ptr<const std::vector<char>>(vector)->size();
    };
    row.peer("shared_ptr<vector<char>>", copy_of_vector);
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    const absl::Cord cord(bytes);
    row.peer("Abseil Cord", [&] { return absl::Cord(cord).size(); });
    GBytes* const glib = g_bytes_new(bytes.data(), bytes.size());
    row.peer("GLib", [&] {
        GBytes* const copy = g_bytes_ref(glib);
        const gsize size = g_bytes_get_size(copy);
        g_bytes_unref(copy);
        return size;
    });
    g_bytes_unref(glib);
#endif
    std::atomic<int> count{1};
    row.limit("two atomic additions", [&] { return Locked(count).count.load() != 0; });
}

TEST_CASE("A segment", "[buffer]") {
    const SecondThread second;
    const std::string bytes = random_bytes(SIZE);
    const Buffer buffer = make_buffer(bytes);
    const Buffer segment = buffer.segment(OFFSET, LENGTH);
    REQUIRE(begins(segment.data(), segment.data_length(), bytes));
    // What is timed is to make and drop the handle; its bytes are looked at only here.
    Row row("buffer.segment", [&] { return buffer.segment(OFFSET, LENGTH).data_length(); });

    const auto vector = std::make_shared<const std::vector<char>>(bytes.begin(), bytes.end());
    const auto slice = [&] { return Slice{vector, vector->data() + OFFSET, LENGTH}; };
    REQUIRE(begins(slice().data, slice().size, bytes));
    row.peer("shared_ptr<vector<char>>", [&] { return slice().size; });
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    const absl::Cord cord(bytes);
    REQUIRE(cord.Subcord(OFFSET, LENGTH) == absl::string_view(bytes).substr(OFFSET, LENGTH));
    row.peer("Abseil Cord", [&] { return cord.Subcord(OFFSET, LENGTH).size(); });
    GBytes* const whole = g_bytes_new(bytes.data(), bytes.size());
    const auto by_glib = [&] {
        return std::unique_ptr<GBytes, decltype(&g_bytes_unref)>(
            g_bytes_new_from_bytes(whole, OFFSET, LENGTH), g_bytes_unref);
    };
    REQUIRE(begins(g_bytes_get_data(by_glib().get(), nullptr), LENGTH, bytes));
    row.peer("GLib", [&] { return g_bytes_get_size(by_glib().get()); });
    g_bytes_unref(whole);
#endif
    std::atomic<int> count{1};
    row.limit("two atomic additions", [&] { return Locked(count).count.load() != 0; });
}
