# The warnings that every target of the project is built with; errors where VORN_WERROR is on (CI).
add_library(vorn_warnings INTERFACE)
target_compile_options(vorn_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat=2)
if(VORN_WERROR)
    target_compile_options(vorn_warnings INTERFACE -Werror)
endif()
# Where the sources of a folder are compiled as one: a test's fixture is then not in the main file, and names of one file stand
# beside those of another. Builds without groups tell of both.
if(CMAKE_UNITY_BUILD)
    target_compile_options(vorn_warnings INTERFACE -Wno-shadow $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-subobject-linkage>)
endif()
