#include <nuriccl/address_map.hpp>
