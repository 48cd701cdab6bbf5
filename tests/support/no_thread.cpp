// Preloaded: the system has no thread for one call of the program's, the VORN_NO_THREADth. Programs that it starts have
// all of theirs.
#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>

namespace {

std::atomic<int> left{0};

__attribute__((constructor)) void readWhich() {
    if (const char* const which = std::getenv("VORN_NO_THREAD")) left = std::atoi(which);
    unsetenv("VORN_NO_THREAD");
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int pthread_create(pthread_t* thread,
                                                                     const pthread_attr_t* attributes,
                                                                     void* (*run)(void*), void* argument) noexcept {
    static const auto real = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return --left == 0 ? EAGAIN : real(thread, attributes, run, argument);
}
