# Finds Android's libutils and liblog as Debian packages them for the host
# (android-libutils-dev, android-liblog-dev): headers under /usr/include/android,
# libraries under /usr/lib/<multiarch>/android.
# Defines the imported targets Android::utils and Android::log.

find_path(AndroidPlatform_INCLUDE_DIR utils/RefBase.h PATH_SUFFIXES android)
find_library(AndroidPlatform_UTILS_LIBRARY utils PATH_SUFFIXES android
  PATHS /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android NO_DEFAULT_PATH)
find_library(AndroidPlatform_LOG_LIBRARY log PATH_SUFFIXES android
  PATHS /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android NO_DEFAULT_PATH)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(AndroidPlatform
  REQUIRED_VARS AndroidPlatform_INCLUDE_DIR AndroidPlatform_UTILS_LIBRARY AndroidPlatform_LOG_LIBRARY)

if(AndroidPlatform_FOUND)
  get_filename_component(AndroidPlatform_LIBRARY_DIR ${AndroidPlatform_UTILS_LIBRARY} DIRECTORY)
  if(NOT TARGET Android::log)
    add_library(Android::log SHARED IMPORTED)
    set_target_properties(Android::log PROPERTIES
      IMPORTED_LOCATION ${AndroidPlatform_LOG_LIBRARY}
      INTERFACE_SYSTEM_INCLUDE_DIRECTORIES ${AndroidPlatform_INCLUDE_DIR}
      INTERFACE_INCLUDE_DIRECTORIES ${AndroidPlatform_INCLUDE_DIR}
      # The libraries live outside the loader's search path.
      INTERFACE_LINK_OPTIONS "LINKER:-rpath,${AndroidPlatform_LIBRARY_DIR}")
  endif()
  if(NOT TARGET Android::utils)
    add_library(Android::utils SHARED IMPORTED)
    set_target_properties(Android::utils PROPERTIES
      IMPORTED_LOCATION ${AndroidPlatform_UTILS_LIBRARY}
      INTERFACE_SYSTEM_INCLUDE_DIRECTORIES ${AndroidPlatform_INCLUDE_DIR}
      INTERFACE_INCLUDE_DIRECTORIES ${AndroidPlatform_INCLUDE_DIR}
      INTERFACE_LINK_LIBRARIES Android::log)
  endif()
endif()
mark_as_advanced(AndroidPlatform_INCLUDE_DIR AndroidPlatform_UTILS_LIBRARY AndroidPlatform_LOG_LIBRARY)
