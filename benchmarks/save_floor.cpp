/// @file
/// Does what `minibackup save` cannot go without, and nothing else: finds and reads the files below
/// a folder, in blocks of the same size, takes the signature of each block and compresses those
/// that it has not met yet. With STORE it also writes each of these to a file of its own there.
///
/// usage: save_floor FOLDER [STORE]

#include <nuriagent/sha1.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fts.h>
#include <malloc.h>
#include <string>
#include <unistd.h>
#include <unordered_set>
#include <vector>
#include <zlib.h>

namespace {

constexpr int BLOCK_SIZE = 0x100000; // as minibackup's

[[noreturn]] void fail(const std::string& what) {
    std::perror(what.c_str());
    std::exit(1);
}

std::string signature_of(const unsigned char* block, std::size_t size) {
    unsigned char digest[20];
    sha1_context context;
    sha1_begin(&context);
    sha1_hash(block, static_cast<unsigned int>(size), &context);
    sha1_end(digest, &context);
    return {std::begin(digest), std::end(digest)};
}

class Saver {
public:
    explicit Saver(std::string store) : store_(std::move(store)) {}

    void save(const char* path) {
        const int file = open(path, O_RDONLY | O_NOFOLLOW);
        if (file < 0) {
            fail(path);
        }
        std::size_t size = 0;
        while ((size = read_block(file, path)) != 0) {
            save_block(size);
        }
        close(file);
    }

private:
    std::size_t read_block(int file, const char* path) {
        std::size_t size = 0;
        while (size < block_.size()) {
            const ssize_t count = read(file, block_.data() + size, block_.size() - size);
            if (count < 0) {
                fail(path);
            }
            if (count == 0) {
                break;
            }
            size += static_cast<std::size_t>(count);
        }
        return size;
    }

    void save_block(std::size_t size) {
        std::string signature = signature_of(block_.data(), size);
        if (!known_.insert(std::move(signature)).second) {
            return;
        }
        auto length = static_cast<uLongf>(packed_.size());
        compress(packed_.data(), &length, block_.data(), static_cast<uLong>(size));
        if (!store_.empty()) {
            write_block(length);
        }
    }

    void write_block(std::size_t length) const {
        const std::string path = store_ + '/' + std::to_string(known_.size());
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
        if (file < 0 || write(file, packed_.data(), length) != static_cast<ssize_t>(length) ||
            close(file) != 0) {
            fail(path);
        }
    }

    std::string store_;
    std::vector<unsigned char> block_ = std::vector<unsigned char>(BLOCK_SIZE);
    std::vector<unsigned char> packed_ = std::vector<unsigned char>(compressBound(BLOCK_SIZE));
    std::unordered_set<std::string> known_;
};

} // namespace

int main(int count, char** arguments) {
    if (count < 2 || count > 3) {
        std::fputs("usage: save_floor FOLDER [STORE]\n", stderr);
        return 2;
    }
    // zlib's memory, which is asked for anew with each block, is not to go back to the kernel
    // between two of them: its pages would have to be mapped again, which takes longer than to read
    // a file.
    mallopt(M_MMAP_THRESHOLD, 16 * BLOCK_SIZE);
    mallopt(M_TRIM_THRESHOLD, 16 * BLOCK_SIZE);
    char* const roots[] = {arguments[1], nullptr};
    FTS* const tree = fts_open(roots, FTS_PHYSICAL, nullptr);
    if (tree == nullptr) {
        fail(arguments[1]);
    }
    Saver saver(count == 3 ? arguments[2] : "");
    while (const FTSENT* const entry = fts_read(tree)) {
        if (entry->fts_info == FTS_F) {
            saver.save(entry->fts_accpath);
        }
    }
    fts_close(tree);
    return 0;
}
