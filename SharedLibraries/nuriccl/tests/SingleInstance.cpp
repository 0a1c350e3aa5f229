#include <nuriccl/SingleInstance.hpp>
