// Environment variables, for the machine's own use.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace winhost {

// The value of a variable; none when it is not set. No program made this call, so it is neither counted nor
// told to fail.
std::optional<std::u16string> ValueOfVariable(std::u16string_view name);
// The text with the value in the place of each %NAME%. A name without a value stays as it stands.
std::u16string ExpandVariables(std::u16string_view text);

}  // namespace winhost
