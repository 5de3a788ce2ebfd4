// What the machine saw besides files and registry.
#pragma once

#include <initializer_list>
#include <string>

namespace winhost {

// Adds an event. winhost.h lists the kinds and their fields.
void Record(const char* kind, std::initializer_list<std::u16string> fields);

}  // namespace winhost
