#include "block_reader.hpp"

#include <algorithm>
#include <unistd.h>

namespace minibackup {

namespace {

using nuriccl::Buffer;

constexpr unsigned int BUFFER_SIZE = BLOCK_SIZE / 8;

// Closes an update of a Buffer on every way out.
struct Update {
    explicit Update(Buffer& updated) : buffer(updated), place(updated.begin_update()) {}
    Update(const Update&) = delete;
    Update& operator=(const Update&) = delete;
    ~Update() { buffer.end_update(length); }

    Buffer& buffer;
    unsigned char* const place;
    unsigned int length = 0;
};

// Memory compared with itself shifted by one byte: all bytes are equal to the first.
bool all_zero(const std::string& bytes) {
    return bytes[0] == 0 && bytes.compare(1, std::string::npos, bytes, 0, bytes.size() - 1) == 0;
}

} // namespace

BlockReader::BlockReader() {
    for (Buffer& buffer : buffers_) {
        buffer = Buffer(BUFFER_SIZE);
    }
}

void BlockReader::start(int file, const struct stat& status, const std::string& path) {
    constexpr off_t STATUS_UNIT = 512; // of st_blocks
    file_ = file;
    path_ = path;
    position_ = 0;
    may_have_holes_ =
        status.st_size > off_t{BLOCK_SIZE} && status.st_blocks < status.st_size / STATUS_UNIT;
    at_end_ = false;
}

bool BlockReader::next(Record& piece) {
    piece.kind = Record::Kind::ZEROS;
    piece.length = skip_hole();
    if (piece.length == 0 && !at_end_) {
        fill_stream();
        block_.resize(stream_.data_length());
        piece.length = stream_.coalesce(block_.data(), BLOCK_SIZE);
        position_ += piece.length;
        if (!block_.empty() && !all_zero(block_)) {
            piece.kind = Record::Kind::BLOCK;
        }
    }
    return piece.length != 0;
}

// Moves over a hole as far as whole blocks of it reach; returns its length.
std::uint64_t BlockReader::skip_hole() {
    if (!may_have_holes_ || at_end_) {
        return 0;
    }
    const auto position = static_cast<off_t>(position_);
    off_t end = lseek(file_, position, SEEK_DATA);
    if (end >= 0) {
        end -= end % off_t{BLOCK_SIZE};
    } else if (errno == ENXIO) { // a hole up to the end
        end = lseek(file_, 0, SEEK_END);
    } else {
        may_have_holes_ = false; // or the filesystem does not know
    }
    end = std::max(end, position);
    position_ = static_cast<std::uint64_t>(end);
    seek(file_, position_, path_);
    return static_cast<std::uint64_t>(end - position);
}

void BlockReader::fill_stream() {
    stream_.clear();
    for (Buffer& buffer : buffers_) {
        {
            Update update(buffer);
            update.length =
                static_cast<unsigned int>(read_whole(file_, update.place, BUFFER_SIZE, path_));
        }
        stream_.push_back(buffer);
        if (buffer.data_length() < BUFFER_SIZE) {
            at_end_ = true;
            return;
        }
    }
}

} // namespace minibackup
