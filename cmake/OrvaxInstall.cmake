# Installation: the service library and the platform libraries it links, the
# headers a hosting server builds against, orvaxctl, the bundled tuning files,
# the tuning file schema and the docs, with a pkg-config file and a CMake
# package, so that a hosting server can find_package(orvax).
# Included by the top CMakeLists.txt once every target exists.

include(CMakePackageConfigHelpers)

set(ORVAX_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR}/orvax)
set(ORVAX_INSTALL_CMAKEDIR ${CMAKE_INSTALL_LIBDIR}/cmake/orvax)
set(orvax_libraries orvaxservice orvaxfoundation orvaxhidl orvaxrnx tevparamstorage)

# Installed, each library finds the others beside it and the tool finds them
# in ../lib; the Android libraries keep the search path their link option gave.
foreach(library ${orvax_libraries})
  set_target_properties(${library} PROPERTIES INSTALL_RPATH "$ORIGIN")
endforeach()
set_target_properties(orvaxctl PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

# The platform libraries' headers keep their device include paths under
# include/orvax (<media/stagefright/foundation/ALooper.h>, <hidl/Status.h>, ...).
foreach(library orvaxfoundation orvaxhidl orvaxrnx tevparamstorage)
  target_include_directories(${library} PUBLIC $<INSTALL_INTERFACE:${ORVAX_INSTALL_INCLUDEDIR}>)
endforeach()
install(DIRECTORY
    ${PROJECT_SOURCE_DIR}/platform/foundation/include/
    ${PROJECT_SOURCE_DIR}/platform/hidl/include/
    ${PROJECT_SOURCE_DIR}/platform/rnx/include/
    ${PROJECT_SOURCE_DIR}/platform/tevparamstorage/include/
  DESTINATION ${ORVAX_INSTALL_INCLUDEDIR}
  COMPONENT development
  FILES_MATCHING PATTERN "*.h")

# Our headers: those of service/ and manager/ and every header of the tree
# they include, followed to the end, at their paths in the tree.
function(orvax_public_headers out)
  file(GLOB pending RELATIVE ${PROJECT_SOURCE_DIR}
    ${PROJECT_SOURCE_DIR}/service/*.h ${PROJECT_SOURCE_DIR}/manager/*.h)
  set(found "")
  while(pending)
    list(POP_FRONT pending header)
    if(header IN_LIST found)
      continue()
    endif()
    list(APPEND found ${header})
    file(STRINGS ${PROJECT_SOURCE_DIR}/${header} includes REGEX "^#include \"[^\"]+\"")
    foreach(line ${includes})
      string(REGEX REPLACE "^#include \"([^\"]+)\".*" "\\1" included "${line}")
      if(EXISTS ${PROJECT_SOURCE_DIR}/${included})
        list(APPEND pending ${included})
      endif()
    endforeach()
  endwhile()
  list(SORT found)
  set(${out} ${found} PARENT_SCOPE)
endfunction()

orvax_public_headers(orvax_headers)
foreach(header ${orvax_headers})
  get_filename_component(header_dir ${header} DIRECTORY)
  install(FILES ${PROJECT_SOURCE_DIR}/${header}
    DESTINATION ${ORVAX_INSTALL_INCLUDEDIR}/${header_dir}
    COMPONENT development)
endforeach()

install(TARGETS ${orvax_libraries}
  EXPORT orvaxTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  INCLUDES DESTINATION ${ORVAX_INSTALL_INCLUDEDIR})
install(TARGETS orvaxctl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)

install(FILES ${PROJECT_SOURCE_DIR}/data/zel-default.xml ${PROJECT_SOURCE_DIR}/data/zel-extra.xml
    ${PROJECT_SOURCE_DIR}/docs/tuning-file.xsd
  DESTINATION ${CMAKE_INSTALL_DATADIR}/orvax
  COMPONENT runtime)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/docs/tuning-file-format.md
    ${PROJECT_SOURCE_DIR}/docs/orvaxctl.md ${PROJECT_SOURCE_DIR}/docs/tuning-file.xsd
  DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT runtime)

# CMake package: find_package(orvax) gives orvax::orvaxservice.
install(EXPORT orvaxTargets
  NAMESPACE orvax::
  DESTINATION ${ORVAX_INSTALL_CMAKEDIR}
  COMPONENT development)
file(WRITE ${PROJECT_BINARY_DIR}/orvaxConfig.cmake.in [=[
# The Orvax settings service: find_package(orvax) defines orvax::orvaxservice,
# which brings its headers, the platform libraries and Android's libutils and
# liblog (found as Debian packages them) with it.
@PACKAGE_INIT@

include(CMakeFindDependencyMacro)
list(PREPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR})
find_dependency(AndroidPlatform)
find_dependency(Threads)
list(POP_FRONT CMAKE_MODULE_PATH)

include(${CMAKE_CURRENT_LIST_DIR}/orvaxTargets.cmake)
check_required_components(orvax)
]=])
configure_package_config_file(${PROJECT_BINARY_DIR}/orvaxConfig.cmake.in ${PROJECT_BINARY_DIR}/orvaxConfig.cmake
  INSTALL_DESTINATION ${ORVAX_INSTALL_CMAKEDIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/orvaxConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/orvaxConfig.cmake ${PROJECT_BINARY_DIR}/orvaxConfigVersion.cmake
    ${PROJECT_SOURCE_DIR}/cmake/FindAndroidPlatform.cmake
  DESTINATION ${ORVAX_INSTALL_CMAKEDIR}
  COMPONENT development)

# pkg-config: the Android libraries have no .pc file of their own, so their
# paths as found here are written in.
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/orvaxservice.pc @ONLY CONTENT [=[
prefix=@CMAKE_INSTALL_PREFIX@
libdir=${prefix}/@CMAKE_INSTALL_LIBDIR@
includedir=${prefix}/@ORVAX_INSTALL_INCLUDEDIR@

Name: orvaxservice
Description: Orvax settings service of the TEV audio post-processing engine
Version: @PROJECT_VERSION@
Cflags: -I${includedir} -isystem @AndroidPlatform_INCLUDE_DIR@ -Wno-multichar
Libs: -L${libdir} -Wl,-rpath,${libdir} -lorvaxservice -lorvaxfoundation -lorvaxhidl -lorvaxrnx -ltevparamstorage -L@AndroidPlatform_LIBRARY_DIR@ -Wl,-rpath,@AndroidPlatform_LIBRARY_DIR@ -lutils -llog
Libs.private: -lpthread
]=])
install(FILES ${PROJECT_BINARY_DIR}/orvaxservice.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)
