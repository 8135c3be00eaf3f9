// JSONLine.h - JSON objects as the tools write them: one a line.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace Tools {

/// Returns the object on one line. Texts of others need not be UTF-8: what is not is replaced. What
/// is not ASCII is escaped, because it could be a control of the terminal.
inline std::string WriteJSON(const nlohmann::ordered_json& object)
{
    return object.dump(-1, ' ', true, nlohmann::ordered_json::error_handler_t::replace);
}

} // namespace Tools
