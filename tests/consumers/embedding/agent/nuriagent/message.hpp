#pragma once

#include <exception>
#include <string>

namespace I18NMessage {

enum MessageSeverity { calm, annoyed, angry, furious };

struct Parameter {
    explicit Parameter(const char* text) : text(text) {}

    std::string text;
};

} // namespace I18NMessage

class VI18NError : public std::exception {
public:
    VI18NError(int message_set, int message_number, I18NMessage::MessageSeverity severity);
    VI18NError(int message_set, int message_number, I18NMessage::MessageSeverity severity,
               const I18NMessage::Parameter& parameter);

    const char* what() const noexcept override { return text_.c_str(); }

private:
    std::string text_;
};
