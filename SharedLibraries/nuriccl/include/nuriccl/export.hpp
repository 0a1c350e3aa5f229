#pragma once

/// @file
/// Marks what libnuriccl.so exports; everything else in it is hidden.

#define NURICCL_API __attribute__((visibility("default")))
