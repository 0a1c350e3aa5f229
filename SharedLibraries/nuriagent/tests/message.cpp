// Tests of the messages to people.
//
//   public member                              cases
//   I18NMessage::MessageSeverity               Severity.*
//   I18NMessage::Parameter                     Parameter.*
//   VI18NError (two forms), its getters        MessageError.*, MessageErrorCopy.*
//   VI18NError::what                           MessageText.*
//   what happens without memory                MessageAllocations.*
//   the example of the header                  MessageUsage.*

#include "../../nuriccl/tests/support/allocation.hpp"

#include <nuriagent/message.hpp>

#include <algorithm>
#include <climits>
#include <exception>
#include <gtest/gtest.h>
#include <initializer_list>
#include <locale>
#include <memory>
#include <set>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

namespace {

using I18NMessage::MessageSeverity;
using I18NMessage::Parameter;

constexpr int ADDRESS_MAP = 60; // a message set
constexpr int KNOWN[] = {4144, 4145, 8267, 8268};

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Printable characters only, from a capital letter to a full stop.
bool is_sentence(const std::string& text) {
    const auto printable = [](char c) { return c >= ' ' && c <= '~'; };
    return text.size() > 20 && text.front() >= 'A' && text.front() <= 'Z' && text.back() == '.' &&
           std::all_of(text.begin(), text.end(), printable);
}

std::vector<std::string> texts_of(const std::vector<Parameter>& parameters) {
    std::vector<std::string> texts;
    for (const Parameter& parameter : parameters) {
        texts.push_back(parameter.text());
    }
    return texts;
}

void expect_equal(const VI18NError& a, const VI18NError& b) {
    EXPECT_EQ(a.message_set(), b.message_set());
    EXPECT_EQ(a.message_number(), b.message_number());
    EXPECT_EQ(a.severity(), b.severity());
    EXPECT_EQ(texts_of(a.parameters()), texts_of(b.parameters()));
    EXPECT_STREQ(a.what(), b.what());
}

// Writes numbers in groups of two digits.
class Grouping : public std::numpunct<char> {
protected:
    char do_thousands_sep() const override { return '\''; }
    std::string do_grouping() const override { return "\2"; }
};

const std::string LONG_TEXT(100, 'x'); // not kept inside of a string object

} // namespace

TEST(Severity, HasTheValuesOfTheCatalogue) {
    EXPECT_EQ(int{I18NMessage::debug}, 0);
    EXPECT_EQ(int{I18NMessage::information}, 1);
    EXPECT_EQ(int{I18NMessage::warning}, 2);
    EXPECT_EQ(int{I18NMessage::error}, 3);
    EXPECT_EQ(int{I18NMessage::fatal}, 4);
}

TEST(Parameter, HasItsText) {
    EXPECT_EQ(Parameter("/etc/map").text(), "/etc/map");
    EXPECT_EQ(Parameter("").text(), "");
    EXPECT_EQ(Parameter("caf\xc3\xa9\n%s").text(), "caf\xc3\xa9\n%s");
    EXPECT_EQ(Parameter(LONG_TEXT.c_str()).text(), LONG_TEXT);
}

TEST(Parameter, TakesNullForTheEmptyText) {
    const char* const null = nullptr;
    EXPECT_EQ(Parameter(null).text(), "");
}

TEST(Parameter, CopiesTheText) {
    char text[] = "before";
    const Parameter parameter(text);
    text[0] = 'x';
    EXPECT_EQ(parameter.text(), "before");
}

TEST(Parameter, IsMadeOfATextWithoutACast) {
    EXPECT_TRUE((std::is_convertible_v<const char*, Parameter>));
    const Parameter parameter = "text";
    EXPECT_EQ(parameter.text(), "text");
}

TEST(MessageError, HasNoParametersUnlessGiven) {
    const VI18NError error(60, 8268, I18NMessage::error);
    EXPECT_EQ(error.message_set(), 60);
    EXPECT_EQ(error.message_number(), 8268);
    EXPECT_EQ(error.severity(), I18NMessage::error);
    EXPECT_TRUE(error.parameters().empty());
}

TEST(MessageError, HasTheParameterGiven) {
    const VI18NError error(60, 4145, I18NMessage::warning, Parameter("/etc/map"));
    EXPECT_EQ(error.message_set(), 60);
    EXPECT_EQ(error.message_number(), 4145);
    EXPECT_EQ(error.severity(), I18NMessage::warning);
    EXPECT_EQ(texts_of(error.parameters()), (std::vector<std::string>{"/etc/map"}));
}

TEST(MessageError, TakesATextForAParameter) {
    const VI18NError error(60, 4145, I18NMessage::error, "/etc/map");
    EXPECT_EQ(texts_of(error.parameters()), (std::vector<std::string>{"/etc/map"}));
    const char* const null = nullptr;
    const VI18NError without_text(60, 4145, I18NMessage::error, null);
    EXPECT_EQ(texts_of(without_text.parameters()), (std::vector<std::string>{""}));
}

