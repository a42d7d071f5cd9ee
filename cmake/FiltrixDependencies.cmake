# Every library we use, found once. What each is for stands in scripts/packages.txt.

find_package(Threads REQUIRED)
find_package(Boost 1.74 REQUIRED)
find_package(Eigen3 3.4 REQUIRED NO_MODULE)
find_package(fmt 9 REQUIRED)
find_package(spdlog 1.10 REQUIRED)
find_package(OpenCV 4 REQUIRED COMPONENTS core imgproc)
if(FILTRIX_BUILD_TESTS)
  find_package(GTest REQUIRED)
endif()
if(FILTRIX_BUILD_BENCH)
  find_package(benchmark REQUIRED)
endif()

# OpenCV's own targets carry no SYSTEM mark, so its headers would be held to our warnings.
foreach(module core imgproc)
  add_library(filtrix_opencv_${module} INTERFACE)
  target_include_directories(filtrix_opencv_${module} SYSTEM INTERFACE ${OpenCV_INCLUDE_DIRS})
  target_link_libraries(filtrix_opencv_${module} INTERFACE opencv_${module})
endforeach()
