# Makes the package, unpacks it and looks at it: cmake -D BUILD_DIR= -D CPACK= -D VERSION= -D RUN= -D HAS_DISPATCHER=
# -D MONO= -D REFERENCE_TEST= -D REFERENCE_LIBRARY= -P. RUN is what runs a Windows program and MONO what runs a managed
# one; both are empty on Windows.
set(name OrvWorkBench64-${VERSION}-win64)
set(folder ${BUILD_DIR}/package-test)
file(REMOVE_RECURSE ${folder})
file(MAKE_DIRECTORY ${folder})
execute_process(COMMAND ${CPACK} -B ${folder} WORKING_DIRECTORY ${BUILD_DIR} OUTPUT_VARIABLE said ERROR_VARIABLE said
    RESULT_VARIABLE failed)
if(failed)
    message(FATAL_ERROR "the package cannot be made:\n${said}")
endif()
# By relative names: with the folder's, letters that the language does not have would be lost.
execute_process(COMMAND ${CMAKE_COMMAND} -E tar xf ${name}.zip WORKING_DIRECTORY ${folder})

set(expected OrvClient.exe OrvWorkBench64.exe README.md docs/client.md docs/commands.md docs/protocol.md)
if(HAS_DISPATCHER)
    list(APPEND expected OrvSample.dll OrvWorkBench64.dll OrvWorkBench64.exe.config)
endif()
foreach(file ${expected})
    if(NOT EXISTS ${folder}/${name}/${file})
        message(FATAL_ERROR "the package lacks ${file}")
    endif()
endforeach()
# Nothing of the tests or of the bridge, which is for Wine only.
file(GLOB_RECURSE packed RELATIVE ${folder}/${name} ${folder}/${name}/*)
foreach(file ${packed})
    if(file MATCHES "mscoree|Test|gtest|gmock|\\.a$|\\.h$")
        message(FATAL_ERROR "the package holds ${file}")
    endif()
endforeach()

execute_process(COMMAND ${RUN} ${folder}/${name}/OrvClient.exe --version OUTPUT_VARIABLE said RESULT_VARIABLE failed)
string(STRIP "${said}" said)
if(failed OR NOT said STREQUAL "OrvClient ${VERSION}")
    message(FATAL_ERROR "the packed client says \"${said}\" and ends with ${failed}")
endif()

# Symbols belong to the assemblies and name the sources by one folder wherever they were built.
if(HAS_DISPATCHER AND MONO)
    foreach(assembly OrvWorkBench64.dll OrvSample.dll)
        file(SHA256 ${folder}/${name}/${assembly} packed)
        file(SHA256 ${BUILD_DIR}/managed/package/${assembly} described)
        if(NOT packed STREQUAL described)
            message(FATAL_ERROR "the symbols of ${assembly} are of another one")
        endif()
        file(STRINGS ${folder}/${name}/${assembly}.mdb paths REGEX "[.]cs")
        if(NOT "${paths}" MATCHES "/OrvProfiler/managed/" OR "${paths}" MATCHES "/[^;]+/OrvProfiler/managed/")
            message(FATAL_ERROR "the symbols of ${assembly} name the sources otherwise: ${paths}")
        endif()
    endforeach()
endif()

if(HAS_DISPATCHER)
    file(GLOB assemblies ${folder}/${name}/*.dll)
    execute_process(COMMAND ${MONO} ${REFERENCE_TEST} ${REFERENCE_LIBRARY} ${assemblies}
        OUTPUT_VARIABLE said ERROR_VARIABLE said RESULT_VARIABLE failed)
    if(failed)
        message(FATAL_ERROR "not every assembly of the package is for the 2.0 runtime:\n${said}")
    endif()
endif()
