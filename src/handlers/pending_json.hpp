#pragma once
#include "tool_binding/value.hpp"
namespace tool_binding {
std::string json_text(const Value& v);
}
