/// @file
/// A C++ library of nothing: what it takes to load it, every C++ library takes.

extern "C" __attribute__((visibility("default"))) int nuriccl_benchmark_empty() { return 0; }
