# Read by cpack for each generator: a Debian package installs under /usr, an archive unpacks into a
# directory of its own.
if(CPACK_GENERATOR STREQUAL DEB)
    set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
endif()
