// Gives every name a file of its own in a store: names of virtual machines may hold what file names
// must not. Different names have different files, and each file name leads back to its name.
//
// usage: CharacterEncoder [NAME...]
//        CharacterEncoder -d FILE...     back from the names of the files

#include <nuriccl/CharacterEncoder.hpp>

#include <iostream>
#include <string>
#include <vector>

namespace {

using nuriccl::CharacterEncoder;

// '%' is in the set, so no two names are encoded alike.
CharacterEncoder make_encoder() {
    CharacterEncoder encoder(CharacterEncoder::DEFAULT_CHARS_TO_ENCODE);
    encoder.protect("\n\r\t"); // a listing has one line for each file
    return encoder;
}

// The file of a name; "" for a name that can have none.
std::string file_of(const CharacterEncoder& encoder, const std::string& name) {
    if (name.empty() || name == "." || name == ".." || name.find('\0') != std::string::npos) {
        return "";
    }
    return encoder.encode(name);
}

} // namespace

int main(int argc, char** argv) {
    const CharacterEncoder encoder = make_encoder();
    std::vector<std::string> names(argv + 1, argv + argc);
    if (!names.empty() && names[0] == "-d") {
        for (auto file = names.begin() + 1; file != names.end(); ++file) {
            std::cout << encoder.decode(*file) << '\n';
        }
        return 0;
    }
    if (names.empty()) {
        names = {"web-01", "build: 32/64 bit", "100% \"safe\"", "two\nlines", ".."};
    }
    int refused = 0;
    for (const std::string& name : names) {
        const std::string file = file_of(encoder, name);
        const bool fits = !file.empty() && file.size() <= 255; // NAME_MAX
        if (!fits || encoder.decode(file) != name) {
            std::cerr << "no file name for: " << name << '\n';
            ++refused;
            continue;
        }
        std::cout << file << '\n';
    }
    return refused == 0 ? 0 : 1;
}
