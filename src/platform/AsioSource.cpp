// The one place where Asio's own functions are compiled; everywhere else only their declarations are.
#include <boost/asio/impl/src.hpp>
