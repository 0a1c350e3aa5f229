#include "left_out.hpp"

#include "../../cpu.hpp"

#ifndef NURICCL_CPU_WITHOUT
#define NURICCL_CPU_WITHOUT 0U
#endif

const unsigned int LEFT_OUT = NURICCL_CPU_WITHOUT;
