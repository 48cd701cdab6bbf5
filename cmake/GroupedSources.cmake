# Compiles the sources of a target as one, where the build asks for it (CMAKE_UNITY_BUILD): each header is read once and each
# template is instantiated once, which takes a quarter of the time. Names in unnamed namespaces therefore differ within a target,
# which its readers want too. The presets debug, release and coverage compile file by file.
function(compile_as_one target)
    if(CMAKE_UNITY_BUILD)
        set_target_properties(${target} PROPERTIES UNITY_BUILD_BATCH_SIZE 0)
    endif()
endfunction()
