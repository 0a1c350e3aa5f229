#include <nuriagent/message.hpp>

#include <utility>

namespace I18NMessage {

Parameter::Parameter(const char* text) : text_(text != nullptr ? text : "") {}

} // namespace I18NMessage

namespace {

using I18NMessage::Parameter;

struct Message {
    int set;
    int number;
    const char* text; // '%' is the next parameter, if there is one
};

const Message CATALOGUE[] = {
    {60, 4144, "Cannot open the address map '%' for reading, although it is there"},
    {60, 4145, "Cannot open the address map '%' for writing"},
    {60, 8267, "Reading the address map failed; only what stands in front of the fault was read"},
    {60, 8268, "Writing the address map failed; it is incomplete"},
};

const char* text_of(int set, int number) {
    for (const Message& message : CATALOGUE) {
        if (message.set == set && message.number == number) {
            return message.text;
        }
    }
    return "Error without a text in the catalogue";
}

// The text with its parameters in place; those that have no place stand behind it.
std::string with_parameters(const char* text, const std::vector<Parameter>& parameters) {
    std::string filled;
    auto next = parameters.begin();
    for (; *text != 0; ++text) {
        if (*text != '%') {
            filled += *text;
        } else if (next != parameters.end()) {
            filled += next++->text();
        }
    }
    for (; next != parameters.end(); ++next) {
        filled += ", '" + next->text() + "'";
    }
    return filled;
}

std::string message_text(int set, int number, const std::vector<Parameter>& parameters) {
    return with_parameters(text_of(set, number), parameters) + " (message " + std::to_string(set) +
           '-' + std::to_string(number) + ").";
}

} // namespace

struct VI18NError::Contents {
    Contents(int set, int number, I18NMessage::MessageSeverity how_severe,
             std::vector<Parameter> texts)
        : message_set(set), message_number(number), severity(how_severe),
          parameters(std::move(texts)), text(message_text(set, number, parameters)) {}

    int message_set;
    int message_number;
    I18NMessage::MessageSeverity severity;
    std::vector<Parameter> parameters;
    std::string text;
};

VI18NError::VI18NError(int message_set, int message_number, I18NMessage::MessageSeverity severity)
    : contents_(std::make_shared<Contents>(message_set, message_number, severity,
                                           std::vector<Parameter>())) {}

VI18NError::VI18NError(int message_set, int message_number, I18NMessage::MessageSeverity severity,
                       const Parameter& parameter)
    : contents_(std::make_shared<Contents>(message_set, message_number, severity,
                                           std::vector<Parameter>(1, parameter))) {}

VI18NError::~VI18NError() = default;

int VI18NError::message_set() const noexcept { return contents_->message_set; }

int VI18NError::message_number() const noexcept { return contents_->message_number; }

I18NMessage::MessageSeverity VI18NError::severity() const noexcept { return contents_->severity; }

const std::vector<Parameter>& VI18NError::parameters() const noexcept {
    return contents_->parameters;
}

const char* VI18NError::what() const noexcept { return contents_->text.c_str(); }
