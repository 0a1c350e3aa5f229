#pragma once

// The agent's Base64 codec, as nuriccl calls it.

namespace base64 {

struct Results {
    static constexpr int DONE = 0;
    static constexpr int SIZE_REPORTED = 1; // nothing is written
    static constexpr int MALFORMED = 2;     // nothing is written

    int status;
};

class Base64 {
public:
    Base64(const Base64&) = delete;
    Base64& operator=(const Base64&) = delete;

    static Base64& GetInstance() noexcept;
    unsigned long long Encode(const void* source, unsigned long long length, char* destination,
                              unsigned long long size, Results* results) const noexcept;
    unsigned long long Decode(const char* source, unsigned long long length, void* destination,
                              unsigned long long size, Results* results) const noexcept;

private:
    Base64() = default;
};

} // namespace base64
