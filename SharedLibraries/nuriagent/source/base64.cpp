#include <kernels/base64.hpp>
#include <nuriagent/base64.hpp>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace base64 {

namespace {

constexpr char PADDING = '=';

void report(Results* results, int status) {
    if (results != nullptr) {
        results->status = status;
    }
}

// Number of padding characters at the end; 3 or more is not asked for.
std::size_t padding_of(const char* text, std::size_t length) {
    return length == 0 || text[length - 1] != PADDING ? 0 : text[length - 2] != PADDING ? 1 : 2;
}

} // namespace

Base64& Base64::GetInstance() noexcept {
    static Base64 instance;
    return instance;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): codecs in its place have a state
unsigned long long Base64::Encode(const void* source, unsigned long long length, char* destination,
                                  unsigned long long size, Results* results) const noexcept {
    const auto count = source != nullptr ? static_cast<std::size_t>(length) : 0;
    const std::size_t groups = count / 3;
    const std::size_t rest = count % 3;
    const unsigned long long needed = (std::uint64_t{groups} + (rest != 0 ? 1 : 0)) * 4;
    if (destination == nullptr || size < needed) {
        report(results, Results::SIZE_REPORTED);
        return needed;
    }
    const auto* const bytes = static_cast<const unsigned char*>(source);
    kernels::base64_encode(bytes, groups, destination);
    if (rest != 0) {
        unsigned char last[3] = {};
        std::memcpy(last, bytes + groups * 3, rest);
        char* const text = destination + groups * 4;
        kernels::base64_encode_portable(last, 1, text);
        std::memset(text + 1 + rest, PADDING, 3 - rest);
    }
    report(results, Results::DONE);
    return needed;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
unsigned long long Base64::Decode(const char* source, unsigned long long length, void* destination,
                                  unsigned long long size, Results* results) const noexcept {
    const auto count = source != nullptr ? static_cast<std::size_t>(length) : 0;
    const std::size_t padding = count % 4 == 0 ? padding_of(source, count) : 0;
    if (count % 4 != 0 || !kernels::base64_check(source, count - padding)) {
        report(results, Results::MALFORMED);
        return 0;
    }
    const std::size_t needed = count / 4 * 3 - padding;
    if (destination == nullptr || size < needed) {
        report(results, Results::SIZE_REPORTED);
        return needed;
    }
    auto* const bytes = static_cast<unsigned char*>(destination);
    const std::size_t groups = needed / 3;
    kernels::base64_decode(source, groups, bytes);
    if (padding != 0) {
        char text[] = {'A', 'A', 'A', 'A'}; // digits of value 0
        std::memcpy(text, source + groups * 4, 4 - padding);
        unsigned char last[3];
        kernels::base64_decode_portable(text, 1, last);
        std::memcpy(bytes + groups * 3, last, 3 - padding);
    }
    report(results, Results::DONE);
    return needed;
}

} // namespace base64
