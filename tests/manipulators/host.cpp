// Loads plugins, each into a scope of its own, and asks all of them.
//
// usage: host <function> <plugin>...

#include <dlfcn.h>

#include <iostream>
#include <vector>

int main(int count, char** arguments) {
    std::vector<void*> plugins;
    for (int i = 2; i < count; ++i) {
        plugins.push_back(dlopen(arguments[i], RTLD_NOW | RTLD_LOCAL));
        if (plugins.back() == nullptr) {
            std::cerr << dlerror() << '\n';
            return 1;
        }
    }
    int failures = 0;
    for (void* const plugin : plugins) {
        const auto ask = reinterpret_cast<bool (*)()>(dlsym(plugin, arguments[1]));
        if (ask == nullptr || !ask()) {
            ++failures;
        }
    }
    std::cout << failures << " of " << plugins.size() << " plugins failed\n";
    return plugins.empty() || failures != 0 ? 1 : 0;
}
