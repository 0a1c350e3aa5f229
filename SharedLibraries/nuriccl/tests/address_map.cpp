// Tests of the map from names to addresses.
//
//   public member                         cases
//   AddressMap                            AddressMapType.*
//   Save to a stream                      SaveToStream.*, BadStream.*
//   Load from a stream                    LoadFromStream.*, BadStream.*
//   both                                  RoundTrip.*
//   Save to a file                        SaveToFile.*, FileError.*
//   Load from a file                      LoadFromFile.*, FileError.*
//   what happens without memory           AddressMapAllocations.*
//   the example of the header             AddressMapUsage.*

#include "support/address_map_model.hpp"
#include "support/allocation.hpp"
#include "support/files.hpp"
#include "support/small_stack.hpp"
#include "support/texts.hpp"

#include <nuriagent/message.hpp>
#include <nuriccl/address_map.hpp>
#include <nuriccl/string.hpp>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstddef>
#include <exception>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <initializer_list>
#include <istream>
#include <iterator>
#include <map>
#include <new>
#include <ostream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <type_traits>
#include <typeinfo>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using nuriccl::AddressMap;

using Addresses = std::vector<std::string>;
using Base = std::map<std::string, Addresses, nuriccl::string::CaseInsensitiveCompare>;
using address_map_model::entries_of;
using address_map_model::Entry;

AddressMap map_of(std::initializer_list<Base::value_type> entries) {
    AddressMap map;
    map.insert(entries.begin(), entries.end());
    return map;
}

std::string saved(const AddressMap& map) {
    std::ostringstream out;
    map.Save(out);
    EXPECT_TRUE(out.good());
    return out.str();
}

AddressMap loaded(const std::string& text) {
    std::istringstream in(text);
    AddressMap map = map_of({{"earlier", {"entry"}}});
    map.Load(in);
    EXPECT_TRUE(in.eof());
    EXPECT_FALSE(in.bad());
    return map;
}

// The number of an error of the address map, whose set and severity are always the same.
struct Failure {
    int number = 0;
    Addresses parameters;
};

bool operator==(const Failure& a, const Failure& b) {
    return a.number == b.number && a.parameters == b.parameters;
}

std::ostream& operator<<(std::ostream& out, const Failure& failure) {
    return out << failure.number << ' ' << testing::PrintToString(failure.parameters);
}

const Failure NONE{};
const Failure READING{8267, {}};
const Failure WRITING{8268, {}};

Failure not_readable(const std::string& name) { return {4144, {name}}; }
Failure not_writable(const std::string& name) { return {4145, {name}}; }

// What `call` throws. Caught by the base class, as a program does that knows no messages.
template <class Call>
Failure failure_of(Call call) {
    try {
        call();
    } catch (const std::exception& exception) {
        EXPECT_EQ(typeid(exception), typeid(VI18NError)) << exception.what();
        const auto& error = dynamic_cast<const VI18NError&>(exception);
        EXPECT_EQ(error.message_set(), 60);
        EXPECT_EQ(error.severity(), I18NMessage::error);
        EXPECT_EQ(int{error.severity()}, 3);
        Failure failure{error.message_number(), {}};
        for (const I18NMessage::Parameter& parameter : error.parameters()) {
            failure.parameters.push_back(parameter.text());
            EXPECT_NE(std::string(error.what()).find(parameter.text()), std::string::npos);
        }
        return failure;
    }
    return NONE;
}

Failure failure_of_save(const AddressMap& map, std::ostream& out) {
    return failure_of([&] { map.Save(out); });
}

Failure failure_of_save(const AddressMap& map, const std::string& name) {
    return failure_of([&] { map.Save(name); });
}

Failure failure_of_load(AddressMap& map, std::istream& in) {
    return failure_of([&] { map.Load(in); });
}

Failure failure_of_load(AddressMap& map, const std::string& name) {
    return failure_of([&] { map.Load(name); });
}

} // namespace

// The type

TEST(AddressMapType, IsAMap) {
    EXPECT_TRUE((std::is_convertible_v<AddressMap*, Base*>));
    EXPECT_EQ(sizeof(AddressMap), sizeof(Base));
    AddressMap map;
    map["name"].push_back("address");
    const AddressMap copy = map;
    EXPECT_EQ(copy, map);
    EXPECT_EQ(copy.at("name"), Addresses{"address"});
}

TEST(AddressMapType, ComparesNamesRegardlessOfCase) {
    AddressMap map;
    map["Alpha"] = {"1"};
    map["ALPHA"] = {"2"};
    EXPECT_EQ(entries_of(map), (std::vector<Entry>{{"Alpha", {"2"}}}));
    EXPECT_EQ(map.count("aLPHA"), 1U);
}

