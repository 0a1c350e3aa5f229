#pragma once

#include <string>

namespace safe {

void MemoryCopy(void* destination, unsigned int destination_size, const void* source,
                unsigned int count);
int StringToInt32(const std::string& text);

} // namespace safe
