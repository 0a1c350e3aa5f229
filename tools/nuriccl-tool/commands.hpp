#pragma once

/// @file
/// The sub-commands, each in a source of its own.

#include "command.hpp"

namespace nuriccl_tool {

extern const Command ADDRESSES;
extern const Command BASE64;
extern const Command CONVERT;
extern const Command CRON;
extern const Command DEFLATE;
extern const Command ENCODE_NAME;
extern const Command FIELDS;
extern const Command HEXDUMP;
extern const Command INFLATE;
extern const Command LOCK;
extern const Command NUMBER;
extern const Command PATH;
extern const Command QUOTE;
extern const Command SIGN;
extern const Command TIME;
extern const Command VERSION;
extern const Command WORDS;

} // namespace nuriccl_tool
