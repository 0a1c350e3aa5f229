#pragma once

// The agent's Base64 codec, as nuriccl calls it.

namespace base64 {

struct Results {
    int status; // 0: done, 1: the size is told and nothing is written, anything else: failed
};

class Base64 {
public:
    static Base64& GetInstance();
    unsigned long long Encode(const void* source, unsigned long long length, char* destination,
                              unsigned long long size, Results* results);
    unsigned long long Decode(const char* source, unsigned long long length, void* destination,
                              unsigned long long size, Results* results);
};

} // namespace base64