TEST(AddressMapType, HasFourOperationsThatReturnNothing) {
    using Name = const std::string&;
    EXPECT_TRUE(std::is_void_v<decltype(std::declval<const AddressMap&>().Save(
                    std::declval<std::ostream&>()))>);
    EXPECT_TRUE(
        std::is_void_v<decltype(std::declval<const AddressMap&>().Save(std::declval<Name>()))>);
    EXPECT_TRUE(
        std::is_void_v<decltype(std::declval<AddressMap&>().Load(std::declval<std::istream&>()))>);
    EXPECT_TRUE(std::is_void_v<decltype(std::declval<AddressMap&>().Load(std::declval<Name>()))>);
}

// Saving to a stream

TEST(SaveToStream, WritesALineForEachEntry) {
    EXPECT_EQ(saved(map_of({{"Alpha", {"10.0.0.1", "host2"}}, {"beta", {}}})),
              "Alpha|10.0.0.1,host2\nbeta\n");
}

TEST(SaveToStream, WritesNothingForAnEmptyMap) { EXPECT_EQ(saved(AddressMap()), ""); }

TEST(SaveToStream, WritesTheNameAloneWithoutAddresses) {
    EXPECT_EQ(saved(map_of({{"name", {}}})), "name\n");
    EXPECT_EQ(saved(map_of({{"", {}}})), "\n");
}

TEST(SaveToStream, WritesEmptyAddressesAndNames) {
    EXPECT_EQ(saved(map_of({{"n", {""}}})), "n|\n");
    EXPECT_EQ(saved(map_of({{"n", {"", ""}}})), "n|,\n");
    EXPECT_EQ(saved(map_of({{"n", {"a", "", "b", ""}}})), "n|a,,b,\n");
    EXPECT_EQ(saved(map_of({{"", {"a"}}})), "|a\n");
    EXPECT_EQ(saved(map_of({{"", {""}}})), "|\n");
}

// '_' stands behind the upper-case letters and in front of the lower-case ones.
TEST(SaveToStream, WritesInTheOrderOfUpperCaseNames) {
    EXPECT_EQ(saved(map_of({{"b", {}},
                            {"C", {}},
                            {"_", {}},
                            {"A", {}},
                            {"ab", {}},
                            {"1", {}},
                            {"\xff", {}},
                            {"a ", {}},
                            {"", {}}})),
              "\n1\nA\na \nab\nb\nC\n_\n\xff\n");
}

TEST(SaveToStream, WritesTextsAsTheyAre) {
    EXPECT_EQ(saved(map_of({{"a|b\nc", {"d,e", "f\n|", " \"g\" \r"}}})),
              "a|b\nc|d,e,f\n|, \"g\" \r\n");
    const std::string nul(1, '\0');
    EXPECT_EQ(saved(map_of({{nul, {nul, texts::all_bytes()}}})),
              nul + '|' + nul + ',' + texts::all_bytes() + '\n');
}

TEST(SaveToStream, WritesBehindWhatIsThere) {
    std::ostringstream out;
    out << "first line\n";
    map_of({{"n", {"a"}}}).Save(out);
    EXPECT_EQ(out.str(), "first line\nn|a\n");
}

TEST(SaveToStream, LeavesTheMapAsItWas) {
    const AddressMap map = map_of({{"n", {"a", ""}}, {"m", {}}});
    const AddressMap before = map;
    saved(map);
    EXPECT_EQ(entries_of(map), entries_of(before));
}

TEST(SaveToStream, AgreesWithTheModel) {
    const std::vector<Addresses> lists = {
        {},        {""},       {"a"},   {"", ""},           {"a", ""},
        {"", "a"}, {"a", "b"}, {"a,b"}, {"a", "b|c", "\n"}, {std::string(100, 'x'), "y"}};
    const std::vector<std::string> names = texts::over<std::string>("aB_|", 2);
    for (const std::string& first : names) {
        for (const std::string& second : names) {
            for (const Addresses& addresses : lists) {
                const AddressMap map = map_of({{first, addresses}, {second, {"a"}}});
                ASSERT_EQ(saved(map), address_map_model::saved(map));
            }
        }
    }
}

namespace {

// Takes characters up to a limit, and fails one flush on demand. Needs no memory while it is used.
class Sink : public std::streambuf {
public:
    enum Manner { REFUSES, THROWS };

    explicit Sink(std::size_t limit = SIZE, Manner manner = REFUSES)
        : limit_(limit), manner_(manner) {
        flushed_sizes_.reserve(SIZE);
    }

    void clear() {
        size_ = 0;
        flushed_sizes_.clear();
    }

    void fail_flush(std::size_t number) { failing_flush_ = number; }

    std::string text() const { return {text_.data(), size_}; }
    const std::vector<std::size_t>& flushed_sizes() const { return flushed_sizes_; }

protected:
    int_type overflow(int_type c) override {
        if (size_ == limit_) {
            return refuse(), traits_type::eof();
        }
        text_[size_++] = traits_type::to_char_type(c);
        return c;
    }

    int sync() override {
        flushed_sizes_.push_back(size_);
        if (flushed_sizes_.size() == failing_flush_) {
            return refuse(), -1;
        }
        return 0;
    }

private:
    static constexpr std::size_t SIZE = 512;

