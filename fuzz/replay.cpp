// Usage: fuzz_TARGET_replay CORPUS [FILE OR FOLDER]...
//
// Runs the inputs that are kept through a fuzz target, without a fuzzer. A property that does not
// hold ends the program, and so does a sanitizer. The status is also not 0 when CORPUS, a folder or
// a file, has no input: a test that looks at nothing passes for ever. The others, where what was
// once found lies, may be missing.

#include "fuzz.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace {

namespace fs = std::filesystem;

// In the order of their names, for output that can be compared.
std::vector<fs::path> inputs_of(const fs::path& place) {
    if (!fs::is_directory(place)) {
        return fs::exists(place) ? std::vector<fs::path>{place} : std::vector<fs::path>{};
    }
    std::vector<fs::path> inputs;
    for (const fs::directory_entry& entry : fs::directory_iterator(place)) {
        if (entry.is_regular_file()) {
            inputs.push_back(entry.path());
        }
    }
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

// In memory of exactly its size, which the sanitizers guard.
std::vector<std::uint8_t> bytes_of(const fs::path& input) {
    std::ifstream file(input, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    if (!file) {
        throw std::runtime_error("cannot read " + input.string());
    }
    return {bytes.begin(), bytes.end()};
}

} // namespace

int main(int argc, char** argv) try {
    std::size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const fs::path& input : inputs_of(argv[i])) {
            std::cout << input.string() << std::endl; // the last one shown is the one that fails
            const std::vector<std::uint8_t> bytes = bytes_of(input);
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
            ++count;
        }
        if (count == 0) {
            std::cerr << "no inputs in " << argv[i] << std::endl;
            return 1;
        }
    }
    std::cout << count << " inputs" << std::endl;
    return count == 0 ? 1 : 0;
} catch (const std::exception& error) {
    std::cerr << error.what() << std::endl;
    return 1;
}
