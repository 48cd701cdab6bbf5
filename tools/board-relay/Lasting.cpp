// The thread of the relay goes on while the program is on its way out and destroys what is static. So what is static in
// this library is never destroyed: it registers with this function, which interposes the C library's for this
// library alone.
extern "C" {

extern void* __dso_handle;  // NOLINT(bugprone-reserved-identifier): the linker names it
int __cxa_atexit(void (*destroy)(void*), void* object, void* library) noexcept;  // NOLINT(bugprone-reserved-identifier)
__attribute__((visibility("hidden"))) int __cxa_atexit(void (* /*destroy*/)(void*), void* /*object*/,
                                                       void* /*library*/) noexcept {
    return 0;
}
}
