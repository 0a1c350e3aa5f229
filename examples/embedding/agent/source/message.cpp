#include <nuriagent/message.hpp>

namespace {

struct Message {
    int set;
    int number;
    const char* text;
};

// The messages of nuriccl. All there are stand in address_map.hpp.
const Message CATALOGUE[] = {
    {60, 4144, "The server table cannot be read. Check its rights"},
    {60, 4145, "The server table cannot be written. Check the folder, its rights and the space"},
    {60, 8267, "The server table could be read in part only"},
    {60, 8268, "The server table could be written in part only"},
};

std::string text_of(int set, int number, I18NMessage::MessageSeverity severity) {
    std::string text =
        "AGT" + std::to_string(number) + (severity == I18NMessage::error ? "E " : "I ");
    for (const Message& message : CATALOGUE) {
        if (message.set == set && message.number == number) {
            return text + message.text;
        }
    }
    return text + "No text in set " + std::to_string(set); // one that was added to nuriccl later
}

} // namespace

VI18NError::VI18NError(int set, int number, I18NMessage::MessageSeverity severity)
    : text_(text_of(set, number, severity)) {}

VI18NError::VI18NError(int set, int number, I18NMessage::MessageSeverity severity,
                       const I18NMessage::Parameter& parameter)
    : text_(text_of(set, number, severity) + ": " + parameter.text) {}

VI18NError::~VI18NError() = default;
