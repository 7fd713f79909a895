# What `cmake --install` puts where, in components: programs, libraries, development, service,
# documents. The Debian packages are made of the first three; debhelper places the service's files.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)
set(share ${CMAKE_INSTALL_DATADIR})
set(documents ${share}/doc/lumen)
file(RELATIVE_PATH to_libraries ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})

set_target_properties(lumen lumen-smbusd PROPERTIES INSTALL_RPATH $ORIGIN/${to_libraries})
set_target_properties(Platform LumenDriversCorvid PROPERTIES
  VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} INSTALL_RPATH $ORIGIN)
install(TARGETS lumen lumen-smbusd RUNTIME COMPONENT programs)
install(TARGETS Platform LumenDriversCorvid EXPORT LumenPlatform
  LIBRARY COMPONENT libraries NAMELINK_COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/lumen)

install(DIRECTORY Platform/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/lumen
  COMPONENT development)
install(FILES Platform/smbus.proto DESTINATION ${share}/lumen COMPONENT development)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/LumenPlatform)
configure_package_config_file(cmake/LumenPlatformConfig.cmake.in
  ${CMAKE_BINARY_DIR}/LumenPlatformConfig.cmake INSTALL_DESTINATION ${package}
  PATH_VARS CMAKE_INSTALL_LIBDIR NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/LumenPlatformConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/LumenPlatformConfig.cmake
  ${CMAKE_BINARY_DIR}/LumenPlatformConfigVersion.cmake
  DESTINATION ${package} COMPONENT development)
install(EXPORT LumenPlatform FILE LumenPlatformTargets.cmake NAMESPACE LumenPlatform::
  DESTINATION ${package} COMPONENT development)

# Their prefix is where they lie, so that a tree can be moved.
file(RELATIVE_PATH to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" to_prefix ${to_prefix})
foreach(module lumen-platform lumen-drivers-corvid)
  configure_file(cmake/${module}.pc.in ${CMAKE_BINARY_DIR}/${module}.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/${module}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)
endforeach()

install(DIRECTORY Boards/ DESTINATION ${share}/lumen/boards COMPONENT programs
  FILES_MATCHING PATTERN *.json)

file(GLOB bash_completions CONFIGURE_DEPENDS Packaging/completions/*.bash)
foreach(source IN LISTS bash_completions)
  cmake_path(GET source STEM program)
  install(FILES ${source} RENAME ${program} DESTINATION ${share}/bash-completion/completions
    COMPONENT programs)
endforeach()
file(GLOB zsh_completions CONFIGURE_DEPENDS Packaging/completions/_*)
if(zsh_completions)
  install(FILES ${zsh_completions} DESTINATION ${share}/zsh/site-functions COMPONENT programs)
endif()

# systemd and udev look for these below /usr and /usr/local. The unit has to name the program.
install(CODE "
  file(READ \"${PROJECT_SOURCE_DIR}/Packaging/lumen-smbusd.service\" unit)
  string(REPLACE /usr/bin/ \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/\" unit \"\${unit}\")
  file(WRITE \"${CMAKE_BINARY_DIR}/lumen-smbusd.service\" \"\${unit}\")" COMPONENT service)
install(FILES ${CMAKE_BINARY_DIR}/lumen-smbusd.service DESTINATION lib/systemd/system
  COMPONENT service)
install(FILES Packaging/lumen-smbusd.sysusers DESTINATION lib/sysusers.d RENAME lumen.conf
  COMPONENT service)
install(FILES Packaging/lumen-smbusd.tmpfiles DESTINATION lib/tmpfiles.d RENAME lumen.conf
  COMPONENT service)
install(FILES Packaging/70-lumen-i2c.rules DESTINATION lib/udev/rules.d COMPONENT service)
install(FILES Packaging/smbusd.conf DESTINATION ${documents}/examples COMPONENT service)

install(FILES LICENSE README.md CHANGELOG.md DESTINATION ${documents} COMPONENT documents)
install(DIRECTORY docs DESTINATION ${documents} COMPONENT documents)
