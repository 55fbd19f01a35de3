# Console programs: orv_add_program, and orv_use_wmain for those that need no resource.
include_guard(GLOBAL)

# orv_use_wmain(TARGET...)
# The programs begin with wmain.
function(orv_use_wmain)
    if(NOT MSVC)
        foreach(target ${ARGN})
            target_link_options(${target} PRIVATE -municode)
        endforeach()
    endif()
endfunction()

# orv_add_program(NAME DESCRIPTION SOURCE...)
# A program of the product, with the project's version, the description and a manifest in its resources.
function(orv_add_program program description)
    string(REPLACE "." "," version_numbers "${PROJECT_VERSION}.0")
    set(resources ${CMAKE_CURRENT_BINARY_DIR}/${program}.rc)
    set(manifest ${CMAKE_CURRENT_BINARY_DIR}/${program}.manifest)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/OrvProgram.rc.in ${resources} @ONLY)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/OrvProgram.manifest.in ${manifest} @ONLY)
    set_source_files_properties(${resources} PROPERTIES OBJECT_DEPENDS ${manifest})

    add_executable(${program} ${ARGN} ${resources})
    target_link_libraries(${program} PRIVATE OrvOptions)
    orv_use_wmain(${program})
    orv_measure_coverage(${program})
    if(MSVC)
        # The manifest is in the resources.
        target_link_options(${program} PRIVATE /MANIFEST:NO)
    endif()
endfunction()
