#pragma once

/// @file
/// Marks what libnuriccl.so exports; everything else in it is hidden.

/// Stands in front of what is called from outside of the library.
#define NURICCL_API __attribute__((visibility("default")))
