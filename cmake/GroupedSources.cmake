# Compiles the sources of a folder as one, where the build asks for it (CMAKE_UNITY_BUILD): a third of the time. Names in
# unnamed namespaces differ within a folder, which its readers want too. The presets debug, release and coverage compile file
# by file.
function(compile_folders_together target)
    if(NOT CMAKE_UNITY_BUILD)
        return()
    endif()
    set_target_properties(${target} PROPERTIES UNITY_BUILD_MODE GROUP)
    get_target_property(sources ${target} SOURCES)
    foreach(source ${sources})
        get_filename_component(path ${source} ABSOLUTE)
        file(RELATIVE_PATH path ${CMAKE_SOURCE_DIR} ${path})
        get_filename_component(folder ${path} DIRECTORY)
        string(REPLACE "/" "_" group ${folder})
        set_source_files_properties(${source} PROPERTIES UNITY_GROUP ${group})
    endforeach()
endfunction()