    void refuse() const {
        if (manner_ == THROWS) {
            throw std::runtime_error("no space");
        }
    }

    std::array<char, SIZE> text_{};
    std::size_t size_ = 0;
    std::size_t limit_;
    Manner manner_;
    std::size_t failing_flush_ = 0;
    std::vector<std::size_t> flushed_sizes_;
};

const AddressMap THREE_LINES = map_of({{"a", {"1", "2"}}, {"b", {}}, {"c", {"33"}}});
const std::string THREE_LINES_TEXT = "a|1,2\nb\nc|33\n";

} // namespace

TEST(SaveToStream, FlushesAfterEveryLine) {
    Sink sink;
    std::ostream out(&sink);
    THREE_LINES.Save(out);
    EXPECT_EQ(sink.text(), THREE_LINES_TEXT);
    EXPECT_EQ(sink.flushed_sizes(), (std::vector<std::size_t>{6, 8, 13}));
}

// Loading from a stream

TEST(LoadFromStream, ReadsAnEntryFromEachLine) {
    EXPECT_EQ(entries_of(loaded("Alpha|10.0.0.1,host2\nbeta|h\n")),
              (std::vector<Entry>{{"Alpha", {"10.0.0.1", "host2"}}, {"beta", {"h"}}}));
}

TEST(LoadFromStream, ReplacesTheMap) {
    EXPECT_EQ(entries_of(loaded("")), std::vector<Entry>());
    EXPECT_EQ(entries_of(loaded("n|a")), (std::vector<Entry>{{"n", {"a"}}}));
}

TEST(LoadFromStream, PassesOverLinesWithoutASeparator) {
    EXPECT_EQ(entries_of(loaded("Alpha|10.0.0.1,host2\nbeta\n")),
              (std::vector<Entry>{{"Alpha", {"10.0.0.1", "host2"}}}));
    EXPECT_EQ(entries_of(loaded("\n\nbeta\na,b\nn|a\nlast")), (std::vector<Entry>{{"n", {"a"}}}));
}

TEST(LoadFromStream, KeepsTheFirstOfNamesThatDifferInCase) {
    EXPECT_EQ(entries_of(loaded("x|1\nX|2\n")), (std::vector<Entry>{{"x", {"1"}}}));
    EXPECT_EQ(entries_of(loaded("X|2\nx|1\nX|3\n")), (std::vector<Entry>{{"X", {"2"}}}));
    EXPECT_EQ(entries_of(loaded("x|\nx|1\n")), (std::vector<Entry>{{"x", {}}}));
}

TEST(LoadFromStream, SplitsAtTheFirstSeparator) {
    EXPECT_EQ(entries_of(loaded("a|b|c,d|e\n")), (std::vector<Entry>{{"a", {"b|c", "d|e"}}}));
    EXPECT_EQ(entries_of(loaded("a||\n")), (std::vector<Entry>{{"a", {"|"}}}));
    EXPECT_EQ(entries_of(loaded("a,b|c\n")), (std::vector<Entry>{{"a,b", {"c"}}}));
}

TEST(LoadFromStream, ReadsAnEmptyName) {
    EXPECT_EQ(entries_of(loaded("|a\n")), (std::vector<Entry>{{"", {"a"}}}));
    EXPECT_EQ(entries_of(loaded("|\n")), (std::vector<Entry>{{"", {}}}));
}

TEST(LoadFromStream, ReadsAnEmptyListAndEmptyAddresses) {
    EXPECT_EQ(entries_of(loaded("n|\n")), (std::vector<Entry>{{"n", {}}}));
    EXPECT_EQ(entries_of(loaded("n|,\n")), (std::vector<Entry>{{"n", {"", ""}}}));
    EXPECT_EQ(entries_of(loaded("n|a,,b\n")), (std::vector<Entry>{{"n", {"a", "", "b"}}}));
    EXPECT_EQ(entries_of(loaded("n|a,\n")), (std::vector<Entry>{{"n", {"a", ""}}}));
    EXPECT_EQ(entries_of(loaded("n|,a\n")), (std::vector<Entry>{{"n", {"", "a"}}}));
}

TEST(LoadFromStream, ReadsALastLineWithoutALineFeed) {
    EXPECT_EQ(entries_of(loaded("m|a\nn|b")), (std::vector<Entry>{{"m", {"a"}}, {"n", {"b"}}}));
    EXPECT_EQ(entries_of(loaded("n|")), (std::vector<Entry>{{"n", {}}}));
    EXPECT_EQ(entries_of(loaded("|")), (std::vector<Entry>{{"", {}}}));
}

TEST(LoadFromStream, KeepsCarriageReturnsAndBlanks) {
    EXPECT_EQ(entries_of(loaded("n|a,b\r\n")), (std::vector<Entry>{{"n", {"a", "b\r"}}}));
    EXPECT_EQ(entries_of(loaded("n|\r\n")), (std::vector<Entry>{{"n", {"\r"}}}));
    EXPECT_EQ(entries_of(loaded("n\r|a\rm|b")), (std::vector<Entry>{{"n\r", {"a\rm|b"}}}));
    EXPECT_EQ(entries_of(loaded(" n | a ,\tb \n")), (std::vector<Entry>{{" n ", {" a ", "\tb "}}}));
}

