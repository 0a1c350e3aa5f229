// Tests of the trace facility: one line per record, whatever the record or its stream is like.
//
//   public member                        cases
//   nuritrace::tMEMORY                   TraceFlag.*
//   csl::set_trace_stream                TraceStream.*
//   csl::NuriTrace (constructor, end)    NuriTrace.*
//   csl::NuriTrace::Message, Record      TraceMessage.*, TraceText.*

#include <nuriagent/trace.hpp>

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <iostream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

const bool memory_flag_at_start = nuritrace::tMEMORY;

// The first stream, read before any test sets another.
std::ostream* first_stream() {
    std::ostream* const stream = csl::set_trace_stream(nullptr);
    csl::set_trace_stream(stream);
    return stream;
}
std::ostream* const stream_at_start = first_stream();

// Sends the trace to another stream for the length of a scope.
class Redirection {
public:
    explicit Redirection(std::ostream* stream) : earlier_(csl::set_trace_stream(stream)) {}
    ~Redirection() { csl::set_trace_stream(earlier_); }
    Redirection(const Redirection&) = delete;
    Redirection& operator=(const Redirection&) = delete;

private:
    std::ostream* earlier_;
};

// Keeps what is written to std::clog for the length of a scope.
class ClogCapture {
public:
    ClogCapture() : earlier_(std::clog.rdbuf(&buffer_)) {}
    ~ClogCapture() { std::clog.rdbuf(earlier_); }
    ClogCapture(const ClogCapture&) = delete;
    ClogCapture& operator=(const ClogCapture&) = delete;

    std::string text() const { return buffer_.str(); }

private:
    std::stringbuf buffer_;
    std::streambuf* earlier_;
};

// What the trace holds after one record with this text.
std::string written_for(const std::string& text) {
    std::ostringstream stream;
    const Redirection redirection(&stream);
    {
        csl::NuriTrace trace(1);
        trace.Message("f", "g", 1).text = text;
    }
    return stream.str();
}

// A stream buffer that takes nothing; it says so or throws.
class BrokenBuffer : public std::streambuf {
public:
    explicit BrokenBuffer(bool throws) : throws_(throws) {}

protected:
    int_type overflow(int_type) override { return refuse(), traits_type::eof(); }
    std::streamsize xsputn(const char*, std::streamsize) override { return refuse(), 0; }
    int sync() override { return refuse(), -1; }

private:
    void refuse() const {
        if (throws_) {
            throw std::runtime_error("broken");
        }
    }

    bool throws_;
};

bool is_control(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7f;
}

} // namespace

TEST(TraceFlag, MemoryIsNotTracedAtStart) { EXPECT_FALSE(memory_flag_at_start); }

TEST(TraceFlag, IsAPlainBoolThatCanBeSet) {
    EXPECT_TRUE((std::is_same_v<decltype(nuritrace::tMEMORY), bool>));
    nuritrace::tMEMORY = true;
    EXPECT_TRUE(nuritrace::tMEMORY);
    nuritrace::tMEMORY = false;
}

TEST(TraceStream, IsClogAtStart) { EXPECT_EQ(stream_at_start, &std::clog); }

TEST(TraceStream, SetReturnsTheEarlierOne) {
    std::ostringstream first;
    std::ostringstream second;
    const Redirection redirection(&first);
    EXPECT_EQ(csl::set_trace_stream(&second), &first);
    EXPECT_EQ(csl::set_trace_stream(nullptr), &second);
    EXPECT_EQ(csl::set_trace_stream(&first), nullptr);
    EXPECT_EQ(csl::set_trace_stream(&first), &first);
}

TEST(TraceStream, ClogReceivesTheRecords) {
    const ClogCapture capture;
    {
        const Redirection redirection(&std::clog);
        csl::NuriTrace trace(1);
        trace.Message("store.cpp", "open", 42).text += "store opened";
    }
    EXPECT_EQ(capture.text(), "[1] store.cpp(42): open: store opened\n");
}

TEST(TraceStream, NullDiscardsTheRecords) {
    const ClogCapture capture;
    std::ostringstream stream;
    const Redirection redirection(&stream);
    {
        csl::NuriTrace trace(1);
        trace.Message("f", "g", 1).text = "lost";
        csl::set_trace_stream(nullptr);
    }
    csl::set_trace_stream(&stream);
    EXPECT_EQ(stream.str(), "");
    EXPECT_EQ(capture.text(), "");
}

