#include "fields.hpp"

#include <nuriccl/fsvlist.hpp>

namespace minibackup {

namespace {

constexpr char QUOTE = '"';

void append_field(std::string& line, const std::string& field, const char* separator) {
    nuriccl::FSVList::QuoteStringCSV(field, line, QUOTE, separator, "", 0, "", false, false);
}

} // namespace

std::string join_fields(std::initializer_list<std::string> fields, char separator) {
    const char between[] = {separator, 0};
    std::string line;
    for (const std::string& field : fields) {
        append_field(line, field, between);
    }
    return line;
}

bool FieldReader::read(std::string& field) {
    const std::size_t start = next_;
    const bool quoted = nuriccl::FSVList::DequoteStringCSV(next_, line_, field, nullptr, nullptr,
                                                           QUOTE, separator_, 0, "", false);
    const std::size_t end = more() ? next_ - 1 : line_.size();
    if (!quoted) {
        return start + field.size() == end;
    }
    std::string written;
    append_field(written, field, separator_);
    return line_.compare(start, end - start, written) == 0;
}

} // namespace minibackup
