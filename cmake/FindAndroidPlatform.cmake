# The platform's own code as distributions package it: reference counting, native handles, the log,
# and what passes descriptors. Both headers and libraries stand in folders of their own, named
# android. Makes android::utils, android::cutils, android::log and android::base, and says in
# AndroidPlatform_LIBRARY_DIR where the libraries are, which is no place that programs look for
# libraries by themselves.
#
# AndroidPlatform_ROOT or CMAKE_PREFIX_PATH name other places. Installed with the package, whose
# users need the same libraries.
include(FindPackageHandleStandardArgs)

find_path(AndroidPlatform_INCLUDE_DIR utils/RefBase.h PATH_SUFFIXES android)
set(_android_wanted AndroidPlatform_INCLUDE_DIR)
foreach(_name utils cutils log base)
    find_library(AndroidPlatform_${_name}_LIBRARY ${_name} PATH_SUFFIXES android)
    list(APPEND _android_wanted AndroidPlatform_${_name}_LIBRARY)
endforeach()

find_package_handle_standard_args(AndroidPlatform
    REQUIRED_VARS ${_android_wanted}
    REASON_FAILURE_MESSAGE "on Debian they are in android-libutils-dev, android-libcutils-dev and \
android-liblog-dev, and AndroidPlatform_ROOT names the prefix of another place")

if(AndroidPlatform_FOUND)
    get_filename_component(AndroidPlatform_LIBRARY_DIR ${AndroidPlatform_utils_LIBRARY} DIRECTORY)
    foreach(_name utils cutils log base)
        if(NOT TARGET android::${_name})
            add_library(android::${_name} UNKNOWN IMPORTED GLOBAL)
            set_target_properties(android::${_name} PROPERTIES
                IMPORTED_LOCATION ${AndroidPlatform_${_name}_LIBRARY}
                INTERFACE_INCLUDE_DIRECTORIES ${AndroidPlatform_INCLUDE_DIR})
        endif()
    endforeach()
endif()
mark_as_advanced(${_android_wanted})
unset(_android_wanted)
unset(_name)
