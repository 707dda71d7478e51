#include "phone/StatusLines.h"

#include <iostream>
#include <nlohmann/json.hpp>

namespace quillbay::lab {

void printStatus(const nlohmann::json& document) {
    std::cout << document.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) << std::endl;
}

}  // namespace quillbay::lab
