#include <nuriagent/base64.hpp>
