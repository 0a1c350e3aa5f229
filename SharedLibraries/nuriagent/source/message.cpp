#include <nuriagent/message.hpp>

namespace I18NMessage {

Parameter::Parameter(const char* text) : text_(text != nullptr ? text : "") {}

} // namespace I18NMessage

namespace {

using I18NMessage::Parameter;

struct Message {
    int set;
    int number;
    const char* text; // '%' is the next parameter
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
        if (*text == '%' && next != parameters.end()) {
            filled += next++->text();
        } else {
            filled += *text;
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

VI18NError::VI18NError(int message_set, int message_number, I18NMessage::MessageSeverity severity)
    : message_set_(message_set), message_number_(message_number), severity_(severity),
      text_(message_text(message_set, message_number, parameters_)) {}

VI18NError::VI18NError(int message_set, int message_number, I18NMessage::MessageSeverity severity,
                       const Parameter& parameter)
    : message_set_(message_set), message_number_(message_number), severity_(severity),
      parameters_(1, parameter), text_(message_text(message_set, message_number, parameters_)) {}

VI18NError::~VI18NError() = default;

const char* VI18NError::what() const noexcept { return text_.c_str(); }
