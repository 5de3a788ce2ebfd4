// The commands of the program lab, and their answers in JSON.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "common/json.h"
#include "lab/lab.h"

namespace lab {

inline std::string Json(const std::string& text) {
    return tools::JsonString(text);
}
inline std::string Json(std::uint64_t number) {
    return std::to_string(number);
}
inline std::string Json(const Message& message) {
    return Json("[" + message.caption + "] " + message.text + " -> " + message.answer);
}
template <class Value>
std::string Json(const std::vector<Value>& list) {
    std::string text;
    for (const Value& value : list)
        text += (text.empty() ? "" : ", ") + Json(value);
    return "[" + text + "]";
}
template <class Value>
std::string Json(const std::map<std::string, Value>& object) {
    std::string text;
    for (const auto& [name, value] : object)
        text += (text.empty() ? "" : ", ") + Json(name) + ": " + Json(value);
    return "{" + text + "}";
}

// The fields of a command.
struct Fields : std::map<std::string, std::string> {
    // Without the field, the text is empty, and the number is `otherwise`.
    std::string Text(const std::string& name) const { return contains(name) ? at(name) : std::string(); }
    std::uint64_t Number(const std::string& name, std::uint64_t otherwise = 0) const {
        return contains(name) ? std::stoull(at(name)) : otherwise;
    }
};

// An answer: names, with values in JSON.
using Answer = std::map<std::string, std::string>;
Answer AnswerOf(const Outcome& outcome);

// All commands by name. A target adds its own before main.
using Command = std::function<Answer(const Fields&)>;
std::map<std::string, Command>& Commands();

}  // namespace lab
