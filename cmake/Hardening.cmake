# What the compiler and the linker do for the device against a mistake that none of us has found: SECURITY.md tells why,
# tests/check_hardening.sh looks at what was built.
add_compile_options(-fstack-protector-strong)

# Checked variants of the C library's functions need an optimiser; the sanitizers check more and do it themselves.
if(NOT VORN_SANITIZE)
    set(optimised $<OR:$<CONFIG:Release>,$<CONFIG:RelWithDebInfo>,$<CONFIG:MinSizeRel>>)
    add_compile_options($<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=2>)
endif()

# Everything is resolved when it is loaded, and read-only from then on. The kit's functions too: a device whose kit lacks
# one learns it as the daemon starts, not in the middle of a service. The kit has to be in the process by then: linked
# with the daemon or preloaded, as the virtual ONU is.
option(VORN_BIND_NOW "Resolve every function as a library or program is loaded" ON)
add_link_options(-Wl,-z,relro -Wl,-z,noexecstack)
if(VORN_BIND_NOW)
    add_link_options(-Wl,-z,now)
endif()

if(VORN_SANITIZE MATCHES address)
    # Tests start programs by the hundred, and each would first resolve a million addresses in the tables of the checks.
    add_link_options($<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-no-pie>)
else()
    include(CheckPIESupported)
    check_pie_supported()  # programs are linked as position-independent ones
endif()
