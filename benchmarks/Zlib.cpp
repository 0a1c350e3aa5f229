#include "benchmark.hpp"
#include "data.hpp"

#include <nuriccl/Zlib.hpp>

#include <cstring>
#include <string_view>
#include <zlib.h>
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
#include <libdeflate.h>
#include <memory>
#endif

namespace {

using namespace benchmarks;

const Bytef* in(const std::string& bytes) { return reinterpret_cast<const Bytef*>(bytes.data()); }

Bytef* out(std::string& bytes) { return reinterpret_cast<Bytef*>(bytes.data()); }

} // namespace

TEST_CASE("Deflate", "[Zlib]") {
    const std::string text = source_text(MIB);
    const auto size = static_cast<uLong>(text.size());
    std::string packed;
    Row row("Zlib.deflate", [&]() -> const std::string& {
        nuriccl::Zlib::Deflate(packed, text);
        return packed;
    });
    std::string room(compressBound(size), '\0');
    row.peer("zlib", [&] {
        auto length = static_cast<uLongf>(room.size());
        compress2(out(room), &length, in(text), size, Z_DEFAULT_COMPRESSION);
        return std::string_view(room.data(), length);
    });
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    // Its streams are its own; it is checked that they hold the text.
    const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
        libdeflate_alloc_compressor(6), libdeflate_free_compressor);
    const auto by_libdeflate = [&] {
        return libdeflate_zlib_compress(compressor.get(), text.data(), text.size(), room.data(),
                                        room.size());
    };
    const std::string other(room.data(), by_libdeflate());
    std::string unpacked;
    REQUIRE(nuriccl::Zlib::Inflate(unpacked, MIB, other));
    const bool same = unpacked == text;
    REQUIRE(same);
    row.reference("libdeflate", by_libdeflate);
#endif
}

TEST_CASE("Inflate", "[Zlib]") {
    const std::string text = source_text(MIB);
    std::string packed;
    REQUIRE(nuriccl::Zlib::Deflate(packed, text));
    std::string unpacked;
    Row row("Zlib.inflate", [&]() -> const std::string& {
        nuriccl::Zlib::Inflate(unpacked, MIB, packed);
        return unpacked;
    });
    std::string room(MIB, '\0');
    row.peer("zlib", [&] {
        auto length = static_cast<uLongf>(room.size());
        uncompress(out(room), &length, in(packed), static_cast<uLong>(packed.size()));
        return std::string_view(room.data(), length);
    });
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    const std::unique_ptr<libdeflate_decompressor, decltype(&libdeflate_free_decompressor)>
        decompressor(libdeflate_alloc_decompressor(), libdeflate_free_decompressor);
    const auto by_libdeflate = [&] {
        std::size_t length = 0;
        libdeflate_zlib_decompress(decompressor.get(), packed.data(), packed.size(), room.data(),
                                   room.size(), &length);
        return std::string_view(room.data(), length);
    };
    const bool same = by_libdeflate() == text;
    REQUIRE(same);
    row.reference("libdeflate", by_libdeflate);
#endif
    row.limit("memcpy of the text", [&] {
        std::memcpy(room.data(), text.data(), text.size());
        return std::string_view(room);
    });
}
