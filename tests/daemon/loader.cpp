// A daemon that finds its HAL with dlopen. It looks for the library along its own path, with the flags that are named.
#include <dlfcn.h>

#include <cstdio>
#include <cstring>

#include "hal/HALFactory.h"
#include "hal/VornHal.h"

int main(int argc, char** argv) {
    const bool deep = argc > 1 && std::strcmp(argv[1], "deep") == 0;
    void* library = dlopen("libvorn_hal.so.1", RTLD_NOW | RTLD_LOCAL | (deep ? RTLD_DEEPBIND : 0));
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    const auto factory = reinterpret_cast<HALFactory* (*)()>(dlsym(library, "_ZN10HALFactory11getInstanceEv"));
    const auto create =
        reinterpret_cast<VornHal* (*)(HALFactory*, int)>(dlsym(library, "_ZN10HALFactory15CreateHALObjectEi"));
    if (factory == nullptr || create == nullptr) return 2;
    VornHal* hal = create(factory(), 0);
    return hal != nullptr && hal->vorn_omci_hal_configureBridge(3, 0) == 0 ? 0 : 3;
}