TEST(LoadFromStream, KnowsNoQuotesAndNoNul) {
    EXPECT_EQ(entries_of(loaded("\"n\"|\"a,b\"\n")),
              (std::vector<Entry>{{"\"n\"", {"\"a", "b\""}}}));
    EXPECT_EQ(entries_of(loaded(std::string("n\0|a\0,b\n", 8))),
              (std::vector<Entry>{{std::string("n\0", 2), {std::string("a\0", 2), "b"}}}));
}

TEST(LoadFromStream, ReadsFromWhereTheStreamStandsToItsEnd) {
    std::istringstream in("m|1\nn|2\no|3\n");
    std::string line;
    std::getline(in, line);
    AddressMap map;
    map.Load(in);
    EXPECT_EQ(entries_of(map), (std::vector<Entry>{{"n", {"2"}}, {"o", {"3"}}}));
    EXPECT_TRUE(in.eof());
}

TEST(LoadFromStream, AgreesWithTheModel) {
    for (const std::string& text : texts::over<std::string>("aA|,\n", 7)) {
        ASSERT_EQ(entries_of(loaded(text)), address_map_model::loaded(text))
            << testing::PrintToString(text);
    }
    for (const std::string& text : texts::over<std::string>(std::string("a_|,\n\r \0", 8), 4)) {
        ASSERT_EQ(entries_of(loaded(text)), address_map_model::loaded(text))
            << testing::PrintToString(text);
    }
}

TEST(LoadFromStream, KnowsEveryByte) {
    for (const char c : texts::all_bytes()) {
        const std::string text =
            std::string{'x', c, '|', 'y', c, ',', 'z', '\n'} + c + "|" + c + '\n' + c;
        ASSERT_EQ(entries_of(loaded(text)), address_map_model::loaded(text))
            << testing::PrintToString(text);
    }
}

// A name without an end, and lists without one; also more than one would like to recurse into.
TEST(LoadFromStream, ReadsAMillionLinesAndAddresses) {
    constexpr std::size_t MANY = 1000000;
    std::istringstream one_list("n|" + std::string(MANY, ','));
    std::istringstream one_name(std::string(MANY, 'n') + "|a");
    std::string lines;
    for (std::size_t i = 0; i < MANY; ++i) {
        lines += i % 100000 == 0 ? std::to_string(i) + "|a\n" : "nothing\n";
    }
    std::istringstream many_lines(lines);
    AddressMap map;
    small_stack::run([&] { map.Load(one_list); });
    EXPECT_EQ(entries_of(map), (std::vector<Entry>{{"n", Addresses(MANY + 1)}}));
    small_stack::run([&] { map.Load(one_name); });
    EXPECT_EQ(entries_of(map), (std::vector<Entry>{{std::string(MANY, 'n'), {"a"}}}));
    small_stack::run([&] { map.Load(many_lines); });
    EXPECT_EQ(map.size(), 10U);
}

// Both ways

TEST(RoundTrip, KeepsMapsOfOrdinaryTexts) {
    std::mt19937 engine(static_cast<unsigned int>(GTEST_FLAG_GET(random_seed)));
    const std::string alphabet = std::string("abAB_ \t\"\r\xe9") + '\0';
    const auto text_of_up_to = [&](std::size_t longest) {
        std::string text(engine() % (longest + 1), ' ');
        for (char& c : text) {
            c = alphabet[engine() % alphabet.size()];
        }
        return text;
    };
    for (int round = 0; round < 1000; ++round) {
        AddressMap map;
        for (auto entries = engine() % 10; entries != 0; --entries) {
            Addresses& addresses = map[text_of_up_to(3)];
            addresses = {'a' + text_of_up_to(20)}; // a lone empty one would be no address
            for (auto more = engine() % 4; more != 0; --more) {
                addresses.push_back(text_of_up_to(3));
            }
        }
        const std::string text = saved(map);
        ASSERT_EQ(text, address_map_model::saved(map));
        ASSERT_EQ(entries_of(loaded(text)), entries_of(map)) << testing::PrintToString(text);
    }
}

TEST(RoundTrip, LosesEmptyListsAndALoneEmptyAddress) {
    const AddressMap map = map_of({{"beta", {}}, {"empty", {""}}, {"n", {"a"}}});
    EXPECT_EQ(entries_of(loaded(saved(map))), (std::vector<Entry>{{"empty", {}}, {"n", {"a"}}}));
}

TEST(RoundTrip, LosesWhatHoldsCharactersOfTheFormat) {
    EXPECT_EQ(entries_of(loaded(saved(map_of({{"a|b", {"c"}}, {"n", {"1,2", "3\n4|5"}}})))),
              (std::vector<Entry>{{"4", {"5"}}, {"a", {"b|c"}}, {"n", {"1", "2", "3"}}}));
}

