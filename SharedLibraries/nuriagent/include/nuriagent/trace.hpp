#pragma once

/// @file
/// The agent's trace facility: one line of text per record, written to one stream.
///
/// Use it for diagnostics that a developer switches on. It is not for messages to an operator.
///
/// Thread safety: a trace object is used by one thread; objects on different threads may write at
/// the same time as far as the stream allows it (`std::clog` does).
///
/// @code{.cpp}
/// {
///     csl::NuriTrace trace(1);
///     trace.Message("store.cpp", "open", 42).text += "store opened";
/// } // writes "[1] store.cpp(42): open: store opened" to std::clog
/// @endcode

#include <nuriagent/export.hpp>

#include <iosfwd>
#include <string>

/// What is traced.
namespace nuritrace {

/// Whether memory operations are traced. Set it before the threads start that read it.
extern NURIAGENT_API bool tMEMORY;

} // namespace nuritrace

/// How it is traced.
namespace csl {

/// Sets the stream that trace records go to and returns the one set before; null discards the
/// records. The first stream is `std::clog`. The stream must outlive its use here.
NURIAGENT_API std::ostream* set_trace_stream(std::ostream* stream) noexcept;

/// Gathers one trace record and writes it when it goes out of scope.
class NURIAGENT_API NuriTrace {
public:
    /// What is written after the place of a record. Append to `text`.
    ///
    /// A record is one line whatever it holds: a line feed is written as "\n", every other control
    /// character (below 0x20, and 0x7f) as "\x" and two lower-case hexadecimal digits. All other
    /// bytes stand as they are, the backslash too: the line is for reading, not for parsing.
    struct Record {
        std::string text; ///< what is written; empty at start
    };

    /// @param level importance of the record, 1 is the highest; it is written in front of the
    ///         record.
    explicit NuriTrace(int level) noexcept;

    /// Writes the record, if `Message` was called. Never throws; a record that cannot be written is
    /// lost.
    ~NuriTrace();

    NuriTrace(const NuriTrace&) = delete;
    NuriTrace& operator=(const NuriTrace&) = delete;

    /// Starts the record of a place in the program. A record started before is written first; its
    /// reference then names the new, empty one.
    ///
    /// @param file, function  names of the place; null is the empty text
    /// @param line            number of its line
    /// @return the record, valid until the next call and the end of this object.
    /// @throws std::bad_alloc
    Record& Message(const char* file, const char* function, unsigned int line);

private:
    void write() noexcept;

    int level_;
    bool pending_ = false;
    std::string line_; // the line up to the text
    Record record_;
};

} // namespace csl
