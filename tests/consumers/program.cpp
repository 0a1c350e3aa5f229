// A program as the agent's components are: it includes the library as installed and uses a little
// of each family, its exceptions and its constants.

#include "check.hpp"

#include <nuriagent/trace.hpp>
#include <nuriccl/nuriccl.hpp>

#include <boost/make_shared.hpp>

#include <cstring>
#include <sstream>
#include <stdexcept>
#include <typeinfo>

namespace {

nuriccl::Buffer buffer_of(const std::string& text) {
    nuriccl::Buffer buffer(static_cast<unsigned int>(text.size()));
    std::memcpy(buffer.begin_update(), text.data(), text.size());
    buffer.end_update(static_cast<unsigned int>(text.size()));
    return buffer;
}

void check_text() {
    std::string line = "\t Host: backup \r\n";
    nuriccl::string::crop_both(line, nuriccl::string::WHITESPACE);
    CHECK(line == "Host: backup");
    CHECK(nuriccl::string::format_string("%s%c%d", "a", nuriccl::string::LIST_SEPARATOR, 3) ==
          "a,3");
    CHECK(nuriccl::to_str(255, std::hex) == "ff");
    CHECK(nuriccl::to_str(nuriccl::to_isotime(nuriccl::BAD_TIME_SHORT)) == nuriccl::BAD_TIME);
    int value = 0;
    CHECK(nuriccl::fromStr(value, "-5") && value == -5);
}

void check_bytes() {
    nuriccl::MultiBuffer stream(buffer_of("abc"));
    stream.push_back(buffer_of("defg"));
    char flat[5];
    CHECK(stream.coalesce(flat, sizeof flat) == 5 && std::memcmp(flat, "abcde", 5) == 0);
    CHECK(stream.data_length() == 2 && stream.begin()->data_length() == 2);

    nuriccl::deque<int> queue;
    queue.push_front(1);
    CHECK(queue.back() == 1);

    const auto packed = boost::make_shared<std::vector<unsigned char>>();
    const auto data = boost::make_shared<std::vector<unsigned char>>(1000, 'x');
    const auto unpacked = boost::make_shared<std::vector<unsigned char>>(1000);
    CHECK(nuriccl::Zlib::Deflate(packed, data) && nuriccl::Zlib::Inflate(unpacked, packed));
    CHECK(*unpacked == *data);

    CHECK(nuriccl::Signature::of("abc", nuriccl::Signature::SIGNATURE_SIZE - 17) ==
          "a9993e364706816aba3e25717850c26c9cd0d89d");
}

// An object of the program behind an interface of the library.
class Signed : public nuriccl::Signature::SignableObject {
public:
    unsigned char* binary_signature() override { return nuriccl::Signature::binary("abc", 3); }
};

void check_interfaces() {
    Signed object;
    nuriccl::Signature::SignableObject& base = object;
    CHECK(nuriccl::Signature::of(base) == nuriccl::Signature::of("abc", 3));
    CHECK(dynamic_cast<Signed*>(&base) == &object);
}

template <class Exception, class Call>
std::string text_of(Call call) {
    try {
        call();
    } catch (const Exception& exception) {
        return exception.what();
    }
    return "nothing was thrown";
}

void check_exceptions() {
    nuriccl::Buffer buffer(1);
    CHECK(text_of<std::logic_error>([&] { buffer.end_update(0); }) ==
          "No update operation is in progress on the buffer.");
    CHECK(text_of<std::range_error>([&] { buffer.segment(buffer.capacity() + 1, 0); }) ==
          "The requested segment lies past the end of the buffer.");
    const auto empty = boost::make_shared<std::vector<unsigned char>>();
    const auto full = boost::make_shared<std::vector<unsigned char>>(1);
    CHECK(text_of<std::out_of_range>([&] {
              nuriccl::Zlib::Inflate(empty, full);
          }).rfind("vector", 0) == 0);
}

void check_trace() {
    std::ostringstream records;
    std::ostream* const before = csl::set_trace_stream(&records);
    nuritrace::tMEMORY = true;
    nuriccl::Buffer buffer(1);
    buffer.begin_update();
    buffer = nuriccl::Buffer();
    csl::set_trace_stream(before);
    CHECK(records.str().find("replaced during update") != std::string::npos);
}

} // namespace

int main() {
    check_text();
    check_bytes();
    check_interfaces();
    check_exceptions();
    check_trace();
    return failures;
}
