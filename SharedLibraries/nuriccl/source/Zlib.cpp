#include <nuriccl/Zlib.hpp>

#include <zlib.h>

namespace nuriccl {

namespace {

// zlib's place of a container's characters. Reaching them through `at` gives an empty container the
// standard library's own std::out_of_range.
template <class Container>
Bytef* bytes(Container& container) {
    return reinterpret_cast<Bytef*>(&container.at(0));
}

template <class Container>
const Bytef* bytes(const Container& container) {
    return reinterpret_cast<const Bytef*>(&container.at(0));
}

template <class Container>
bool deflate(Container& output, const Container& input, int level) {
    if (&output == &input) {
        return deflate(output, Container(input), level);
    }
    const auto input_size = static_cast<uLong>(input.size());
    uLongf output_size = compressBound(input_size);
    output.resize(output_size);
    const int result =
        input.empty() ? compress(bytes(output), &output_size, nullptr, 0)
                      : compress2(bytes(output), &output_size, bytes(input), input_size, level);
    if (result != Z_OK) {
        return false;
    }
    output.resize(output_size);
    return true;
}

// Inflates into the room that `output` has; gives the length of the data.
template <class Container>
bool inflate(Container& output, const Container& input, uLongf& length) {
    const Bytef* const from = bytes(input);
    length = static_cast<uLongf>(output.size());
    return uncompress(bytes(output), &length, from, static_cast<uLong>(input.size())) == Z_OK;
}

} // namespace

bool Zlib::Deflate(Bytes output, Bytes input, int level) {
    if (!output || !input) {
        return false;
    }
    return deflate(*output, *input,
                   level < 0 || level > Z_BEST_COMPRESSION ? Z_DEFAULT_COMPRESSION : level);
}

bool Zlib::Deflate(Bytes output, Bytes input) {
    return Deflate(output, input, Z_DEFAULT_COMPRESSION);
}

bool Zlib::Deflate(std::string& output, const std::string& input) {
    return !input.empty() && deflate(output, input, Z_DEFAULT_COMPRESSION);
}

bool Zlib::Inflate(Bytes output, Bytes input) {
    if (!output || !input || input->empty()) {
        return false;
    }
    uLongf length = 0;
    if (output == input) {
        return inflate(*output, std::vector<unsigned char>(*input), length);
    }
    return inflate(*output, *input, length);
}

bool Zlib::Inflate(std::string& output, unsigned int size, const std::string& input) {
    if (input.empty() || size == 0) {
        return false;
    }
    if (&output == &input) {
        return Inflate(output, size, std::string(input));
    }
    output.resize(size);
    uLongf length = 0;
    if (!inflate(output, input, length)) {
        return false;
    }
    output.resize(length);
    return true;
}

} // namespace nuriccl
