#pragma once

/// @file
/// Lines of fields with a separator between them, in the manner of CSV: a field stands in quotes when it
/// holds the separator, a quote or a line break, and a quote in it is doubled. See `nuriccl::FSVList`.

#include <initializer_list>
#include <string>

namespace minibackup {

/// The line of these fields, of which none is empty.
std::string join_fields(std::initializer_list<std::string> fields, char separator);

/// Takes the fields of a line, one at each call.
class FieldReader {
public:
    /// The line must outlive the reader.
    FieldReader(const std::string& line, char separator) : line_(line), separator_{separator, 0} {}

    /// Whether there is a field left. An empty line has none.
    bool more() const noexcept { return next_ < line_.size(); }

    /// Takes the next field.
    /// @return false when it does not stand there as `join_fields` writes it
    bool read(std::string& field);

private:
    const std::string& line_;
    const char separator_[2];
    unsigned int next_ = 0;
};

} // namespace minibackup
