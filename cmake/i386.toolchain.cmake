# 32-bit x86 with the multilib compiler of a 64-bit system (g++-multilib, lib32z1-dev).

set(CMAKE_CXX_FLAGS_INIT -m32)
set(CMAKE_C_FLAGS_INIT -m32)
# The 64-bit libraries of the same system must not be found in place of the 32-bit ones.
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)
set(CMAKE_LIBRARY_PATH /usr/lib32)
