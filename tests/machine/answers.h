// How the tables of this folder write down an answer of Windows.
#pragma once

#include <windows.h>

#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "harness/scratch.h"

// Reads a list of numbers, each with its name.
inline std::map<DWORD, std::string> NamesIn(const char* list) {
    std::istringstream text(list);
    std::map<DWORD, std::string> all;
    for (DWORD number = 0; text >> number;)
        text >> all[number];
    return all;
}

// The name of an error of the system.
inline std::string NameOf(DWORD error) {
    static const auto names = NamesIn(
        "0 ERROR_SUCCESS 2 ERROR_FILE_NOT_FOUND 3 ERROR_PATH_NOT_FOUND 5 ERROR_ACCESS_DENIED "
        "6 ERROR_INVALID_HANDLE 17 ERROR_NOT_SAME_DEVICE 32 ERROR_SHARING_VIOLATION "
        "80 ERROR_FILE_EXISTS 87 ERROR_INVALID_PARAMETER 112 ERROR_DISK_FULL "
        "123 ERROR_INVALID_NAME 126 ERROR_MOD_NOT_FOUND 145 ERROR_DIR_NOT_EMPTY "
        "161 ERROR_BAD_PATHNAME 183 ERROR_ALREADY_EXISTS 193 ERROR_BAD_EXE_FORMAT "
        "206 ERROR_FILENAME_EXCED_RANGE 234 ERROR_MORE_DATA 259 ERROR_NO_MORE_ITEMS "
        "267 ERROR_DIRECTORY 487 ERROR_INVALID_ADDRESS 1018 ERROR_KEY_DELETED "
        "1812 ERROR_RESOURCE_DATA_NOT_FOUND 1813 ERROR_RESOURCE_TYPE_NOT_FOUND "
        "1814 ERROR_RESOURCE_NAME_NOT_FOUND");
    return names.contains(error) ? names.at(error) : std::to_string(error);
}

// "ok", or the name of the last error, even if there is none.
inline std::string Told(bool done) {
    return done ? "ok" : NameOf(GetLastError());
}

// "ok", or the name of the error that a call returned.
inline std::string ToldError(LSTATUS error) {
    return error == ERROR_SUCCESS ? "ok" : NameOf(static_cast<DWORD>(error));
}

// A fact, what the running system answers, and what Windows answers.
struct Answer {
    std::string fact, found, windows;
};

// The kit makes a table of what it finds in the output.
inline void ExpectAnswers(const std::vector<Answer>& answers) {
    for (const Answer& answer : answers) {
        EXPECT_EQ(answer.found, lab::Expected(answer.fact, answer.windows)) << answer.fact;
        if (!lab::IsSomebodys()) continue;
        std::cout << "fact";
        for (const std::string& field :
             {answer.fact, answer.found, lab::WinesAnswer(answer.fact, answer.windows), answer.windows})
            std::cout << "\t" << tools::Shown(field);
        std::cout << "\n";
    }
}
