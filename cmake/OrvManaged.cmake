# C# assemblies in the build: orv_add_assembly. ORV_CSC is false where there is no compiler. Each folder with assemblies
# includes this file, and has to see these variables; so the guard is for the folder, not for the whole build.
include_guard()
if(CMAKE_HOST_WIN32)
    # Visual Studio's own compiler. The older one in the folder of the .NET Framework cannot make the reference library.
    find_program(ORV_CSC NAMES csc HINTS ${CMAKE_GENERATOR_INSTANCE}/MSBuild/Current/Bin/Roslyn)
    set(symbols -debug:pdbonly)
else()
    find_program(ORV_CSC NAMES mcs)
    find_program(ORV_MONO NAMES mono)
    # The symbols name the sources by their full paths, by which debuggers find them.
    set(symbols -debug)
endif()
# No language feature newer than C# 3.
set(ORV_CSC_FLAGS -nologo -langversion:3 -optimize+ ${symbols} -warn:4 -warnaserror)
if(NOT ORV_CSC)
    message(STATUS "Managed side: left out, no C# compiler found")
endif()

# What is compiled against this library runs on 2.0 and on every newer runtime; managed/reference has its sources.
set(ORV_REFERENCE_LIBRARY ${PROJECT_BINARY_DIR}/managed/reference/mscorlib.dll)
# The test that an assembly refers to nothing else.
set(ORV_REFERENCE_TEST ${PROJECT_BINARY_DIR}/tests/managed/references/ReferenceTest.exe)

# orv_add_assembly(TARGET KIND OUTPUT [FOR_2_0] SOURCES file... [REFERENCES file...] [FLAGS flag...] [DEPENDS target...])
# KIND is library or exe, OUTPUT the file to make. A reference is the full path of another assembly of the build. With
# FOR_2_0 the assembly is for the 2.0 runtime and knows no other class library than the reference library; without, it
# is for the compiler's own.
function(orv_add_assembly target kind output)
    cmake_parse_arguments(ARG "FOR_2_0" "" "SOURCES;REFERENCES;FLAGS;DEPENDS" ${ARGN})
    get_filename_component(folder ${output} DIRECTORY)
    file(MAKE_DIRECTORY ${folder})
    set(references ${ARG_REFERENCES})
    if(ARG_FOR_2_0)
        list(PREPEND references ${ORV_REFERENCE_LIBRARY})
        list(APPEND ARG_FLAGS -nostdlib -noconfig)
        list(APPEND ARG_DEPENDS OrvReference)
    endif()
    set(depends ${references})
    list(TRANSFORM references PREPEND -reference:)
    add_custom_command(OUTPUT ${output}
        COMMAND ${ORV_CSC} ${ORV_CSC_FLAGS} ${ARG_FLAGS} -target:${kind} -out:${output} ${references} ${ARG_SOURCES}
        DEPENDS ${ARG_SOURCES} ${depends} ${ARG_DEPENDS}
        COMMENT "Compiling ${target}" VERBATIM)
    add_custom_target(${target} ALL DEPENDS ${output})
endfunction()
