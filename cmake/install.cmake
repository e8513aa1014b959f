# Installs the library, its headers and guide, the files for CMake and pkg-config, and the tool.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kqsupport)

install(TARGETS kqsupport EXPORT kqsupport
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
list(TRANSFORM KQSUPPORT_GENERATED_HEADERS PREPEND ${PROJECT_BINARY_DIR}/include/ OUTPUT_VARIABLE generated)
install(FILES ${generated} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kqsupport COMPONENT development)
foreach(header ${KQSUPPORT_HEADERS})
  get_filename_component(directory ${header} DIRECTORY)
  install(FILES ${PROJECT_SOURCE_DIR}/${header}
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kqsupport/${directory} COMPONENT development)
endforeach()

install(EXPORT kqsupport NAMESPACE kqsupport:: FILE kqsupport-targets.cmake
  DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(cmake/kqsupport-config.cmake.in ${PROJECT_BINARY_DIR}/kqsupport-config.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kqsupport-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/kqsupport-config.cmake ${PROJECT_BINARY_DIR}/kqsupport-config-version.cmake
  DESTINATION ${package_dir} COMPONENT development)

# The .pc file derives the prefix from its own location, so that `cmake --install --prefix` works.
file(RELATIVE_PATH pc_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
file(RELATIVE_PATH pc_libdir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH pc_includedir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
configure_file(cmake/kqsupport.pc.in ${PROJECT_BINARY_DIR}/kqsupport.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/kqsupport.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

if(KQSUPPORT_BUILD_TOOLS)
  install(TARGETS zk_settings RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  if(CMAKE_INSTALL_PREFIX STREQUAL "/usr") # the loader searches its library directory without a run path
    install(CODE "file(RPATH_REMOVE FILE \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/zk_settings)"
      COMPONENT tools)
  endif()
  install(FILES tools/zk_settings/completion.bash RENAME zk_settings
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tools)
  install(FILES ${PROJECT_BINARY_DIR}/tools/zk_settings.1.gz OPTIONAL # not built without scdoc
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
endif()

# As in the sources, where the guide names them.
install(FILES docs/guide.md docs/ini-format.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT development)
install(DIRECTORY examples/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT development FILES_MATCHING PATTERN *.cpp)
