// Services that can be told from any others: records are kept in memory, the digest of a text is 20
// times its length, Base64 doubles each character, messages tell how the agent feels, and a
// schedule is an hour in letters.

#include "agent.hpp"

#include <nuriagent/base64.hpp>
#include <nuriagent/message.hpp>
#include <nuriagent/safe.hpp>
#include <nuriagent/schedule.hpp>
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

int pln_str2crn(cronblk* record, const std::string& text) {
    return pln_ent2msk(&record->hours, text, 0, 23, false);
}

std::string pln_crn2str(const cronblk* record) { return record->hours == 1u << 12 ? "noon" : "?"; }

int pln_ent2msk(unsigned int* mask, const std::string& field, unsigned int, unsigned int, bool) {
    *mask = field == "noon" ? 1u << 12 : *mask;
    return field == "noon" ? 7 : 0;
}

int pln_ent2msk64(unsigned int*, unsigned int*, const std::string&, unsigned int) { return 0; }

void sha1_begin(sha1_context* context) { context->length = 0; }

void sha1_hash(const unsigned char*, unsigned int length, sha1_context* context) {
    context->length += length;
}

void sha1_end(unsigned char* digest, sha1_context* context) {
    ++agent::calls.digests;
    std::memset(digest, static_cast<int>(context->length), 20);
}

namespace base64 {

Base64& Base64::GetInstance() {
    static Base64 instance;
    return instance;
}

unsigned long long Base64::Encode(const void* source, unsigned long long length, char* destination,
                                  unsigned long long size, Results* results) {
    results->status = size < 2 * length ? 1 : 0;
    for (unsigned long long i = 0; results->status == 0 && i < length; ++i) {
        std::memset(destination + 2 * i, static_cast<const char*>(source)[i], 2);
    }
    return 2 * length;
}

unsigned long long Base64::Decode(const char*, unsigned long long, void*, unsigned long long,
                                  Results* results) {
    results->status = 2;
    return 0;
}

} // namespace base64

VI18NError::VI18NError(int message_set, int message_number, I18NMessage::MessageSeverity severity)
    : text_((severity == I18NMessage::furious ? "furious about " : "not furious about ") +
            std::to_string(message_set) + '-' + std::to_string(message_number)) {}

VI18NError::VI18NError(int message_set, int message_number, I18NMessage::MessageSeverity severity,
                       const I18NMessage::Parameter& parameter)
    : VI18NError(message_set, message_number, severity) {
    text_ += ": " + parameter.text;
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