// Streams that turn bad

TEST(BadStream, IsRefusedBeforeAnythingIsWritten) {
    std::ostringstream out;
    out.setstate(std::ios_base::badbit);
    EXPECT_EQ(failure_of_save(THREE_LINES, out), WRITING);
    EXPECT_EQ(out.str(), "");
    std::ostream without_buffer(nullptr);
    EXPECT_EQ(failure_of_save(THREE_LINES, without_buffer), WRITING);
}

TEST(BadStream, DoesNotMatterForAnEmptyMap) {
    std::ostringstream out;
    out.setstate(std::ios_base::badbit);
    EXPECT_EQ(failure_of_save(AddressMap(), out), NONE);
    EXPECT_EQ(out.str(), "");
}

TEST(BadStream, IsNotOneThatOnlyFailed) {
    for (const auto state : {std::ios_base::failbit, std::ios_base::eofbit}) {
        std::ostringstream out;
        out.setstate(state);
        EXPECT_EQ(failure_of_save(THREE_LINES, out), NONE);
        EXPECT_EQ(out.str(), "");
        EXPECT_FALSE(out.bad());
    }
}

// It is looked at in front of each line, so that a last line may be lost with the stream alone
// knowing.
TEST(BadStream, EndsTheSavingBeforeTheNextLine) {
    const std::size_t last_line = THREE_LINES_TEXT.size() - 5;
    for (const Sink::Manner manner : {Sink::REFUSES, Sink::THROWS}) {
        for (std::size_t limit = 0; limit <= THREE_LINES_TEXT.size(); ++limit) {
            Sink sink(limit, manner);
            std::ostream out(&sink);
            EXPECT_EQ(failure_of_save(THREE_LINES, out), limit < last_line ? WRITING : NONE)
                << limit;
            EXPECT_EQ(sink.text(), THREE_LINES_TEXT.substr(0, limit));
            EXPECT_EQ(out.bad(), limit < THREE_LINES_TEXT.size()) << limit;
        }
    }
}

TEST(BadStream, MayBeOneThatCannotBeFlushed) {
    for (const Sink::Manner manner : {Sink::REFUSES, Sink::THROWS}) {
        Sink sink(100, manner);
        sink.fail_flush(2);
        std::ostream out(&sink);
        EXPECT_EQ(failure_of_save(THREE_LINES, out), WRITING);
        EXPECT_EQ(sink.text(), THREE_LINES_TEXT.substr(0, 8));

        Sink last_sink(100, manner);
        last_sink.fail_flush(3);
        std::ostream last_out(&last_sink);
        EXPECT_EQ(failure_of_save(THREE_LINES, last_out), NONE);
        EXPECT_EQ(last_sink.text(), THREE_LINES_TEXT);
        EXPECT_TRUE(last_out.bad());
    }
}

namespace {

// Gives the first characters of a text and breaks then.
class BreakingSource : public std::streambuf {
public:
    BreakingSource(std::string text, std::size_t limit) : text_(std::move(text)), limit_(limit) {}

protected:
    int_type underflow() override {
        if (position_ == limit_) {
            throw std::runtime_error("broken");
        }
        char* const next = &text_[position_++];
        setg(next, next, next + 1);
        return traits_type::to_int_type(*next);
    }

private:
    std::string text_;
    std::size_t position_ = 0;
    std::size_t limit_;
};

} // namespace

TEST(BadStream, EndsTheLoadingAndLeavesTheEntriesSoFar) {
    const std::string text = "a|1,2\nb\nc|33\nA|4\n";
    for (std::size_t limit = 0; limit <= text.size(); ++limit) {
        const std::size_t last_line_feed = text.substr(0, limit).rfind('\n');
        const std::string whole_lines = text.substr(0, last_line_feed + 1); // npos + 1 is 0
        BreakingSource source(text, limit);
        std::istream in(&source);
        AddressMap map = map_of({{"earlier", {"entry"}}});
        EXPECT_EQ(failure_of_load(map, in), READING) << limit;
        EXPECT_EQ(entries_of(map), address_map_model::loaded(whole_lines)) << limit;
    }
}

TEST(BadStream, IsRefusedWithTheMapCleared) {
    std::istringstream in("n|a\n");
    in.setstate(std::ios_base::badbit);
    AddressMap map = THREE_LINES;
    EXPECT_EQ(failure_of_load(map, in), READING);
    EXPECT_TRUE(map.empty());

    std::istream without_buffer(nullptr);
    map = THREE_LINES;
    EXPECT_EQ(failure_of_load(map, without_buffer), READING);
    EXPECT_TRUE(map.empty());
}

TEST(BadStream, IsNotOneThatHasEnded) {
    for (const auto state : {std::ios_base::failbit, std::ios_base::eofbit}) {
        std::istringstream in("n|a\n");
        in.setstate(state);
        AddressMap map = THREE_LINES;
        EXPECT_EQ(failure_of_load(map, in), NONE);
        EXPECT_TRUE(map.empty());
    }
}

// Files

