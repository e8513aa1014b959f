# The packages that scripts/package builds, as .deb and .rpm: the library, its development files, and the tool.
set(CPACK_PACKAGE_VENDOR "Zentrak developers")
set(CPACK_PACKAGE_CONTACT "Zentrak developers <developers@zentrak.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
get_cmake_property(CPACK_COMPONENTS_ALL COMPONENTS)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "The shared library that programs link.")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers, the guide, the examples, and the files for CMake and pkg-config.")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "zk_settings reads and edits settings files from the shell.")

# Debian: the SOVERSION in the name of the library package allows two versions side by side.
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libkqsupport${KQSUPPORT_SOVERSION})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# Programs that link the library get their dependency from these two. CPack has no variant for one component.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# A trigger calls ldconfig. CPack's own scripts for that would leave the configuration of a removed package behind; the
# names of two files that do not exist suppress them.
file(WRITE ${PROJECT_BINARY_DIR}/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${PROJECT_BINARY_DIR}/triggers ${PROJECT_BINARY_DIR}/none/postinst ${PROJECT_BINARY_DIR}/none/postrm)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkqsupport-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "libkqsupport${KQSUPPORT_SOVERSION} (= ${PROJECT_VERSION}), qt6-base-dev (>= 6.2)")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME kqsupport-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
# dpkg-shlibdeps finds no installed package of the library.
get_target_property(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS kqsupport LIBRARY_OUTPUT_DIRECTORY)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libkqsupport${KQSUPPORT_SOVERSION} (>= ${PROJECT_VERSION})")
if(CPACK_GENERATOR STREQUAL "DEB")
  # Each package contains the changes of this version in Debian's format.
  execute_process(COMMAND awk "/^## /{n++; next} n == 1" ${PROJECT_SOURCE_DIR}/CHANGELOG.md COMMAND fold -s -w 76
    COMMAND sed "s/^/  /; s/ *$//" OUTPUT_VARIABLE changes)
  string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
  file(WRITE ${PROJECT_BINARY_DIR}/changelog
    "kqsupport (${PROJECT_VERSION}) unstable; urgency=medium\n${changes}\n -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
  file(ARCHIVE_CREATE OUTPUT ${PROJECT_BINARY_DIR}/changelog.gz PATHS ${PROJECT_BINARY_DIR}/changelog
    FORMAT raw COMPRESSION GZip COMPRESSION_LEVEL 9)
  foreach(component ${CPACK_COMPONENTS_ALL})
    string(TOUPPER ${component} name)
    install(FILES ${PROJECT_BINARY_DIR}/changelog.gz
      DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${name}_PACKAGE_NAME} COMPONENT ${component})
  endforeach()
endif()

# RPM: the names of Qt's packages differ between distributions, but all of them provide cmake(NAME).
set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_RUNTIME_PACKAGE_NAME libkqsupport${KQSUPPORT_SOVERSION})
set(CPACK_RPM_DEVELOPMENT_PACKAGE_NAME libkqsupport-devel)
set(CPACK_RPM_DEVELOPMENT_PACKAGE_REQUIRES
  "libkqsupport${KQSUPPORT_SOVERSION}%{?_isa} = %{version}-%{release}, cmake(Qt6Core) >= 6.2, cmake(Qt6Xml) >= 6.2")
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
  /usr/${CMAKE_INSTALL_LIBDIR}/cmake /usr/${CMAKE_INSTALL_LIBDIR}/pkgconfig)
# For distributions whose C library has no trigger that calls ldconfig.
file(WRITE ${PROJECT_BINARY_DIR}/ldconfig "/sbin/ldconfig\n")
set(CPACK_RPM_RUNTIME_POST_INSTALL_SCRIPT_FILE ${PROJECT_BINARY_DIR}/ldconfig)
set(CPACK_RPM_RUNTIME_POST_UNINSTALL_SCRIPT_FILE ${PROJECT_BINARY_DIR}/ldconfig)

include(CPack)
