#include "data.hpp"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace benchmarks {

std::string source_text(std::size_t size) {
    std::ifstream file(NURICCL_BENCHMARK_TEXT);
    const std::string once((std::istreambuf_iterator<char>(file)),
                           std::istreambuf_iterator<char>());
    if (once.empty()) {
        throw std::runtime_error("cannot read " NURICCL_BENCHMARK_TEXT);
    }
    std::string text;
    text.reserve(size);
    while (text.size() < size) {
        text.append(once, 0, size - text.size());
    }
    return text;
}

} // namespace benchmarks
