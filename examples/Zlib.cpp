// Stores a block compressed, with the size and the signature of what it holds, and gets it back
// only if it is what was stored: damage and mix-ups are both found.
//
// usage: Zlib [TEXT]

#include <nuriccl/signature.hpp>
#include <nuriccl/Zlib.hpp>

#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

struct StoredBlock {
    unsigned int size; // of the content: the compressed bytes do not tell it
    std::string signature;
    std::string packed;
};

StoredBlock store(const std::string& content) {
    StoredBlock block{
        static_cast<unsigned int>(content.size()), nuriccl::Signature::of(content), {}};
    // An empty content needs no bytes; Deflate would refuse it.
    if (!content.empty() && !nuriccl::Zlib::Deflate(block.packed, content)) {
        throw std::runtime_error("cannot compress");
    }
    return block;
}

std::string load(const StoredBlock& block) {
    std::string content;
    if (block.size != 0 && !nuriccl::Zlib::Inflate(content, block.size, block.packed)) {
        throw std::runtime_error("the block is damaged");
    }
    if (nuriccl::Signature::of(content) != block.signature) {
        throw std::runtime_error("this is another block");
    }
    return content;
}

void try_to_load(const char* what, const StoredBlock& block) {
    try {
        const std::string content = load(block);
        std::cout << what << ": " << content.size() << " bytes as they were\n";
    } catch (const std::runtime_error& error) {
        std::cout << what << ": " << error.what() << '\n';
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::string content = argc > 1 ? argv[1] : std::string(10000, 'a') + "the end";
    try {
        StoredBlock block = store(content);
        std::cout << block.size << " bytes, " << (block.packed.size() < block.size ? "" : "not ")
                  << "smaller when compressed, " << block.signature << '\n';
        try_to_load("untouched", block);
        if (!content.empty()) {
            StoredBlock damaged = block;
            damaged.packed.back() = static_cast<char>(damaged.packed.back() ^ 1);
            try_to_load("a bit changed", damaged);
            block.packed = store(std::string(content.size(), '?')).packed;
            try_to_load("mixed up", block);
        }
    } catch (const std::runtime_error& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
