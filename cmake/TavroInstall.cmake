# cmake --install: headers, the library (DLL + import library on Windows), mvutil and a CMake
# package, so that a consumer writes
#   find_package(TavroMedivaneUtil CONFIG REQUIRED)
#   target_link_libraries(app PRIVATE TavroMedivaneUtil::TavroMedivaneUtil)
if(WIN32)
  # The tablet's layout: the installed configuration and the sound scheme expect the DLL and
  # mvutil.exe in "Bin" below %KVO_INSTALL_DIR%, and the SDK's CMake package finds them there.
  set(CMAKE_INSTALL_BINDIR Bin)
endif()
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(TAVRO_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/TavroMedivaneUtil)

install(TARGETS TavroMedivaneUtil EXPORT TavroMedivaneUtilTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS mvutil RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/TavroMedivaneUtil
  FILES_MATCHING PATTERN "*.h")

install(EXPORT TavroMedivaneUtilTargets
  NAMESPACE TavroMedivaneUtil::
  DESTINATION ${TAVRO_PACKAGE_DIR})
configure_package_config_file(cmake/TavroMedivaneUtilConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/TavroMedivaneUtilConfig.cmake
  INSTALL_DESTINATION ${TAVRO_PACKAGE_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/TavroMedivaneUtilConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/TavroMedivaneUtilConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/TavroMedivaneUtilConfigVersion.cmake
  DESTINATION ${TAVRO_PACKAGE_DIR})
