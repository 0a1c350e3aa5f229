// A reader hands one block to two consumers without a copy. One of them changes its bytes: it gets
// a block of its own then, and the other sees what was read.
//
// usage: buffer [TEXT]

#include <nuriccl/buffer.hpp>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <iostream>
#include <string>
#include <utility>

namespace {

nuriccl::Buffer read_block(const std::string& source) {
    nuriccl::Buffer block(4096);
    const auto length =
        static_cast<unsigned int>(std::min<std::size_t>(source.size(), block.capacity()));
    std::memcpy(block.begin_update(), source.data(), length);
    block.end_update(length);
    return block;
}

std::string text_of(const nuriccl::Buffer& block) {
    return {reinterpret_cast<const char*>(block.data()), block.data_length()};
}

// Keeps the block as it came.
class Archive {
public:
    void take(nuriccl::Buffer block) { block_ = std::move(block); }
    const nuriccl::Buffer& block() const { return block_; }

private:
    nuriccl::Buffer block_;
};

// Replaces digits by 'x' before the block is shown to people.
nuriccl::Buffer masked(nuriccl::Buffer block) {
    const unsigned int length = block.data_length(); // which reads 0 in an update of a shared block
    unsigned char* const bytes = block.begin_update();
    std::replace_if(
        bytes, bytes + length, [](unsigned char byte) { return std::isdigit(byte) != 0; }, 'x');
    block.end_update(length);
    return block;
}

} // namespace

int main(int argc, char** argv) {
    const nuriccl::Buffer block = read_block(argc > 1 ? argv[1] : "account 4711, total 99");
    Archive archive;
    archive.take(block);
    std::cout << "the archive " << (archive.block().data() == block.data() ? "shares" : "copied")
              << " the block\n";

    const nuriccl::Buffer shown = masked(block);
    std::cout << "the display " << (shown.data() == block.data() ? "shares" : "copied")
              << " the block\n";

    std::cout << "archived: " << text_of(archive.block()) << '\n'
              << "shown:    " << text_of(shown) << '\n'
              << "a part:   " << text_of(block.segment(0, 7)) << '\n'; // shares the block, too
    return 0;
}
