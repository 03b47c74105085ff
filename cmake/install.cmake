include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tool_binding)

install(TARGETS tool_binding EXPORT tool_bindingTargets
  RUNTIME COMPONENT core
  LIBRARY COMPONENT core NAMELINK_COMPONENT dev
  ARCHIVE COMPONENT dev)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(EXPORT tool_bindingTargets NAMESPACE tool_binding:: DESTINATION ${package_dir}
  COMPONENT dev)

if(TOOL_BINDING_BUILD_NLOHMANN_JSON)
  install(TARGETS tool_binding_nlohmann_json EXPORT tool_bindingNlohmannJsonTargets)
  install(DIRECTORY adapters/nlohmann_json/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    COMPONENT nlohmann_json)
  install(EXPORT tool_bindingNlohmannJsonTargets NAMESPACE tool_binding:: DESTINATION ${package_dir}
    COMPONENT nlohmann_json)
endif()

# A shared server library is found beside the core's, whose component it needs.
if(TOOL_BINDING_BUILD_SERVER)
  install(TARGETS tool_binding_server EXPORT tool_bindingServerTargets
    RUNTIME COMPONENT server
    LIBRARY COMPONENT server
    ARCHIVE COMPONENT server)
  install(DIRECTORY server/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT server)
  install(EXPORT tool_bindingServerTargets NAMESPACE tool_binding:: DESTINATION ${package_dir}
    COMPONENT server)
endif()

configure_package_config_file(cmake/tool_bindingConfig.cmake.in
  ${PROJECT_BINARY_DIR}/tool_bindingConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tool_bindingConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
# Appending an absolute path replaces what it is appended to.
set(pc_libdir "\${prefix}")
cmake_path(APPEND pc_libdir "${CMAKE_INSTALL_LIBDIR}")
set(pc_includedir "\${prefix}")
cmake_path(APPEND pc_includedir "${CMAKE_INSTALL_INCLUDEDIR}")
configure_file(cmake/tool_binding.pc.in ${PROJECT_BINARY_DIR}/tool_binding.pc @ONLY)
if(TOOL_BINDING_BUILD_SERVER)
  configure_file(cmake/tool_binding_server.pc.in ${PROJECT_BINARY_DIR}/tool_binding_server.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/tool_binding_server.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT server)
endif()
install(FILES
  ${PROJECT_BINARY_DIR}/tool_bindingConfig.cmake
  ${PROJECT_BINARY_DIR}/tool_bindingConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT dev)
install(FILES ${PROJECT_BINARY_DIR}/tool_binding.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT core)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev)
