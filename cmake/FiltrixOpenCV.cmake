# The OpenCV modules that we use, as imported targets opencv_<module>.
#
# Debian's single modules (libopencv-core-dev and so on) come without OpenCV's own package file, which belongs to the whole
# library with everything it depends on. So where that file is missing, the headers and the libraries are looked up.
find_package(OpenCV 4 QUIET COMPONENTS ${FILTRIX_OPENCV_MODULES})
if(NOT OpenCV_FOUND)
  find_path(OpenCV_INCLUDE_DIRS opencv2/core.hpp PATH_SUFFIXES opencv4 REQUIRED)
  foreach(module IN LISTS FILTRIX_OPENCV_MODULES)
    find_library(OpenCV_${module}_LIBRARY opencv_${module} REQUIRED)
    mark_as_advanced(OpenCV_${module}_LIBRARY)
    if(NOT TARGET opencv_${module})
      add_library(opencv_${module} SHARED IMPORTED)
      set_target_properties(opencv_${module} PROPERTIES
        IMPORTED_LOCATION ${OpenCV_${module}_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${OpenCV_INCLUDE_DIRS})
    endif()
  endforeach()
endif()
