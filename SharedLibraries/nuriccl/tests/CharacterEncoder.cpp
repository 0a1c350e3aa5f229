#include <nuriccl/CharacterEncoder.hpp>
