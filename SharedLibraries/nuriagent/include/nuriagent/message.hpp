#pragma once

/// @file
/// The agent's messages to people: errors with a number in a catalogue, a severity and parameters.
///
/// Use VI18NError for failures that an operator reads and acts on. What the caller alone can mend
/// is an exception of the standard library.
///
/// Thread safety: thread-compatible; the catalogue never changes.
///
/// @code{.cpp}
/// try {
///     throw VI18NError(60, 4145, I18NMessage::error, "/etc/map");
/// } catch (const VI18NError& error) {
///     assert(error.message_number() == 4145 && error.parameters()[0].text() == "/etc/map");
///     std::clog << error.what() << '\n';
/// }
/// @endcode

#include <nuriagent/export.hpp>

#include <exception>
#include <memory>
#include <string>
#include <vector>

/// What messages are made of.
namespace I18NMessage {

/// How much a message matters.
enum MessageSeverity : int {
    debug = 0,       ///< for developers
    information = 1, ///< all is well
    warning = 2,     ///< somebody should look at it
    error = 3,       ///< something could not be done
    fatal = 4        ///< nothing more can be done
};

/// A text that stands in a message.
class NURIAGENT_API Parameter {
public:
    /// Not explicit: a text stands for a parameter.
    ///
    /// @param text  the text, which is copied; null is the empty one
    /// @throws std::bad_alloc
    Parameter(const char* text);

    /// The text, which lives as long as the parameter.
    const std::string& text() const noexcept { return text_; }

private:
    std::string text_;
};

} // namespace I18NMessage

/// An error with a message of the catalogue.
class NURIAGENT_API VI18NError : public std::exception {
public:
    /// @param message_set     the part of the catalogue
    /// @param message_number  the message in it
    /// @param severity        how much it matters
    /// @throws std::bad_alloc
    VI18NError(int message_set, int message_number, I18NMessage::MessageSeverity severity);
    /// The same for a message with a parameter.
    VI18NError(int message_set, int message_number, I18NMessage::MessageSeverity severity,
               const I18NMessage::Parameter& parameter);

    /// Shares the contents, which never change.
    VI18NError(const VI18NError&) noexcept = default;
    /// Shares the other's contents.
    VI18NError& operator=(const VI18NError&) noexcept = default;
    ~VI18NError() override;

    /// The part of the catalogue.
    int message_set() const noexcept;
    /// The message in it.
    int message_number() const noexcept;
    /// How much it matters.
    I18NMessage::MessageSeverity severity() const noexcept;
    /// What stands in the message; empty when it was made without a parameter.
    const std::vector<I18NMessage::Parameter>& parameters() const noexcept;

    /// The message of the catalogue with its parameters in place, such as "Cannot open the address
    /// map '/etc/map' for writing (message 60-4145)." A message that is not in the catalogue shows
    /// its numbers and its parameters.
    const char* what() const noexcept override;

private:
    struct Contents;

    std::shared_ptr<const Contents> contents_; // shared by copies, since copying must not fail
};
