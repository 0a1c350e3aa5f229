#pragma once

/// @file
/// File names as words of a manifest and as text for people.
///
/// A file name on disk is any bytes but NUL and '/', in no particular encoding.

#include <string>
#include <string_view>

namespace minibackup {

/// The name as a word without blanks and control bytes: these and '%' become %XX with two upper-case
/// hexadecimal digits, every other byte stands for itself.
std::string encode_name(const std::string& name);

/// Undoes `encode_name`.
/// @return false when an escape is malformed; `name` is undefined then
bool decode_name(std::string& name, std::string_view word);

/// The name with control bytes as %XX, so that it takes one line and cannot steer a terminal.
std::string readable(const std::string& name);

} // namespace minibackup
