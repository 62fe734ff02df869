# Debian package of the product: the i386 binary, its manual page and the README.
# The binary is installed 0755 root:root. Whether it runs set-user-ID root is the administrator's
# choice (dpkg-statoverride), so that the package never widens anyone's rights on its own.
# Manual pages ship gzip-compressed (-n: no name or time stamp, so the package is reproducible).
set(SARVIK_MAN_GZ ${CMAKE_BINARY_DIR}/Sarvik.8.gz)
add_custom_command(OUTPUT ${SARVIK_MAN_GZ}
    COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/Sarvik.8 > ${SARVIK_MAN_GZ}
    DEPENDS ${PROJECT_SOURCE_DIR}/Sarvik.8
    COMMENT "Compressing the manual page")
# A native package (no Debian revision) names its changelog changelog.gz.
set(SARVIK_CHANGELOG_GZ ${CMAKE_BINARY_DIR}/changelog.gz)
add_custom_command(OUTPUT ${SARVIK_CHANGELOG_GZ}
    COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/packaging/changelog > ${SARVIK_CHANGELOG_GZ}
    DEPENDS ${PROJECT_SOURCE_DIR}/packaging/changelog
    COMMENT "Compressing the package changelog")
add_custom_target(sarvik-man ALL DEPENDS ${SARVIK_MAN_GZ} ${SARVIK_CHANGELOG_GZ})

install(TARGETS Sarvik RUNTIME DESTINATION sbin PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
install(FILES ${SARVIK_MAN_GZ} DESTINATION share/man/man8)
install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION share/doc/sarvik)
install(FILES ${PROJECT_SOURCE_DIR}/docs/running-sarvik.md DESTINATION share/doc/sarvik)
# What Debian policy asks of every package's documentation folder.
install(FILES ${PROJECT_SOURCE_DIR}/packaging/copyright ${SARVIK_CHANGELOG_GZ} DESTINATION share/doc/sarvik)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME sarvik)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Sarvik team <sarvik@sarvik.example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Installed programs carry no debugging symbols; folders are 0755 whatever the builder's umask.
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE i386)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libjsoncpp25 (>= 1.9.5), libc6 (>= 2.34), libstdc++6 (>= 12), libgcc-s1")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "print the serial number and chassis model of a broadcast video server")
# The extended description's lines stay within 80 columns with the space that dpkg puts before each.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Sarvik wakes the server's codec board (ZEBX, Q5K, Q5KP or Q7K), reads
the unit's identity record from the board's EEPROM and prints its serial
number and chassis model, as text or JSON.")
include(CPack)
