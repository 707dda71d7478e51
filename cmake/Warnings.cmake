# Strictness as one target: everything of ours links it, nothing foreign does.
add_library(quillbay_warnings INTERFACE)
target_compile_options(quillbay_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual
  -Wconversion -Wsign-conversion -Wformat=2 -Wimplicit-fallthrough -Wundef -Werror)
