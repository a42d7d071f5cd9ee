# What users run is built so that a fault in memory ends the program instead of being put to use: checked calls of the C
# library, a guarded stack, code at random addresses, tables that are read-only once they are filled, and jumps that only
# lead where the compiler meant them to. Release builds alone: sanitizers see more, and debuggers like plain code.

include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

set(FILTRIX_HARDENING_COMPILE -fstack-protector-strong -D_FORTIFY_SOURCE=2)
check_cxx_compiler_flag(-fcf-protection=full FILTRIX_HAS_CF_PROTECTION)
if(FILTRIX_HAS_CF_PROTECTION)
  list(APPEND FILTRIX_HARDENING_COMPILE -fcf-protection=full)
endif()
check_cxx_compiler_flag(-fstack-clash-protection FILTRIX_HAS_STACK_CLASH_PROTECTION)
if(FILTRIX_HAS_STACK_CLASH_PROTECTION)
  list(APPEND FILTRIX_HARDENING_COMPILE -fstack-clash-protection)
endif()
set(FILTRIX_HARDENING_LINK -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)

if(NOT FILTRIX_SANITIZE)
  add_compile_options("$<$<CONFIG:Release>:${FILTRIX_HARDENING_COMPILE}>")
  add_link_options("$<$<CONFIG:Release>:${FILTRIX_HARDENING_LINK}>")
endif()
