#include <nuriccl/StringFunctors.hpp>

#include <algorithm>

namespace nuriccl {

std::string ToString::operator()(const std::string& text) const { return text; }

std::string ToString::operator()(const char* text) const { return text != nullptr ? text : ""; }

std::string ToString::operator()(bool value) const { return value ? "true" : "false"; }

std::string ToString::operator()(int value) const { return std::to_string(value); }

std::string ToString::operator()(unsigned int value) const { return std::to_string(value); }

char ToLower::operator()(char character) const { return type_->tolower(character); }

bool StringMatcher::operator()(const std::string& candidate) const {
    if (pattern_.empty()) {
        return true;
    }
    if (!ignore_case_) {
        return candidate == pattern_;
    }
    const auto equal_lowered = [this](char c, char lowered) { return lower_(c) == lowered; };
    return candidate.size() == pattern_.size() &&
           std::equal(candidate.begin(), candidate.end(), pattern_.begin(), equal_lowered);
}

} // namespace nuriccl
