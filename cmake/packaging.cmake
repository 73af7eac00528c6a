# Debian packages: `cpack -G DEB` in the build directory makes one package
# per install component.
#   libvelkc1     the shared library (component runtime)
#   libvelkc-dev  headers, pkg-config and CMake files (component development)
#   velkc-conf    the command-line tool and its manual (component tools)
#   velkc-check   kovacore_check, the library's unit tests (component check)
# Runtime dependencies come from dpkg-shlibdeps; the library package carries
# a shlibs file, so packages built against it depend on it in turn, and runs
# ldconfig when installed or removed.
set(CPACK_PACKAGE_NAME velkc)
set(CPACK_PACKAGE_VENDOR "velkc developers")
set(CPACK_PACKAGE_CONTACT "velkc developers <velkc@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The tool and the tests link the library of this very build.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libvelkc${PROJECT_VERSION_MAJOR})
# Later releases of this major version only add symbols.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "${PROJECT_DESCRIPTION} (shared library)")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvelkc-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libicu-dev, pkg-config")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "${PROJECT_DESCRIPTION} (development files)")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME velkc-conf)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION admin)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "Reads and edits configuration files from the shell")
set(CPACK_COMPONENT_TOOLS_DEPENDS runtime)

set(CPACK_DEBIAN_CHECK_PACKAGE_NAME velkc-check)
set(CPACK_DEBIAN_CHECK_PACKAGE_SECTION devel)
set(CPACK_COMPONENT_CHECK_DESCRIPTION "Unit tests of ${PROJECT_NAME} (kovacore_check)")
set(CPACK_COMPONENT_CHECK_DEPENDS runtime)

# Only the components this build installs something for.
get_cmake_property(CPACK_COMPONENTS_ALL COMPONENTS)
include(CPack)
