#include <nuriccl/StringFunctors.hpp>
