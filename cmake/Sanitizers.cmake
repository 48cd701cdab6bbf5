# Sanitizers for every target, and for the fuzzers the counters that show them where an input has come to.
if(VORN_SANITIZE)
    add_compile_options(-fsanitize=${VORN_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${VORN_SANITIZE})
endif()

if(VORN_SANITIZE STREQUAL "address,undefined" AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # The virtual ONU is preloaded into programs that know of no sanitizer: it brings the run-time library itself.
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libclang_rt.asan-${CMAKE_SYSTEM_PROCESSOR}.so
                    OUTPUT_VARIABLE runtime OUTPUT_STRIP_TRAILING_WHITESPACE)
    get_filename_component(runtime_folder ${runtime} DIRECTORY)
    add_link_options(-shared-libsan -Wl,-rpath,${runtime_folder})
    # Tests load a copy of the library for each daemon, and a copy has types of its own.
    add_compile_options(-fno-sanitize=function)
endif()
# A program of the sanitizers has 50 MB: the system's linker takes five times as long.
if(VORN_SANITIZE MATCHES undefined AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    add_link_options(-fuse-ld=lld)
endif()

# For what fuzzers try, where they are linked with the tests' build: costs the compiler as much again, so not for everything. The preset
# fuzz counts everywhere.
function(count_for_fuzzers target)
    if(VORN_BUILD_FUZZERS)
        target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
endfunction()
