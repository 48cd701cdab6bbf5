# Sets VARIABLE to the file that other programs start TARGET by: itself, or where an emulator runs what is built, a script
# that starts it in the emulator. What is preloaded is meant for the emulated program, not for the emulator.
function(program_file VARIABLE TARGET)
    if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
        set(${VARIABLE} $<TARGET_FILE:${TARGET}> PARENT_SCOPE)
        return()
    endif()
    set(script ${CMAKE_BINARY_DIR}/emulated/${TARGET})
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
    file(GENERATE OUTPUT ${script} CONTENT "#!/bin/sh
preload=$LD_PRELOAD
unset LD_PRELOAD
exec ${emulator} \${preload:+-E} \${preload:+LD_PRELOAD=$preload} '$<TARGET_FILE:${TARGET}>' \"$@\"
"
         FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    set(${VARIABLE} ${script} PARENT_SCOPE)
endfunction()
