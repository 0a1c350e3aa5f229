#include <nuriccl/Base64Wrapper.hpp>
