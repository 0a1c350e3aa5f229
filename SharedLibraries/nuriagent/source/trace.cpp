#include <nuriagent/trace.hpp>

#include <atomic>
#include <iostream>
#include <string_view>

namespace nuritrace {

bool tMEMORY = false;

} // namespace nuritrace

namespace csl {

namespace {

std::atomic<std::ostream*> trace_stream{&std::clog};

// Appends `text` with its control characters as escapes.
void append_as_one_line(std::string& line, std::string_view text) {
    static const char digits[] = "0123456789abcdef";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n') {
            line += "\\n";
        } else if (byte < 0x20 || byte == 0x7f) {
            line += "\\x";
            line += digits[byte >> 4];
            line += digits[byte & 15];
        } else {
            line += c;
        }
    }
}

std::string_view text_or_empty(const char* text) noexcept {
    return text != nullptr ? std::string_view(text) : std::string_view();
}

} // namespace

std::ostream* set_trace_stream(std::ostream* stream) noexcept {
    return trace_stream.exchange(stream);
}

NuriTrace::NuriTrace(int level) noexcept : level_(level) {}

NuriTrace::~NuriTrace() { write(); }

NuriTrace::Record& NuriTrace::Message(const char* file, const char* function, unsigned int line) {
    write();
    line_ = '[' + std::to_string(level_) + "] ";
    append_as_one_line(line_, text_or_empty(file));
    line_.append("(").append(std::to_string(line)).append("): ");
    append_as_one_line(line_, text_or_empty(function));
    line_ += ": ";
    record_.text.clear();
    pending_ = true;
    return record_;
}

void NuriTrace::write() noexcept {
    if (!pending_) {
        return;
    }
    pending_ = false;
    try {
        if (std::ostream* const stream = trace_stream.load()) {
            append_as_one_line(line_, record_.text);
            line_ += '\n';
            // One call a line, so that lines of several threads do not mix.
            stream->write(line_.data(), static_cast<std::streamsize>(line_.size())).flush();
        }
    } catch (...) { // a lost trace line must not end the traced operation
    }
}

} // namespace csl
