// Services that can be told from any others: records are kept in memory, and the digest of a text is 20
// times its length.

#include "agent.hpp"

#include <nuriagent/safe.hpp>
#include <nuriagent/sha1.hpp>
#include <nuriagent/trace.hpp>

#include <cstdlib>
#include <cstring>

namespace agent {

Calls calls;

} // namespace agent

namespace safe {

void MemoryCopy(void* destination, unsigned int, const void* source, unsigned int count) {
    ++agent::calls.copies;
    std::memcpy(destination, source, count);
}

int StringToInt32(const std::string& text) {
    ++agent::calls.numbers;
    return std::atoi(text.c_str());
}

} // namespace safe

void sha1_begin(sha1_context* context) { context->length = 0; }

void sha1_hash(const unsigned char*, unsigned int length, sha1_context* context) {
    context->length += length;
}

void sha1_end(unsigned char* digest, sha1_context* context) {
    ++agent::calls.digests;
    std::memset(digest, static_cast<int>(context->length), 20);
}

namespace nuritrace {

bool tMEMORY = true;

} // namespace nuritrace

namespace csl {

NuriTrace::NuriTrace(int level) { line_.text = "level " + std::to_string(level); }

NuriTrace::~NuriTrace() { agent::calls.records.push_back(line_.text); }

NuriTrace::Line& NuriTrace::Message(const char*, const char* function, unsigned int) {
    line_.text += std::string(" in ") + function + ": ";
    return line_;
}

} // namespace csl