TEST(MessageError, KeepsNumbersOutsideOfTheCatalogue) {
    for (const int number : {INT_MIN, -1, 0, 1, 4144, INT_MAX}) {
        const VI18NError error(number, number, static_cast<MessageSeverity>(number));
        EXPECT_EQ(error.message_set(), number);
        EXPECT_EQ(error.message_number(), number);
        EXPECT_EQ(int{error.severity()}, number);
    }
}

TEST(MessageError, IsAnExceptionOfTheStandardLibrary) {
    EXPECT_TRUE((std::is_convertible_v<VI18NError*, std::exception*>));
    try {
        throw VI18NError(60, 4145, I18NMessage::error, "/etc/map");
    } catch (const std::exception& error) {
        EXPECT_TRUE(contains(error.what(), "/etc/map"));
        EXPECT_EQ(typeid(error), typeid(VI18NError));
        ASSERT_NE(dynamic_cast<const VI18NError*>(&error), nullptr);
        EXPECT_EQ(dynamic_cast<const VI18NError&>(error).message_number(), 4145);
    }
}

TEST(MessageError, OutlivesItsScopeInAnExceptionPointer) {
    std::exception_ptr kept;
    try {
        throw VI18NError(60, 4145, I18NMessage::error, LONG_TEXT.c_str());
    } catch (const VI18NError&) {
        kept = std::current_exception();
    }
    try {
        std::rethrow_exception(kept);
    } catch (const VI18NError& error) {
        expect_equal(error, VI18NError(60, 4145, I18NMessage::error, LONG_TEXT.c_str()));
        return;
    }
    ADD_FAILURE() << "something else was kept";
}

TEST(MessageErrorCopy, IsEqualAndOutlivesTheOriginal) {
    auto original =
        std::make_unique<VI18NError>(60, 4145, I18NMessage::fatal, Parameter(LONG_TEXT.c_str()));
    const VI18NError copy(*original);
    expect_equal(copy, *original);
    original.reset();
    expect_equal(copy, VI18NError(60, 4145, I18NMessage::fatal, Parameter(LONG_TEXT.c_str())));
}

TEST(MessageErrorCopy, IsAssigned) {
    const VI18NError full(60, 4145, I18NMessage::fatal, "/etc/map");
    const VI18NError bare(61, 1, I18NMessage::debug);
    VI18NError error(bare);
    error = full;
    expect_equal(error, full);
    error = bare;
    expect_equal(error, bare);
    const VI18NError& same = error;
    error = same;
    expect_equal(error, bare);
}

// The message's text

TEST(MessageText, IsTheCataloguesWithItsParameterInPlace) {
    EXPECT_STREQ(VI18NError(60, 4145, I18NMessage::error, "/etc/map").what(),
                 "Cannot open the address map '/etc/map' for writing (message 60-4145).");
}

TEST(MessageText, IsASentenceOfItsOwnForEveryMessage) {
    std::set<std::string> texts;
    for (const int number : KNOWN) {
        std::string text = VI18NError(ADDRESS_MAP, number, I18NMessage::error, "PARAMETER").what();
        EXPECT_TRUE(is_sentence(text)) << text;
        EXPECT_TRUE(contains(text, "address map")) << text;
        EXPECT_TRUE(contains(text, "PARAMETER")) << text;
        const std::string numbers = "60-" + std::to_string(number);
        ASSERT_TRUE(contains(text, numbers)) << text;
        text.erase(text.find(numbers), numbers.size());
        EXPECT_TRUE(texts.insert(text).second) << text;
    }
}

TEST(MessageText, TellsReadingFromWriting) {
    EXPECT_TRUE(contains(VI18NError(60, 4144, I18NMessage::error, "m").what(), "reading"));
    EXPECT_TRUE(contains(VI18NError(60, 4145, I18NMessage::error, "m").what(), "writing"));
    EXPECT_TRUE(contains(VI18NError(60, 8267, I18NMessage::error).what(), "Reading"));
    EXPECT_TRUE(contains(VI18NError(60, 8268, I18NMessage::error).what(), "Writing"));
}

TEST(MessageText, IsASentenceWithoutParametersForMessagesThatHaveNone) {
    for (const int number : {8267, 8268}) {
        const std::string text = VI18NError(ADDRESS_MAP, number, I18NMessage::error).what();
        EXPECT_TRUE(is_sentence(text)) << text;
        EXPECT_TRUE(contains(text, "60-" + std::to_string(number))) << text;
        EXPECT_FALSE(contains(text, "''")) << text;
        EXPECT_FALSE(contains(text, "%")) << text;
    }
}

TEST(MessageText, LeavesThePlaceOfAMissingParameterEmpty) {
    EXPECT_STREQ(VI18NError(60, 4145, I18NMessage::error).what(),
                 "Cannot open the address map '' for writing (message 60-4145).");
}

