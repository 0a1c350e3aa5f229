#include <nuriccl/Base64Wrapper.hpp>

#include <kernels/exchange.hpp>
#include <nuriagent/base64.hpp>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace nuriccl {

namespace {

// What the codec reports.
constexpr int DONE = 0;
constexpr int SIZE_REPORTED = 1;

constexpr kernels::Exchange TO_URL_SAFE = {{'+', '/'}, {'-', '_'}};
constexpr kernels::Exchange TO_STANDARD = {{'-', '_'}, {'+', '/'}};

// Has the codec work in two steps: it tells the size, then it writes.
//
// @param shared  whether the codec reads what is in `output`, which must be left alone until it is
//                done
// @param zeros   whether it finds nothing but zeros where it writes
// @param codec   a call of the codec: (place, size, results) -> number of characters
// @return false when a step fails; `output` is untouched after the first one
template <class Container, class Codec>
bool fill(Container& output, bool shared, bool zeros, Codec codec) {
    base64::Results results{};
    const unsigned long long needed = codec(nullptr, 0, &results);
    if (results.status != SIZE_REPORTED || needed > output.max_size()) {
        return false;
    }
    const auto size = static_cast<std::size_t>(needed);
    Container fresh; // without room in `output`, which must not be lost when there is no memory
    const bool apart = shared || output.capacity() < size;
    Container& place = apart ? fresh : output;
    if (zeros) {
        place.clear();
    }
    place.resize(size);
    char nothing; // a null place would ask for the size again
    char* const start = place.empty() ? &nothing : place.data();
    const unsigned long long written = codec(start, needed, &results);
    place.resize(static_cast<std::size_t>(std::min(written, needed)));
    if (apart) {
        output.swap(fresh);
    }
    return results.status == DONE;
}

template <class Container>
bool encode_bytes(const Container& input, Container& output,
                  Base64Wrapper::EncodingVariant variant) {
    base64::Base64& codec = base64::Base64::GetInstance();
    const auto encode = [&](char* place, unsigned long long size, base64::Results* results) {
        return codec.Encode(input.data(), input.size(), place, size, results);
    };
    if (!fill(output, &input == &output, true, encode)) {
        return false;
    }
    if (variant == Base64Wrapper::url_safe) {
        kernels::do_exchange(output.data(), output.size(), TO_URL_SAFE);
    }
    return true;
}

template <class Container>
bool decode_text(const Container& input, Container& output) {
    Container standard; // the text in the standard alphabet, when it is in the other one
    const bool translate = kernels::holds_exchanged(input.data(), input.size(), TO_STANDARD);
    if (translate) {
        standard = input;
        kernels::do_exchange(standard.data(), standard.size(), TO_STANDARD);
    }
    const Container& text = translate ? standard : input;
    base64::Base64& codec = base64::Base64::GetInstance();
    const auto decode = [&](char* place, unsigned long long size, base64::Results* results) {
        return codec.Decode(text.data(), text.size(), place, size, results);
    };
    return fill(output, &text == &output, false, decode);
}

} // namespace

Base64Wrapper::exception::exception(std::string message) : message_(std::move(message)) {}

Base64Wrapper::exception::~exception() = default;

const char* Base64Wrapper::exception::what() const noexcept { return message_.c_str(); }

Base64Wrapper::encode_failure::encode_failure() : exception("encoding failure") {}

Base64Wrapper::encode_failure::~encode_failure() = default;

Base64Wrapper::decode_failure::decode_failure() : exception("decoding failure") {}

Base64Wrapper::decode_failure::~decode_failure() = default;

bool Base64Wrapper::encode(const std::vector<char>& input, std::vector<char>& output,
                           EncodingVariant variant) noexcept {
    try {
        output.clear();
        return encode_bytes(input, output, variant);
    } catch (...) {
        return false;
    }
}

bool Base64Wrapper::encode(const std::vector<char>& input, std::vector<char>& output) noexcept {
    return encode(input, output, standard);
}

bool Base64Wrapper::encode(const std::string& input, std::string& output,
                           EncodingVariant variant) noexcept {
    try {
        return encode_bytes(input, output, variant);
    } catch (...) {
        return false;
    }
}

bool Base64Wrapper::encode(const std::string& input, std::string& output) noexcept {
    return encode(input, output, standard);
}

bool Base64Wrapper::decode(const std::vector<char>& input, std::vector<char>& output) noexcept {
    try {
        return decode_text(input, output);
    } catch (...) {
        return false;
    }
}

bool Base64Wrapper::decode(const std::string& input, std::string& output) noexcept {
    try {
        return decode_text(input, output);
    } catch (...) {
        return false;
    }
}

} // namespace nuriccl
