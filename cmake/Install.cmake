# What `cmake --install` puts in place: the host with its plug-ins, and the SDK for plug-ins of others, which is
# the package K7PluginApi.
include(CMakePackageConfigHelpers)

set(sdk_include_dir ${CMAKE_INSTALL_INCLUDEDIR}/k7)
set(sdk_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/K7PluginApi)

# The libraries are found from where a program or a plug-in lies.
function(k7_installed_rpath target from)
    file(RELATIVE_PATH way ${from} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${way}")
endfunction()
k7_installed_rpath(vexo-service ${CMAKE_INSTALL_FULL_BINDIR})
k7_installed_rpath(contextplugin ${K7_PLUGIN_FULL_DIR})
k7_installed_rpath(buswire ${K7_PLUGIN_FULL_DIR})

install(TARGETS vexo-service RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS contextplugin buswire LIBRARY DESTINATION ${K7_PLUGIN_INSTALL_DIR})

# The unit names the host where this installation puts it: --prefix may change that until the last moment. Below the
# prefix, user managers look for units in lib alone, whatever the directory of the libraries.
install(CODE "
    set(VEXO_SERVICE \"\${CMAKE_INSTALL_PREFIX}\")
    cmake_path(APPEND VEXO_SERVICE \"${CMAKE_INSTALL_BINDIR}\" vexo-service)
    cmake_path(ABSOLUTE_PATH VEXO_SERVICE)
    string(REPLACE % %% VEXO_SERVICE \"\${VEXO_SERVICE}\")
    set(unit \"\${CMAKE_INSTALL_PREFIX}/lib/systemd/user/vexo-service.service\")
    message(STATUS \"Installing: \$ENV{DESTDIR}\${unit}\")
    configure_file(\"${CMAKE_CURRENT_SOURCE_DIR}/packaging/vexo-service.service.in\" \"\$ENV{DESTDIR}\${unit}\"
        @ONLY FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${unit}\")")

set_target_properties(k7-plugin-api PROPERTIES EXPORT_NAME plugin-api)
set_target_properties(t-system PROPERTIES EXPORT_NAME system)
install(TARGETS k7-plugin-api tq-http t-system EXPORT K7PluginApiTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${sdk_include_dir})
install(EXPORT K7PluginApiTargets NAMESPACE K7:: DESTINATION ${sdk_package_dir})

install(DIRECTORY k7-plugin-api DESTINATION ${sdk_include_dir} FILES_MATCHING PATTERN "*.h")
install(FILES
    tq-http/http/server/answer.h
    tq-http/http/server/export.h
    tq-http/http/server/headerfields.h
    tq-http/http/server/request.h
    tq-http/http/server/response.h
    DESTINATION ${sdk_include_dir}/http/server)
install(FILES
    src/system/applicationpaths.h
    src/system/scope.h
    src/system/settings.h
    src/system/socketfile.h
    DESTINATION ${sdk_include_dir}/system)

configure_package_config_file(cmake/K7PluginApiConfig.cmake.in ${PROJECT_BINARY_DIR}/K7PluginApiConfig.cmake
    INSTALL_DESTINATION ${sdk_package_dir}
    PATH_VARS K7_PLUGIN_INSTALL_DIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/K7PluginApiConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/K7PluginApiConfig.cmake
    ${PROJECT_BINARY_DIR}/K7PluginApiConfigVersion.cmake
    DESTINATION ${sdk_package_dir})
