# Where plug-ins are installed, below the prefix and as the installed host finds them from its own directory, so
# that the whole may be moved.
include(GNUInstallDirs)
set(K7_PLUGIN_INSTALL_DIR ${CMAKE_INSTALL_LIBDIR}/vexo-service/plugins)
GNUInstallDirs_get_absolute_install_dir(K7_PLUGIN_FULL_DIR K7_PLUGIN_INSTALL_DIR LIBDIR)
file(RELATIVE_PATH K7_PLUGIN_DIR_FROM_BIN ${CMAKE_INSTALL_FULL_BINDIR} ${K7_PLUGIN_FULL_DIR})
