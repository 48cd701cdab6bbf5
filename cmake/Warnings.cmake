# The warnings that every target of the project is built with; errors where VORN_WERROR is on (CI).
add_library(vorn_warnings INTERFACE)
target_compile_options(vorn_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat=2)
if(VORN_WERROR)
    target_compile_options(vorn_warnings INTERFACE -Werror)
endif()
