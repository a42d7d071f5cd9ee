# How everything of ours is compiled: the language level, the warnings, the sanitizers, the linker and the compiler cache.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_program(FILTRIX_CCACHE ccache)
if(FILTRIX_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # Precompiled headers are only cacheable when the cache does not insist on their defines and time macros.
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${FILTRIX_CCACHE})
endif()

# A fast linker. Not mold: that of Debian 12 lays out programs, one in some hundred, whose read-only part begins before
# their first page, and which then do not start.
find_program(FILTRIX_LLD ld.lld)
if(FILTRIX_LLD)
  add_link_options(-fuse-ld=lld)
endif()

add_library(filtrix_warnings INTERFACE)
target_compile_options(filtrix_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual -Wcast-align
  -Wcast-qual -Wdouble-promotion -Wformat=2 -Wimplicit-fallthrough -Wextra-semi -Wundef
  # GCC 12 sees overlapping copies in std::string's own operator+ (its bug 105651).
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
  $<$<BOOL:${FILTRIX_WARNINGS_AS_ERRORS}>:-Werror>)

if(FILTRIX_SANITIZE STREQUAL "address")
  # Recovering from undefined behaviour would let a test pass over it.
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(FILTRIX_SANITIZE STREQUAL "thread")
  # The sanitizer does not follow stand-alone fences; the standard library's use of them is its own affair.
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer $<$<CXX_COMPILER_ID:GNU>:-Wno-tsan>)
  add_link_options(-fsanitize=thread)
elseif(FILTRIX_SANITIZE)
  message(FATAL_ERROR "FILTRIX_SANITIZE is \"${FILTRIX_SANITIZE}\", expected nothing, \"address\" or \"thread\"")
endif()