TEST(MessageText, HasNumbersAndParametersOutsideOfTheCatalogue) {
    struct {
        int set;
        int number;
        const char* shown;
    } const unknown[] = {{60, 4146, "60-4146"},
                         {61, 4145, "61-4145"},
                         {0, 0, "0-0"},
                         {-7, INT_MAX, "-7-2147483647"},
                         {INT_MIN, -1, "-2147483648--1"}};
    for (const auto& [set, number, shown] : unknown) {
        const std::string bare = VI18NError(set, number, I18NMessage::error).what();
        EXPECT_TRUE(is_sentence(bare)) << bare;
        EXPECT_TRUE(contains(bare, shown)) << bare;
        EXPECT_FALSE(contains(bare, "address map")) << bare;
        const std::string full = VI18NError(set, number, I18NMessage::error, "/etc/map").what();
        EXPECT_TRUE(is_sentence(full)) << full;
        EXPECT_TRUE(contains(full, shown)) << full;
        EXPECT_TRUE(contains(full, "/etc/map")) << full;
    }
}

TEST(MessageText, ShowsAParameterAsItIs) {
    for (const char* const text : {"%", "%s%n", "50%", "it's", "", "caf\xc3\xa9", "two\nlines"}) {
        for (const int number : KNOWN) {
            const VI18NError error(ADDRESS_MAP, number, I18NMessage::error, text);
            EXPECT_TRUE(contains(error.what(), '\'' + std::string(text) + '\'')) << error.what();
        }
    }
    const VI18NError error(60, 4144, I18NMessage::error, LONG_TEXT.c_str());
    EXPECT_TRUE(contains(error.what(), LONG_TEXT));
}

TEST(MessageText, DoesNotDependOnTheSeverity) {
    for (const int severity : {0, 1, 2, 3, 4, 99}) {
        EXPECT_STREQ(VI18NError(60, 4145, static_cast<MessageSeverity>(severity), "m").what(),
                     VI18NError(60, 4145, I18NMessage::error, "m").what());
    }
}

TEST(MessageText, DoesNotDependOnTheLocale) {
    const std::locale earlier =
        std::locale::global(std::locale(std::locale::classic(), new Grouping));
    const VI18NError error(60, 4145, I18NMessage::error, "m");
    std::locale::global(earlier);
    EXPECT_TRUE(contains(error.what(), "60-4145")) << error.what();
}

TEST(MessageText, StaysWhereItIs) {
    const VI18NError error(60, 4145, I18NMessage::error, "/etc/map");
    const char* const text = error.what();
    EXPECT_EQ(error.what(), text);
}

TEST(MessageText, NeedsNoMemoryWhenItIsAskedFor) {
    const VI18NError error(60, 4145, I18NMessage::error, LONG_TEXT.c_str());
    EXPECT_TRUE(noexcept(error.what()));
    std::size_t length = 0;
    EXPECT_EQ(allocation::count([&] {
                  length = std::char_traits<char>::length(error.what()) +
                           error.parameters()[0].text().size();
              }),
              0U);
    EXPECT_GT(length, 200U);
}

// Failed allocations

TEST(MessageAllocations, AFailedOneLeavesNothingBehind) {
    const allocation::Watch watch;
    const auto check = [&watch] { EXPECT_EQ(watch.live(), 0); };
    EXPECT_GT(allocation::fail_each([] { const Parameter parameter(LONG_TEXT.c_str()); }, check),
              0U);
    EXPECT_GT(
        allocation::fail_each([] { const VI18NError error(60, 8268, I18NMessage::error); }, check),
        0U);
    EXPECT_GT(
        allocation::fail_each(
            [] { const VI18NError error(60, 4145, I18NMessage::error, LONG_TEXT.c_str()); }, check),
        0U);
    EXPECT_EQ(watch.live(), 0);
}

// An exception is copied while another one may be on its way.
TEST(MessageAllocations, CopyingNeedsNone) {
    const VI18NError original(60, 4145, I18NMessage::error, LONG_TEXT.c_str());
    VI18NError assigned(60, 8268, I18NMessage::error);
    EXPECT_TRUE(std::is_nothrow_copy_constructible_v<VI18NError>);
    EXPECT_TRUE(std::is_nothrow_copy_assignable_v<VI18NError>);
    EXPECT_EQ(allocation::count([&] {
                  const VI18NError copy(original);
                  assigned = copy;
              }),
              0U);
    EXPECT_STREQ(assigned.what(), original.what());
}

TEST(MessageUsage, WorksAsTheHeaderShows) {
    try {
        throw VI18NError(60, 4145, I18NMessage::error, "/etc/map");
    } catch (const VI18NError& error) {
        EXPECT_EQ(error.message_number(), 4145);
        EXPECT_EQ(error.parameters()[0].text(), "/etc/map");
    }
}
