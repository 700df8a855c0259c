# orva_onnxruntime: the reference framework's engine. The system's own library where it is no older
# than what the framework calls, otherwise the one that setup/fetch-onnxruntime fetches, which is
# copied to where the build's own libraries stand, so that it is found beside them, also installed.
set(ORVA_ONNXRUNTIME_API 29)
if(DEFINED ENV{XDG_CACHE_HOME})
    set(cache $ENV{XDG_CACHE_HOME})
else()
    set(cache $ENV{HOME}/.cache)
endif()
set(ORVA_ONNXRUNTIME ${cache}/orva/onnxruntime-1.29.0 CACHE PATH
        "What setup/fetch-onnxruntime has fetched")

add_library(orva_onnxruntime INTERFACE)
find_path(ORVA_ONNXRUNTIME_SYSTEM_INCLUDE onnxruntime_cxx_api.h
        PATH_SUFFIXES onnxruntime onnxruntime/core/session NO_CMAKE_FIND_ROOT_PATH)
find_library(ORVA_ONNXRUNTIME_SYSTEM_LIBRARY onnxruntime)
set(api 0)
if(ORVA_ONNXRUNTIME_SYSTEM_INCLUDE AND ORVA_ONNXRUNTIME_SYSTEM_LIBRARY)
    file(STRINGS ${ORVA_ONNXRUNTIME_SYSTEM_INCLUDE}/onnxruntime_c_api.h line
            REGEX "define ORT_API_VERSION [0-9]+")
    string(REGEX MATCH "[0-9]+" api "${line}")
endif()
if(api GREATER_EQUAL ORVA_ONNXRUNTIME_API)
    target_include_directories(orva_onnxruntime SYSTEM INTERFACE ${ORVA_ONNXRUNTIME_SYSTEM_INCLUDE})
    target_link_libraries(orva_onnxruntime INTERFACE ${ORVA_ONNXRUNTIME_SYSTEM_LIBRARY})
else()
    set(library lib/${CMAKE_SYSTEM_PROCESSOR}/libonnxruntime.so.1)
    if(NOT EXISTS ${ORVA_ONNXRUNTIME}/${library} OR
            NOT EXISTS ${ORVA_ONNXRUNTIME}/include/onnxruntime_cxx_api.h)
        message(FATAL_ERROR "no ONNX Runtime of API ${ORVA_ONNXRUNTIME_API} or later for "
                "${CMAKE_SYSTEM_PROCESSOR}, neither the system's nor in ${ORVA_ONNXRUNTIME}; "
                "setup/fetch-onnxruntime --arch ${CMAKE_SYSTEM_PROCESSOR} fetches it")
    endif()
    set(ORVA_ONNXRUNTIME_COPY ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/libonnxruntime.so.1)
    configure_file(${ORVA_ONNXRUNTIME}/${library}
            ${ORVA_ONNXRUNTIME_COPY} COPYONLY)
    target_include_directories(orva_onnxruntime SYSTEM INTERFACE ${ORVA_ONNXRUNTIME}/include)
    target_link_libraries(orva_onnxruntime INTERFACE ${ORVA_ONNXRUNTIME_COPY})
endif()
