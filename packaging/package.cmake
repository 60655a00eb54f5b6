# What is installed where, and the Debian package made of it.
include(GNUInstallDirs)

# Installs files compressed, as the manual pages and the changelog are.
function(install_compressed destination)
  foreach(source ${ARGN})
    cmake_path(GET source FILENAME name)
    set(archive ${PROJECT_BINARY_DIR}/packaging/${name}.gz)
    add_custom_command(OUTPUT ${archive} DEPENDS ${source}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/packaging
      COMMAND gzip -9 --no-name --stdout ${PROJECT_SOURCE_DIR}/${source} > ${archive} VERBATIM)
    add_custom_target(compress-${name} ALL DEPENDS ${archive})
    install(FILES ${archive} DESTINATION ${destination})
  endforeach()
endfunction()

install(TARGETS ztbackupbytime ztschedules)
install(PROGRAMS agent/ZTAgent TYPE BIN)
install_compressed(${CMAKE_INSTALL_MANDIR}/man1 packaging/ZTAgent.1 packaging/ztbackupbytime.1
  packaging/ztschedules.1)
install_compressed(${CMAKE_INSTALL_DOCDIR} packaging/debian/changelog)
install(FILES README.md packaging/debian/copyright TYPE DOC)
# The notices that belong to the libraries which are part of the programs.
foreach(package libutf8proc-dev libcli11-dev nlohmann-json3-dev)
  install(FILES /usr/share/doc/${package}/copyright RENAME copyright.${package} TYPE DOC)
endforeach()
install(DIRECTORY docs TYPE DOC)
# systemd looks below lib, whatever the architecture's own folder for libraries is.
install(FILES packaging/ztbackupbytime.service packaging/ztbackupbytime.timer DESTINATION lib/systemd/user)
install(DIRECTORY packaging/user@.service.d DESTINATION lib/systemd/system)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "The ztbackupbytime developers <developers@ztbackupbytime.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "cron | cron-daemon, dbus-user-session, libpam-systemd, libsystemd0, polkitd | policykit-1, systemd")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/packaging/debian/postinst ${PROJECT_SOURCE_DIR}/packaging/debian/postrm)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "\
A timer of the user's systemd runs the tool about once a minute. It reads
the user's crontab, starts the application's copy controller once for
every schedule that is due, and has the machine wake for the next one.")
include(CPack)
