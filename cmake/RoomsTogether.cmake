# Compiles the sources of a folder as one, where the build asks for that (CMAKE_UNITY_BUILD: the presets whose warnings and
# code nobody reads file by file). It takes a third of the time. What stands in unnamed namespaces of one folder needs
# different names, which a reader of the folder wants too.
function(compile_rooms_together target)
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
