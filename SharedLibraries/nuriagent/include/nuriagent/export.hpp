#pragma once

/// @file
/// Marks what libnuriagent.so exports; everything else in it is hidden.

#define NURIAGENT_API __attribute__((visibility("default")))
