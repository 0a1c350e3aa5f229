#pragma once

/// @file
/// Compression and decompression of whole blocks in the zlib format (RFC 1950), in one call each.
///
/// Use it for blocks that fit in memory. It has no streaming form, and decompression does not find
/// the size by itself: the caller keeps the size of the data beside the compressed block.
///
/// Thread safety: keeps no state; the vectors behind the pointers must not change during a call.
///
/// @code{.cpp}
/// const std::string text(1000, 'x');
/// std::string packed, unpacked;
/// assert(nuriccl::Zlib::Deflate(packed, text) && packed.size() < 100);
/// assert(nuriccl::Zlib::Inflate(unpacked, 1000, packed) && unpacked == text);
/// @endcode
///
/// In every operation the output comes first; it may be the input. Any content may be given; what
/// is no zlib stream gives false. After a failed compression or decompression the output has the
/// size it was prepared with and undefined contents.

#include <nuriccl/export.hpp>

#include <boost/shared_ptr.hpp>

#include <string>
#include <vector>

namespace nuriccl {

/// Compression of whole blocks. See the top of Zlib.hpp.
class NURICCL_API Zlib {
public:
    /// A block of bytes that caller and operation share.
    using Bytes = boost::shared_ptr<std::vector<unsigned char>>;

    /// Compresses `input` into `output`, which takes the compressed length. An empty input gives a
    /// valid stream of no data.
    ///
    /// @param output  receives the stream
    /// @param input   what is compressed
    /// @param level   0 (stored) to 9 (smallest); any other level is zlib's default
    /// @return false when a pointer is null (nothing is changed) or zlib fails
    /// @throws std::bad_alloc
    static bool Deflate(Bytes output, Bytes input, int level);

    /// The same at zlib's default level.
    static bool Deflate(Bytes output, Bytes input);

    /// Compresses `input` at the default level into `output`, which takes the compressed length.
    ///
    /// @return false when `input` is empty (`output` is untouched) or zlib fails
    /// @throws std::bad_alloc, std::length_error
    static bool Deflate(std::string& output, const std::string& input);

    /// Decompresses `input` into `output`, whose size is the room for the data. The size is not
    /// changed and the length of the data is not reported: give the vector the exact size of the
    /// data. When `output` is `input`, the room is the size of the compressed data.
    ///
    /// @return false when a pointer is null, `input` is empty or no zlib stream, or the data
    ///         exceeds the size
    /// @throws std::out_of_range when `output` is empty
    /// @throws std::bad_alloc only when `output` is `input`
    static bool Inflate(Bytes output, Bytes input);

    /// Decompresses `input` into `output`, which takes the length of the data.
    ///
    /// @param output  receives the data
    /// @param size    the length of the data in bytes, or more
    /// @param input   a zlib stream
    /// @return false when `input` is empty or `size` is 0 (`output` is untouched), when `input` is
    ///         no zlib stream, or when the data exceeds `size`
    /// @throws std::bad_alloc, or std::length_error when std::string cannot be that long
    static bool Inflate(std::string& output, unsigned int size, const std::string& input);
};

} // namespace nuriccl
