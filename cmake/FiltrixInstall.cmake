# What an embedder or a filter author gets: the shared library, the public headers, and a package for find_package(Filtrix).

include(CMakePackageConfigHelpers)

install(TARGETS filtrix EXPORT FiltrixTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/filtrix DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

# Those who build graphs in C++ include the rooms' headers by the same names as we do: "graph/nodefilter.h".
install(DIRECTORY src/graph src/exec src/program src/platform src/module DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/filtrix/rooms FILES_MATCHING PATTERN "*.h")

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Filtrix)
install(EXPORT FiltrixTargets NAMESPACE Filtrix:: DESTINATION ${package_dir})
configure_package_config_file(cmake/FiltrixConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/FiltrixConfig.cmake
  INSTALL_DESTINATION ${package_dir})
# Below 1.0 a minor version may break what the one before promised.
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/FiltrixConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/FiltrixConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/FiltrixConfigVersion.cmake
  cmake/FiltrixOpenCV.cmake
  DESTINATION ${package_dir})
