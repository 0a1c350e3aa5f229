#include <nuriccl/filenamehelper.hpp>
