// lab: carries out commands from standard input, one a line, and answers each by a line of JSON. A command is a name and
// fields NAME=VALUE, with tabs between them.
//   look             the machine as the proof compares it
//   run command=     runs a program and all that it starts, to the end
//   restart          carries out the boot-time marks
// The host's program has more commands for embedded machines: see commands_host.cpp.
#include <cstdio>
#include <exception>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "lab/session.h"

namespace lab {

Answer AnswerOf(const Outcome& outcome) {
    static constexpr const char* kEnds[] = {"by itself", "nobody there", "given up", "late"};
    const auto neutral = [](std::vector<std::string> texts) {
        for (std::string& text : texts)
            text = Neutral(std::move(text));
        return texts;
    };
    return {{"started", Json(outcome.started)},
            {"exitCode", Json(outcome.exitCode)},
            {"end", Json(std::string(kEnds[static_cast<int>(outcome.end)]))},
            {"programs", Json(neutral(outcome.programs))},
            {"pages", Json(neutral(outcome.pages))},
            {"messages", Json(outcome.messages)},
            {"errors", Json(outcome.errors)}};
}

std::map<std::string, Command>& Commands() {
    const auto look = [](const Fields&) { return Answer{{"state", Json(Look())}}; };
    const auto run = [](const Fields& fields) { return AnswerOf(Run(fields.Text("command"), {})); };
    const auto restart = [](const Fields&) { return Answer{{"restarted", Json(Restart())}}; };
    static std::map<std::string, Command> commands = {{"look", look}, {"run", run}, {"restart", restart}};
    return commands;
}

}  // namespace lab

namespace {

lab::Answer CarryOut(const std::string& line) {
    std::istringstream parts(line);
    std::string name, field;
    std::getline(parts, name, '\t');
    lab::Fields fields;
    while (std::getline(parts, field, '\t'))
        fields[field.substr(0, field.find('='))] = field.substr(field.find('=') + 1);
    const auto command = lab::Commands().find(name);
    if (command == lab::Commands().end()) throw std::runtime_error("no command " + name);
    return command->second(fields);
}

// Reads commands to the end of the input.
void Serve() {
    for (std::string line; std::getline(std::cin, line);) {
        if (line.ends_with('\r')) line.pop_back();
        lab::Answer answer;
        try {
            answer = CarryOut(line);
        } catch (const std::exception& failure) {
            answer = {{"failure", lab::Json(std::string(failure.what()))}};
        }
        std::string text;
        for (const auto& [name, value] : answer)
            text += (text.empty() ? "" : ", ") + lab::Json(name) + ": " + value;
        std::printf("{%s}\n", text.c_str());
        (void)std::fflush(stdout);
    }
}

}  // namespace

int main() {
    Serve();
}

// The name of main under Windows.
int wmain(int count, wchar_t** values);

int wmain(int, wchar_t**) {
    Serve();
    return 0;
}
