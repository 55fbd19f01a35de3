# What every target of the project is compiled with. Link OrvOptions privately.
add_library(OrvOptions INTERFACE)
target_compile_features(OrvOptions INTERFACE cxx_std_17)
target_include_directories(OrvOptions INTERFACE ${PROJECT_SOURCE_DIR})
# 0x0A00: the headers offer everything up to Windows 10; entry points newer than Windows XP x64 are looked up at run
# time by the code that needs them.
target_compile_definitions(OrvOptions INTERFACE
    UNICODE _UNICODE WIN32_LEAN_AND_MEAN NOMINMAX _WIN32_WINNT=0x0A00 WINVER=0x0A00)

if(MSVC)
    # /EHa: a lock held over shared memory is also released when an access violation passes.
    target_compile_options(OrvOptions INTERFACE /W4 /WX /permissive- /utf-8 /EHa /Zc:__cplusplus)
    target_compile_definitions(OrvOptions INTERFACE _CRT_SECURE_NO_WARNINGS)
else()
    target_compile_options(OrvOptions INTERFACE
        -Wall -Wextra -Wpedantic -Werror
        -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast -Wcast-align -Wcast-qual
        -Wnon-virtual-dtor -Woverloaded-virtual -Wnull-dereference -Wdouble-promotion -Wundef
        -Wextra-semi -Wmissing-declarations -Wimplicit-fallthrough -Wunused -Wredundant-decls
        # The places of fields are asserted in classes with virtual operations too; every compiler here knows them.
        -Wno-invalid-offsetof)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(OrvOptions INTERFACE
            -Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wsuggest-override -Wstrict-null-sentinel)
    endif()
    target_link_options(OrvOptions INTERFACE -static -Wl,--nxcompat -Wl,--dynamicbase -Wl,--high-entropy-va)
endif()

option(ORV_HARDEN "Standard library assertions and undefined-behaviour traps" OFF)
if(ORV_HARDEN AND NOT MSVC)
    target_compile_definitions(OrvOptions INTERFACE _GLIBCXX_ASSERTIONS)
    target_compile_options(OrvOptions INTERFACE -fsanitize=undefined -fsanitize-undefined-trap-on-error)
endif()

option(ORV_COVERAGE "Instrument the product for line and branch coverage" OFF)
if(ORV_COVERAGE)
    # Threads that count the same line at once would lose counts, down to negative ones that no reader accepts.
    target_compile_options(OrvOptions INTERFACE -fprofile-update=atomic)
endif()

# orv_measure_coverage(TARGET...)
# With ORV_COVERAGE, what is compiled for the targets counts its lines and branches.
function(orv_measure_coverage)
    if(ORV_COVERAGE)
        foreach(target ${ARGN})
            target_compile_options(${target} PRIVATE --coverage)
        endforeach()
    endif()
endfunction()

# orv_precompile(TARGET PRIVATE header... | REUSE_FROM target)
# The great headers are read once for a whole target. With ORV_HARDEN each source is compiled with what it includes
# itself, so that nothing is missing there; instrumented headers would have to be precompiled for each program anew.
function(orv_precompile target)
    if(NOT ORV_HARDEN AND NOT ORV_COVERAGE)
        target_precompile_headers(${target} ${ARGN})
    endif()
endfunction()
