#pragma once

/// @file
/// Cuts the content of a file into blocks, without reading its holes.

#include "manifest.hpp"

#include <array>
#include <cstdint>
#include <nuriccl/buffer.hpp>
#include <nuriccl/MultiBuffer.hpp>
#include <string>

namespace minibackup {

/// Made once and used for one file after the other, so that its memory is, too.
///
/// The bytes come into a row of `Buffer`s, which a `MultiBuffer` gathers to a stream:
///
///     read() --> [buffer][buffer] ... [buffer]   --coalesce-->   block, 1 MiB
///                  the stream holds further handles onto the same bytes
///
/// Once the block is cut, the stream has dropped its handles and the Buffers have their blocks for
/// themselves again, so that `begin_update` gives the same memory without copying.
class BlockReader {
public:
    BlockReader();

    /// Starts on a file that is open at its beginning and stays open.
    void start(int file, const struct stat& status, const std::string& path);

    /// Goes on to the next piece, of the kind `BLOCK` (without its signature) or `ZEROS`.
    /// @return false at the end of the file
    /// @throws Error when the file cannot be read
    bool next(Record& piece);

    /// The bytes of a `BLOCK`.
    const std::string& block() const noexcept { return block_; }

private:
    std::uint64_t skip_hole();
    void fill_stream();

    std::array<nuriccl::Buffer, 8> buffers_;
    nuriccl::MultiBuffer stream_;
    std::string block_;

    int file_ = -1;
    std::string path_;
    std::uint64_t position_ = 0;
    bool may_have_holes_ = false;
    bool at_end_ = false;
};

} // namespace minibackup
