# Headers of the standard library and of others that most sources include, read once instead of once per source. None of
# our own, so that a change to one of those compiles no more than what includes it. A source still includes all that it
# uses: the analysis and the Mac's check read every source without these.
set(quillbay_standard_headers
  <algorithm> <array> <chrono> <cstdint> <exception> <filesystem> <functional> <map> <memory> <optional> <string>
  <string_view> <system_error> <utility> <vector>)
set(quillbay_network_headers <boost/asio/io_context.hpp> <boost/asio/post.hpp> <boost/asio/steady_timer.hpp>)
# With what the generated sources of QML's files include.
set(quillbay_window_headers <QtQml/qqmlprivate.h> <QQmlEngine> <QQuickWindow> <QString>)

# quillbay_precompile(<target> <header>... | REUSE_FROM <target>): with clang, and so for the sanitizers. GCC forgets which
# precompiled headers are the system's when it optimises, and then warns of what it suspects inside the standard library.
function(quillbay_precompile target)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    return()
  endif()
  if(ARGV1 STREQUAL "REUSE_FROM")
    target_precompile_headers(${target} ${ARGN})
  else()
    target_precompile_headers(${target} PRIVATE ${ARGN})
  endif()
endfunction()