// Clog itself, since it is the stream that takes several threads.
TEST(TraceStream, ClogKeepsTheLinesOfSeveralThreadsWhole) {
    const Redirection redirection(&std::clog);
    testing::internal::CaptureStderr();
    std::vector<std::thread> threads;
    for (const char letter : {'a', 'b', 'c', 'd'}) {
        threads.emplace_back([letter] {
            for (unsigned int i = 0; i < 200; ++i) {
                csl::NuriTrace trace(1);
                trace.Message("f", "g", i).text = std::string(100, letter);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::istringstream written(testing::internal::GetCapturedStderr());
    std::multiset<std::string> lines;
    for (std::string line; std::getline(written, line);) {
        lines.insert(line);
    }
    EXPECT_EQ(lines.size(), 800U);
    for (const char letter : {'a', 'b', 'c', 'd'}) {
        for (unsigned int i = 0; i < 200; ++i) {
            const std::string line =
                "[1] f(" + std::to_string(i) + "): g: " + std::string(100, letter);
            EXPECT_EQ(lines.count(line), 1U) << line;
        }
    }
}

TEST(TraceStream, IsTheOneSetWhenTheRecordIsWritten) {
    std::ostringstream earlier;
    std::ostringstream later;
    const Redirection redirection(&earlier);
    {
        csl::NuriTrace trace(1);
        trace.Message("f", "g", 1).text = "text";
        csl::set_trace_stream(&later);
    }
    EXPECT_EQ(earlier.str(), "");
    EXPECT_EQ(later.str(), "[1] f(1): g: text\n");
}

TEST(NuriTrace, WritesWhenItDiesAndNotBefore) {
    std::ostringstream stream;
    const Redirection redirection(&stream);
    {
        csl::NuriTrace trace(1);
        EXPECT_EQ(stream.str(), "");
        csl::NuriTrace::Record& record = trace.Message("f", "g", 1);
        EXPECT_EQ(stream.str(), "");
        record.text = "text";
        EXPECT_EQ(stream.str(), "");
    }
    EXPECT_EQ(stream.str(), "[1] f(1): g: text\n");
}

TEST(NuriTrace, WritesNothingWithoutAMessage) {
    std::ostringstream stream;
    const Redirection redirection(&stream);
    { const csl::NuriTrace trace(1); }
    EXPECT_EQ(stream.str(), "");
}

TEST(NuriTrace, WritesItsLevelInFront) {
    std::ostringstream stream;
    const Redirection redirection(&stream);
    for (const int level : {0, 1, 17, -3}) {
        csl::NuriTrace trace(level);
        trace.Message("f", "g", 1);
    }
    EXPECT_EQ(stream.str(), "[0] f(1): g: \n[1] f(1): g: \n[17] f(1): g: \n[-3] f(1): g: \n");
}

TEST(NuriTrace, WritesWhileAnExceptionPasses) {
    std::ostringstream stream;
    const Redirection redirection(&stream);
    EXPECT_THROW(
        {
            csl::NuriTrace trace(2);
            trace.Message("f", "g", 1).text = "before the throw";
            throw std::logic_error("passing");
        },
        std::logic_error);
    EXPECT_EQ(stream.str(), "[2] f(1): g: before the throw\n");
}

TEST(NuriTrace, ObjectsKeepTheirOwnRecords) {
    std::ostringstream stream;
    const Redirection redirection(&stream);
    {
        csl::NuriTrace outer(1);
        csl::NuriTrace::Record& outer_record = outer.Message("o", "p", 1);
        outer_record.text = "out";
        {
            csl::NuriTrace inner(2);
            inner.Message("i", "j", 2).text = "inner";
            outer_record.text += "er";
        }
        EXPECT_EQ(stream.str(), "[2] i(2): j: inner\n");
    }
    EXPECT_EQ(stream.str(), "[2] i(2): j: inner\n[1] o(1): p: outer\n");
}

TEST(NuriTrace, CannotBeCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<csl::NuriTrace>);
    EXPECT_FALSE(std::is_copy_assignable_v<csl::NuriTrace>);
}

// A stream that reports failures by exceptions, and one whose buffer throws of its own.
TEST(NuriTrace, DestructorDoesNotThrowWhenTheStreamFails) {
    for (const bool throws : {false, true}) {
        BrokenBuffer buffer(throws);
        std::ostream broken(&buffer);
        broken.exceptions(std::ios_base::badbit | std::ios_base::failbit);
        const Redirection redirection(&broken);
        EXPECT_NO_THROW({
            csl::NuriTrace trace(1);
            trace.Message("f", "g", 1).text = "text";
        });
        EXPECT_TRUE(broken.bad()) << "the record was not even tried";
    }
}

TEST(NuriTrace, ARecordThatCannotBeWrittenIsLostAlone) {
    BrokenBuffer buffer(true);
    std::ostream broken(&buffer);
    broken.exceptions(std::ios_base::badbit);
    std::ostringstream stream;
    const Redirection redirection(&broken);
    {
        csl::NuriTrace trace(1);
        trace.Message("f", "g", 1).text = "lost";
        trace.Message("f", "g", 2).text = "kept";
        csl::set_trace_stream(&stream);
    }
    EXPECT_EQ(stream.str(), "[1] f(2): g: kept\n");
}

TEST(TraceMessage, WritesPlaceAndText) {
    std::ostringstream stream;
    const Redirection redirection(&stream);
    {
        csl::NuriTrace trace(1);
        trace.Message("store.cpp", "open", 42).text += "store opened";
    }
    EXPECT_EQ(stream.str(), "[1] store.cpp(42): open: store opened\n");
}

TEST(TraceMessage, TakesEveryLineNumber) {
    std::ostringstream stream;
    const Redirection redirection(&stream);
    {
        csl::NuriTrace trace(1);
        trace.Message("f", "g", 0);
        trace.Message("f", "g", 4294967295U);
    }
    EXPECT_EQ(stream.str(), "[1] f(0): g: \n[1] f(4294967295): g: \n");
}

TEST(TraceMessage, ASecondOneWritesTheFirst) {
    std::ostringstream stream;
    const Redirection redirection(&stream);
    {
        csl::NuriTrace trace(3);
        trace.Message("one.cpp", "first", 1).text = "alpha";
        trace.Message("two.cpp", "second", 2);
        EXPECT_EQ(stream.str(), "[3] one.cpp(1): first: alpha\n");
    }
    EXPECT_EQ(stream.str(), "[3] one.cpp(1): first: alpha\n[3] two.cpp(2): second: \n");
}

TEST(TraceMessage, StartsWithAnEmptyText) {
    std::ostringstream stream;
    const Redirection redirection(&stream);
    csl::NuriTrace trace(1);
    EXPECT_EQ(trace.Message("f", "g", 1).text, "");
    trace.Message("f", "g", 2).text = "something";
    EXPECT_EQ(trace.Message("f", "g", 3).text, "");
}

// A null text is the empty text, here as everywhere. In a process of its own, so that a crash is
// one failed case.
TEST(TraceMessage, TakesNullForAnEmptyPlace) {
    EXPECT_EXIT(
        {
            std::ostringstream stream;
            csl::set_trace_stream(&stream);
            {
                csl::NuriTrace trace(1);
                trace.Message(nullptr, nullptr, 7).text = "text";
            }
            std::_Exit(stream.str() == "[1] (7): : text\n" ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

// The place comes from the compiler as a rule, yet a record is one line whatever it is.
TEST(TraceMessage, StaysOneLineWhateverThePlaceHolds) {
    std::ostringstream stream;
    const Redirection redirection(&stream);
    {
        csl::NuriTrace trace(1);
        trace.Message("a\nb", "c\rd", 1).text = "text";
    }
    const std::string written = stream.str();
    ASSERT_FALSE(written.empty());
    EXPECT_EQ(written.find_first_of("\r\n"), written.size() - 1) << testing::PrintToString(written);
}

TEST(TraceText, LineFeedIsWrittenAsAnEscape) {
    EXPECT_EQ(written_for("a\nb\n"), "[1] f(1): g: a\\nb\\n\n");
}

TEST(TraceText, EscapeCharacterIsWrittenAsAnEscape) {
    EXPECT_EQ(written_for("\x1b[31m"), "[1] f(1): g: \\x1b[31m\n");
}

// NUL and DEL are control characters too; different ones stay different.
TEST(TraceText, EveryControlCharacterIsWrittenAsAnEscape) {
    std::set<std::string> seen;
    for (int byte = 0; byte <= 127; ++byte) {
        const char c = static_cast<char>(byte);
        if (is_control(c)) {
            const std::string line = written_for(std::string(1, c) + "!");
            EXPECT_EQ(line.rfind("[1] f(1): g: \\", 0), 0U) << byte;
            EXPECT_EQ(std::count_if(line.begin(), line.end(), is_control), 1) << byte;
            EXPECT_EQ(line.substr(line.size() - 2), "!\n") << byte;
            EXPECT_TRUE(seen.insert(line).second) << byte;
        }
    }
    EXPECT_EQ(seen.size(), 33U);
}

TEST(TraceText, EveryOtherByteIsWrittenAsItIs) {
    for (int byte = 0; byte <= 255; ++byte) {
        const char c = static_cast<char>(byte);
        if (!is_control(c)) {
            EXPECT_EQ(written_for(std::string(1, c)), std::string("[1] f(1): g: ") + c + "\n")
                << byte;
        }
    }
}

TEST(TraceText, MayBeLong) {
    const std::string text(1000000, 't');
    EXPECT_EQ(written_for(text), "[1] f(1): g: " + text + "\n");
}
