# What a Windows user gets: one folder with the program, its dispatcher, the client, a sample to try, configuration and
# documents. Installed by cmake --install, and packed as a zip file by cpack or the target package.
install(TARGETS OrvWorkBench64 OrvClient RUNTIME DESTINATION .)
if(TARGET OrvDispatcher)
    set(bin ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
    install(FILES ${bin}/OrvWorkBench64.dll ${bin}/OrvWorkBench64.exe.config ${bin}/OrvSample.dll DESTINATION .)
    if(ORV_PACKAGE_SYMBOLS)
        install(FILES ${ORV_PACKAGE_SYMBOLS}/OrvWorkBench64.dll.mdb ${ORV_PACKAGE_SYMBOLS}/OrvSample.dll.mdb DESTINATION .)
    endif()
endif()
install(FILES README.md DESTINATION .)
install(DIRECTORY docs/ DESTINATION docs FILES_MATCHING PATTERN "*.md")
# The header-only libraries in the client ask for their licences to be passed on.
foreach(library libcli11-dev nlohmann-json3-dev)
    if(EXISTS /usr/share/doc/${library}/copyright)
        install(FILES /usr/share/doc/${library}/copyright DESTINATION licences RENAME ${library}.txt)
    endif()
endforeach()

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME OrvWorkBench64)
set(CPACK_PACKAGE_VENDOR Zeph)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Workbench for managed assemblies, with its client console")
set(CPACK_PACKAGE_FILE_NAME OrvWorkBench64-${PROJECT_VERSION}-win64)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
set(CPACK_STRIP_FILES ON)
# The tests' own libraries are no part of it.
set(CPACK_INSTALL_CMAKE_PROJECTS "${PROJECT_BINARY_DIR};${PROJECT_NAME};ALL;/")
include(CPack)
