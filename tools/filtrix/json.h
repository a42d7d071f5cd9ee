#pragma once

#include "filtrix/zrvalue.h"

#include <nlohmann/json_fwd.hpp>

namespace ZR::Filtrix::Tool
{
/// A value as JSON: bytes become {"base64": "..."}, and what JSON has no number for a string, "nan" or "inf".
[[nodiscard]] nlohmann::json toJson(const ZRValue& value);

/// JSON as a value. Throws ZRValueError for a number beyond 64 bits and for nesting beyond `ZRValue::maxDepth`.
[[nodiscard]] ZRValue fromJson(const nlohmann::json& json);
}  // namespace ZR::Filtrix::Tool
