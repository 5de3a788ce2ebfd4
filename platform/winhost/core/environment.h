// Environment variables, for the machine's own use.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace winhost {

// Returns the value of a variable, or none when it is not set. This is no call of a program, so it is not counted and
// no fault applies to it.
std::optional<std::u16string> ValueOfVariable(std::u16string_view name);
// Returns the text with each %NAME% replaced by its value. A name without a value stays as it is.
std::u16string ExpandVariables(std::u16string_view text);

}  // namespace winhost
