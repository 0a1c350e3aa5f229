#pragma once

/// @file
/// Variables of the environment set for the length of a scope.
///
/// Thread safety: the environment belongs to the whole process; use these while one thread runs.

#include <cstdlib>
#include <optional>
#include <string>

namespace scoped {

/// Sets one variable, or removes it when `value` is null.
class Variable {
public:
    Variable(const char* name, const char* value) : name_(name) {
        if (const char* const earlier = std::getenv(name)) {
            earlier_ = earlier;
        }
        set(value);
    }
    ~Variable() { set(earlier_ ? earlier_->c_str() : nullptr); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    void set(const char* value) {
        if (value != nullptr) {
            setenv(name_.c_str(), value, 1);
        } else {
            unsetenv(name_.c_str());
        }
    }

    std::string name_;
    std::optional<std::string> earlier_;
};

} // namespace scoped
