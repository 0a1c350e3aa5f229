#include <nuriccl/tempfile.hpp>
