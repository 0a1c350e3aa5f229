#pragma once

// Errors for operators, with a number of the agent's catalogue.

#include <exception>
#include <string>

namespace I18NMessage {

enum MessageSeverity { note = 1, warning = 2, error = 3 };

struct Parameter {
    explicit Parameter(const char* value) : text(value) {}

    std::string text;
};

} // namespace I18NMessage

class VI18NError : public std::exception {
public:
    VI18NError(int set, int number, I18NMessage::MessageSeverity severity);
    VI18NError(int set, int number, I18NMessage::MessageSeverity severity,
               const I18NMessage::Parameter& parameter);
    ~VI18NError() override;

    const char* what() const noexcept override { return text_.c_str(); }

private:
    std::string text_;
};
