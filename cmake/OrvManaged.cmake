# C# assemblies in the build: orv_add_assembly. ORV_CSC is false where there is no compiler. No language feature newer
# than C# 3 and no class library newer than 2.0, so that the oldest runtime that the workbench binds can run them.
include_guard(GLOBAL)
if(CMAKE_HOST_WIN32)
    file(GLOB frameworks "$ENV{WINDIR}/Microsoft.NET/Framework64/v3.5" "$ENV{WINDIR}/Microsoft.NET/Framework64/v4*")
    find_program(ORV_CSC NAMES csc PATHS ${frameworks})
    set(ORV_CSC_FLAGS /nologo /langversion:3 /optimize+ /debug:pdbonly /warn:4 /warnaserror)
else()
    find_program(ORV_CSC NAMES mcs)
    find_program(ORV_MONO NAMES mono)
    # Stack traces name the sources by their place in the project.
    set(ORV_CSC_FLAGS -nologo -langversion:3 -optimize+ -debug -pathmap:${PROJECT_SOURCE_DIR}=. -warn:4 -warnaserror)
endif()
if(NOT ORV_CSC)
    message(STATUS "Managed side: left out, no C# compiler found")
endif()

# orv_add_assembly(TARGET KIND OUTPUT SOURCES file... [REFERENCES file...] [FLAGS flag...] [DEPENDS target...])
# KIND is library or exe, OUTPUT the file to make. A reference is the full path of another assembly of the build.
function(orv_add_assembly target kind output)
    cmake_parse_arguments(ARG "" "" "SOURCES;REFERENCES;FLAGS;DEPENDS" ${ARGN})
    get_filename_component(folder ${output} DIRECTORY)
    file(MAKE_DIRECTORY ${folder})
    set(references ${ARG_REFERENCES})
    list(TRANSFORM references PREPEND -reference:)
    add_custom_command(OUTPUT ${output}
        COMMAND ${ORV_CSC} ${ORV_CSC_FLAGS} ${ARG_FLAGS} -target:${kind} -out:${output} ${references} ${ARG_SOURCES}
        DEPENDS ${ARG_SOURCES} ${ARG_REFERENCES} ${ARG_DEPENDS}
        COMMENT "Compiling ${target}" VERBATIM)
    add_custom_target(${target} ALL DEPENDS ${output})
endfunction()
