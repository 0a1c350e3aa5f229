#pragma once

/// @file
/// File names as fields of a line and as text for people.
///
/// A file name on disk is any bytes but NUL and '/'. Most are UTF-8; those that came from a system
/// with another code page, or were cut in the middle of a character, are not. Nothing is ever
/// converted: a name is kept as its bytes, and only what people see of it depends on what the bytes
/// mean.

#include <string>

namespace minibackup {

/// The name as UTF-8 text on one line that does no harm to a terminal, for manifests and for
/// programs. A name stands for itself; one that would not be such a text, as told at `readable`,
/// and one that begins with "base64:", becomes "base64:" and its bytes in Base64.
std::string encode_name(const std::string& name);

/// Undoes `encode_name`.
/// @return false when the text is not what `encode_name` makes of any name; `name` is undefined
///         then
bool decode_name(std::string& name, const std::string& text);

/// The name for a message or a table: on one line, harmless to a UTF-8 terminal, and different for
/// different names. Shown as \xhh, byte by byte, are
///  - bytes that are no UTF-8;
///  - control characters, U+0000 to U+001F and U+007F to U+009F;
///  - the line and paragraph separators, U+2028 and U+2029;
///  - characters that turn the direction of what follows, so that "cod.exe" looks like "exe.doc":
///    U+061C, U+200E, U+200F, U+202A to U+202E and U+2066 to U+206F.
/// A backslash is doubled. All other characters are shown as they are, invisible ones such as
/// U+200D included, which some scripts cannot do without. The shell's $'...' takes the text back to
/// the name.
std::string readable(const std::string& name);

} // namespace minibackup
