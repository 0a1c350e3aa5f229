#include <nuriagent/message.hpp>
