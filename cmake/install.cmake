include(CMakePackageConfigHelpers)

foreach(header IN LISTS RSMPL_HEADERS)
    get_filename_component(room ${header} DIRECTORY)
    install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rsmpl/${room})
endforeach()

install(TARGETS rsmpl rsmpl_static rsmpl_stream rsmpl_stream_static EXPORT rsmplTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/rsmpl)
install(EXPORT rsmplTargets NAMESPACE rsmpl:: FILE rsmplConfig.cmake DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/rsmplConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/rsmplConfigVersion.cmake DESTINATION ${package_dir})

# Relative, so that an installed tree can be moved.
file(RELATIVE_PATH pkgconfig_to_includedir
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_INCLUDEDIR}/rsmpl)
foreach(module rsmpl rsmpl-stream)
    configure_file(cmake/${module}.pc.in ${PROJECT_BINARY_DIR}/${module}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${module}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

foreach(page rsmpl.1 rsmpl.3 rsmpl_stream.3)
    string(REGEX REPLACE "^.*\\." "" section ${page})
    configure_file(docs/man/${page}.in ${PROJECT_BINARY_DIR}/${page} @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
endforeach()

# cpack: one folder with all of it, to be unpacked anywhere.
if(PROJECT_IS_TOP_LEVEL)
    set(CPACK_GENERATOR TGZ)
    set(CPACK_PACKAGE_FILE_NAME rsmpl-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR})
    set(CPACK_STRIP_FILES ON)
    include(CPack)
endif()
