# What `cmake --install` leaves: the libraries, their headers, the command with its man pages and
# completions, and what find_package(Corvid) and pkg-config read.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(CORVID_ZSH_COMPLETIONS ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING
  "Where zsh looks for completions")
set(components Common Codec IO ASN CSP CRL PKC)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Corvid)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The installed files find each other wherever they are put.
foreach(component IN LISTS components)
  string(TOLOWER corvid_${component} target)
  list(APPEND libraries ${target})
endforeach()
set_target_properties(${libraries} PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(pkc PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
set_target_properties(corvid_service_headers PROPERTIES EXPORT_NAME Headers)

install(TARGETS ${libraries} corvid_service_headers EXPORT Corvid
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS pkc)
install(DIRECTORY include/corvid DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY services/include/corvid DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")
foreach(section 1 3)
  install(DIRECTORY docs/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section}
    FILES_MATCHING PATTERN "*.${section}")
endforeach()
install(FILES completions/pkc.bash RENAME pkc
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES completions/_pkc DESTINATION ${CORVID_ZSH_COMPLETIONS})
install(FILES completions/pkc.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)

install(EXPORT Corvid NAMESPACE Corvid:: FILE CorvidTargets.cmake DESTINATION ${package_dir})
configure_file(cmake/CorvidConfig.cmake.in ${PROJECT_BINARY_DIR}/CorvidConfig.cmake @ONLY)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/CorvidConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/CorvidConfig.cmake
  ${PROJECT_BINARY_DIR}/CorvidConfigVersion.cmake
  DESTINATION ${package_dir})

# corvid_pkgconfig(COMPONENT DESCRIPTION text [REQUIRES ...] [PRIVATE ...]) makes
# corvid-<component>.pc. REQUIRES are packages that a caller links as well, PRIVATE those that the
# library itself does.
file(RELATIVE_PATH to_prefix /${pkgconfig_dir} /)
string(REGEX REPLACE "/$" "" to_prefix ${to_prefix})
function(corvid_pkgconfig COMPONENT)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" DESCRIPTION "REQUIRES;PRIVATE")
  string(TOLOWER ${COMPONENT} component)
  set(name corvid-${component})
  get_target_property(output corvid_${component} OUTPUT_NAME)
  list(JOIN arg_REQUIRES ", " requires)
  list(JOIN arg_PRIVATE ", " private)
  configure_file(cmake/corvid.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${pkgconfig_dir})
endfunction()

corvid_pkgconfig(Common DESCRIPTION "Memory, octets and the failure trace of Corvid PKC")
corvid_pkgconfig(Codec DESCRIPTION "Base64, hexadecimal and character sets for Corvid PKC"
  REQUIRES corvid-common)
corvid_pkgconfig(IO DESCRIPTION "Whole files for Corvid PKC" REQUIRES corvid-common)
corvid_pkgconfig(ASN DESCRIPTION "DER to records and back for Corvid PKC" REQUIRES corvid-common)
corvid_pkgconfig(CSP DESCRIPTION "Hashes, keys and signatures for Corvid PKC"
  REQUIRES corvid-common PRIVATE libcrypto nettle librhash)
corvid_pkgconfig(CRL DESCRIPTION "Certificate revocation lists for Corvid PKC"
  PRIVATE corvid-asn corvid-csp corvid-codec corvid-common)
corvid_pkgconfig(PKC DESCRIPTION "${PROJECT_DESCRIPTION}"
  REQUIRES corvid-asn corvid-csp corvid-codec corvid-io corvid-crl corvid-common)
