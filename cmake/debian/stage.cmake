# Run by cpack (CPACK_PRE_BUILD_SCRIPTS) after it has installed each
# component into its staging tree and before it makes the packages: adds
# what Debian expects of every package and a plain `cmake --install` does
# not install.
#   - the manual pages compressed with `gzip -9n` (no name, no time stamp,
#     so that two builds give the same bytes);
#   - /usr/share/doc/PACKAGE/copyright and changelog.gz (the version is
#     native, without a Debian revision, hence changelog.gz).
# The binaries are stripped later, by cpack itself, which moves their debug
# symbols to the -dbgsym packages (CPACK_DEBIAN_DEBUGINFO_PACKAGE).
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER "${component}" upper)
  set(package "${CPACK_DEBIAN_${upper}_PACKAGE_NAME}")
  set(root "${CPACK_TEMPORARY_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX}")

  file(GLOB_RECURSE pages LIST_DIRECTORIES false "${root}/share/man/*")
  foreach(page IN LISTS pages)
    if(NOT page MATCHES "\\.gz$")
      execute_process(COMMAND gzip -9nf "${page}" COMMAND_ERROR_IS_FATAL ANY)
    endif()
  endforeach()

  set(doc "${root}/share/doc/${package}")
  file(MAKE_DIRECTORY "${doc}")
  file(COPY_FILE "${CPACK_VELKC_DEBIAN_DIR}/copyright" "${doc}/copyright")
  execute_process(COMMAND gzip -9n -c "${CPACK_VELKC_DEBIAN_DIR}/changelog"
    OUTPUT_FILE "${doc}/changelog.gz" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
