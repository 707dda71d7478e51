# What the compiler, the linker and the C library offer against a fault in memory that someone tries to use. Of every
# program and library of this tree; the stage `hardening` of script/check looks for the marks of it in the programs.
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

add_compile_options(-fstack-protector-strong)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  # Macs lay out programs like this without being asked, and their linker does not know these options.
  add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
  add_compile_options(-fstack-clash-protection)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
    add_compile_options(-fcf-protection=full)
  elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
    add_compile_options(-mbranch-protection=standard)
  endif()
endif()

# Checks of indices and preconditions in the standard library; each library reads its own.
add_compile_definitions(_GLIBCXX_ASSERTIONS _LIBCPP_HARDENING_MODE=_LIBCPP_HARDENING_MODE_FAST)
if(NOT QUILLBAY_SANITIZE)
  # Needs an optimised build. The sanitizers replace the very functions that it checks, and see more.
  set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
  add_compile_options($<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=3>)
endif()
