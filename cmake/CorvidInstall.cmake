# What `cmake --install` leaves: the libraries, their headers, the command, and the package that
# find_package(Corvid) reads.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(corvid_libraries
  corvid_common corvid_codec corvid_io corvid_asn corvid_csp corvid_crl corvid_pkc)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Corvid)

# The installed files find each other wherever they are put.
set_target_properties(${corvid_libraries} PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(pkc PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

install(TARGETS ${corvid_libraries} corvid_service_headers EXPORT Corvid)
install(TARGETS pkc)
install(DIRECTORY include/corvid DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY services/include/corvid DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")

install(EXPORT Corvid NAMESPACE Corvid:: FILE CorvidConfig.cmake DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/CorvidConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/CorvidConfigVersion.cmake DESTINATION ${package_dir})