namespace {

std::string contents_of(const std::string& name) {
    std::ifstream file(name);
    EXPECT_TRUE(file.is_open()) << name;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string make_file_of(const std::string& name, const std::string& text) {
    std::ofstream file(name);
    file << text;
    file.close();
    EXPECT_TRUE(file.good()) << name;
    return name;
}

// The lowest number that is free: the same as before when a call has left no file open.
int next_descriptor() {
    const int descriptor = files::checked(open("/dev/null", O_RDONLY | O_CLOEXEC), "/dev/null");
    close(descriptor);
    return descriptor;
}

void set_mode(const std::string& path, mode_t mode) {
    files::checked(chmod(path.c_str(), mode), path);
}

} // namespace

TEST(SaveToFile, MakesAFileOfTheFormat) {
    const files::Directory base;
    THREE_LINES.Save(base / "map");
    EXPECT_EQ(contents_of(base / "map"), THREE_LINES_TEXT);
}

TEST(SaveToFile, ReplacesAFile) {
    const files::Directory base;
    const std::string name = make_file_of(base / "map", std::string(10000, 'x'));
    THREE_LINES.Save(name);
    EXPECT_EQ(contents_of(name), THREE_LINES_TEXT);
    map_of({{"n", {"a"}}}).Save(name);
    EXPECT_EQ(contents_of(name), "n|a\n");
}

TEST(SaveToFile, MakesAnEmptyFileOfAnEmptyMap) {
    const files::Directory base;
    AddressMap().Save(base / "new");
    EXPECT_EQ(contents_of(base / "new"), "");
    const std::string name = make_file_of(base / "old", "n|a\n");
    AddressMap().Save(name);
    EXPECT_EQ(contents_of(name), "");
}

TEST(SaveToFile, FollowsALink) {
    const files::Directory base;
    make_file_of(base / "target", "n|a\n");
    const std::string link = files::make_link(base / "link", "target");
    const std::string dangling = files::make_link(base / "dangling", "new");
    THREE_LINES.Save(link);
    THREE_LINES.Save(dangling);
    EXPECT_EQ(contents_of(base / "target"), THREE_LINES_TEXT);
    EXPECT_EQ(contents_of(base / "new"), THREE_LINES_TEXT);
    char target[16];
    EXPECT_EQ(readlink(link.c_str(), target, sizeof target), 6) << "the link was replaced";
}

TEST(SaveToFile, TakesAnyName) {
    const files::Directory base;
    for (const char* const name : {" ", "a b", "caf\xc3\xa9", "two\nlines", "%s", "a|b,c"}) {
        THREE_LINES.Save(base / name);
        EXPECT_EQ(contents_of(base / name), THREE_LINES_TEXT) << name;
    }
}

TEST(SaveToFile, WritesALargeMap) {
    const files::Directory base;
    AddressMap map;
    for (int i = 0; i < 2000; ++i) {
        map[std::to_string(i)] = {std::string(10, 'x'),
                                  std::string(static_cast<std::size_t>(i), 'y')};
    }
    map.Save(base / "map");
    EXPECT_TRUE(contents_of(base / "map") == address_map_model::saved(map));
    AddressMap copy;
    copy.Load(base / "map");
    EXPECT_TRUE(copy == map);
}

TEST(LoadFromFile, ReplacesTheMap) {
    const files::Directory base;
    const std::string name = make_file_of(base / "map", "x|1,2\r\nX|3\nbeta\n|a\nlast|");
    AddressMap map = THREE_LINES;
    map.Load(name);
    EXPECT_EQ(entries_of(map),
              (std::vector<Entry>{{"", {"a"}}, {"last", {}}, {"x", {"1", "2\r"}}}));
    EXPECT_EQ(contents_of(name), "x|1,2\r\nX|3\nbeta\n|a\nlast|");
}

TEST(LoadFromFile, ReadsWhatWasSaved) {
    const files::Directory base;
    map_of({{"Alpha", {"10.0.0.1", "host2"}}, {"beta", {}}}).Save(base / "map");
    EXPECT_EQ(contents_of(base / "map"), "Alpha|10.0.0.1,host2\nbeta\n");
    AddressMap map;
    map.Load(base / "map");
    EXPECT_EQ(entries_of(map), (std::vector<Entry>{{"Alpha", {"10.0.0.1", "host2"}}}));
}

TEST(LoadFromFile, ClearsTheMapForAnEmptyFile) {
    const files::Directory base;
    AddressMap map = THREE_LINES;
    map.Load(files::make_file(base / "map"));
    EXPECT_TRUE(map.empty());
    map = THREE_LINES;
    map.Load("/dev/null");
    EXPECT_TRUE(map.empty());
}

TEST(LoadFromFile, FollowsALink) {
    const files::Directory base;
    make_file_of(base / "target", "n|a\n");
    AddressMap map;
    map.Load(files::make_link(base / "link", "target"));
    EXPECT_EQ(entries_of(map), (std::vector<Entry>{{"n", {"a"}}}));
}

TEST(LoadFromFile, LeavesTheMapWhenThereIsNone) {
    const files::Directory base;
    files::make_file(base / "file");
    for (const std::string& name : {base / "nothing", base / "nothing/map", base / "file/map",
                                    std::string(), base / std::string(256, 'a')}) {
        AddressMap map = THREE_LINES;
        EXPECT_EQ(failure_of_load(map, name), NONE) << name;
        EXPECT_EQ(entries_of(map), entries_of(THREE_LINES)) << name;
    }
}

TEST(LoadFromFile, LeavesTheMapWhenTheDirectoryMayNotBeSearched) {
    const files::Directory base;
    const std::string closed = files::make_directory(base / "closed");
    const std::string name = make_file_of(closed + "/map", "n|a\n");
    set_mode(closed, 0600);
    AddressMap map = THREE_LINES;
    Failure failure = READING;
    {
        const files::WithoutRights without_rights;
        failure = failure_of_load(map, name);
    }
    set_mode(closed, 0700);
    EXPECT_EQ(failure, NONE);
    EXPECT_EQ(entries_of(map), entries_of(THREE_LINES));
}

// Errors of files

TEST(FileError, NamesTheFileThatCannotBeWritten) {
    const files::Directory base;
    files::make_file(base / "file");
    for (const std::string& name : {base / "nothing/map", base / "file/map", base.path(),
                                    std::string(), base / std::string(256, 'a')}) {
        EXPECT_EQ(failure_of_save(THREE_LINES, name), not_writable(name));
        EXPECT_EQ(failure_of_save(AddressMap(), name), not_writable(name));
    }
}

// It is opened for reading, too, though nothing is read.
TEST(FileError, IsAFileWithoutBothPermissions) {
    const files::Directory base;
    const std::string name = make_file_of(base / "map", "n|a\n");
    for (const mode_t mode : {0000, 0200, 0400}) {
        set_mode(name, mode);
        {
            const files::WithoutRights without_rights;
            EXPECT_EQ(failure_of_save(THREE_LINES, name), not_writable(name)) << mode;
        }
        set_mode(name, 0600);
        EXPECT_EQ(contents_of(name), "n|a\n") << mode;
    }
}

TEST(FileError, IsADirectoryThatMayNotBeWritten) {
    const files::Directory base;
    const std::string closed = files::make_directory(base / "closed");
    set_mode(closed, 0500);
    {
        const files::WithoutRights without_rights;
        EXPECT_EQ(failure_of_save(THREE_LINES, closed + "/map"), not_writable(closed + "/map"));
    }
    set_mode(closed, 0700);
}

TEST(FileError, NamesTheFileThatIsThereButCannotBeRead) {
    const files::Directory base;
    const std::string shut = make_file_of(base / "shut", "n|a\n");
    set_mode(shut, 0);
    for (const std::string& name :
         {shut, files::make_link(base / "dangling", "nothing"),
          files::make_link(base / "loop", "loop"), files::make_node(base / "socket", S_IFSOCK)}) {
        AddressMap map = THREE_LINES;
        const files::WithoutRights without_rights;
        EXPECT_EQ(failure_of_load(map, name), not_readable(name));
        EXPECT_EQ(entries_of(map), entries_of(THREE_LINES)) << name;
    }
}

// A directory can be opened; that it cannot be read shows later.
TEST(FileError, IsADirectoryToLoadFrom) {
    const files::Directory base;
    AddressMap map = THREE_LINES;
    EXPECT_EQ(failure_of_load(map, base.path()), READING);
    EXPECT_TRUE(map.empty());
}

// Nobody can ask the stream about the last line, so that the file's form has to tell.
TEST(FileError, IsAFullDevice) {
    EXPECT_EQ(failure_of_save(map_of({{"n", {"a"}}}), "/dev/full"), WRITING);
    EXPECT_EQ(failure_of_save(THREE_LINES, "/dev/full"), WRITING);
    EXPECT_EQ(failure_of_save(AddressMap(), "/dev/full"), NONE);
}

namespace {

// Keeps files from growing beyond a size, as a full disk does.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t size) : earlier_action_(std::signal(SIGXFSZ, SIG_IGN)) {
        files::checked(getrlimit(RLIMIT_FSIZE, &earlier_), "getrlimit");
        files::checked(set(size), "setrlimit");
    }
    ~FileSizeLimit() {
        set(earlier_.rlim_cur);
        std::signal(SIGXFSZ, earlier_action_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    int set(rlim_t size) const {
        const rlimit limit{size, earlier_.rlim_max};
        return setrlimit(RLIMIT_FSIZE, &limit);
    }

    rlimit earlier_{};
    void (*earlier_action_)(int);
};

} // namespace

TEST(FileError, LeavesTheLinesThatWereWritten) {
    const files::Directory base;
    const std::string name = base / "map";
    for (std::size_t size = 0; size <= THREE_LINES_TEXT.size(); ++size) {
        Failure failure;
        {
            const FileSizeLimit limit(size);
            failure = failure_of_save(THREE_LINES, name);
        }
        EXPECT_EQ(failure, size < THREE_LINES_TEXT.size() ? WRITING : NONE) << size;
        EXPECT_EQ(contents_of(name), THREE_LINES_TEXT.substr(0, size));
    }
}

TEST(FileError, LeavesNoFileOpen) {
    const files::Directory base;
    const int descriptor = next_descriptor();
    AddressMap map;
    map.Load(base / "nothing");
    THREE_LINES.Save(base / "map");
    map.Load(base / "map");
    EXPECT_EQ(next_descriptor(), descriptor);

    EXPECT_EQ(failure_of_save(THREE_LINES, base.path()), not_writable(base.path()));
    EXPECT_EQ(failure_of_save(THREE_LINES, "/dev/full"), WRITING);
    EXPECT_EQ(failure_of_load(map, base.path()), READING);
    EXPECT_EQ(next_descriptor(), descriptor);
}

TEST(FileError, TellsAPersonWhatToDo) {
    const files::Directory base;
    const std::string name = base / "nothing/map";
    try {
        THREE_LINES.Save(name);
        FAIL() << "nothing was thrown";
    } catch (const VI18NError& error) {
        EXPECT_EQ(error.what(),
                  "Cannot open the address map '" + name + "' for writing (message 60-4145).");
    }
}

// Failed allocations

namespace {

const std::string LONG_TEXT(100, 'x'); // not kept inside of a string object
const AddressMap LONG_MAP = map_of({{"a", {LONG_TEXT, "1"}}, {"b", {LONG_TEXT}}, {"c", {"2"}}});

// Streams do not pass on that there is no memory, but turn bad.
template <class Call>
void expect_bad_alloc_or(const Failure& failure, Call call) {
    try {
        call();
    } catch (const VI18NError& error) {
        EXPECT_EQ(error.message_number(), failure.number);
        throw std::bad_alloc();
    }
}

void expect_first_entries(const AddressMap& map, const AddressMap& all) {
    const std::vector<Entry> entries = entries_of(map);
    const std::vector<Entry> expected = entries_of(all);
    ASSERT_LE(entries.size(), expected.size());
    EXPECT_TRUE(std::equal(entries.begin(), entries.end(), expected.begin()));
}

} // namespace

TEST(AddressMapAllocations, AFailedOneLeavesTheLinesThatWereWritten) {
    Sink sink;
    std::ostream out(&sink);
    const auto check = [&] {
        EXPECT_EQ(sink.text(), address_map_model::saved(LONG_MAP).substr(0, sink.text().size()));
        EXPECT_TRUE(sink.text().empty() || sink.text().back() == '\n') << sink.text();
        EXPECT_TRUE(out.good());
        sink.clear();
    };
    EXPECT_GT(allocation::fail_each([&] { LONG_MAP.Save(out); }, check), 0U);
    EXPECT_EQ(sink.text(), address_map_model::saved(LONG_MAP));
}

TEST(AddressMapAllocations, AFailedOneLeavesTheEntriesSoFar) {
    const std::string text = address_map_model::saved(LONG_MAP);
    std::istringstream in(text);
    AddressMap map;
    const auto check = [&] {
        expect_first_entries(map, LONG_MAP);
        in.clear();
        in.str(text);
    };
    const auto load = [&] { expect_bad_alloc_or(READING, [&] { map.Load(in); }); };
    EXPECT_GT(allocation::fail_each(load, check), 0U);
    EXPECT_EQ(entries_of(map), entries_of(LONG_MAP));
}

TEST(AddressMapAllocations, AFailedOneLeavesNoFileOpen) {
    const files::Directory base;
    const std::string name = base / "map";
    const int descriptor = next_descriptor();
    const auto save = [&] { expect_bad_alloc_or(WRITING, [&] { LONG_MAP.Save(name); }); };
    EXPECT_GT(allocation::fail_each(save, [&] { EXPECT_EQ(next_descriptor(), descriptor); }), 0U);
    EXPECT_EQ(contents_of(name), address_map_model::saved(LONG_MAP));

    AddressMap map = THREE_LINES;
    const auto check = [&] {
        EXPECT_EQ(next_descriptor(), descriptor);
        if (!(map == THREE_LINES)) {
            expect_first_entries(map, LONG_MAP);
        }
        map = THREE_LINES;
    };
    const auto load = [&] { expect_bad_alloc_or(READING, [&] { map.Load(name); }); };
    EXPECT_GT(allocation::fail_each(load, check), 0U);
    EXPECT_EQ(entries_of(map), entries_of(LONG_MAP));
    EXPECT_EQ(next_descriptor(), descriptor);
}

TEST(AddressMapUsage, WorksAsTheHeaderShows) {
    nuriccl::AddressMap map;
    map["Alpha"] = {"10.0.0.1", "host2"};
    std::stringstream stream;
    map.Save(stream);
    nuriccl::AddressMap copy;
    copy.Load(stream);
    EXPECT_EQ(copy.at("ALPHA"), map["alpha"]);
}
