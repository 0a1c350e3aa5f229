// Finds the blocks of a file that have changed since it was saved, by the signatures that were kept
// of them, and signs the whole on the way.
//
// usage: signature [OLD NEW]     two files; without them, two texts

#include <nuriccl/signature.hpp>

#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr std::streamsize BLOCK_SIZE = 16; // small, for the sake of the example

struct Signatures {
    std::vector<std::string> blocks;
    std::string whole;
};

Signatures sign(std::istream& file) {
    Signatures signatures;
    nuriccl::Signature whole;
    unsigned char block[BLOCK_SIZE];
    while (file.read(reinterpret_cast<char*>(block), BLOCK_SIZE), file.gcount() > 0) {
        const auto length = static_cast<unsigned int>(file.gcount());
        signatures.blocks.push_back(nuriccl::Signature::of(block, length));
        whole.update(block, length);
    }
    if (file.bad()) { // a signature of what could be read would hide it
        throw std::runtime_error("cannot be read to its end");
    }
    signatures.whole = whole.close().to_string();
    return signatures;
}

Signatures sign_file(const char* path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error(std::string(path) + ": cannot be opened");
    }
    return sign(file);
}

} // namespace

int main(int argc, char** argv) {
    try {
        std::istringstream yesterday("The quick brown fox jumps over the lazy dog.");
        std::istringstream today("The quick brown cat jumps over the lazy dog. Twice.");
        const Signatures kept = argc > 2 ? sign_file(argv[1]) : sign(yesterday);
        const Signatures found = argc > 2 ? sign_file(argv[2]) : sign(today);
        std::cout << "was " << kept.whole << "\nis  " << found.whole << '\n';
        for (std::size_t i = 0; i < found.blocks.size(); ++i) {
            const bool same = i < kept.blocks.size() && kept.blocks[i] == found.blocks[i];
            std::cout << "block " << i << (same ? ": as it was\n" : ": save\n");
        }
        return kept.whole == found.whole ? 0 : 1;
    } catch (const std::runtime_error& error) {
        std::cerr << error.what() << '\n';
        return 2;
    }
}
