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
# include/orvax (<hidl/Status.h>, <tevparamstorage/TevParamCache.h>, ...).
foreach(library orvaxfoundation orvaxhidl orvaxrnx tevparamstorage)
  target_include_directories(${library} PUBLIC $<INSTALL_INTERFACE:${ORVAX_INSTALL_INCLUDEDIR}>)
endforeach()
file(GLOB orvax_platform_include_dirs LIST_DIRECTORIES true ${PROJECT_SOURCE_DIR}/platform/*/include)

# Only what a hosting server or a client builds against: the service's class,
# the client callback interface and the client parameter ids, with every
# header they include, followed to the end. The event handler, the
# notification clients, the blob reader, the manager and the platform
# libraries' own workings stay inside.
set(orvax_public_entry_headers
  service/OrvanManagerService.h
  manager/ClientParameter.h
  platform/rnx/include/vendor/orvan/hardware/rnx/2.0/IRnxCallbacks.h)

# Sets `out` to the headers `entries` include, themselves among them, as paths
# from the source root: "quoted" ones in the tree, <angled> ones in the
# platform include folders; system headers are left out.
function(orvax_included_headers out)
  set(pending ${ARGN})
  set(found "")
  while(pending)
    list(POP_FRONT pending header)
    if(header IN_LIST found)
      continue()
    endif()
    list(APPEND found ${header})
    # A new include in any of them changes what is installed.
    set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${header})
    file(STRINGS ${PROJECT_SOURCE_DIR}/${header} includes REGEX "^#include [\"<][^\">]+[\">]")
    foreach(line ${includes})
      string(REGEX REPLACE "^#include [\"<]([^\">]+)[\">].*" "\\1" included "${line}")
      foreach(dir ${PROJECT_SOURCE_DIR} ${orvax_platform_include_dirs})
        if(EXISTS ${dir}/${included})
          file(RELATIVE_PATH relative ${PROJECT_SOURCE_DIR} ${dir}/${included})
          list(APPEND pending ${relative})
          break()
        endif()
      endforeach()
    endforeach()
  endwhile()
  list(SORT found)
  set(${out} ${found} PARENT_SCOPE)
endfunction()

orvax_included_headers(orvax_headers ${orvax_public_entry_headers})
foreach(header ${orvax_headers})
  # platform/NAME/include/PATH installs as PATH, the tree's own as their path.
  string(REGEX REPLACE "^platform/[^/]+/include/" "" installed ${header})
  get_filename_component(header_dir ${installed} DIRECTORY)
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
    ${PROJECT_SOURCE_DIR}/docs/orvaxctl.md ${PROJECT_SOURCE_DIR}/docs/orvaxd.md
    ${PROJECT_SOURCE_DIR}/docs/tuning-file.xsd
  DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT runtime)
install(FILES ${PROJECT_SOURCE_DIR}/docs/orvaxctl.1
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
  COMPONENT runtime)
install(FILES ${PROJECT_SOURCE_DIR}/tools/orvaxctl/orvaxctl.bash-completion
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
  RENAME orvaxctl
  COMPONENT runtime)

# CMake package: find_package(orvax) gives orvax::orvaxservice.
install(EXPORT orvaxTargets
  NAMESPACE orvax::
  DESTINATION ${ORVAX_INSTALL_CMAKEDIR}
  COMPONENT development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/orvaxConfig.cmake.in ${PROJECT_BINARY_DIR}/orvaxConfig.cmake
  INSTALL_DESTINATION ${ORVAX_INSTALL_CMAKEDIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/orvaxConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/orvaxConfig.cmake ${PROJECT_BINARY_DIR}/orvaxConfigVersion.cmake
    ${PROJECT_SOURCE_DIR}/cmake/FindAndroidPlatform.cmake
  DESTINATION ${ORVAX_INSTALL_CMAKEDIR}
  COMPONENT development)

# pkg-config: the Android libraries have no .pc file of their own, so their
# paths as found here are written in; ours follow from the file's place.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
  message(FATAL_ERROR "orvaxservice.pc is relocatable and needs a relative CMAKE_INSTALL_LIBDIR, not ${CMAKE_INSTALL_LIBDIR}")
endif()
file(RELATIVE_PATH ORVAX_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" ORVAX_PC_TO_PREFIX ${ORVAX_PC_TO_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/orvaxservice.pc.in ${PROJECT_BINARY_DIR}/orvaxservice.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvaxservice.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)
