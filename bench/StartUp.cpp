// What a daemon waits for when it starts: the library loaded, the factory and the HAL object made. One measurement a
// process; prints it as JSON. The device kit (here the virtual ONU) is loaded already.
//   vorn_startup PATH_OF_LIBVORN_HAL
#include <dlfcn.h>
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>

#include "VirtualOnu.h"

class VornHal;

namespace {

template <typename Function>
Function symbol(void* library, const char* name) {
    void* address = dlsym(library, name);
    Function function = nullptr;
    std::memcpy(&function, &address, sizeof function);
    return function;
}

double microsecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    virtual_onu::VirtualOnu::instance().reset();
    const std::size_t before = mallinfo2().uordblks;
    auto start = std::chrono::steady_clock::now();
    void* library = dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL);
    const double load = microsecondsSince(start);
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    // HALFactory::getInstance() and HALFactory::CreateHALObject(int)
    const auto getInstance = symbol<void* (*)()>(library, "_ZN10HALFactory11getInstanceEv");
    const auto create = symbol<VornHal* (*)(void*, int)>(library, "_ZN10HALFactory15CreateHALObjectEi");
    const int terminal = dup(STDOUT_FILENO);
    dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
    start = std::chrono::steady_clock::now();
    void* factory = getInstance();
    const double factoryTime = microsecondsSince(start);
    start = std::chrono::steady_clock::now();
    const bool made = create(factory, 0) != nullptr;
    const double objectTime = microsecondsSince(start);
    const std::size_t heap = mallinfo2().uordblks - before;
    std::fflush(stdout);
    dup2(terminal, STDOUT_FILENO);
    std::printf("{\"load_us\": %.1f, \"factory_us\": %.2f, \"object_us\": %.1f, \"heap\": %zu}\n", load, factoryTime,
                objectTime, heap);
    return made ? 0 : 1;
}
