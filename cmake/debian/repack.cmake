# Run by cpack (CPACK_POST_BUILD_SCRIPTS) on the packages it has just made,
# before it copies them out: mends what the DEB generator of CMake 3.25 gets
# wrong, by unpacking the package with dpkg-deb, changing it and building it
# again (files owned by root, as cpack has them).
#   - It gives a package with a library in /usr/lib a postinst and a postrm
#     that call ldconfig. The library package activates dpkg's ldconfig
#     trigger instead (cmake/debian/triggers), so the two scripts, which do
#     nothing else, are dropped.
#   - Its -dbgsym packages list their files in md5sums by their path in the
#     staging tree, not in the package, and have no /usr/share/doc entry;
#     md5sums is written anew, and /usr/share/doc/PACKAGE-dbgsym made a link
#     to the directory of PACKAGE, on which the -dbgsym package depends.
set(ldconfig_postinst "#!/bin/sh\n\nset -e\n\nif [ \"$1\" = \"configure\" ]; then\n\tldconfig\nfi\n")
set(ldconfig_postrm "#!/bin/sh\n\nset -e\n\nif [ \"$1\" = \"remove\" ]; then\n\tldconfig\nfi\n")

function(velkc_unpack deb dir)
  file(REMOVE_RECURSE "${dir}")
  execute_process(COMMAND dpkg-deb -R "${deb}" "${dir}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(velkc_pack dir deb)
  execute_process(COMMAND dpkg-deb --root-owner-group -b "${dir}" "${deb}" OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE "${dir}")
endfunction()

foreach(deb IN LISTS CPACK_PACKAGE_FILES)
  get_filename_component(name "${deb}" NAME)
  set(dir "${deb}.d")
  if(name MATCHES "^([^_]+)-dbgsym_[^_]+_[^_]+\\.ddeb$")
    set(package "${CMAKE_MATCH_1}")
    velkc_unpack("${deb}" "${dir}")
    file(GLOB_RECURSE files LIST_DIRECTORIES false RELATIVE "${dir}" "${dir}/usr/*")
    list(SORT files)
    set(md5sums "")
    foreach(file IN LISTS files)
      if(NOT IS_SYMLINK "${dir}/${file}")
        file(MD5 "${dir}/${file}" sum)
        string(APPEND md5sums "${sum}  ${file}\n")
      endif()
    endforeach()
    file(WRITE "${dir}/DEBIAN/md5sums" "${md5sums}")
    if(NOT EXISTS "${dir}/usr/share/doc/${package}-dbgsym")
      file(MAKE_DIRECTORY "${dir}/usr/share/doc")
      file(CREATE_LINK "${package}" "${dir}/usr/share/doc/${package}-dbgsym" SYMBOLIC)
    endif()
    velkc_pack("${dir}" "${deb}")
  elseif(name MATCHES "^${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME}_[^_]+_[^_]+\\.deb$")
    velkc_unpack("${deb}" "${dir}")
    foreach(script IN ITEMS postinst postrm)
      if(EXISTS "${dir}/DEBIAN/${script}")
        file(READ "${dir}/DEBIAN/${script}" content)
        if(NOT content STREQUAL ldconfig_${script})
          message(FATAL_ERROR "${name}: the ${script} that cpack wrote does more than call ldconfig:\n${content}")
        endif()
        file(REMOVE "${dir}/DEBIAN/${script}")
      endif()
    endforeach()
    velkc_pack("${dir}" "${deb}")
  endif()
endforeach()
